# Build options shared by every target: warnings, sanitizers, fuzzing.
option(QUILLON_WERROR "Treat compiler warnings as errors" OFF)
option(QUILLON_FUZZ "Build only the core and the libFuzzer targets" OFF)
set(QUILLON_SANITIZE "" CACHE STRING "Sanitizers to build with, e.g. address;undefined or thread")

add_library(quillon_warnings INTERFACE)
target_compile_options(quillon_warnings INTERFACE -Wall -Wextra -Wpedantic)
if(QUILLON_WERROR)
    target_compile_options(quillon_warnings INTERFACE -Werror)
endif()

if(QUILLON_SANITIZE)
    list(JOIN QUILLON_SANITIZE "," _quillon_sanitizers)
    add_compile_options(-fsanitize=${_quillon_sanitizers} -fno-omit-frame-pointer
                        -fno-sanitize-recover=undefined)
    add_link_options(-fsanitize=${_quillon_sanitizers})
endif()
