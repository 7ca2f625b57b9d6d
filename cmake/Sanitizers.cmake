# Sanitizers for everything that is built.
if(KXCORE7_SANITIZE)
    add_compile_options(-fsanitize=${KXCORE7_SANITIZE} -fno-sanitize-recover=all
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${KXCORE7_SANITIZE})
    # Objects come through tables of operations from C and from other libraries, where the dynamic
    # type that this check asks for does not exist.
    if(KXCORE7_SANITIZE MATCHES undefined)
        add_compile_options(-fno-sanitize=vptr)
    endif()
endif()
