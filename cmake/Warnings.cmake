# The warnings that all of the project's own code is built with, as errors.
add_library(kxcore7_warnings INTERFACE)
target_compile_options(kxcore7_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wvla -Werror
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual>)
