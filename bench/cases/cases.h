#pragma once

/// Each adds its rows to the table; what they show is measured when the first of them runs.
namespace depth_io::bench {

/// Our codec, the bare JPEG calls and other codecs on real and synthetic frames.
void register_frame_cases();

/// Capture without recording, and the measure of motion.
void register_capture_cases();

/// Construction and memory of the engines, and what the length of their history costs.
void register_engine_cases();

/// Sorting and listing of recorded names.
void register_catalogue_cases();

/// Frames with more and more labels, runs and error records.
void register_growth_cases();

/// The camera reader beside the OpenNI calls that it cannot do without; none without OpenNI.
void register_camera_cases();

}  // namespace depth_io::bench
