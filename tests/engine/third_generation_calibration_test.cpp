#include <filesystem>
#include <string>

#include "tests/support/third_generation_fixture.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;

const std::string kColourFailed =
    " - ERROR - KV_RGBD_CameraCompression - loading JpegFileToRGB failed !!!\n";

std::string failed_line(const std::string& base) {
  return "ERROR KV_RGBD_CameraCompression read - read_compressed '" + base + "' failed\n";
}

/// A recorded frame of 1.5 m and colour 200, and an engine to load it with.
class ThirdCalibration : public testing::Test {
 protected:
  ThirdCalibration() {
    record_tree(directory_.path(), {{kMoment, 1.5F, 200}}, true, 1);
    fill_frame(engine(), 7.0F, 33);
  }
  ThirdEngine& engine() { return recorder_.engine; }
  std::string depth_name() const {
    return minute_folder(directory_.path(), kMoment) + kMomentStamp + "-depth";
  }
  std::string colour_name() const {
    return minute_folder(directory_.path(), kMoment) + kMomentStamp + "-bgrimage.jpg";
  }
  Outcome<bool> load(const std::string& depth, const std::string& colour) {
    Text depth_text(depth);
    Text colour_text(colour);
    return observe([&] { return engine().read_for_calib_tool(depth_text, colour_text); });
  }
  Outcome<bool> load(const std::string& depth) {
    Text depth_text(depth);
    return observe([&] { return engine().read_for_calib_tool(depth_text); });
  }
  TempDirectory directory_;
  ThirdRecorder recorder_;
};

TEST_F(ThirdCalibration, DepthAloneIsLoadedSilently) {
  const auto seen = load(depth_name());
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(engine().DepthMap[0], 1.5F);
  EXPECT_EQ(engine().DepthMap[kPixels - 1], 1.5F);
  EXPECT_EQ(engine().ColourImage[0], 33);
}

TEST_F(ThirdCalibration, IntrinsicsAreThoseOfTheFile) {
  load(depth_name());
  EXPECT_EQ(engine().GetIntrinsic_a11(), 533.0F);
  EXPECT_EQ(engine().GetIntrinsic_a22(), 533.0F);
  EXPECT_EQ(engine().GetIntrinsic_cx(), 240.0F);
  EXPECT_EQ(engine().GetIntrinsic_cy(), 320.0F);
}

TEST_F(ThirdCalibration, DepthAndColourAreLoadedSilently) {
  const auto seen = load(depth_name(), colour_name());
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(engine().DepthMap[0], 1.5F);
  EXPECT_NEAR(engine().ColourImage[0], 200, 2);
}

TEST_F(ThirdCalibration, ColourIsLoadedWithoutColourStemToo) {
  ASSERT_FALSE(engine().param.BGRStem_active);
  EXPECT_TRUE(load(depth_name(), colour_name()).result);
  EXPECT_NEAR(engine().ColourImage[kColourBytes - 1], 200, 2);
}

TEST_F(ThirdCalibration, MarksAreThoseOfThisFrameAlone) {
  engine().MapHasDepth.Init(true);
  record_tree(directory_.path(), {{moment_at(43), 0.0F}});
  EXPECT_TRUE(
      load(minute_folder(directory_.path(), kMoment) + stamp_of(moment_at(43)) + "-depth").result);
  EXPECT_TRUE(is_all(engine().MapHasDepth, kPixels, false));
  EXPECT_TRUE(load(depth_name()).result);
  EXPECT_TRUE(is_all(engine().MapHasDepth, kPixels, true));
}

TEST_F(ThirdCalibration, MissingDepthIsToldAndTheMapsAreCleared) {
  engine().MapHasDepth.Init(true);
  const std::string missing = directory_.file("missing");
  const auto seen = load(missing);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, failed_line(missing));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(engine().DepthMap[0], 0.0F);
  EXPECT_EQ(engine().DepthMap[kPixels - 1], 0.0F);
  EXPECT_TRUE(is_all(engine().MapHasDepth, kPixels, false));
}

TEST_F(ThirdCalibration, MissingDepthLeavesTheColour) {
  const std::string missing = directory_.file("missing");
  const auto seen = load(missing, colour_name());
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, failed_line(missing));
  EXPECT_EQ(engine().ColourImage[0], 33);
}

TEST_F(ThirdCalibration, NameWithExtensionIsNoBaseName) {
  EXPECT_FALSE(load(depth_name() + ".rle").result);
}

TEST_F(ThirdCalibration, MissingColourIsToldAfterTheDepth) {
  const std::string missing = directory_.file("missing.jpg");
  const auto seen = load(depth_name(), missing);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, cannot_open_jpeg_lines(missing) + kColourFailed);
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(engine().DepthMap[0], 1.5F);
  EXPECT_EQ(engine().ColourImage[0], 33);
}

TEST_F(ThirdCalibration, NullNamesAreFailures) {
  EXPECT_FALSE(quietly([&] { return engine().read_for_calib_tool(nullptr); }));
  EXPECT_FALSE(quietly([&] { return engine().read_for_calib_tool(nullptr, nullptr); }));
  Text depth(depth_name());
  EXPECT_FALSE(quietly([&] { return engine().read_for_calib_tool(depth, nullptr); }));
}

TEST_F(ThirdCalibration, OverlongNamesAreFailures) {
  const std::string overlong = "/" + std::string(100'000, 'x');
  EXPECT_FALSE(load(overlong).result);
  EXPECT_FALSE(load(overlong, overlong).result);
  EXPECT_FALSE(load(depth_name(), overlong).result);
}

// --- The colour image alone ---------------------------------------------------------------------

class ThirdColourImage : public ThirdCalibration {
 protected:
  Outcome<bool> load_colour(const std::string& name) {
    Text text(name);
    return observe([&] { return engine().LoadColourImage(text); });
  }
};

TEST_F(ThirdColourImage, IsLoaded) {
  set_colour(engine().param);
  const auto seen = load_colour(colour_name());
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
  EXPECT_NEAR(engine().ColourImage[0], 200, 2);
}

TEST_F(ThirdColourImage, WithoutColourStemNothingIsDone) {
  const auto seen = load_colour(directory_.file("missing.jpg"));
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(engine().ColourImage[0], 33);
}

TEST_F(ThirdColourImage, MissingOneIsAFailureWithoutALineOfTheEngine) {
  set_colour(engine().param);
  const std::string missing = directory_.file("missing.jpg");
  const auto seen = load_colour(missing);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, cannot_open_jpeg_lines(missing));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(engine().ColourImage[0], 33);
}

TEST_F(ThirdColourImage, LargerThanTheFrameIsRefused) {
  set_colour(engine().param);
  const std::string large = directory_.file("large.jpg");
  Text name(large);
  std::vector<unsigned char> bytes(std::size_t{1280} * 960 * 3, 90);
  JpegFile writer;
  ASSERT_TRUE(writer.RGBToJpegFile(name, bytes.data(), 1280, 960, true, 95));
  EXPECT_FALSE(load_colour(large).result);
  EXPECT_EQ(engine().ColourImage[0], 33);
}

TEST_F(ThirdColourImage, NullNameIsAFailure) {
  set_colour(engine().param);
  EXPECT_FALSE(quietly([&] { return engine().LoadColourImage(nullptr); }));
}

}  // namespace
}  // namespace depth_io::test
