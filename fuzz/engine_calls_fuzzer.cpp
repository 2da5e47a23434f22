#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>

#include "codec/liblinjpeg.h"
#include "engine/camera_depth_rw.h"
#include "engine/camera_depth_rw2.h"
#include "engine/camera_depth_rw3.h"
#include "fuzz/engine_calls.h"
#include "fuzz/fuzz_support.h"

// A short sequence of calls to one engine. The first byte chooses the generation.

namespace {

using depth_io::Moment;
using depth_io::fuzz::EngineCall;
using depth_io::fuzz::EngineCalls;
using depth_io::fuzz::Input;

constexpr int kMostCalls = 10;
constexpr std::size_t kMostBytes = 400;

using First = KV_RGBD_CameraCompression;
using Second = KV_RGBD_CameraCompression2;
using Third = KV_RGBD_CameraCompression3;

// --- First generation ---------------------------------------------------------------------------

void play_first(First& engine, const EngineCall& c) {
  const Moment& m = c.start;
  switch (c.number % 4) {
    case 0:
      engine.read(c.depth, c.colour, c.directory, c.depth_stem, c.colour_stem, c.second_number,
                  c.third_number);
      break;
    case 1:
      engine.read(c.depth, c.directory, c.depth_stem, m.year, m.month, m.day, m.hour, m.minute,
                  m.second, m.millisecond);
      break;
    case 2:
      engine.read(c.depth, c.colour, c.directory, c.depth_stem, c.colour_stem, c.text);
      break;
    default:
      engine.read_for_calib_tool(c.depth, c.colour, c.depth_name, c.colour_name);
  }
}

void record_first(First& engine, const EngineCall& c) {
  const Moment& a = c.start;
  const Moment& b = c.stop;
  if (c.flag) {
    // A window of any numbers could be 4 000 000 000 of them, each told to be gone.
    const int first = depth_io::wrapping_subtract(c.number, 3);
    engine.recording(std::min(first, c.number), c.number, c.second_number, c.directory,
                     c.depth_stem, c.colour_stem, c.third_number, c.debug);
  } else {
    engine.recording(a.year, a.month, a.day, a.hour, a.minute, a.second, a.millisecond, b.year,
                     b.month, b.day, b.hour, b.minute, b.second, b.millisecond, c.directory,
                     c.depth_stem, c.debug);
  }
}

void call_first(First& engine, const EngineCall& c) {
  const Moment& m = c.start;
  switch (c.choice) {
    case 0:
    case 1:
      engine.input(c.depth, c.colour);
      break;
    case 2:
      engine.start_recording(c.directory, c.depth_stem, c.colour_stem, c.number);
      break;
    case 3:
    case 4:
      engine.apply(c.number, c.debug);
      break;
    case 5:
    case 6:
    case 7:
      engine.apply_with_timestamp(c.number, m.year, m.month, m.day, m.hour, m.minute, m.second,
                                  m.millisecond, c.rate, c.debug);
      break;
    case 8:
    case 9:
      record_first(engine, c);
      break;
    case 10:
    case 11:
      play_first(engine, c);
      break;
    case 12:
      engine.Construct(c.ring_size);
      break;
    case 13: {
      char stamp[depth_io::kStampSize];
      engine.GetHistoryCorrespondingTimeStamp(c.flag ? stamp : nullptr, c.number);
      break;
    }
    case 14:
      engine.USE_FRAME_DIFF = c.flag;
      engine.Record_period = c.second_flag;
      engine.threshold_pct_motion = c.rate;
      engine.Record_period_gap = c.number;
      engine.MapHasDepth.Init(c.third_flag);
      break;
    default:
      engine.REVERSE_NAME = c.flag;
      engine.VERIFICATION = c.number;
      engine.output_to_cvMat_depth(c.depth);
      engine.output_to_cvMat_bgrImage(c.colour);
      if (c.third_flag) engine.stop_recording();
  }
}

// --- Second and third generation ----------------------------------------------------------------

void set_mode(KV_RGBD_CameraCompression2_parameters& parameters, const EngineCall& c) {
  const bool writes = c.number >= 0;
  parameters.SetWriteOrRead(writes ? 'W' : 'R');
  if (!c.third_flag) return;
  if (writes) {
    parameters.ActivateSubDirectory(c.second_number);
  } else {
    parameters.ActivateSubDirectory();
  }
}

void set_mode(KV_RGBD_CameraCompression3_parameters& parameters, const EngineCall& c) {
  if (c.number >= 0) {
    parameters.SetWriteMode();
    return;
  }
  const Moment& a = c.start;
  const Moment& b = c.stop;
  // One day: a walk through years of missing folders is long, and nothing else.
  parameters.SetReadMode(a.year, a.month, a.day, a.hour, a.minute, a.second, a.millisecond, a.year,
                         a.month, a.day, b.hour, b.minute, b.second, b.millisecond);
}

template <typename Engine>
void construct(Engine& engine, const EngineCall& c) {
  decltype(engine.param) parameters;
  parameters.SetCameraType(c.third_number == 9 ? 2 : 1);
  parameters.SetSizeBuffer(c.ring_size);
  parameters.SetDirectory(c.directory);
  parameters.SetDepthStem(c.depth_stem);
  if (c.flag) parameters.SetBGRStem(c.colour_stem);
  if (c.second_flag) parameters.SetMaxFPS(c.rate);
  set_mode(parameters, c);
  engine.Construct(parameters);
}

template <typename Engine>
void set_position(Engine& engine, const EngineCall& c) {
  const Moment& m = c.start;
  if (c.flag) engine.SetCurrentFrame(c.number);
  if (c.second_flag) engine.SetCurrentTimeStamp(c.text);
  if (c.third_flag) {
    engine.SetCurrentTimeStamp(m.year, m.month, m.day, m.hour, m.minute, m.second, m.millisecond);
  }
}

/// A whole image of the right size, so that nothing but the engine can be what is missing.
void write_colour_image(const EngineCall& c) {
  if (c.colour_name == nullptr || c.colour == nullptr) return;
  JpegFile().RGBToJpegFile(c.colour_name, c.colour, depth_io::kFrameWidth, depth_io::kFrameHeight,
                           true, 95);
}

/// Calls that both generations have.
template <typename Engine>
void call_stamped(Engine& engine, const EngineCall& c) {
  const Moment& a = c.start;
  const Moment& b = c.stop;
  switch (c.choice) {
    case 0:
      construct(engine, c);
      break;
    case 1:
      if (engine.DepthMap == nullptr || c.depth == nullptr) break;
      std::copy_n(c.depth, depth_io::kFramePixels, engine.DepthMap);
      engine.MapHasDepth.Init(c.flag);
      break;
    case 2:
    case 3:
    case 4:
      engine.apply_with_timestamp(c.flag, c.number, a.year, a.month, a.day, a.hour, a.minute,
                                  a.second, a.millisecond, c.debug);
      break;
    case 5:
    case 6:
      engine.recording_from_buffer(a.year, a.month, a.day, a.hour, a.minute, a.second,
                                   a.millisecond, b.year, b.month, b.day, b.hour, b.minute,
                                   b.second, b.millisecond, c.flag ? 1 : 0, c.debug);
      break;
    case 7:
      engine.USE_FRAME_DIFF = c.flag;
      engine.Record_period = c.second_flag;
      engine.threshold_pct_motion = c.rate;
      engine.Record_period_gap = c.number;
      engine.REVERSE_NAME = c.third_flag;
      engine.VERIFICATION = c.second_number;
      break;
    case 8:
      set_position(engine, c);
      break;
    case 9:
      engine.read_for_calib_tool(c.depth_name, c.colour_name);
      break;
    case 10:
      engine.GetHistoryOldest();
      if (c.flag) write_colour_image(c);
      engine.LoadColourImage(c.colour_name);
      break;
    default:
      engine.Read(c.debug);
      engine.Read(c.debug);
  }
}

void call_second(Second& engine, const EngineCall& c) {
  switch (c.choice) {
    case 13:
      engine.apply_with_index(c.flag, c.number, c.debug);
      break;
    case 14:
      engine.recording_from_buffer(c.number, c.number, c.second_number, c.flag ? 1 : 0, c.debug);
      break;
    case 15:
      engine.SubDirHandle(c.flag, c.number);
      if (c.second_flag) engine.SubDirUpdate();
      break;
    default:
      call_stamped(engine, c);
  }
}

void call_third(Third& engine, const EngineCall& c) {
  const Moment& m = c.start;
  // Without a directory the folders would be made in the root of the file system.
  const bool has_directory = engine.param.Directory[0] != '\0';
  switch (c.choice) {
    case 13:
      if (has_directory) {
        engine.SubDirHandle(c.number, m.year, m.month, m.day, m.hour, m.minute, m.second,
                            m.millisecond);
      }
      break;
    case 14:
      if (has_directory) {
        engine.SubDirHandle_for_buffer_recording(m.year, m.month, m.day, m.hour, m.minute, m.second,
                                                 m.millisecond);
      }
      break;
    default:
      call_stamped(engine, c);
  }
}

template <typename Engine>
void run(Input& input, const std::string& directory,
         void (*call)(Engine& engine, const EngineCall& c)) {
  EngineCalls calls(input, directory);
  Engine engine;
  for (int i = 0; i < kMostCalls && !input.empty(); ++i) call(engine, calls.next());
}

/// Stays in a directory as long as it lives: an engine that was given none writes to the current
/// one.
class CurrentDirectory {
 public:
  explicit CurrentDirectory(const std::string& path) : before_(std::filesystem::current_path()) {
    std::filesystem::current_path(path);
  }
  ~CurrentDirectory() { std::filesystem::current_path(before_, ignored_); }
  CurrentDirectory(const CurrentDirectory&) = delete;
  CurrentDirectory& operator=(const CurrentDirectory&) = delete;

 private:
  std::filesystem::path before_;
  std::error_code ignored_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const depth_io::fuzz::ScratchDirectory scratch;
  if (size > kMostBytes) return 0;
  scratch.clear();
  const std::string& directory = scratch.path();
  const CurrentDirectory inside(directory);
  Input input(bytes, size);
  switch (input.below(3)) {
    case 0:
      run<First>(input, directory, call_first);
      break;
    case 1:
      run<Second>(input, directory, call_second);
      break;
    default:
      run<Third>(input, directory, call_third);
  }
  return 0;
}
