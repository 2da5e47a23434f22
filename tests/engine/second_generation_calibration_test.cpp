#include "tests/support/jpeg_fixture.h"
#include "tests/support/second_generation_fixture.h"

// The two forms of reading for a calibration tool, which names its files itself.
namespace depth_io::test {
namespace {

using Engine = KV_RGBD_CameraCompression2;

std::string depth_failed_line(const std::string& name) {
  return "ERROR KV_RGBD_CameraCompression read - read_compressed '" + name + "' failed\n";
}

/// A frame whose first 100 pixels have no depth, and a player that was never told its stems.
class SecondGenerationCalibration : public ::testing::Test {
 protected:
  SecondGenerationCalibration() {
    SecondSettings settings;
    settings.directory = directory_.path();
    settings.colour_stem = "c";
    settings.camera = 0;
    SecondRecorder(settings).record(kMoment, depth_with_head(2.0F, 100, 0.0F), 50);
    settings.directory = "elsewhere";
    settings.depth_stem = "x";
    settings.colour_stem.clear();
    start_engine(engine_, settings);
    fill(engine_, flat_depth(-1.0F), flat_colour(7));
    engine_.MapHasDepth.Init(true);
  }
  Outcome<bool> load(const std::string& depth) {
    Text depth_name(depth);
    return observe([&] { return engine_.read_for_calib_tool(depth_name); });
  }
  Outcome<bool> load(const std::string& depth, const std::string& colour) {
    Text depth_name(depth);
    Text colour_name(colour);
    return observe([&] { return engine_.read_for_calib_tool(depth_name, colour_name); });
  }
  void expect_frame() {
    EXPECT_EQ(depth_of(engine_), depth_with_head(2.0F, 100, 0.0F));
    EXPECT_EQ(engine_.GetIntrinsic_a11(), 528.014404296875F);
    EXPECT_EQ(engine_.GetIntrinsic_a22(), 528.014404296875F);
    EXPECT_EQ(engine_.GetIntrinsic_cx(), 320.0F);
    EXPECT_EQ(engine_.GetIntrinsic_cy(), 267.0F);
  }
  void expect_cleared() {
    EXPECT_EQ(depth_of(engine_), flat_depth(0.0F));
    EXPECT_TRUE(is_all(engine_.MapHasDepth, kPixels, false));
  }
  std::string base() const { return directory_.file(std::string(kMomentStamp) + "-depth"); }
  std::string image() const { return directory_.file(std::string(kMomentStamp) + "-c.jpg"); }

  TempDirectory directory_;
  Engine engine_;
};

TEST_F(SecondGenerationCalibration, DepthAloneIsLoadedInSilence) {
  const auto seen = load(base());
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(seen.keys, 0);
  expect_frame();
  EXPECT_EQ(colour_of(engine_), flat_colour(7));
}

TEST_F(SecondGenerationCalibration, DepthAndColourAreLoadedInSilenceWithoutAColourStem) {
  const auto seen = load(base(), image());
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(seen.keys, 0);
  expect_frame();
  EXPECT_NEAR(engine_.ColourImage[0], 50, 1);
}

TEST_F(SecondGenerationCalibration, HasDepthMapIsMadeAnew) {
  for (const bool with_colour : {false, true}) {
    engine_.MapHasDepth.Init(true);
    EXPECT_TRUE(with_colour ? load(base(), image()).result : load(base()).result);
    EXPECT_FALSE(engine_.MapHasDepth.buffer[99]);
    EXPECT_TRUE(engine_.MapHasDepth.buffer[100]);
  }
}

TEST_F(SecondGenerationCalibration, MissingDepthIsOneLineAndClearsTheMaps) {
  const std::string missing = directory_.file("missing");
  for (const bool with_colour : {false, true}) {
    fill(engine_, flat_depth(-1.0F));
    engine_.MapHasDepth.Init(true);
    const auto seen = with_colour ? load(missing, image()) : load(missing);
    EXPECT_FALSE(seen.result);
    EXPECT_EQ(seen.output, depth_failed_line(missing));
    EXPECT_EQ(seen.keys, 0);
    expect_cleared();
    EXPECT_EQ(colour_of(engine_), flat_colour(7));
  }
}

TEST_F(SecondGenerationCalibration, DepthNameIsWithoutEnding) {
  EXPECT_FALSE(load(base() + ".rle").result);
}

TEST_F(SecondGenerationCalibration, ColourNameIsComplete) {
  const std::string without_ending = directory_.file(std::string(kMomentStamp) + "-c");
  const auto seen = load(base(), without_ending);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, cannot_open_jpeg_lines(without_ending) + kColourFailedLine);
}

TEST_F(SecondGenerationCalibration, MissingColourIsReportedAndTheDepthStays) {
  const auto seen = load(base(), directory_.file("missing.jpg"));
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output,
            cannot_open_jpeg_lines(directory_.file("missing.jpg")) + kColourFailedLine);
  EXPECT_EQ(seen.keys, 0);
  expect_frame();
  EXPECT_EQ(colour_of(engine_), flat_colour(7));
}

TEST_F(SecondGenerationCalibration, ColourLargerThanTheFrameIsRefused) {
  encode_flat(image(), 800, 600, 3, 90);
  const auto seen = load(base(), image());
  EXPECT_FALSE(seen.result);
  EXPECT_TRUE(seen.output.ends_with(kColourFailedLine));
  EXPECT_EQ(colour_of(engine_), flat_colour(7));
}

TEST_F(SecondGenerationCalibration, MissingCodeImageIsToldByTheImageReaderToo) {
  std::filesystem::remove(base() + ".jpg");
  const auto seen = load(base());
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, cannot_open_jpeg_lines(base() + ".jpg") + depth_failed_line(base()));
  EXPECT_EQ(seen.keys, 0);
  expect_cleared();
}

TEST_F(SecondGenerationCalibration, DamagedReferencesFailWithoutAKey) {
  write_file(base() + ".ref", "nblabels 1 a11 1.0 b22 1.0 cx 1.0 cy 1.0\n2.0\n");
  const auto seen = load(base());
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, depth_failed_line(base()));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationCalibration, PlaybackStateIsNotTouched) {
  engine_.SetCurrentFrame(3);
  load(base(), image());
  EXPECT_TRUE(engine_._CurrentFrame_active);
  EXPECT_FALSE(engine_.INITIALISED);
  EXPECT_EQ(engine_.fSubDir_r, nullptr);
}

TEST_F(SecondGenerationCalibration, NameThatIsTooLongFails) {
  std::string name = directory_.path();
  while (name.size() < 300) name += "/.";
  name += "/" + std::string(kMomentStamp) + "-depth";
  EXPECT_FALSE(load(name).result);
  expect_cleared();
  EXPECT_FALSE(load(std::string(100'000, 'a')).result);
}

TEST_F(SecondGenerationCalibration, NoNameFails) {
  EXPECT_FALSE(quietly([&] { return engine_.read_for_calib_tool(nullptr); }));
  EXPECT_FALSE(quietly([&] { return engine_.read_for_calib_tool(nullptr, nullptr); }));
  Text depth(base());
  EXPECT_FALSE(quietly([&] { return engine_.read_for_calib_tool(depth, nullptr); }));
}

}  // namespace
}  // namespace depth_io::test
