# The one shared library, made of every folder's objects, and its installation.

include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

get_property(folders GLOBAL PROPERTY PAINTLAYER_FOLDERS)
paintlayer_folder_objects(objects ${folders})

add_library(paintlayer SHARED)
add_library(paintlayer::paintlayer ALIAS paintlayer)
foreach(target IN LISTS objects)
    target_sources(paintlayer PRIVATE $<TARGET_OBJECTS:${target}>)
endforeach()
set_target_properties(paintlayer PROPERTIES
    LINKER_LANGUAGE CXX
    VERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
    SOVERSION ${PROJECT_VERSION_MAJOR})
target_compile_features(paintlayer PUBLIC cxx_std_20)
target_include_directories(paintlayer PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/paintlayer>)
if(NOT PAINTLAYER_SANITIZE)
    # The sanitizers' run-time functions come from the program, so only a plain build can be complete in itself.
    target_link_options(paintlayer PRIVATE LINKER:-z,defs)
endif()

install(TARGETS paintlayer EXPORT paintlayer-targets)
foreach(folder IN LISTS folders)
    get_property(directory GLOBAL PROPERTY PAINTLAYER_${folder}_DIRECTORY)
    install(DIRECTORY "${PROJECT_SOURCE_DIR}/${directory}/"
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/paintlayer/${directory}"
        FILES_MATCHING PATTERN "*.h")
endforeach()

set(packageDirectory "${CMAKE_INSTALL_LIBDIR}/cmake/paintlayer")
install(EXPORT paintlayer-targets NAMESPACE paintlayer:: DESTINATION "${packageDirectory}")
configure_package_config_file(
    "${PROJECT_SOURCE_DIR}/cmake/paintlayer-config.cmake.in"
    "${PROJECT_BINARY_DIR}/paintlayer-config.cmake"
    INSTALL_DESTINATION "${packageDirectory}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/paintlayer-config-version.cmake"
    COMPATIBILITY SameMinorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/paintlayer-config.cmake"
    "${PROJECT_BINARY_DIR}/paintlayer-config-version.cmake"
    DESTINATION "${packageDirectory}")
