# cmake -DROOT=<source root> -P CheckSources.cmake
#
# Fails when a .cpp file is not named in the CMakeLists.txt of its directory or of the nearest one above that has one:
# nothing would compile it, and its tests would never run.
cmake_minimum_required(VERSION 3.25)

file(GLOB_RECURSE sources RELATIVE "${ROOT}" "${ROOT}/*.cpp")
list(FILTER sources EXCLUDE REGEX "^build/")
if(NOT sources)
    message(FATAL_ERROR "No source file found under ${ROOT}")
endif()

set(forgotten "")
foreach(source IN LISTS sources)
    cmake_path(GET source PARENT_PATH directory)
    while(NOT EXISTS "${ROOT}/${directory}/CMakeLists.txt" AND NOT directory STREQUAL "")
        cmake_path(GET directory PARENT_PATH directory)
    endwhile()
    if(NOT DEFINED "named_in_${directory}")
        file(STRINGS "${ROOT}/${directory}/CMakeLists.txt" lines)
        list(TRANSFORM lines REPLACE "#.*$" "")
        string(REGEX MATCHALL "[^ ;()\"]+" words "${lines}")
        set("named_in_${directory}" ${words})
    endif()
    cmake_path(RELATIVE_PATH source BASE_DIRECTORY "${directory}" OUTPUT_VARIABLE name)
    # A folder that globs forgets nothing.
    if(NOT name IN_LIST "named_in_${directory}" AND NOT "GLOB" IN_LIST "named_in_${directory}")
        list(APPEND forgotten "${source}")
    endif()
endforeach()
if(forgotten)
    list(JOIN forgotten "\n  " text)
    message(FATAL_ERROR "In no CMakeLists.txt:\n  ${text}")
endif()
list(LENGTH sources count)
message(STATUS "${count} sources, all of them listed")
