#pragma once

#include <XnCppWrapper.h>
#include <XnFPSCalculator.h>

#include "codec/export.h"

/// Reads depth and colour frames from an OpenNI 1.x camera, or from a recording that an OpenNI
/// configuration plays back, in the form that the recording engines take. Used by one thread at a
/// time; nothing is allocated per frame of ours. Diagnostics go to the library's console; nothing
/// here waits for a key.
///
/// `init` once, `process` for each frame, `release` at the end; then `init` may be called again. In
/// any other order the calls fail with a message.
class CAMERA_DEPTH_RW_EXPORT class_asus_reader {
 public:
  xn::Context context;           ///< OpenNI itself
  xn::ScriptNode scriptNode;     ///< made by the configuration
  xn::EnumerationErrors errors;  ///< of the configuration
  xn::DepthGenerator depth;      ///< the camera's depth node
  xn::ImageGenerator g_image;    ///< the camera's colour node
  XnFPSData xnFPS;               ///< frame-rate meter; null before the first `init`
  xn::DepthMetaData depthMD;     ///< of the last depth frame
  xn::ImageMetaData imageMD;     ///< of the last colour frame
  ///@{
  /// Planes of a colour image of half the resolution.
  unsigned char tempR[480][640];
  unsigned char tempG[480][640];
  unsigned char tempB[480][640];
  ///@}
  float DepthMap[307201];  ///< [480*640] metres, row-major; 0: no reading; one spare entry
  unsigned char
      ColourImage[1000000];  ///< [480*640*3] R, G, B, row-major, in the first 921600 bytes

  class_asus_reader();
  ~class_asus_reader();
  class_asus_reader(const class_asus_reader&) = delete;
  class_asus_reader& operator=(const class_asus_reader&) = delete;

  /// Opens the camera that the OpenNI configuration file `SAMPLE_XML_PATH` describes; it needs a
  /// depth and an image node. With `debug` 1 it traces its steps. Returns 0, the OpenNI status of
  /// what failed, or -1 when there is no such regular file; prints the reason.
  int init(char* SAMPLE_XML_PATH, int debug);

  /// Waits for the next depth frame and copies it into `DepthMap`, the colour frame of the same
  /// time into `ColourImage` when it is 640 * 480, or 320 * 240, which is enlarged by pixel
  /// repetition. Larger depth frames are cut off where the array ends. Prints a line with the
  /// frame's number, its middle reading and the frame rate, and the resolutions. When there is no
  /// new frame it says so and the arrays keep the last one. Returns 0.
  int process(int debug);

  /// Lets go of the camera. Harmless when there is none.
  void release();

  int GetWidthDepth();   ///< Width of the last depth frame, pixels.
  int GetHeightDepth();  ///< Height of the last depth frame, pixels.
  int GetWidthImage();   ///< Width of the last colour frame, pixels.
  int GetHeightImage();  ///< Height of the last colour frame, pixels.

 private:
  XnStatus open_configuration(char* path, int debug);
  template <class Node>
  XnStatus find_node(XnProductionNodeType type, Node& node, const char* action);
  XnStatus start_rate_meter();
  bool is_half_opened() const;
  void convert_depth();
  void convert_colour(int debug);
  void enlarge_colour();
};

/// The one camera of the process.
extern CAMERA_DEPTH_RW_EXPORT class_asus_reader THE_READER;

// The same camera without its class.

/// `THE_READER.init`.
CAMERA_DEPTH_RW_EXPORT int INIT_ASUS_READER(char* SAMPLE_XML_PATH, int debug);
/// `THE_READER.process`.
CAMERA_DEPTH_RW_EXPORT void PROCESS_ASUS_READER(int debug);
/// `THE_READER.release`.
CAMERA_DEPTH_RW_EXPORT void RELEASE_ASUS_READER();

///@{
/// A side of the arrays in pixels, 640 * 480, whatever the camera delivers.
CAMERA_DEPTH_RW_EXPORT int GET_WIDTH_DEPTH_ASUS_READER();
CAMERA_DEPTH_RW_EXPORT int GET_HEIGHT_DEPTH_ASUS_READER();
CAMERA_DEPTH_RW_EXPORT int GET_WIDTH_IMAGE_ASUS_READER();
CAMERA_DEPTH_RW_EXPORT int GET_HEIGHT_IMAGE_ASUS_READER();
///@}

/// Metres at `index` of `DepthMap`; 0 outside it.
CAMERA_DEPTH_RW_EXPORT float GET_DEPTH_ASUS_READER_AT(int index);
/// Byte at `index` of `ColourImage`; 0 outside it.
CAMERA_DEPTH_RW_EXPORT unsigned char GET_IMAGE_ASUS_READER_AT(int index);

/// Whether OpenNI finds a file of this name.
CAMERA_DEPTH_RW_EXPORT bool fileExists(const char* fn);
