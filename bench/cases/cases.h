#pragma once

/// Each adds its rows to the table; what they show is measured when the first of them runs.
namespace depth_io::bench {

/// Our codec, the bare JPEG calls and other codecs on real and synthetic frames.
void register_frame_cases();

/// The camera reader beside the OpenNI calls that it cannot do without; none without OpenNI.
void register_camera_cases();

}  // namespace depth_io::bench
