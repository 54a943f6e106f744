# paintlayer_add_folder(name SOURCES file... [LINKS folder...])
#
# Makes the object library paintlayer_<name> of the current directory and registers it for the shared library.
# SOURCES: its files; a test finds a file that is in no list.
# LINKS:   folders below, which this one may include; theirs are included with them. A test checks it.
function(paintlayer_add_folder name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")

    set(target paintlayer_${name})
    list(TRANSFORM arg_LINKS PREPEND paintlayer_ OUTPUT_VARIABLE linkTargets)
    add_library(${target} OBJECT ${arg_SOURCES})
    target_link_libraries(${target} PUBLIC paintlayer_sources ${linkTargets})
    set_property(GLOBAL APPEND PROPERTY PAINTLAYER_${name}_OBJECTS ${target})

    file(RELATIVE_PATH directory "${PROJECT_SOURCE_DIR}" "${CMAKE_CURRENT_SOURCE_DIR}")
    set_property(GLOBAL APPEND PROPERTY PAINTLAYER_FOLDERS ${name})
    set_property(GLOBAL PROPERTY PAINTLAYER_${name}_DIRECTORY "${directory}")
    set_property(GLOBAL PROPERTY PAINTLAYER_${name}_REACHES ${arg_LINKS})
endfunction()

# Sets `out` to the given folders and all that they reach through LINKS.
function(paintlayer_folder_closure out)
    set(reached "")
    set(open ${ARGN})
    while(open)
        list(POP_FRONT open folder)
        if(NOT folder IN_LIST reached)
            list(APPEND reached ${folder})
            get_property(next GLOBAL PROPERTY PAINTLAYER_${folder}_REACHES)
            list(APPEND open ${next})
        endif()
    endwhile()
    set(${out} "${reached}" PARENT_SCOPE)
endfunction()

# Sets `out` to the object libraries of the given folders and of all that they reach.
function(paintlayer_folder_objects out)
    paintlayer_folder_closure(folders ${ARGN})
    set(objects "")
    foreach(folder IN LISTS folders)
        get_property(own GLOBAL PROPERTY PAINTLAYER_${folder}_OBJECTS)
        list(APPEND objects ${own})
    endforeach()
    set(${out} "${objects}" PARENT_SCOPE)
endfunction()
