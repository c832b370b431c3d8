# Installs the library so that find_package(zavelo) and pkg-config find it.

include(CMakePackageConfigHelpers)

install(TARGETS zavelo_core zavelo_mqtt zavelo_testing EXPORT zaveloTargets
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILE_SET generated DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT zaveloTargets NAMESPACE zavelo:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zavelo)
if(TARGET zavelo_command)
  install(TARGETS zavelo_command)
endif()

configure_package_config_file(
  cmake/zaveloConfig.cmake.in ${PROJECT_BINARY_DIR}/zaveloConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zavelo)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zaveloConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zaveloConfig.cmake
              ${PROJECT_BINARY_DIR}/zaveloConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zavelo)

# Relative to the file itself, so that an installation may be moved.
file(RELATIVE_PATH ZAVELO_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
# A static library leaves its own dependencies to the program that links it.
if(NOT BUILD_SHARED_LIBS)
  set(ZAVELO_PC_REQUIRES "libcurl sqlite3 simdjson libjpeg libutf8proc")
  set(ZAVELO_MQTT_PC_REQUIRES ", openssl")
endif()
foreach(package zavelo zavelo-mqtt zavelo-testing)
  configure_file(cmake/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
