#include <sys/stat.h>

#include <cmath>

#include "tests/support/jpeg_fixture.h"
#include "tests/support/second_generation_fixture.h"

// Playback of single frames by number, moment or text.
namespace depth_io::test {
namespace {

using Engine = KV_RGBD_CameraCompression2;

constexpr char kNotSet[] =
    "ERROR - (USE_SUB_DIR unactivated) input for Read not set: use one of this function before:\n"
    "1 : SetCurrentFrame(int current_frame) if you wish to read filename-currentframe files\n"
    "2 : SetCurrentTimeStamp(int year, month, day, hour, minute, second, millisecond) if you wish "
    "to read filename-timestamp files\n"
    "3 : SetCurrentTimeStamp(char *timestamp) if you wish to read filename-timestamp files\n";
constexpr char kTooMany[] =
    "ERROR - (USE_SUB_DIR unactivated) too many input for Read : use only one of this function "
    "before:\n";
constexpr char kNoColour[] = "failed to read bgr image\n";

/// Frame 12 (2 m, colour 50) and the frame of `kMoment` (3 m, colour 150), and a player for them.
class SecondGenerationDirect : public ::testing::Test {
 protected:
  SecondGenerationDirect() {
    settings_.directory = directory_.path();
    settings_.depth_stem = "d";
    settings_.colour_stem = "c";
    SecondRecorder recorder(settings_);
    recorder.record_number(12, depth_with_head(2.0F, 100, 0.0F), 50);
    recorder.record(kMoment, flat_depth(3.0F), 150);
    settings_.directory = directory_.slash();
    settings_.mode = 'R';
    start();
  }
  void start() {
    start_engine(engine_, settings_);
    fill(engine_, flat_depth(-1.0F), flat_colour(7));
  }
  Outcome<bool> read(int debug = 0) {
    return observe([&] { return engine_.Read(debug); });
  }
  Outcome<bool> read_frame(int frame, int debug = 0) {
    engine_.SetCurrentFrame(frame);
    return read(debug);
  }
  void set_moment(const Moment& m) {
    engine_.SetCurrentTimeStamp(m.year, m.month, m.day, m.hour, m.minute, m.second, m.millisecond);
  }
  void set_text(const std::string& text) {
    Text stamp(text);
    engine_.SetCurrentTimeStamp(stamp);
  }
  void expect_untouched() {
    EXPECT_EQ(depth_of(engine_), flat_depth(-1.0F));
    EXPECT_EQ(colour_of(engine_), flat_colour(7));
    EXPECT_FALSE(engine_.INITIALISED);
  }
  bool any_position() const {
    return engine_._CurrentFrame_active || engine_._CurrentTimeStamp_active ||
           engine_._CurrentStampString_active;
  }
  std::string base(const std::string& key) const { return directory_.file(key + "-d"); }

  TempDirectory directory_;
  SecondSettings settings_;
  Engine engine_;
};

// --- The three positions ------------------------------------------------------------------------

TEST_F(SecondGenerationDirect, WholeOutputOfAFrameNumber) {
  const auto seen = read_frame(12);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, reading_line(base("00000012")));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationDirect, FrameNumberNamesBothFiles) {
  read_frame(12);
  EXPECT_EQ(engine_.depth_string, base("00000012"));
  EXPECT_EQ(engine_.bgr_string, directory_.file("00000012-c.jpg"));
}

TEST_F(SecondGenerationDirect, FrameIsLoadedWithColourAndIntrinsics) {
  read_frame(12);
  EXPECT_EQ(depth_of(engine_), depth_with_head(2.0F, 100, 0.0F));
  EXPECT_NEAR(engine_.ColourImage[0], 50, 1);
  EXPECT_NEAR(engine_.ColourImage[kColourBytes - 1], 50, 1);
  EXPECT_EQ(engine_.GetIntrinsic_a11(), 533.0F);
  EXPECT_EQ(engine_.GetIntrinsic_a22(), 533.0F);
  EXPECT_EQ(engine_.GetIntrinsic_cx(), 240.0F);
  EXPECT_EQ(engine_.GetIntrinsic_cy(), 320.0F);
  EXPECT_TRUE(engine_.INITIALISED);
}

TEST_F(SecondGenerationDirect, WholeOutputOfAMoment) {
  set_moment(kMoment);
  const auto seen = read();
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, reading_line(base(kMomentStamp)));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_STREQ(engine_.timestamp.buffer, kMomentStamp);
  EXPECT_EQ(depth_of(engine_), flat_depth(3.0F));
  EXPECT_NEAR(engine_.ColourImage[0], 150, 1);
}

TEST_F(SecondGenerationDirect, WholeOutputOfAText) {
  set_text(kMomentStamp);
  const auto seen = read();
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "1 - '" + directory_.slash() + "'\n3 - '" + directory_.file(kMomentStamp) +
                             "'\n4 - '" + base(kMomentStamp) + "'\n" +
                             reading_line(base(kMomentStamp)));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(depth_of(engine_), flat_depth(3.0F));
  EXPECT_STREQ(engine_.timestamp.buffer, "");
}

TEST_F(SecondGenerationDirect, TextCanBeAnyKey) {
  set_text("00000012");
  EXPECT_TRUE(read().result);
  EXPECT_EQ(depth_of(engine_), depth_with_head(2.0F, 100, 0.0F));
  EXPECT_EQ(engine_.bgr_string, directory_.file("00000012-c.jpg"));
}

TEST_F(SecondGenerationDirect, WholeOutputOfATextWithoutReversal) {
  engine_.REVERSE_NAME = false;
  set_text("key");
  const auto seen = read();
  const std::string name = directory_.file("d-key");
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, "1 - '" + directory_.slash() + "'\n2 - '" + directory_.file("d-") +
                             "'\n3 - '" + name + "'\n4 - '" + name + "'\n" + reading_line(name) +
                             failed_to_open_line(name + ".rle") +
                             read_failed_line(name, 0, "", "key"));
}

TEST_F(SecondGenerationDirect, NamesAreInTheOtherOrderWithoutReversal) {
  engine_.REVERSE_NAME = false;
  read_frame(12);
  EXPECT_EQ(engine_.depth_string, directory_.file("d-00000012"));
  EXPECT_EQ(engine_.bgr_string, directory_.file("c-00000012.jpg"));
}

TEST_F(SecondGenerationDirect, DirectoryIsTakenAsItStands) {
  settings_.directory = directory_.path();
  start();
  const auto seen = read_frame(12);
  EXPECT_FALSE(seen.result);
  const std::string name = directory_.path() + "00000012-d";
  EXPECT_EQ(seen.output,
            reading_line(name) + failed_to_open_line(name + ".rle") + read_failed_line(name, 12));
}

TEST_F(SecondGenerationDirect, NumbersHaveEightDigits) {
  const struct {
    int frame;
    const char* digits;
  } cases[] = {{0, "00000000"}, {16777215, "16777215"}, {-12, "-00000012"}};
  for (const auto& tested : cases) {
    read_frame(tested.frame);
    EXPECT_EQ(engine_.depth_string, base(tested.digits));
  }
}

TEST_F(SecondGenerationDirect, ModeIsNotLookedAt) {
  settings_.mode = 'W';
  start();
  EXPECT_TRUE(read_frame(12).result);
}

TEST_F(SecondGenerationDirect, ColourImageIsLeftWithoutAColourStem) {
  settings_.colour_stem.clear();
  start();
  EXPECT_TRUE(read_frame(12).result);
  EXPECT_EQ(colour_of(engine_), flat_colour(7));
}

// --- None and several ---------------------------------------------------------------------------

TEST_F(SecondGenerationDirect, NoPositionIsAnError) {
  const auto seen = read();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, kNotSet);
  EXPECT_EQ(seen.keys, 1);
  expect_untouched();
}

TEST_F(SecondGenerationDirect, PositionHoldsForOneReadOnly) {
  ASSERT_TRUE(read_frame(12).result);
  EXPECT_FALSE(any_position());
  const auto seen = read();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, kNotSet);
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(SecondGenerationDirect, SeveralPositionsAreAnErrorAndStay) {
  const struct {
    bool frame;
    bool moment;
    bool text;
  } cases[] = {{true, true, false}, {true, false, true}, {false, true, true}, {true, true, true}};
  for (const auto& tested : cases) {
    engine_._CurrentFrame_active = tested.frame;
    engine_._CurrentTimeStamp_active = tested.moment;
    engine_._CurrentStampString_active = tested.text;
    const auto seen = read();
    EXPECT_FALSE(seen.result);
    EXPECT_EQ(seen.output, std::string(kTooMany) + kNotSet);
    EXPECT_EQ(seen.keys, 1);
    EXPECT_EQ(engine_._CurrentFrame_active, tested.frame);
    EXPECT_EQ(engine_._CurrentTimeStamp_active, tested.moment);
    EXPECT_EQ(engine_._CurrentStampString_active, tested.text);
  }
  expect_untouched();
}

TEST_F(SecondGenerationDirect, TraceComesBeforeTheMissingPosition) {
  EXPECT_EQ(read(1).output, std::string("DEBUG - read - read_compressed\n") + kNotSet);
}

// --- Trace --------------------------------------------------------------------------------------

TEST_F(SecondGenerationDirect, WholeOutputOfAFrameNumberWithTheTraceOn) {
  const auto seen = read_frame(12, 1);
  const ConsoleTrace reader = reader_trace(base("00000012"), 1);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "DEBUG - read - read_compressed\n" + reader.output +
                             "DEBUG - read - read_compressed jpeg '" +
                             directory_.file("00000012-c.jpg") +
                             "'\nDEBUG - read - read_compressed done\n");
  EXPECT_EQ(seen.keys, reader.keys);
}

TEST_F(SecondGenerationDirect, WholeOutputWithoutColourWithTheTraceOn) {
  settings_.colour_stem.clear();
  start();
  const auto seen = read_frame(12, 1);
  EXPECT_EQ(seen.output, "DEBUG - read - read_compressed\n" +
                             reader_trace(base("00000012"), 1).output +
                             "DEBUG - read - read_compressed done\n");
}

TEST_F(SecondGenerationDirect, WholeOutputOfAMomentWithTheTraceOn) {
  set_moment(kMoment);
  const auto seen = read(1);
  char stamp[kStampSize];
  const ConsoleTrace naming = capture_console([&] { write_stamp(stamp, kMoment, 1); });
  EXPECT_EQ(seen.output, "DEBUG - read - read_compressed\n" + naming.output +
                             reader_trace(base(kMomentStamp), 1).output +
                             "DEBUG - read - read_compressed jpeg '" +
                             directory_.file(std::string(kMomentStamp) + "-c.jpg") +
                             "'\nDEBUG - read - read_compressed done\n");
}

TEST_F(SecondGenerationDirect, TraceIsOnForOneOnly) {
  EXPECT_EQ(read_frame(12, 2).output, reading_line(base("00000012")));
}

// --- Frames that cannot be loaded ---------------------------------------------------------------

TEST_F(SecondGenerationDirect, MissingFrameLeavesEverythingAsItWas) {
  const auto seen = read_frame(13);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, reading_line(base("00000013")) +
                             failed_to_open_line(base("00000013") + ".rle") +
                             read_failed_line(base("00000013"), 13));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_TRUE(engine_._CurrentFrame_active);
  expect_untouched();
}

TEST_F(SecondGenerationDirect, MissingFrameIsToldWithNumberStampAndText) {
  set_moment(kMoment);
  ASSERT_TRUE(read().result);
  set_text("nothing");
  ASSERT_FALSE(read().result);
  engine_._CurrentStampString_active = false;
  const auto seen = read_frame(5);
  EXPECT_TRUE(
      seen.output.ends_with("ERROR KV_RGBD_CameraCompression read - (1)5, (2) "
                            "'2013-04-09T14-05-07.042000', (3) 'nothing'  (" +
                            base("00000005") + ")\n"))
      << seen.output;
}

TEST_F(SecondGenerationDirect, PositionOfAFailedReadIsUsedAgain) {
  const std::string label_map = base("00000012") + ".rle";
  std::filesystem::rename(label_map, directory_.file("away"));
  EXPECT_FALSE(read_frame(12).result);
  std::filesystem::rename(directory_.file("away"), label_map);
  EXPECT_TRUE(read().result);
  EXPECT_EQ(depth_of(engine_), depth_with_head(2.0F, 100, 0.0F));
}

TEST_F(SecondGenerationDirect, EachMissingFileOfAFrameMakesItFail) {
  for (const char* ending : {".rle", ".ref", ".jpg", ".err"}) {
    const std::string file = base("00000012") + ending;
    std::filesystem::rename(file, directory_.file("away"));
    const auto seen = read_frame(12);
    EXPECT_FALSE(seen.result) << ending;
    EXPECT_TRUE(seen.output.ends_with(read_failed_line(base("00000012"), 12))) << ending;
    std::filesystem::rename(directory_.file("away"), file);
  }
  expect_untouched();
}

TEST_F(SecondGenerationDirect, FifoInTheFramesPlaceIsNotWaitedFor) {
  std::filesystem::remove(base("00000012") + ".rle");
  ASSERT_EQ(mkfifo((base("00000012") + ".rle").c_str(), 0600), 0);
  const auto seen = read_frame(12);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, reading_line(base("00000012")) +
                             failed_to_open_line(base("00000012") + ".rle") +
                             read_failed_line(base("00000012"), 12));
}

TEST_F(SecondGenerationDirect, FailureWithTheTraceOnWaitsAsTheReaderDoes) {
  const auto seen = read_frame(13, 1);
  const ConsoleTrace reader = reader_trace(base("00000013"), 1);
  EXPECT_EQ(seen.output, "DEBUG - read - read_compressed\n" + reader.output +
                             read_failed_line(base("00000013"), 13));
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(SecondGenerationDirect, NameThatIsTooLongFailsAndIsNotCut) {
  for (const std::size_t length : {std::size_t{502}, std::size_t{511}}) {
    std::string directory = directory_.path();
    while (directory.size() + 2 <= length) directory += "/.";
    directory.resize(length, '/');
    settings_.directory = directory;
    start();
    const auto seen = read_frame(12);
    EXPECT_FALSE(seen.result) << length;
    EXPECT_NE(seen.output.find("ERROR KV_RGBD_CameraCompression read - (1)12, "), std::string::npos)
        << length;
    EXPECT_EQ(seen.keys, 0) << length;
    expect_untouched();
  }
}

TEST_F(SecondGenerationDirect, ColourNameThatIsTooLongFailsAndIsNotCut) {
  std::string directory = directory_.path();
  while (directory.size() + 2 <= 300) directory += "/.";
  directory += "/";
  settings_.directory = directory;
  settings_.colour_stem = std::string(250, 'c');
  start();
  EXPECT_FALSE(read_frame(12).result);
  EXPECT_EQ(colour_of(engine_), flat_colour(7));
}

// --- Colour images ------------------------------------------------------------------------------

TEST_F(SecondGenerationDirect, MissingColourImageIsAnErrorWithAKey) {
  const std::string image = directory_.file("00000012-c.jpg");
  std::filesystem::remove(image);
  const auto seen = read_frame(12);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output,
            reading_line(base("00000012")) + cannot_open_jpeg_lines(image) + kNoColour);
  EXPECT_EQ(seen.keys, 1);
  EXPECT_TRUE(engine_._CurrentFrame_active);
  expect_untouched();
}

TEST_F(SecondGenerationDirect, ColourImageLargerThanTheFrameIsRefused) {
  encode_flat(directory_.file("00000012-c.jpg"), 800, 600, 3, 90);
  const auto seen = read_frame(12);
  EXPECT_FALSE(seen.result);
  EXPECT_TRUE(seen.output.ends_with(kNoColour));
  EXPECT_EQ(seen.keys, 1);
  expect_untouched();
}

TEST_F(SecondGenerationDirect, ColourImageThatIsNoneIsRefused) {
  write_file(directory_.file("00000012-c.jpg"), "no image");
  const auto seen = read_frame(12);
  EXPECT_FALSE(seen.result);
  EXPECT_TRUE(seen.output.ends_with(kNoColour));
  expect_untouched();
}

TEST_F(SecondGenerationDirect, SmallerColourImageLeavesNothingOfTheLastFrame) {
  encode_flat(directory_.file("00000012-c.jpg"), 640, 10, 3, 90);
  ASSERT_TRUE(read_frame(12).result);
  EXPECT_NEAR(engine_.ColourImage[0], 90, 1);
  EXPECT_EQ(engine_.ColourImage[kColourBytes - 1], 0);
}

TEST_F(SecondGenerationDirect, LoadingAColourImageIsSilent) {
  Text image(directory_.file("00000012-c.jpg"));
  const auto seen = observe([&] { return engine_.LoadColourImage(image); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
  EXPECT_NEAR(engine_.ColourImage[0], 50, 1);
  EXPECT_EQ(depth_of(engine_), flat_depth(-1.0F));
}

TEST_F(SecondGenerationDirect, LoadingAMissingColourImageFailsWithoutAKey) {
  Text image(directory_.file("missing.jpg"));
  const auto seen = observe([&] { return engine_.LoadColourImage(image); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, cannot_open_jpeg_lines(image.str()));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(colour_of(engine_), flat_colour(7));
}

TEST_F(SecondGenerationDirect, LoadingWithoutAColourStemReadsNothing) {
  settings_.colour_stem.clear();
  start();
  for (const char* name : {"00000012-c.jpg", "missing.jpg"}) {
    Text image(directory_.file(name));
    const auto seen = observe([&] { return engine_.LoadColourImage(image); });
    EXPECT_TRUE(seen.result);
    EXPECT_EQ(seen.output, "");
  }
  EXPECT_EQ(colour_of(engine_), flat_colour(7));
}

TEST_F(SecondGenerationDirect, LoadingFromNowhereFails) {
  EXPECT_FALSE(quietly([&] { return engine_.LoadColourImage(nullptr); }));
}

// --- Has-depth map and intrinsics ---------------------------------------------------------------

TEST_F(SecondGenerationDirect, PixelsWithDepthAreMarked) {
  read_frame(12);
  EXPECT_FALSE(engine_.MapHasDepth.buffer[99]);
  EXPECT_TRUE(engine_.MapHasDepth.buffer[100]);
  EXPECT_TRUE(engine_.MapHasDepth.buffer[kPixels - 1]);
}

TEST_F(SecondGenerationDirect, MapOnlyGainsPixels) {
  set_moment(kMoment);
  read();
  read_frame(12);
  EXPECT_EQ(engine_.DepthMap[99], 0.0F);
  EXPECT_TRUE(engine_.MapHasDepth.buffer[99]);
}

TEST_F(SecondGenerationDirect, DepthOfOneCentimetreIsNoDepth) {
  settings_.directory = directory_.path();
  SecondRecorder(settings_).record_number(1, depth_with_head(0.02F, 5, 0.01F));
  settings_.directory = directory_.slash();
  start();
  ASSERT_TRUE(read_frame(1).result);
  // The code of the first pixel is the reference itself.
  ASSERT_EQ(engine_.DepthMap[0], 0.01F);
  EXPECT_FALSE(engine_.MapHasDepth.buffer[0]);
  EXPECT_TRUE(engine_.MapHasDepth.buffer[5]);
}

TEST_F(SecondGenerationDirect, PreviousMapIsNotTouched) {
  read_frame(12);
  EXPECT_FALSE(engine_.prev_MapHasDepth.buffer[kPixels - 1]);
}

TEST_F(SecondGenerationDirect, FrameWithoutLabelsKeepsTheIntrinsicsOfTheLastOne) {
  write_file(base("00000012") + ".ref", "nblabels 0 a11 1.0 a22 1.0 cx 1.0 cy 1.0\n");
  set_moment(kMoment);
  ASSERT_TRUE(read().result);
  ASSERT_TRUE(read_frame(12).result);
  EXPECT_EQ(depth_of(engine_), flat_depth(0.0F));
  EXPECT_EQ(engine_.GetIntrinsic_a11(), 533.0F);
  EXPECT_EQ(engine_.GetIntrinsic_cy(), 320.0F);
}

TEST_F(SecondGenerationDirect, RingIsNotTouched) {
  read_frame(12);
  EXPECT_EQ(engine_.HistoryModCounter, 0);
  EXPECT_EQ(engine_.HistoryYear.buffer[0], -1);
  EXPECT_EQ(engine_.fSubDir_r, nullptr);
}

}  // namespace
}  // namespace depth_io::test
