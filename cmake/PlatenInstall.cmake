# Headers, libraries, CMake package and pkg-config file.

install(TARGETS platen platen-static EXPORT platen-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/platen)
install(EXPORT platen-targets NAMESPACE platen:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/platen)

include(CMakePackageConfigHelpers)
configure_package_config_file(${PROJECT_SOURCE_DIR}/packaging/platen-config.cmake.in
  ${PROJECT_BINARY_DIR}/platen-config.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/platen)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/platen-config-version.cmake
  COMPATIBILITY SameMajorVersion)
configure_file(${PROJECT_SOURCE_DIR}/packaging/platen.pc.in ${PROJECT_BINARY_DIR}/platen.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/platen-config.cmake ${PROJECT_BINARY_DIR}/platen-config-version.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/platen)
install(FILES ${PROJECT_BINARY_DIR}/platen.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
