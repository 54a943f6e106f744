# paintlayer_add_kernel_variants(folder FILE.cpp...)
#
# Compiles each file once per instruction set, with PAINTLAYER_KERNEL_NAMESPACE defined as baseline, avx2 or avx512, and
# adds the objects to the folder. Where more than the baseline is compiled, PAINTLAYER_X86_KERNELS is defined everywhere.
#
# The linker keeps one copy of an inline function. A copy from an AVX object would crash a machine without AVX, so the
# baseline stands first in every link, and the test kernels.share-no-code checks that it has all that the others have.

include(CheckCXXCompilerFlag)

set(PAINTLAYER_KERNEL_VARIANTS baseline)
set(PAINTLAYER_KERNEL_FLAGS_baseline "")
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
    list(APPEND PAINTLAYER_KERNEL_VARIANTS avx2 avx512)
    target_compile_definitions(paintlayer_options INTERFACE PAINTLAYER_X86_KERNELS=1)
    set(PAINTLAYER_KERNEL_FLAGS_avx2 -mavx2)
    set(PAINTLAYER_KERNEL_FLAGS_avx512 -mavx512f -mavx512bw -mavx512vl -mavx512dq)
    check_cxx_compiler_flag(-mprefer-vector-width=512 PAINTLAYER_HAS_PREFER_VECTOR_WIDTH)
    if(PAINTLAYER_HAS_PREFER_VECTOR_WIDTH)
        list(APPEND PAINTLAYER_KERNEL_FLAGS_avx512 -mprefer-vector-width=512)
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # The compiler's own intrinsics start from a variable left undefined on purpose, and g++ 12 warns of it.
        list(APPEND PAINTLAYER_KERNEL_FLAGS_avx512 -Wno-maybe-uninitialized)
    endif()
endif()

function(paintlayer_add_kernel_variants folder)
    foreach(variant IN LISTS PAINTLAYER_KERNEL_VARIANTS)
        set(target paintlayer_${folder}_${variant})
        add_library(${target} OBJECT ${ARGN})
        target_link_libraries(${target} PRIVATE paintlayer_sources)
        target_compile_definitions(${target} PRIVATE PAINTLAYER_KERNEL_NAMESPACE=${variant})
        # -fno-trapping-math: nobody reads the floating-point exception flags, and for their sake g++ would compute
        # conversions and comparisons one by one. Results do not change.
        target_compile_options(${target} PRIVATE
            ${PAINTLAYER_KERNEL_FLAGS_${variant}} -fno-trapping-math $<$<NOT:$<CONFIG:Debug>>:-O3>)
        set_property(GLOBAL APPEND PROPERTY PAINTLAYER_${folder}_OBJECTS ${target})
        set_property(GLOBAL APPEND PROPERTY PAINTLAYER_${variant}_KERNELS ${target})
    endforeach()
endfunction()
