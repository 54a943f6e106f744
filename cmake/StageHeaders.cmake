# cmake -DROOT=<source root> -DHEADERS=<file> -DDESTINATION=<directory> -P StageHeaders.cmake
#
# Copies the headers that the file HEADERS lists, one path a line, to DESTINATION/paintlayer/ with their includes
# rewritten from "folder/File.h" to "paintlayer/folder/File.h". What has not changed is not touched, and what is not on
# the list any more goes. Fails when a header on the list includes one that is not.
cmake_minimum_required(VERSION 3.25)

file(STRINGS "${HEADERS}" headers)
foreach(header IN LISTS headers)
    file(READ "${ROOT}/${header}" text)
    # The includes of library headers, without their semicolons and brackets, which would disturb a list.
    string(REGEX MATCHALL "#[ \t]*include[ \t]*\"[^\"]+\"" includes "${text}")
    foreach(include IN LISTS includes)
        string(REGEX REPLACE "^[^\"]*\"([^\"]+)\"$" "\\1" included "${include}")
        if(NOT included IN_LIST headers)
            message(FATAL_ERROR "${header}, which hosts include, includes ${included}, which is not on the list of "
                "public headers: declare what it needs forward, or put it on the list.")
        endif()
    endforeach()
    string(REGEX REPLACE "(#[ \t]*include[ \t]*\")" "\\1paintlayer/" text "${text}")

    set(staged "${DESTINATION}/paintlayer/${header}")
    set(old "")
    if(EXISTS "${staged}")
        file(READ "${staged}" old)
    endif()
    if(NOT text STREQUAL old)
        file(WRITE "${staged}" "${text}")
    endif()
endforeach()

file(GLOB_RECURSE present RELATIVE "${DESTINATION}/paintlayer" "${DESTINATION}/paintlayer/*")
list(REMOVE_ITEM present ${headers})
list(TRANSFORM present PREPEND "${DESTINATION}/paintlayer/")
if(present)
    file(REMOVE ${present})
endif()
