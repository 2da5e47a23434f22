#include <memory>
#include <type_traits>

#include "engine/stamped_engine.h"
#include "tests/support/failing_allocations.h"
#include "tests/support/recorders.h"

// Engines that were not constructed, whose construction was refused, or for which there was no
// memory: every call fails or does nothing, and none touches what is not there.
namespace depth_io::test {
namespace {

const Moment kStart = moment_of(1);
const Moment kStop = moment_of(2);

/// A frame of the right size on the disk, so that reading fails for want of an engine only.
class FrameOnDisk {
 public:
  FrameOnDisk() {
    FirstGenerationRecorder recorder(directory_.path());
    recorder.show_flat(1);
    EXPECT_TRUE(recorder.capture(kStart, true));
    const std::string stamp = stamp_of(kStart);
    depth_name_ = directory_.path() + "/depth-" + stamp;
    colour_name_ = directory_.path() + "/bgrimage-" + stamp + ".jpg";
    EXPECT_TRUE(std::filesystem::exists(colour_name_));
  }
  std::string folder() const { return directory_.path() + "/"; }
  char* depth_name() { return depth_name_.data(); }
  char* colour_name() { return colour_name_.data(); }

 private:
  TempDirectory directory_;
  std::string depth_name_;
  std::string colour_name_;
};

// --- The later generations ----------------------------------------------------------------------

template <typename Engine>
bool capture_at_start(Engine& engine, bool records) {
  return engine.apply_with_timestamp(records, 1, kStart.year, kStart.month, kStart.day, kStart.hour,
                                     kStart.minute, kStart.second, kStart.millisecond, 0);
}

template <typename Engine>
bool record_out_of_ring(Engine& engine, int print) {
  return engine.recording_from_buffer(
      kStart.year, kStart.month, kStart.day, kStart.hour, kStart.minute, kStart.second, 0,
      kStop.year, kStop.month, kStop.day, kStop.hour, kStop.minute, kStop.second, 0, print, 0);
}

/// What both generations have, with each way of naming the frame that is wanted.
template <typename Engine>
void expect_harmless(Engine& engine, FrameOnDisk& frame) {
  ConsoleCapture capture;
  EXPECT_EQ(engine.GetSizeHistory(), 0);
  EXPECT_EQ(engine.GetHistoryOldest(), -1);
  for (const bool motion : {false, true}) {
    engine.USE_FRAME_DIFF = motion;
    EXPECT_FALSE(capture_at_start(engine, false));
    EXPECT_FALSE(capture_at_start(engine, true));
  }
  record_out_of_ring(engine, 0);
  EXPECT_FALSE(record_out_of_ring(engine, 1));
  EXPECT_FALSE(engine.read_for_calib_tool(frame.depth_name()));
  EXPECT_FALSE(engine.read_for_calib_tool(frame.depth_name(), frame.colour_name()));
  engine.SetCurrentFrame(1);
  EXPECT_FALSE(engine.Read(0));
  forget_position(engine);
  engine.SetCurrentTimeStamp(kStart.year, kStart.month, kStart.day, kStart.hour, kStart.minute,
                             kStart.second, kStart.millisecond);
  EXPECT_FALSE(engine.Read(0));
  forget_position(engine);
  Text stamp(stamp_of(kStart));
  engine.SetCurrentTimeStamp(stamp);
  EXPECT_FALSE(engine.Read(0));
  engine.param.BGRStem_active = true;
  EXPECT_FALSE(engine.LoadColourImage(frame.colour_name()));
}

void expect_all_harmless(KV_RGBD_CameraCompression2& engine, FrameOnDisk& frame) {
  ConsoleCapture capture;
  EXPECT_FALSE(engine.apply_with_index(true, 1, 0));
  EXPECT_FALSE(engine.recording_from_buffer(0, 1, 1, 1, 0));
  expect_harmless(engine, frame);
}

void expect_all_harmless(KV_RGBD_CameraCompression3& engine, FrameOnDisk& frame) {
  ConsoleCapture capture;
  expect_harmless(engine, frame);
  engine.Read_FindNextFolder_and_update_CurrentTime(0);
}

/// An engine that plays the frame's directory; nothing is recorded there.
struct SecondPlayer {
  using Engine = KV_RGBD_CameraCompression2;
  explicit SecondPlayer(const FrameOnDisk& frame)
      : parameters(second_parameters(
            {.directory = frame.folder(), .mode = 'R', .colour_stem = "bgrimage", .history = 2})) {}
  KV_RGBD_CameraCompression2_parameters parameters;
};

struct ThirdPlayer {
  using Engine = KV_RGBD_CameraCompression3;
  explicit ThirdPlayer(const FrameOnDisk& frame) {
    set_recording(parameters, frame.folder());
    set_colour(parameters);
    parameters.SetSizeBuffer(2);
    parameters.SetReadMode(kStart.year, kStart.month, kStart.day, kStart.hour, kStart.minute,
                           kStart.second, kStart.millisecond, kStop.year, kStop.month, kStop.day,
                           kStop.hour, kStop.minute, kStop.second, kStop.millisecond);
  }
  KV_RGBD_CameraCompression3_parameters parameters;
};

template <typename AnyPlayer>
class UnreadyEngine : public testing::Test {
 protected:
  using Engine = typename AnyPlayer::Engine;
  FrameOnDisk frame_;
  AnyPlayer player_{frame_};
};

struct GenerationName {
  template <typename AnyPlayer>
  static std::string GetName(int /*index*/) {
    return std::is_same_v<AnyPlayer, SecondPlayer> ? "Second" : "Third";
  }
};
using Players = testing::Types<SecondPlayer, ThirdPlayer>;
TYPED_TEST_SUITE(UnreadyEngine, Players, GenerationName);

TYPED_TEST(UnreadyEngine, IsHarmlessBeforeItsConstruction) {
  typename TestFixture::Engine engine;
  expect_all_harmless(engine, this->frame_);
}

TYPED_TEST(UnreadyEngine, IsHarmlessAfterARefusedConstruction) {
  typename TestFixture::Engine engine;
  this->player_.parameters.Directory_active = false;
  EXPECT_FALSE(quietly([&] { return engine.Construct(this->player_.parameters); }));
  expect_all_harmless(engine, this->frame_);
}

TYPED_TEST(UnreadyEngine, IsHarmlessWithoutMemory) {
  const auto construct = [&](auto& engine) { engine.Construct(this->player_.parameters); };
  const auto make = [&] {
    auto engine = std::make_unique<typename TestFixture::Engine>();
    construct(*engine);
    return engine;
  };
  const int failures = use_after_each_failure(
      make, construct, [&](auto& engine) { expect_all_harmless(engine, this->frame_); });
  EXPECT_GT(failures, 14);
  EXPECT_LT(failures, kMoreThanAnyEngineTakes);
}

// --- The first generation -----------------------------------------------------------------------

void expect_capture_fails(KV_RGBD_CameraCompression& engine) {
  EXPECT_FALSE(engine.apply(0, 0));
  EXPECT_FALSE(apply_at(engine, 0, kStart, -1.0F));
}

void expect_recording_gives_nothing(KV_RGBD_CameraCompression& engine, const std::string& path) {
  Text folder(path);
  Text stem("depth");
  EXPECT_EQ(engine.recording(0, 1, 1, folder, stem, 8, 0), 0);
  engine.recording(kStart.year, kStart.month, kStart.day, kStart.hour, kStart.minute, 0, 0,
                   kStop.year, kStop.month, kStop.day, kStop.hour, kStop.minute, 0, 0, folder, stem,
                   0);
  char text[kStampSize];
  EXPECT_EQ(engine.GetHistoryCorrespondingTimeStamp(text, 0), -1);
}

void expect_reading_fails(KV_RGBD_CameraCompression& engine, FrameOnDisk& frame) {
  Text folder(frame.folder());
  Text stem("depth");
  Text colour_stem("bgrimage");
  DepthMap depth = flat_depth(0.0F);
  ColourImage colour = flat_colour(0);
  EXPECT_FALSE(engine.read(depth.data(), folder, stem, 8, 0));
  EXPECT_FALSE(engine.read(depth.data(), folder, stem, kStart.year, kStart.month, kStart.day,
                           kStart.hour, kStart.minute, kStart.second, kStart.millisecond));
  EXPECT_FALSE(engine.read(depth.data(), colour.data(), folder, stem, colour_stem, kStart.year,
                           kStart.month, kStart.day, kStart.hour, kStart.minute, kStart.second,
                           kStart.millisecond));
  EXPECT_EQ(engine.read_for_calib_tool(depth.data(), frame.depth_name()), 0);
  EXPECT_EQ(engine.read_for_calib_tool(depth.data(), colour.data(), frame.depth_name(),
                                       frame.colour_name()),
            0);
}

TEST(UnreadyFirstGeneration, IsHarmlessWithoutMemory) {
  FrameOnDisk frame;
  TempDirectory directory;
  DepthMap depth = flat_depth(1.0F);
  ColourImage colour = flat_colour(1);
  const int failures =
      use_after_each_failure([] { return std::make_unique<KV_RGBD_CameraCompression>(2); },
                             [](KV_RGBD_CameraCompression& engine) { engine.Construct(3); },
                             [&](KV_RGBD_CameraCompression& engine) {
                               ConsoleCapture capture;
                               EXPECT_EQ(engine.SizeHistory, 0);
                               engine.input(depth.data());
                               engine.input(depth.data(), colour.data());
                               engine.output_to_cvMat_depth(depth.data());
                               engine.output_to_cvMat_bgrImage(colour.data());
                               expect_capture_fails(engine);
                               engine.USE_FRAME_DIFF = true;
                               expect_capture_fails(engine);
                               Text folder(directory.path() + "/");
                               Text stem("depth");
                               engine.start_recording(folder, stem, 8);
                               expect_capture_fails(engine);
                               expect_recording_gives_nothing(engine, folder.str());
                               expect_reading_fails(engine, frame);
                             });
  EXPECT_GT(failures, 14);
  EXPECT_LT(failures, kMoreThanAnyEngineTakes);
  EXPECT_EQ(depth, flat_depth(1.0F));
  EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

}  // namespace
}  // namespace depth_io::test
