# The camera reader wants OpenNI 1.x; the rest of the library does not.
set(WITH_OPENNI AUTO CACHE STRING "Build the OpenNI camera reader: AUTO (when OpenNI is found), ON or OFF")
set_property(CACHE WITH_OPENNI PROPERTY STRINGS AUTO ON OFF)

set(missing "")
if(WITH_OPENNI STREQUAL AUTO OR WITH_OPENNI)
  find_package(PkgConfig QUIET)
  if(PkgConfig_FOUND)
    # As an imported target its headers count as system headers, whose warnings are not ours.
    pkg_check_modules(OPENNI QUIET IMPORTED_TARGET libopenni)
  else()
    list(APPEND missing pkg-config pkg-config)
  endif()
  if(NOT TARGET PkgConfig::OPENNI)
    list(APPEND missing "OpenNI 1.x" libopenni-dev)
  endif()
endif()
camera_depth_rw_decide_part("camera reader" WITH_OPENNI ${missing})
set(CAMERA_DEPTH_RW_HAS_OPENNI ${WITH_OPENNI})
