# What is installed, in four components: library, development, program (tools/) and python (python/).
include(CMakePackageConfigHelpers)

set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/camera_depth_rw)
set(pkgconfig_directory ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(
  TARGETS camera_depth_rw
  EXPORT camera_depth_rw_targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/camera_depth_rw COMPONENT development)
install(
  EXPORT camera_depth_rw_targets
  NAMESPACE camera_depth_rw::
  DESTINATION ${package_directory} COMPONENT development)

configure_package_config_file(
  cmake/camera_depth_rwConfig.cmake.in ${PROJECT_BINARY_DIR}/camera_depth_rwConfig.cmake
  INSTALL_DESTINATION ${package_directory})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/camera_depth_rwConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/camera_depth_rwConfig.cmake
              ${PROJECT_BINARY_DIR}/camera_depth_rwConfigVersion.cmake
        DESTINATION ${package_directory} COMPONENT development)

# Paths from where the file lies, so that the prefix may be chosen, or moved, later.
file(RELATIVE_PATH to_prefix /${pkgconfig_directory} /)
string(REGEX REPLACE "/$" "" to_prefix "${to_prefix}")
set(pkgconfig_files camera_depth_rw)
if(CAMERA_DEPTH_RW_HAS_OPENNI)
  list(APPEND pkgconfig_files camera_depth_rw_camera)
endif()
foreach(name IN LISTS pkgconfig_files)
  configure_file(cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${pkgconfig_directory}
          COMPONENT development)
endforeach()

install(FILES LICENSE README.md CHANGELOG.md docs/format.md DESTINATION ${CMAKE_INSTALL_DOCDIR}
        COMPONENT development)
install(FILES examples/CMakeLists.txt DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples
        COMPONENT development)
install(DIRECTORY examples/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT development
        FILES_MATCHING PATTERN "*.cpp" PATTERN "*.xml" PATTERN "*.py")
