# What an installation holds, in three components: runtime, development and tools. The package can be used from the
# build tree as well.

include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

target_include_directories(paintlayer INTERFACE
    $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)

set(packageDirectory "${CMAKE_INSTALL_LIBDIR}/cmake/paintlayer")
configure_package_config_file(
    "${PROJECT_SOURCE_DIR}/cmake/paintlayer-config.cmake.in"
    "${PROJECT_BINARY_DIR}/paintlayer-config.cmake"
    INSTALL_DESTINATION "${packageDirectory}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/paintlayer-config-version.cmake"
    COMPATIBILITY SameMinorVersion)
set(pkgConfigDirectory "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH PAINTLAYER_PC_TO_PREFIX "/prefix/${pkgConfigDirectory}" "/prefix")
configure_file("${PROJECT_SOURCE_DIR}/cmake/paintlayer.pc.in" "${PROJECT_BINARY_DIR}/paintlayer.pc" @ONLY)

if(NOT PAINTLAYER_INSTALL)
    return()
endif()
export(TARGETS paintlayer NAMESPACE paintlayer:: FILE "${PROJECT_BINARY_DIR}/paintlayer-targets.cmake")

install(TARGETS paintlayer EXPORT paintlayer-targets
    RUNTIME COMPONENT runtime
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development)
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT runtime)
install(DIRECTORY "${PROJECT_BINARY_DIR}/include/paintlayer" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
    COMPONENT development)
install(EXPORT paintlayer-targets NAMESPACE paintlayer:: DESTINATION "${packageDirectory}" COMPONENT development)
install(FILES
    "${PROJECT_BINARY_DIR}/paintlayer-config.cmake"
    "${PROJECT_BINARY_DIR}/paintlayer-config-version.cmake"
    DESTINATION "${packageDirectory}" COMPONENT development)
install(FILES "${PROJECT_BINARY_DIR}/paintlayer.pc" DESTINATION "${pkgConfigDirectory}" COMPONENT development)

if(TARGET paint-replay)
    file(RELATIVE_PATH toLibraries "/prefix/${CMAKE_INSTALL_BINDIR}" "/prefix/${CMAKE_INSTALL_LIBDIR}")
    set_target_properties(paint-replay PROPERTIES INSTALL_RPATH "$ORIGIN/${toLibraries}")
    install(TARGETS paint-replay COMPONENT tools)
endif()
