# The camera reader wants OpenNI 1.x; the rest of the library does not.
set(WITH_OPENNI AUTO CACHE STRING "Build the OpenNI camera reader: AUTO (when OpenNI is found), ON or OFF")
set_property(CACHE WITH_OPENNI PROPERTY STRINGS AUTO ON OFF)

set(CAMERA_DEPTH_RW_HAS_OPENNI OFF)
if(NOT WITH_OPENNI STREQUAL "OFF")
  find_package(PkgConfig QUIET)
  if(PkgConfig_FOUND)
    # As an imported target its headers count as system headers, whose warnings are not ours.
    pkg_check_modules(OPENNI QUIET IMPORTED_TARGET libopenni)
  endif()
  if(TARGET PkgConfig::OPENNI)
    set(CAMERA_DEPTH_RW_HAS_OPENNI ON)
  elseif(WITH_OPENNI STREQUAL "AUTO")
    message(WARNING "OpenNI 1.x was not found: the library is built without the camera reader. Install "
                    "libopenni-dev and pkg-config for it, or say -DWITH_OPENNI=OFF.")
  else()
    message(FATAL_ERROR "WITH_OPENNI is ON, but OpenNI 1.x was not found: install libopenni-dev and "
                        "pkg-config.")
  endif()
endif()
