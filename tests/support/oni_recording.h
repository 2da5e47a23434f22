#pragma once

#include <XnCppWrapper.h>

#include <cstdint>
#include <string>
#include <vector>

namespace depth_io::test {

/// What the camera of a recording is.
struct OniCamera {
  bool has_depth = true;
  bool has_colour = true;
  unsigned depth_width = 640;
  unsigned depth_height = 480;
  unsigned colour_width = 640;
  unsigned colour_height = 480;
  unsigned largest_depth = 10000;  ///< millimetres
  unsigned frames_per_second = 30;
  XnPixelFormat pixel_format = XN_PIXEL_FORMAT_RGB24;
};

/// One moment of a recording. A stream whose vector is empty has no new frame in it.
struct OniFrame {
  std::vector<std::uint16_t> depth;  ///< [depth_height*depth_width] millimetres, row-major
  std::vector<std::uint8_t> colour;  ///< [colour_height*colour_width*3] R, G, B, row-major
  unsigned id = 0;  ///< the camera's number of the frame, at most the recording's count of them;
                    ///< 0: the frame's place in the recording, from 1
  std::uint64_t microseconds = 0;  ///< since the camera's start; must grow
};

/// A recording in OpenNI's `.oni` format: plays back like the camera that it was taken from, value
/// by value. Throws `std::runtime_error` with what OpenNI says when that does not work.
class OniRecording {
 public:
  OniRecording(const std::string& path, const OniCamera& camera);
  ~OniRecording();
  OniRecording(const OniRecording&) = delete;
  OniRecording& operator=(const OniRecording&) = delete;

  /// OpenNI leaves out a vector that is shorter than the camera's size, and takes a longer one.
  void add(const OniFrame& frame);

  /// Ends the recording: the file is whole from here on.
  void close();

 private:
  void open_depth();
  void open_colour();
  void add_node(xn::ProductionNode& node, std::vector<unsigned>& ids);
  void release();
  void number_frames();

  std::string path_;
  OniCamera camera_;
  xn::Context context_;
  xn::Recorder recorder_;
  xn::MockDepthGenerator depth_;
  xn::MockImageGenerator colour_;
  std::vector<unsigned> depth_ids_;
  std::vector<unsigned> colour_ids_;
  std::vector<std::vector<unsigned>*> node_ids_;  ///< by OpenNI's number of the node
};

/// A recording of these frames.
void write_oni(const std::string& path, const OniCamera& camera,
               const std::vector<OniFrame>& frames);

/// A configuration that plays a recording back, as fast as it is read, once or for ever.
std::string oni_configuration(const std::string& oni_path, bool repeat);

}  // namespace depth_io::test
