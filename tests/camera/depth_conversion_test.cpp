#include "tests/support/camera_fixture.h"

// Every reading of the camera in metres, where the camera has it.
namespace depth_io::test {
namespace {

class DepthConversion : public CameraTest {
 protected:
  /// What the reader makes of one frame of depth, beside a colour frame that it takes.
  std::vector<float> converted(const OniCamera& camera, const std::vector<std::uint16_t>& depth) {
    OniFrame frame = pattern_frame(camera, 1);
    frame.depth = depth;
    play_first(camera, {frame});
    EXPECT_EQ(reader().depthMD.FrameID(), 1U) << "no frame was read";
    return depth_of(reader());
  }
};

OniCamera camera_of_depth(unsigned width, unsigned height, unsigned largest = 10000) {
  OniCamera camera;
  camera.depth_width = width;
  camera.depth_height = height;
  camera.largest_depth = largest;
  return camera;
}

TEST_F(DepthConversion, EveryPixelOfEveryFrame) {
  const OniCamera camera;
  open(record(camera, 3));
  for (unsigned i = 1; i <= 3; ++i) {
    process();
    EXPECT_EQ(first_difference(depth_of(reader()), metres(pattern_frame(camera, i).depth)),
              kNowhere)
        << "frame " << i;
  }
}

TEST_F(DepthConversion, AllRawValues) {
  std::vector<std::uint16_t> depth(kPixels);
  for (std::size_t i = 0; i < depth.size(); ++i) depth[i] = static_cast<std::uint16_t>(i);
  EXPECT_EQ(first_difference(converted(camera_of_depth(640, 480, 65535), depth), metres(depth)),
            kNowhere);
}

TEST_F(DepthConversion, NoReadingIsZero) {
  const std::vector<float> depth =
      converted(OniCamera(), std::vector<std::uint16_t>(kPixels, std::uint16_t{0}));
  EXPECT_EQ(first_difference(depth, std::vector<float>(kDepthEntries, 0.0F)), kNowhere);
}

TEST_F(DepthConversion, MillimetresBecomeMetres) {
  const std::vector<float> depth =
      converted(OniCamera(), std::vector<std::uint16_t>(kPixels, std::uint16_t{1234}));
  EXPECT_EQ(depth[0], 1.234F);
  EXPECT_EQ(depth[kPixels - 1], 1.234F);
}

TEST_F(DepthConversion, LargestReadingOfTheDevice) {
  const OniCamera camera = camera_of_depth(640, 480, 10000);
  EXPECT_EQ(converted(camera, std::vector<std::uint16_t>(kPixels, std::uint16_t{10000}))[1234],
            10.0F);
}

TEST_F(DepthConversion, ReadingBeyondTheLargestOfTheDeviceIsTakenAsItIs) {
  const OniCamera camera = camera_of_depth(640, 480, 10000);
  EXPECT_EQ(converted(camera, std::vector<std::uint16_t>(kPixels, std::uint16_t{12345}))[1234],
            12.345F);
}

TEST_F(DepthConversion, SpareEntryIsNotUsed) {
  reader().DepthMap[kPixels] = -7.0F;
  EXPECT_EQ(converted(OniCamera(), depth_pattern(640, 480, 1))[kPixels], -7.0F);
}

TEST_F(DepthConversion, SmallerFrameFillsTheFirstEntriesWithoutGaps) {
  const std::vector<float> before(kDepthEntries, -3.0F);
  std::copy(before.begin(), before.end(), reader().DepthMap);
  const std::vector<std::uint16_t> depth = depth_pattern(320, 240, 1);
  EXPECT_EQ(first_difference(converted(camera_of_depth(320, 240), depth), metres(depth, before)),
            kNowhere);
}

TEST_F(DepthConversion, FrameOfOddSize) {
  const std::vector<std::uint16_t> depth = depth_pattern(321, 241, 1);
  EXPECT_EQ(first_difference(converted(camera_of_depth(321, 241), depth), metres(depth)), kNowhere);
}

TEST_F(DepthConversion, FrameOfOnePixel) {
  EXPECT_EQ(first_difference(converted(camera_of_depth(1, 1), {777}), metres({777})), kNowhere);
}

TEST_F(DepthConversion, LargerFrameIsCutOffAtTheEndOfTheArray) {
  std::fill(std::begin(reader().ColourImage), std::end(reader().ColourImage), std::uint8_t{0xA5});
  OniCamera camera = camera_of_depth(800, 600);
  camera.colour_width = 64;
  const std::vector<std::uint16_t> depth = depth_pattern(800, 600, 1);
  EXPECT_EQ(first_difference(converted(camera, depth), metres(depth)), kNowhere);
  EXPECT_EQ(first_difference(colour_of(reader()),
                             std::vector<std::uint8_t>(kColourEntries, std::uint8_t{0xA5})),
            kNowhere);
}

TEST_F(DepthConversion, WiderFrameOfTheSamePixelCountIsNoLarger) {
  const std::vector<std::uint16_t> depth = depth_pattern(1280, 240, 1);
  EXPECT_EQ(first_difference(converted(camera_of_depth(1280, 240), depth), metres(depth)),
            kNowhere);
}

TEST_F(DepthConversion, FrameWithFewerPixelsThanItClaimsIsPassedOver) {
  const OniCamera camera;
  OniFrame torn = pattern_frame(camera, 2);
  torn.depth.resize(kPixels - 1);
  open(record(camera, {pattern_frame(camera, 1), torn, pattern_frame(camera, 3)}));
  process();
  process();
  EXPECT_EQ(first_difference(depth_of(reader()), metres(pattern_frame(camera, 3).depth)), kNowhere);
}

TEST_F(DepthConversion, FrameWithMorePixelsThanItClaimsFillsWhatItClaims) {
  const std::vector<std::uint16_t> depth = depth_pattern(320, 240, 1);
  std::vector<std::uint16_t> longer = depth;
  longer.resize(kPixels, std::uint16_t{5000});
  EXPECT_EQ(first_difference(converted(camera_of_depth(320, 240), longer), metres(depth)),
            kNowhere);
}

}  // namespace
}  // namespace depth_io::test
