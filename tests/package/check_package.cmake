# Installs the library into a scratch prefix and lets outside projects build against that: one by
# the CMake package, in C and in C++, and the same sources by pkg-config.
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
    execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output
                    ERROR_VARIABLE output)
    if(result)
        message(FATAL_ERROR "${ARGV}\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

# Where a program of the target can run here, it has to print the identifier.
function(run_program program)
    if(TOOLCHAIN AND NOT EMULATOR)
        return()
    endif()
    run(${EMULATOR} ${program}${SUFFIX})
    if(NOT output MATCHES "{00000001-0002-0003-0405-060708090A0B}")
        message(FATAL_ERROR "${program} printed: ${output}")
    endif()
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --config ${CONFIG} --prefix ${prefix})
if(TOOLCHAIN)
    # The prefix is the target's world beside the compiler's own.
    set(target -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -D CMAKE_FIND_ROOT_PATH=${prefix})
    set(ENV{WINEPATH} ${prefix}/${BINDIR})
else()
    set(target -D CMAKE_C_COMPILER=${C_COMPILER} -D CMAKE_CXX_COMPILER=${CXX_COMPILER})
endif()
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build -G ${GENERATOR}
    -D CMAKE_PREFIX_PATH=${prefix} ${target})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
foreach(program outside_c outside_cpp)
    run_program(${WORK_DIR}/build/${program})
endforeach()

find_program(pkg_config pkg-config REQUIRED)
set(ENV{PKG_CONFIG_LIBDIR} ${prefix}/${LIBDIR}/pkgconfig)
execute_process(COMMAND ${pkg_config} --cflags --libs kxcore7 OUTPUT_VARIABLE flags
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
if(NOT TOOLCHAIN)
    list(APPEND flags -Wl,-rpath,${prefix}/${LIBDIR})
endif()
run(${C_COMPILER} -std=c11 ${SOURCE_DIR}/outside.c -o ${WORK_DIR}/by_pkg_config${SUFFIX} ${flags})
run_program(${WORK_DIR}/by_pkg_config)

# A program that asks for a later version is told.
execute_process(COMMAND ${pkg_config} --exists "kxcore7 >= 1000" RESULT_VARIABLE result)
if(NOT result)
    message(FATAL_ERROR "a version that does not exist was found")
endif()
