# Headers, libraries, CMake package and pkg-config file.

install(TARGETS ${PLATEN_LIBRARIES} EXPORT platen-targets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/platen
  FILE_SET cpp DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/platen)
install(TARGETS ${PLATEN_C_LIBRARIES} EXPORT platen-targets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  FILE_SET c DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/platen)
install(EXPORT platen-targets NAMESPACE platen:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/platen)

include(CMakePackageConfigHelpers)
configure_package_config_file(${PROJECT_SOURCE_DIR}/packaging/platen-config.cmake.in
  ${PROJECT_BINARY_DIR}/platen-config.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/platen)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/platen-config-version.cmake
  COMPATIBILITY SameMajorVersion)
# The pkg-config file finds the prefix from where it lies, so that an installed tree can be moved.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR} OR IS_ABSOLUTE ${CMAKE_INSTALL_INCLUDEDIR})
  set(PLATEN_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
  set(PLATEN_PC_INCLUDEDIR ${CMAKE_INSTALL_FULL_INCLUDEDIR})
  set(PLATEN_PC_LIBDIR ${CMAKE_INSTALL_FULL_LIBDIR})
else()
  file(RELATIVE_PATH up /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
  string(REGEX REPLACE "/$" "" up ${up})
  set(PLATEN_PC_PREFIX "\${pcfiledir}/${up}")
  set(PLATEN_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
  set(PLATEN_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
endif()
configure_file(${PROJECT_SOURCE_DIR}/packaging/platen.pc.in ${PROJECT_BINARY_DIR}/platen.pc @ONLY)
configure_file(${PROJECT_SOURCE_DIR}/packaging/platen-c.pc.in ${PROJECT_BINARY_DIR}/platen-c.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/platen-config.cmake ${PROJECT_BINARY_DIR}/platen-config-version.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/platen)
install(FILES ${PROJECT_BINARY_DIR}/platen.pc ${PROJECT_BINARY_DIR}/platen-c.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Manual pages of the interface for C, each under the names of its functions, too.
if(NOT WIN32 AND PLATEN_C_LIBRARIES)
  set(aliases ${PROJECT_BINARY_DIR}/man3)
  file(GLOB pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.3)
  foreach(page ${pages})
    get_filename_component(file ${page} NAME)
    file(STRINGS ${page} names REGEX "^\\.Nm platen_")
    foreach(line ${names})
      string(REGEX REPLACE "^\\.Nm (platen_[a-z0-9_]+).*" "\\1.3" alias ${line})
      if(NOT alias STREQUAL file)
        file(CONFIGURE OUTPUT ${aliases}/${alias} CONTENT ".so man3/${file}\n")
        install(FILES ${aliases}/${alias} DESTINATION ${CMAKE_INSTALL_MANDIR}/man3)
      endif()
    endforeach()
    install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man3)
  endforeach()
endif()
