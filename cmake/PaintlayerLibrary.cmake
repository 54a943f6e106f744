# The one library, made of every folder's objects, with the headers that hosts include. Shared unless
# BUILD_SHARED_LIBS says otherwise.

if(NOT DEFINED BUILD_SHARED_LIBS)
    set(BUILD_SHARED_LIBS ON)
endif()

get_property(folders GLOBAL PROPERTY PAINTLAYER_FOLDERS)
paintlayer_folder_objects(objects ${folders})

add_library(paintlayer)
add_library(paintlayer::paintlayer ALIAS paintlayer)
set_target_properties(paintlayer PROPERTIES
    LINKER_LANGUAGE CXX
    VERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
    SOVERSION ${PROJECT_VERSION_MAJOR})
target_compile_features(paintlayer PUBLIC cxx_std_20)

if(BUILD_SHARED_LIBS)
    if(UNIX AND NOT APPLE)
        foreach(option IN ITEMS version-script=exports.map dynamic-list=shared-data.list)
            string(REPLACE "=" "=${PROJECT_SOURCE_DIR}/cmake/" option "${option}")
            target_link_options(paintlayer PRIVATE "LINKER:--${option}")
            string(REGEX REPLACE "^[^=]*=" "" file "${option}")
            set_property(TARGET paintlayer APPEND PROPERTY LINK_DEPENDS "${file}")
        endforeach()
    endif()
    if(NOT PAINTLAYER_SANITIZE)
        # The sanitizers' run-time functions come from the program, so only a plain build can be complete in itself.
        target_link_options(paintlayer PRIVATE LINKER:-z,defs)
    endif()
else()
    # The members of an archive are linked in the order in which they are asked for. One member of all kernels keeps the
    # baseline's copies of what they share first.
    set(kernelObjects "")
    foreach(variant IN LISTS PAINTLAYER_KERNEL_VARIANTS)
        get_property(kernels GLOBAL PROPERTY PAINTLAYER_${variant}_KERNELS)
        list(REMOVE_ITEM objects ${kernels})
        list(TRANSFORM kernels REPLACE "(.+)" "$<TARGET_OBJECTS:\\1>")
        list(APPEND kernelObjects ${kernels})
    endforeach()
    set(kernelsTogether "${PROJECT_BINARY_DIR}/kernels${CMAKE_CXX_OUTPUT_EXTENSION}")
    add_custom_command(OUTPUT "${kernelsTogether}"
        COMMAND "${CMAKE_LINKER}" -r -o "${kernelsTogether}" ${kernelObjects}
        DEPENDS ${kernelObjects} COMMAND_EXPAND_LISTS VERBATIM)
    target_sources(paintlayer PRIVATE "${kernelsTogether}")
endif()
foreach(target IN LISTS objects)
    target_sources(paintlayer PRIVATE $<TARGET_OBJECTS:${target}>)
endforeach()

# The public headers as hosts include them, staged in the build tree: <paintlayer/core/PaintManager.h>.
set(headerList "${PROJECT_SOURCE_DIR}/cmake/public-headers.txt")
set(stageScript "${PROJECT_SOURCE_DIR}/cmake/StageHeaders.cmake")
set(stage "${PROJECT_BINARY_DIR}/include")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${headerList}")
file(STRINGS "${headerList}" publicHeaders)
list(TRANSFORM publicHeaders PREPEND "${stage}/paintlayer/" OUTPUT_VARIABLE stagedHeaders)
list(TRANSFORM publicHeaders PREPEND "${PROJECT_SOURCE_DIR}/")
add_custom_command(OUTPUT "${stage}/staged" BYPRODUCTS ${stagedHeaders}
    COMMAND "${CMAKE_COMMAND}" "-DROOT=${PROJECT_SOURCE_DIR}" "-DHEADERS=${headerList}" "-DDESTINATION=${stage}"
        -P "${stageScript}"
    COMMAND "${CMAKE_COMMAND}" -E touch "${stage}/staged"
    DEPENDS ${publicHeaders} "${headerList}" "${stageScript}"
    COMMENT "Staging the public headers" VERBATIM)
add_custom_target(paintlayer_headers ALL DEPENDS "${stage}/staged")
add_dependencies(paintlayer paintlayer_headers)
