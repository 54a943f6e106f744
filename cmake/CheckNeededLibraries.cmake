# cmake -DREADELF=<readelf> -DLIBRARY=<file> -P CheckNeededLibraries.cmake
#
# Fails when the library needs more at run time than the language's standard library.
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND "${READELF}" --dynamic --wide "${LIBRARY}"
    OUTPUT_VARIABLE dynamic COMMAND_ERROR_IS_FATAL ANY)
# "(NEEDED) Shared library: [libc.so.6]"; brackets would join the elements of a list.
string(REGEX REPLACE "[][]" "" dynamic "${dynamic}")
string(REGEX MATCHALL "\\(NEEDED\\)[^\n]*: [^\n]+" needed "${dynamic}")
list(TRANSFORM needed REPLACE "^.*: " "")
if(NOT dynamic MATCHES "\\(SONAME\\)")
    message(FATAL_ERROR "No dynamic section of a library in ${LIBRARY}: ${dynamic}")
endif()
list(FILTER needed EXCLUDE REGEX "^(libstdc\\+\\+|libc\\+\\+|libc\\+\\+abi|libgcc_s|libm|libc|ld-linux.*)\\.so")
if(needed)
    message(FATAL_ERROR "${LIBRARY} also needs ${needed}")
endif()
