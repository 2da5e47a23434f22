# Debian packages (cpack, scripts/package.sh), one of each component that is built.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME camera-depth-rw)
set(CPACK_PACKAGE_VENDOR "The camera_depth_rw developers")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
# Each package has a short description of its own; one of the project would come before it.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/DebianFiles.cmake)

set(CPACK_DEBIAN_PACKAGE_MAINTAINER
    "The camera_depth_rw developers <developers@camera-depth-rw.invalid>")
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
# What is linked decides about what is wanted; our own library comes from the build tree.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})

# camera_depth_rw_package(COMPONENT NAME SECTION SUMMARY DESCRIPTION)
macro(camera_depth_rw_package component name section summary description)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${description}")
  list(APPEND CPACK_CAMERA_DEPTH_RW_PACKAGES "${component}=${name}")
endmacro()

set(CPACK_COMPONENTS_ALL "")
set(CPACK_CAMERA_DEPTH_RW_PACKAGES "")
set(about "It stores the depth maps of an RGB-D camera with a known error in small files,
together with the colour images, and gives the metres back.")
camera_depth_rw_package(
  library libcamera-depth-rw1 libs "recordings of depth cameras (library)"
  "The library that records, compresses and plays back frames of a depth camera.\n${about}")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

camera_depth_rw_package(
  development libcamera-depth-rw-dev libdevel "recordings of depth cameras (development files)"
  "Headers, CMake package, pkg-config files and examples for programs that record\nor play back frames of a depth camera.\n${about}")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS library)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "libopenni-dev, pkg-config, cmake")

if(TARGET depthrw)
  camera_depth_rw_package(
    program depthrw utils "recordings of depth cameras (program)"
    "Records, plays back, verifies, repairs and exports frames of a depth camera.\n${about}")
  set(CPACK_COMPONENT_PROGRAM_DEPENDS library)
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_SUGGESTS "ffmpeg, xdg-utils")
endif()

if(CAMERA_DEPTH_RW_PYTHON)
  camera_depth_rw_package(
    python python3-camera-depth-rw python "recordings of depth cameras (Python 3)"
    "Recordings of depth cameras as numpy arrays, and recorders.\n${about}")
  set(CPACK_COMPONENT_PYTHON_DEPENDS library)
  math(EXPR next_python "${Python3_VERSION_MINOR} + 1")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
      "python3 (>= 3.${Python3_VERSION_MINOR}), python3 (<< 3.${next_python}), python3-numpy")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
      "${PROJECT_SOURCE_DIR}/cmake/debian/postinst;${PROJECT_SOURCE_DIR}/cmake/debian/prerm")
endif()

set(CPACK_CAMERA_DEPTH_RW_SOURCE ${PROJECT_SOURCE_DIR})
include(CPack)
