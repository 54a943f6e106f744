# Compiler settings that every target of the project shares.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND PROJECT_IS_TOP_LEVEL)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

find_program(PAINTLAYER_CCACHE ccache)
if(PAINTLAYER_CCACHE AND PROJECT_IS_TOP_LEVEL AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
    # The sloppiness is what ccache asks for when headers are precompiled.
    set(CMAKE_CXX_COMPILER_LAUNCHER
        "${CMAKE_COMMAND}" -E env CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
        "${PAINTLAYER_CCACHE}")
endif()

if(PAINTLAYER_SANITIZE)
    # -O1 halves the time of the pixel tests and keeps stack traces readable.
    add_compile_options(-fsanitize=${PAINTLAYER_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -O1)
    add_link_options(-fsanitize=${PAINTLAYER_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # The instrumentation hides initialisations from g++, which then warns of variables that are set.
        add_compile_options(-Wno-maybe-uninitialized)
    endif()
endif()

add_library(paintlayer_options INTERFACE)
target_compile_features(paintlayer_options INTERFACE cxx_std_20)
target_compile_options(paintlayer_options INTERFACE
    # The same bytes from every compiler and instruction set: products and sums round separately.
    -ffp-contract=off
    # Nobody reads errno after sqrt; without this its instruction is wrapped in a call. Results do not change.
    -fno-math-errno
    # -Wsign-conversion is left out: sizes and pixel counts meet signed coordinates on every other line, and the casts
    # that would silence it hide more than it finds.
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wold-style-cast
    # g++ 12 takes a std::string made of pieces for an overlapping copy (GCC bug 105651).
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    $<$<BOOL:${PAINTLAYER_WERROR}>:-Werror>
    # Parametrised tests of GoogleTest leave a macro's `...` empty, which C++20 allows and clang 14 still reports.
    $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>)
target_compile_definitions(paintlayer_options INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)

# What the library's own sources see: the source tree, whose root the includes in quotes start from.
add_library(paintlayer_sources INTERFACE)
target_link_libraries(paintlayer_sources INTERFACE paintlayer_options)
target_include_directories(paintlayer_sources INTERFACE "${PROJECT_SOURCE_DIR}")

# What those see who look inside and are written for hosts as well (tests, some benchmarks): "paintlayer/..." is the
# source tree too, so that there is one copy of each header.
file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/internals")
file(CREATE_LINK "${PROJECT_SOURCE_DIR}" "${PROJECT_BINARY_DIR}/internals/paintlayer" SYMBOLIC)
add_library(paintlayer_internals INTERFACE)
target_link_libraries(paintlayer_internals INTERFACE paintlayer_sources)
target_include_directories(paintlayer_internals INTERFACE "${PROJECT_BINARY_DIR}/internals")
