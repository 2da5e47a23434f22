include(CMakePackageConfigHelpers)

set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/camera_depth_rw)

install(
  TARGETS camera_depth_rw
  EXPORT camera_depth_rw_targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/camera_depth_rw)
install(
  EXPORT camera_depth_rw_targets
  NAMESPACE camera_depth_rw::
  DESTINATION ${package_directory})

configure_package_config_file(
  cmake/camera_depth_rwConfig.cmake.in ${PROJECT_BINARY_DIR}/camera_depth_rwConfig.cmake
  INSTALL_DESTINATION ${package_directory})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/camera_depth_rwConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/camera_depth_rwConfig.cmake
              ${PROJECT_BINARY_DIR}/camera_depth_rwConfigVersion.cmake
        DESTINATION ${package_directory})

configure_file(cmake/camera_depth_rw.pc.in ${PROJECT_BINARY_DIR}/camera_depth_rw.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/camera_depth_rw.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(FILES LICENSE README.md CHANGELOG.md docs/format.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
