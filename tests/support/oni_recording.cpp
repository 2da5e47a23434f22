#include "tests/support/oni_recording.h"

#include <XnPropNames.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/temp_directory.h"

namespace depth_io::test {

namespace {

void require(XnStatus status, const char* action) {
  if (status != XN_STATUS_OK) {
    throw std::runtime_error(std::string(action) + ": " + xnGetStatusString(status));
  }
}

void set_number(xn::ProductionNode& node, const char* property, XnUInt64 value) {
  require(node.SetIntProperty(property, value), property);
}

template <class Value>
void set_value(xn::ProductionNode& node, const char* property, const Value& value) {
  require(node.SetGeneralProperty(property, sizeof value, &value), property);
}

void set_map(xn::ProductionNode& node, const XnMapOutputMode& mode, unsigned bytes_per_pixel) {
  set_number(node, XN_PROP_SUPPORTED_MAP_OUTPUT_MODES_COUNT, 1);
  set_value(node, XN_PROP_SUPPORTED_MAP_OUTPUT_MODES, mode);
  set_value(node, XN_PROP_MAP_OUTPUT_MODE, mode);
  set_number(node, XN_PROP_BYTES_PER_PIXEL, bytes_per_pixel);
}

/// A node is ready when all of its properties are set; the recorder takes no other.
void start(xn::ProductionNode& node) {
  set_number(node, XN_PROP_IS_GENERATING, TRUE);
  set_number(node, XN_PROP_STATE_READY, TRUE);
}

XnSupportedPixelFormats only(XnPixelFormat format) {
  XnSupportedPixelFormats formats{};
  formats.m_bRGB24 = format == XN_PIXEL_FORMAT_RGB24;
  formats.m_bYUV422 = format == XN_PIXEL_FORMAT_YUV422;
  formats.m_bGrayscale8Bit = format == XN_PIXEL_FORMAT_GRAYSCALE_8_BIT;
  formats.m_bGrayscale16Bit = format == XN_PIXEL_FORMAT_GRAYSCALE_16_BIT;
  return formats;
}

unsigned bytes_of(XnPixelFormat format) {
  switch (format) {
    case XN_PIXEL_FORMAT_RGB24:
      return 3;
    case XN_PIXEL_FORMAT_GRAYSCALE_8_BIT:
      return 1;
    default:
      return 2;
  }
}

template <class Value>
XnUInt32 size_in_bytes(const std::vector<Value>& values) {
  return static_cast<XnUInt32>(values.size() * sizeof(Value));
}

std::uint32_t word_at(const std::string& bytes, std::size_t offset) {
  std::uint32_t word = 0;
  bytes.copy(reinterpret_cast<char*>(&word), sizeof word, offset);
  return word;
}

void set_word(std::string& bytes, std::size_t offset, std::uint32_t word) {
  bytes.replace(offset, sizeof word, reinterpret_cast<const char*>(&word), sizeof word);
}

}  // namespace

OniRecording::OniRecording(const std::string& path, const OniCamera& camera)
    : path_(path), camera_(camera) {
  require(context_.Init(), "OpenNI");
  require(recorder_.Create(context_), "recorder");
  require(recorder_.SetDestination(XN_RECORD_MEDIUM_FILE, path.c_str()), path.c_str());
  if (camera_.has_depth) open_depth();
  if (camera_.has_colour) open_colour();
}

OniRecording::~OniRecording() { release(); }

void OniRecording::close() {
  release();
  number_frames();
}

void OniRecording::release() {
  recorder_.Release();
  depth_.Release();
  colour_.Release();
  context_.Release();
}

void OniRecording::open_depth() {
  require(depth_.Create(context_, "Depth1"), "depth node");
  set_map(depth_, {camera_.depth_width, camera_.depth_height, camera_.frames_per_second}, 2);
  set_number(depth_, XN_PROP_DEVICE_MAX_DEPTH, camera_.largest_depth);
  set_value(depth_, XN_PROP_FIELD_OF_VIEW, XnFieldOfView{1.0144686707507438, 0.78980943449644714});
  start(depth_);
  add_node(depth_, depth_ids_);
}

void OniRecording::open_colour() {
  require(colour_.Create(context_, "Image1"), "image node");
  set_map(colour_, {camera_.colour_width, camera_.colour_height, camera_.frames_per_second},
          bytes_of(camera_.pixel_format));
  set_value(colour_, XN_PROP_SUPPORTED_PIXEL_FORMATS, only(camera_.pixel_format));
  set_number(colour_, XN_PROP_PIXEL_FORMAT, camera_.pixel_format);
  start(colour_);
  add_node(colour_, colour_ids_);
}

/// The codec is named, because the one that OpenNI takes by itself loses colour by JPEG, and depth
/// at the end of its range.
void OniRecording::add_node(xn::ProductionNode& node, std::vector<unsigned>& ids) {
  require(recorder_.AddNodeToRecording(node, XN_CODEC_UNCOMPRESSED), "node of the recording");
  node_ids_.push_back(&ids);
}

/// Colour is the earlier one: a frame that is played back waits for depth, and takes the colour
/// that came before it.
void OniRecording::add(const OniFrame& frame) {
  if (camera_.has_colour && !frame.colour.empty()) {
    require(colour_.SetData(frame.id, frame.microseconds, size_in_bytes(frame.colour),
                            frame.colour.data()),
            "colour");
    colour_ids_.push_back(frame.id);
  }
  if (camera_.has_depth && !frame.depth.empty()) {
    require(depth_.SetData(frame.id, frame.microseconds + 1, size_in_bytes(frame.depth),
                           frame.depth.data()),
            "depth");
    depth_ids_.push_back(frame.id);
  }
  require(recorder_.Record(), "frame of the recording");
}

/// The recorder counts frames by itself, so numbers that a camera skipped or gave twice have to be
/// put into its file: records of "NIR\0", type, node, size of the fields with this header, size of
/// the payload, 8 bytes, then the fields; of a frame they are its time and its number.
void OniRecording::number_frames() {
  constexpr std::size_t kFileHeader = 24;
  constexpr std::uint32_t kFrameRecord = 10;
  constexpr std::size_t kTypeOffset = 4;
  constexpr std::size_t kNodeOffset = 8;
  constexpr std::size_t kFieldsSizeOffset = 12;
  constexpr std::size_t kPayloadSizeOffset = 16;
  constexpr std::size_t kNumberOffset = 36;
  std::string bytes = read_file(path_);
  std::vector<std::size_t> frames_seen(node_ids_.size());
  std::size_t at = kFileHeader;
  while (at + kNumberOffset + sizeof(std::uint32_t) <= bytes.size()) {
    const std::size_t node = word_at(bytes, at + kNodeOffset) - 1;
    if (word_at(bytes, at + kTypeOffset) == kFrameRecord) {
      const unsigned id = node_ids_.at(node)->at(frames_seen.at(node)++);
      if (id != 0) set_word(bytes, at + kNumberOffset, id);
    }
    at += word_at(bytes, at + kFieldsSizeOffset) + word_at(bytes, at + kPayloadSizeOffset);
  }
  write_file(path_, bytes);
}

void write_oni(const std::string& path, const OniCamera& camera,
               const std::vector<OniFrame>& frames) {
  OniRecording recording(path, camera);
  for (const OniFrame& frame : frames) recording.add(frame);
  recording.close();
}

std::string oni_configuration(const std::string& oni_path, bool repeat) {
  return "<OpenNI>\n  <ProductionNodes>\n    <Recording file=\"" + oni_path +
         "\" playbackSpeed=\"0.0\" repeat=\"" + (repeat ? "true" : "false") +
         "\"/>\n  </ProductionNodes>\n</OpenNI>\n";
}

}  // namespace depth_io::test
