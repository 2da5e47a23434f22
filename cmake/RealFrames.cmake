# Where real frames lie: beside the project, not in it.
if(DEFINED ENV{CAMERA_DEPTH_RW_DATA})
  set(real_frames $ENV{CAMERA_DEPTH_RW_DATA})
else()
  set(real_frames ${PROJECT_SOURCE_DIR}/../shared/data)
endif()
