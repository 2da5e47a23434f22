#include "tools/recorder.h"

#include "codec/frame_names.h"
#include "engine/camera_depth_rw.h"
#include "tools/failure.h"
#include "tools/files.h"
#include "tools/frame_time.h"
#include "tools/output.h"

namespace depth_io::tools {
namespace {

/// Depth above which a pixel counts as having depth, as playback marks it.
constexpr float kHasDepthAbove = 0.01F;
constexpr float kNoRateLimit = -1.0F;

}  // namespace

FileBytes& FileBytes::operator+=(const FileBytes& other) {
  colour += other.colour;
  label_map += other.label_map;
  reference += other.reference;
  codes += other.codes;
  errors += other.errors;
  return *this;
}

Recorder::Recorder(const RecorderOptions& options, LibraryLog& log)
    : options_(options),
      log_(log),
      engine_(std::make_unique<KV_RGBD_CameraCompression>(options.history)) {
  KV_RGBD_CameraCompression& engine = *engine_;
  engine.a11 = kKinectIntrinsics.a11;
  engine.a22 = kKinectIntrinsics.a22;
  engine.cx = kKinectIntrinsics.cx;
  engine.cy = kKinectIntrinsics.cy;
  engine.VERIFICATION = options.verify_writes ? 1 : 0;

  options_.directory += "/";
  std::string depth_stem = kDepthStem;
  std::string colour_stem = kColourStem;
  engine.start_recording(options_.directory.data(), depth_stem.data(), colour_stem.data(),
                         kNumberDigits);
  if (options.motion_percent || options.every) engine.stop_recording();
  if (options.motion_percent) {
    engine.USE_FRAME_DIFF = true;
    engine.threshold_pct_motion = static_cast<float>(*options.motion_percent);
  }
  if (options.every) {
    engine.Record_period = true;
    engine.Record_period_gap = static_cast<int>(*options.every);
  }
}

Recorder::~Recorder() = default;

bool Recorder::record(Frame& frame, long index, const Moment& m) {
  log_.start_operation();
  if (frame.has_colour) {
    engine_->input(frame.depth.data(), frame.bgr.data());
  } else {
    engine_->input(frame.depth.data());
  }
  mark_readings();
  const int number = static_cast<int>(index);
  const bool stored =
      options_.naming == Naming::kNumber
          ? engine_->apply(number, 0)
          : engine_->apply_with_timestamp(number, m.year, m.month, m.day, m.hour, m.minute,
                                          m.second, m.millisecond, kNoRateLimit, 0);
  if (!stored) throw Failure(format_text("frame %ld could not be written", index));
  // The library goes on after some failed checks, but it wants a key.
  if (log_.key_waits() > 0) {
    throw Failure(format_text("frame %ld was not written as it should be", index));
  }
  if (!engine_->RECORDED) return false;
  bytes_ += measure_files(frame, index, m);
  return true;
}

void Recorder::mark_readings() {
  const std::size_t count = static_cast<std::size_t>(engine_->MapHasDepth.N);
  for (std::size_t i = 0; i < count; ++i) {
    engine_->MapHasDepth.buffer[i] = engine_->MapZd.buffer[i] > kHasDepthAbove;
  }
}

FileBytes Recorder::measure_files(const Frame& frame, long index, const Moment& moment) const {
  const std::string stamp = stamp_text(moment);
  FrameKey key;
  key.number_digits = kNumberDigits;
  key.frame_number = static_cast<int>(index);
  key.by_timestamp = options_.naming == Naming::kTime;
  key.timestamp = stamp.c_str();
  const auto size_of = [&](const char* stem, const char* ending) -> std::uintmax_t {
    PathText path;
    append_frame_name(path, options_.directory.c_str(), stem, false, key);
    path.append(ending);
    const std::optional<std::uintmax_t> size = regular_file_size(path.c_str());
    if (!size) throw Failure(format_text("'%s' was not written", path.c_str()));
    return *size;
  };
  FileBytes bytes;
  if (frame.has_colour) bytes.colour = size_of(kColourStem, kJpegEnding);
  bytes.label_map = size_of(kDepthStem, kLabelMapEnding);
  bytes.reference = size_of(kDepthStem, kReferenceEnding);
  bytes.codes = size_of(kDepthStem, kJpegEnding);
  bytes.errors = size_of(kDepthStem, kErrorEnding);
  return bytes;
}

}  // namespace depth_io::tools
