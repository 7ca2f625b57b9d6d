# Sanitizers for everything that is built.
if(KXCORE7_SANITIZE)
    add_compile_options(-fsanitize=${KXCORE7_SANITIZE} -fno-sanitize-recover=all
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${KXCORE7_SANITIZE})
endif()
