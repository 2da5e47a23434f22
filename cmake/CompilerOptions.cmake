# What every target of this project is compiled with; not passed on to those who use the library.
add_library(camera_depth_rw_options INTERFACE)

# Depth codes are single-precision arithmetic in a fixed order on every machine: no contraction to
# fused multiply-add, and never -ffast-math.
target_compile_options(camera_depth_rw_options INTERFACE -ffp-contract=off)
target_compile_options(camera_depth_rw_options INTERFACE -Wall -Wextra -Wshadow -Wconversion)
if(CAMERA_DEPTH_RW_WARNINGS_AS_ERRORS)
  target_compile_options(camera_depth_rw_options INTERFACE -Werror)
endif()

# For tests and fuzzers, which put many strings together: GCC 12 takes that for memory errors. The
# sanitizers look for the real ones.
add_library(camera_depth_rw_string_options INTERFACE)
target_compile_options(
  camera_depth_rw_string_options
  INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict;-Wno-array-bounds;-Wno-stringop-overflow>)

# The optimised loops over pixels want the vectoriser, which GCC 12 turns on at -O3 only.
string(REPLACE "-O2" "-O3" CMAKE_CXX_FLAGS_RELWITHDEBINFO "${CMAKE_CXX_FLAGS_RELWITHDEBINFO}")

if(CAMERA_DEPTH_RW_SANITIZE)
  # Float division by zero is left out: a rate limit of 0 divides by it on purpose.
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

include(${CMAKE_CURRENT_LIST_DIR}/Hardening.cmake)
target_link_libraries(camera_depth_rw_options INTERFACE camera_depth_rw_hardening)
