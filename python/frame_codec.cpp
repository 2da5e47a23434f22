#include "python/frame_codec.h"

#include <algorithm>
#include <array>
#include <new>
#include <thread>
#include <utility>

#include "codec/console.h"
#include "codec/frame_names.h"
#include "codec/frame_reader.h"
#include "codec/frame_writer.h"
#include "codec/liblinjpeg.h"
#include "tools/system/failure.h"

namespace depth_io::python {

using tools::Failure;
using tools::kFrameHeight;
using tools::kFramePixels;
using tools::kFrameWidth;

/// Never destroyed: threads may still be at work when the process ends.
IdleStore<WorkingRecord::Owner>& WorkingRecord::store() {
  static auto& instance = *new IdleStore<Owner>(std::max(1U, std::thread::hardware_concurrency()));
  return instance;
}

void WorkingRecord::Release::operator()(struct_read_write_depth* record) const {
  release_record(*record);
  delete record;  // NOLINT: the deleter of its owner
}

WorkingRecord::WorkingRecord() : record_(store().take()) {
  if (record_ != nullptr) return;
  record_ = Owner(new struct_read_write_depth);
  InitStruct(*record_);
  if (!Allocate(*record_, kFrameWidth, kFrameHeight)) throw std::bad_alloc();
}

WorkingRecord::~WorkingRecord() { store().give(std::move(record_)); }

namespace {

void decode_colour(const std::string& file_name, unsigned char* bgr) {
  const JpegReadResult image = read_jpeg_file(file_name.c_str(), {bgr, kFramePixels * 3});
  if (image.width > 0 && (image.width != kFrameWidth || image.height != kFrameHeight)) {
    throw Failure("the colour image '" + file_name + "' is not 640 x 480 pixels");
  }
  if (!image.decoded) throw Failure("the colour image '" + file_name + "' cannot be read");
  if (image.warnings > 0) throw Failure("the colour image '" + file_name + "' is damaged");
}

/// The library takes files that were cut off for what they hold; depths that are metres off look
/// like any others.
void refuse_damaged(const std::string& base_name, const FrameDamage& damage) {
  const auto refuse = [&](const char* ending) {
    throw Failure("the frame '" + base_name + "' is damaged: its " + ending + " file is not whole");
  };
  if (damage.label_map) refuse(kLabelMapEnding);
  if (damage.references) refuse(kReferenceEnding);
  if (damage.codes) refuse(kJpegEnding);
  if (damage.errors) refuse(kErrorEnding);
}

/// Has a record rebuild its depths in memory of the caller's, which saves a copy.
class DepthIn {
 public:
  DepthIn(struct_read_write_depth& record, float* depth)
      : record_(record), own_(std::exchange(record.LoadedDepth, depth)) {}
  ~DepthIn() { record_.LoadedDepth = own_; }
  DepthIn(const DepthIn&) = delete;
  DepthIn& operator=(const DepthIn&) = delete;

 private:
  struct_read_write_depth& record_;
  float* own_;
};

}  // namespace

tools::Intrinsics decode_frame(const FramePlace& place, float* depth, unsigned char* bgr) {
  WorkingRecord record;
  const DepthIn redirected(*record, depth);
  // A frame without labels leaves them as they are, which is those of another frame.
  record->loaded_a11 = record->loaded_a22 = record->loaded_cx = record->loaded_cy = 0;
  FrameDamage damage;
  if (!load_and_check(*record, place.depth.c_str(), damage)) {
    throw Failure("the frame '" + place.depth + "' cannot be read");
  }
  refuse_damaged(place.depth, damage);
  const tools::Intrinsics intrinsics{record->loaded_a11, record->loaded_a22, record->loaded_cx,
                                     record->loaded_cy};
  if (!place.colour.empty()) decode_colour(place.colour, bgr);
  return intrinsics;
}

void take_pixels(const FramePixels& pixels, std::optional<double> max_depth, tools::Frame& frame) {
  std::copy_n(pixels.depth, kFramePixels, frame.depth.begin());
  if (max_depth) tools::remove_unusable_readings(frame.depth, static_cast<float>(*max_depth));
  frame.has_colour = pixels.bgr != nullptr;
  if (frame.has_colour) std::copy_n(pixels.bgr, frame.bgr.size(), frame.bgr.begin());
}

std::string FrameToWrite::name() const {
  PathText text;
  append_frame_name(text, "", tools::kDepthStem, key_first,
                    {!stamp.empty(), digits, number, stamp.c_str()});
  return text.c_str();
}

void write_frame(FrameToWrite wanted, tools::Frame& frame) {
  WorkingRecord record;
  std::array<char, kStampSize> stamp = {};
  copy_text(stamp.data(), stamp.size(), wanted.stamp.c_str());
  std::string depth_stem = tools::kDepthStem;
  std::string colour_stem = tools::kColourStem;
  constexpr int kReadBack = 1;
  constexpr int kTrust = -1;
  const tools::Intrinsics& camera = wanted.intrinsics;
  const int written = write_compressed_data(
      wanted.key_first, wanted.verify ? kReadBack : kTrust, *record, wanted.directory.data(),
      depth_stem.data(), frame.has_colour, colour_stem.data(), frame.bgr.data(),
      !wanted.stamp.empty(), wanted.digits, wanted.number, stamp.data(), frame.depth.data(),
      camera.a11, camera.a22, camera.cx, camera.cy, 0);
  if (written != 1) {
    throw Failure("the frame '" + wanted.directory + wanted.name() + "' cannot be written");
  }
}

}  // namespace depth_io::python
