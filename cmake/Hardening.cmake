# What turns a memory error that a damaged recording might still reach into a clean end of the process.
# Debug builds want a debugger, and the sanitizers look for more than this does: both go without.
set(hardened_by_default OFF)
if(CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo)$" AND NOT CAMERA_DEPTH_RW_SANITIZE)
  set(hardened_by_default ON)
endif()
option(CAMERA_DEPTH_RW_HARDENED "Fortified calls, stack protection, full RELRO"
       ${hardened_by_default})
if(CAMERA_DEPTH_RW_SANITIZE)
  set(CAMERA_DEPTH_RW_HARDENED OFF)
endif()

# Programs that may lie anywhere in memory, as the library does.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

add_library(camera_depth_rw_hardening INTERFACE)
if(CAMERA_DEPTH_RW_HARDENED)
  # Level 3 also knows sizes that come up at run time; older compilers would warn of it.
  set(fortify_level 2)
  if((CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 12)
     OR (CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL
                                                    12))
    set(fortify_level 3)
  endif()
  # Some distributions' compilers come with a level of their own.
  target_compile_options(
    camera_depth_rw_hardening
    INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${fortify_level} -U_GLIBCXX_ASSERTIONS
              -D_GLIBCXX_ASSERTIONS -fstack-protector-strong)
  # With the assertions in between, GCC 12 takes putting strings together for overlapping copies.
  target_compile_options(camera_depth_rw_hardening
                         INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
    target_compile_options(camera_depth_rw_hardening INTERFACE -fstack-clash-protection
                                                               -fcf-protection)
  endif()
  target_link_options(camera_depth_rw_hardening INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)
endif()
