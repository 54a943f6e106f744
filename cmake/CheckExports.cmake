# cmake -DNM=<nm> -DREADELF=<readelf> -DLIBRARY=<file> -DLIST=<file> -DSHARED_DATA=<file> [-DUPDATE=ON] -P CheckExports.cmake
#
# Fails when the library shows hosts other symbols than LIST says, or looks for one of its own symbols outside itself:
# a host's symbol of that name would take its place. The data that SHARED_DATA names are looked for; hosts may hold them.
# UPDATE writes the list anew.
cmake_minimum_required(VERSION 3.25)

set(ENV{LC_ALL} C)
set(found "${CMAKE_CURRENT_BINARY_DIR}/exported-symbols.txt")
if(UPDATE)
    set(found "${LIST}")
endif()
# "name type value size"; what the compilers leave over of classes' run-time types is theirs to choose.
execute_process(
    COMMAND "${NM}" --dynamic --demangle --defined-only --format=posix "${LIBRARY}"
    COMMAND sed -E "s/ [A-Za-z] [0-9a-f]+ [0-9a-f]*$//"
    COMMAND grep -vE "^(vtable|typeinfo|typeinfo name) for "
    COMMAND sort -u
    OUTPUT_FILE "${found}" COMMAND_ERROR_IS_FATAL ANY)

execute_process(COMMAND "${NM}" --dynamic --defined-only --format=posix "${LIBRARY}"
    OUTPUT_VARIABLE defined COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${READELF}" --relocs --wide "${LIBRARY}"
    OUTPUT_VARIABLE relocations COMMAND_ERROR_IS_FATAL ANY)
file(READ "${SHARED_DATA}" sharedData)
# "offset info R_TYPE value name + addend": the names of the last but two columns.
string(REGEX MATCHALL "R_[A-Z0-9_]+ +[0-9a-f]+ +[A-Za-z_][A-Za-z0-9_.]*" references "${relocations}")
list(TRANSFORM references REPLACE "^.* " "")
list(REMOVE_DUPLICATES references)
set(outside "")
foreach(name IN LISTS references)
    string(FIND "\n${defined}" "\n${name} " own)
    string(FIND "${sharedData}" "    ${name};" shared)
    if(own GREATER -1 AND shared EQUAL -1)
        list(APPEND outside "${name}")
    endif()
endforeach()
if(NOT references)
    message(FATAL_ERROR "No relocation of ${LIBRARY} was understood:\n${relocations}")
endif()
if(outside)
    list(JOIN outside "\n  " text)
    message(FATAL_ERROR "A host's symbols could replace the library's own:\n  ${text}")
endif()

execute_process(COMMAND diff -u "${LIST}" "${found}" RESULT_VARIABLE differs)
if(differs)
    message(FATAL_ERROR "The exported symbols are not those of ${LIST}; if that is meant, `make symbols` writes it anew.")
endif()
