# install: the header, both libraries with their links, a pkg-config file and
# a CMake package config.
include(CMakePackageConfigHelpers)
install(FILES ${CMAKE_SOURCE_DIR}/include/nyx.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS nyxcore nyxid1 EXPORT nyxTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT nyxTargets NAMESPACE nyx:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/nyx)
configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/nyxConfig.cmake.in
  ${CMAKE_BINARY_DIR}/nyxConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/nyx)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/nyxConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/nyxConfig.cmake ${CMAKE_BINARY_DIR}/nyxConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/nyx)
configure_file(${CMAKE_SOURCE_DIR}/cmake/nyx.pc.in ${CMAKE_BINARY_DIR}/nyx.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/nyx.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
