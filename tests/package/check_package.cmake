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

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --config ${CONFIG} --prefix ${prefix})
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build -G ${GENERATOR}
    -D CMAKE_PREFIX_PATH=${prefix} -D CMAKE_C_COMPILER=${C_COMPILER}
    -D CMAKE_CXX_COMPILER=${CXX_COMPILER})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
foreach(program outside_c outside_cpp)
    run(${WORK_DIR}/build/${program})
    if(NOT output MATCHES "{00000001-0002-0003-0405-060708090A0B}")
        message(FATAL_ERROR "${program} printed: ${output}")
    endif()
endforeach()

find_program(pkg_config pkg-config REQUIRED)
set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
execute_process(COMMAND ${pkg_config} --cflags --libs kxcore7 OUTPUT_VARIABLE flags
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
run(${C_COMPILER} -std=c11 ${SOURCE_DIR}/outside.c -o ${WORK_DIR}/by_pkg_config ${flags}
    -Wl,-rpath,${prefix}/${LIBDIR})
run(${WORK_DIR}/by_pkg_config)

# A program that asks for a later version is told.
execute_process(COMMAND ${pkg_config} --exists "kxcore7 >= 1000" RESULT_VARIABLE result)
if(NOT result)
    message(FATAL_ERROR "a version that does not exist was found")
endif()
