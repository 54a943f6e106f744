# cmake -DNM=<nm> -DBASELINE=<objects> -DVARIANT=<objects> -P CheckKernelSymbols.cmake
#
# Fails when the kernels of a variant define a shareable function (an inline one or a template) that those of the
# baseline lack: the linker could then hand the variant's copy, with instructions that the machine may not have, to
# everybody who calls it.
cmake_minimum_required(VERSION 3.25)

# Sets `out` to the weak functions that the objects define.
function(weak_functions out)
    execute_process(COMMAND "${NM}" --defined-only --format=posix ${ARGN}
        OUTPUT_VARIABLE listing COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "[^\n]+ W [^\n]*" lines "${listing}")
    list(TRANSFORM lines REPLACE " W .*$" "")
    set(${out} "${lines}" PARENT_SCOPE)
endfunction()

weak_functions(shared ${BASELINE})
weak_functions(own ${VARIANT})
list(REMOVE_ITEM own ${shared})
# Those in the variant's own namespace have names that nobody else uses.
list(FILTER own EXCLUDE REGEX "(4avx2|6avx512)")
if(own)
    list(JOIN own "\n  " text)
    message(FATAL_ERROR "Only in the variant (make it static or move it into PAINTLAYER_KERNEL_NAMESPACE):\n  ${text}")
endif()
