#pragma once

#include "codec/timestamps.h"

class KV_RGBD_CameraCompression3;

/// The third generation's day, hour and minute folders. The paths stand in the engine's
/// `CurrentFolderString...` fields.
namespace depth_io {

/// Makes the folders of a captured frame and tells about each. `from_the_top` makes all three
/// levels; otherwise a level is made when its own field differs from the last recorded frame's.
bool make_capture_folders(KV_RGBD_CameraCompression3& engine, const Moment& moment,
                          bool from_the_top);

/// Makes all three folders of a frame out of the ring; tells about failures only.
bool make_buffer_folders(KV_RGBD_CameraCompression3& engine, const Moment& moment);

/// Sets the three paths for reading, and makes nothing. Paths that do not fit become empty.
void find_folders(KV_RGBD_CameraCompression3& engine, const Moment& moment);

}  // namespace depth_io
