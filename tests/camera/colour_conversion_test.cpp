#include "tests/support/camera_fixture.h"

// Every byte of the camera's colour, at the engines' size.
namespace depth_io::test {
namespace {

OniCamera camera_of_colour(unsigned width, unsigned height) {
  OniCamera camera;
  camera.colour_width = width;
  camera.colour_height = height;
  return camera;
}

/// Each pixel of a 320 * 240 image as a block of 2 * 2.
std::vector<std::uint8_t> doubled(const std::vector<std::uint8_t>& half) {
  std::vector<std::uint8_t> full(kPixels * 3);
  for (std::size_t i = 0; i < full.size(); ++i) {
    const std::size_t row = i / 3 / 640;
    const std::size_t column = i / 3 % 640;
    full[i] = half[(row / 2 * 320 + column / 2) * 3 + i % 3];
  }
  return full;
}

class ColourConversion : public CameraTest {
 protected:
  ColourConversion() {
    std::fill(std::begin(reader().ColourImage), std::end(reader().ColourImage), kBefore);
  }

  void expect_colour(const std::vector<std::uint8_t>& expected) {
    std::vector<std::uint8_t> all = expected;
    all.resize(kColourEntries, kBefore);
    EXPECT_EQ(first_difference(colour_of(reader()), all), kNowhere);
  }
  void expect_colour_left_alone() { expect_colour({}); }

  static constexpr std::uint8_t kBefore = 0xA5;
};

TEST_F(ColourConversion, EveryByteOfEveryFullFrame) {
  const OniCamera camera;
  open(record(camera, 3));
  for (unsigned i = 1; i <= 3; ++i) {
    process();
    SCOPED_TRACE(i);
    expect_colour(pattern_frame(camera, i).colour);
  }
}

TEST_F(ColourConversion, RedGreenBlueInThisOrder) {
  OniFrame frame = pattern_frame(OniCamera(), 1);
  for (std::size_t i = 0; i < kPixels; ++i) {
    frame.colour[3 * i] = 200;
    frame.colour[3 * i + 1] = 100;
    frame.colour[3 * i + 2] = 50;
  }
  play_first(OniCamera(), {frame});
  EXPECT_EQ(reader().ColourImage[0], 200);
  EXPECT_EQ(reader().ColourImage[1], 100);
  EXPECT_EQ(reader().ColourImage[2], 50);
}

TEST_F(ColourConversion, EveryByteOfEveryHalfFrameFillsABlock) {
  const OniCamera camera = camera_of_colour(320, 240);
  open(record(camera, 3));
  for (unsigned i = 1; i <= 3; ++i) {
    process();
    SCOPED_TRACE(i);
    expect_colour(doubled(pattern_frame(camera, i).colour));
  }
}

TEST_F(ColourConversion, HalfFrameStandsInThePlanes) {
  const OniCamera camera = camera_of_colour(320, 240);
  play_first(camera, {pattern_frame(camera, 1)});
  const std::vector<std::uint8_t> half = pattern_frame(camera, 1).colour;
  std::vector<std::uint8_t> planes;
  for (std::size_t row = 0; row < 240; ++row) {
    for (std::size_t column = 0; column < 320; ++column) {
      planes.push_back(reader().tempR[row][column]);
      planes.push_back(reader().tempG[row][column]);
      planes.push_back(reader().tempB[row][column]);
    }
  }
  EXPECT_EQ(first_difference(planes, half), kNowhere);
}

TEST_F(ColourConversion, FullFrameLeavesThePlanesAlone) {
  play_first(OniCamera(), {pattern_frame(OniCamera(), 1)});
  EXPECT_EQ(reader().tempR[0][0], 0);
  EXPECT_EQ(reader().tempB[479][639], 0);
}

class ColourOfAnotherSize : public ColourConversion,
                            public testing::WithParamInterface<std::pair<unsigned, unsigned>> {};

TEST_P(ColourOfAnotherSize, LeavesTheImageAloneAndSaysNothing) {
  const auto [width, height] = GetParam();
  const OniCamera camera = camera_of_colour(width, height);
  open(record(camera, 1));
  const Outcome<int> outcome = process(1);
  EXPECT_EQ(outcome.output, " - DEBUG ASUS - loop 1\n - DEBUG ASUS - loop 2\n" +
                                frame_line(1, middle_of_pattern(1)) +
                                "DEBUG ASUS - nicameraclass::process 4\n" +
                                resolution_line("depth", 480, 640));
  expect_colour_left_alone();
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, ColourOfAnotherSize,
    testing::Values(std::pair{1280U, 1024U}, std::pair{640U, 240U}, std::pair{320U, 480U},
                    std::pair{480U, 640U}, std::pair{240U, 320U}, std::pair{640U, 481U},
                    std::pair{641U, 480U}, std::pair{160U, 120U}, std::pair{1U, 1U}),
    [](const auto& instance) {
      return std::to_string(instance.param.first) + "x" + std::to_string(instance.param.second);
    });

TEST_F(ColourConversion, AnotherSizeStillGivesItsDepth) {
  const OniCamera camera = camera_of_colour(1280, 1024);
  play_first(camera, {pattern_frame(camera, 1)});
  EXPECT_EQ(first_difference(depth_of(reader()), metres(pattern_frame(camera, 1).depth)), kNowhere);
}

TEST_F(ColourConversion, FrameWithoutNewColourKeepsTheLast) {
  const OniCamera camera;
  OniFrame without = pattern_frame(camera, 2);
  without.colour.clear();
  open(record(camera, {pattern_frame(camera, 1), without}));
  process();
  process();
  EXPECT_EQ(reader().depthMD.FrameID(), 2U);
  expect_colour(pattern_frame(camera, 1).colour);
}

TEST_F(ColourConversion, FrameLongerThanItsSizeFillsItsSize) {
  OniFrame frame = pattern_frame(OniCamera(), 1);
  const std::vector<std::uint8_t> colour = frame.colour;
  frame.colour.resize(2 * kPixels * 3, std::uint8_t{77});
  play_first(OniCamera(), {frame});
  expect_colour(colour);
}

TEST_F(ColourConversion, DepthBeforeTheFirstColourLeavesTheImageAlone) {
  OniFrame frame = pattern_frame(OniCamera(), 1);
  frame.colour.clear();
  open(record(OniCamera(), {frame}));
  EXPECT_EQ(process().output, frame_line(1, middle_of_pattern(1)) +
                                  resolution_line("depth", 480, 640) +
                                  resolution_line("image", 480, 640));
  expect_colour_left_alone();
}

TEST_F(ColourConversion, DepthBeforeTheFirstHalfColourLeavesTheImageAlone) {
  const OniCamera camera = camera_of_colour(320, 240);
  OniFrame frame = pattern_frame(camera, 1);
  frame.colour.clear();
  play_first(camera, {frame});
  EXPECT_EQ(reader().imageMD.XRes(), 320U) << "no frame was read";
  expect_colour_left_alone();
}

TEST_F(ColourConversion, TornFrameKeepsTheLast) {
  OniFrame torn = pattern_frame(OniCamera(), 2);
  torn.colour.resize(kPixels * 3 - 1);
  open(record(OniCamera(), {pattern_frame(OniCamera(), 1), torn}));
  process();
  process();
  EXPECT_EQ(reader().depthMD.FrameID(), 2U);
  expect_colour(pattern_frame(OniCamera(), 1).colour);
}

class ColourInAnotherFormat : public ColourConversion,
                              public testing::WithParamInterface<XnPixelFormat> {};

TEST_P(ColourInAnotherFormat, LeavesTheImageAlone) {
  OniCamera camera;
  camera.pixel_format = GetParam();
  const std::size_t bytes = GetParam() == XN_PIXEL_FORMAT_GRAYSCALE_8_BIT ? 1 : 2;
  OniFrame frame = pattern_frame(camera, 1);
  frame.colour.resize(kPixels * bytes);
  play_first(camera, {frame});
  EXPECT_EQ(reader().imageMD.DataSize(), kPixels * bytes) << "no frame was read";
  expect_colour_left_alone();
}

INSTANTIATE_TEST_SUITE_P(Formats, ColourInAnotherFormat,
                         testing::Values(XN_PIXEL_FORMAT_YUV422, XN_PIXEL_FORMAT_GRAYSCALE_8_BIT,
                                         XN_PIXEL_FORMAT_GRAYSCALE_16_BIT));

}  // namespace
}  // namespace depth_io::test
