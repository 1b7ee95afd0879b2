# cmake --install: headers, both libraries, the host, the default templates, and the files by which
# CMake and pkg-config find them.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/brevant)
install(TARGETS brevant brevant_static EXPORT brevant-targets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT brevant-targets NAMESPACE brevant:: DESTINATION ${package_dir})
install(TARGETS brevant-host RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/brevant
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/platform/${BREVANT_PLATFORM}/include/brevant
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/templates/
  DESTINATION ${CMAKE_INSTALL_DATADIR}/brevant/templates)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/brevant-config.cmake.in
  ${PROJECT_BINARY_DIR}/brevant-config.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/brevant-config-version.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/brevant-config.cmake ${PROJECT_BINARY_DIR}/brevant-config-version.cmake
  DESTINATION ${package_dir})

if(WIN32)
  set(BREVANT_PC_LIBS_PRIVATE "-lole32 -luuid -lws2_32 -lssp")
else()
  set(BREVANT_PC_LIBS_PRIVATE "-pthread -ldl")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/brevant.pc.in ${PROJECT_BINARY_DIR}/brevant.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/brevant.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
