#include "tests/support/camera_fixture.h"

// What each frame prints.
namespace depth_io::test {
namespace {

class FrameMessages : public CameraTest {
 protected:
  /// A camera of this size whose readings are 0, but 4321 at one place.
  void play_with_one_reading(unsigned width, unsigned height, std::size_t row, std::size_t column) {
    OniCamera camera;
    camera.depth_width = width;
    camera.depth_height = height;
    OniFrame frame = pattern_frame(camera, 1);
    std::fill(frame.depth.begin(), frame.depth.end(), std::uint16_t{0});
    frame.depth[row * width + column] = 4321;
    open(record(camera, {frame}));
  }
};

TEST_F(FrameMessages, NumberMiddleRateAndSizes) {
  open(record(OniCamera(), 2));
  for (unsigned i = 1; i <= 2; ++i) {
    const Outcome<int> outcome = process();
    EXPECT_EQ(outcome.output, frame_line(i, middle_of_pattern(i)) +
                                  resolution_line("depth", 480, 640) +
                                  resolution_line("image", 480, 640));
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.keys, 0);
  }
}

TEST_F(FrameMessages, TraceOfAFullFrame) {
  open(record(OniCamera(), 1));
  const Outcome<int> outcome = process(1);
  EXPECT_EQ(outcome.output,
            " - DEBUG ASUS - loop 1\n - DEBUG ASUS - loop 2\n" +
                frame_line(1, middle_of_pattern(1)) + "DEBUG ASUS - nicameraclass::process 4\n" +
                resolution_line("depth", 480, 640) + "DEBUG ASUS - nicameraclass::process 6\n" +
                resolution_line("image", 480, 640));
  EXPECT_EQ(outcome.result, 0);
  EXPECT_EQ(outcome.keys, 0);
}

TEST_F(FrameMessages, TraceOfAHalfColourFrame) {
  OniCamera camera;
  camera.colour_width = 320;
  camera.colour_height = 240;
  open(record(camera, 1));
  EXPECT_EQ(process(1).output,
            " - DEBUG ASUS - loop 1\n - DEBUG ASUS - loop 2\n" +
                frame_line(1, middle_of_pattern(1)) + "DEBUG ASUS - nicameraclass::process 4\n" +
                resolution_line("depth", 480, 640) + "DEBUG ASUS - nicameraclass::process 6\n" +
                resolution_line("image", 240, 320));
}

TEST_F(FrameMessages, OtherDebugValuesTraceNothing) {
  open(record(OniCamera(), 1));
  EXPECT_EQ(process(-1).output, frame_line(1, middle_of_pattern(1)) +
                                    resolution_line("depth", 480, 640) +
                                    resolution_line("image", 480, 640));
}

TEST_F(FrameMessages, HeightComesBeforeWidth) {
  OniCamera camera;
  camera.depth_width = 320;
  camera.depth_height = 200;
  camera.colour_width = 320;
  camera.colour_height = 240;
  open(record(camera, 1));
  EXPECT_THAT(process().output, testing::EndsWith("\ndepth res 200 x 320\nimage res 240 x 320\n"));
}

TEST_F(FrameMessages, MiddleOfAnEvenSize) {
  play_with_one_reading(640, 480, 240, 320);
  EXPECT_THAT(process().output, testing::StartsWith("Frame 1 Middle point is: 4321. FPS: ?\n"));
}

TEST_F(FrameMessages, MiddleOfAnOddSize) {
  play_with_one_reading(321, 201, 100, 160);
  EXPECT_THAT(process().output, testing::StartsWith("Frame 1 Middle point is: 4321. FPS: ?\n"));
}

TEST_F(FrameMessages, MiddleOfALargeFrame) {
  play_with_one_reading(800, 600, 300, 400);
  EXPECT_THAT(process().output, testing::StartsWith("Frame 1 Middle point is: 4321. FPS: ?\n"));
}

TEST_F(FrameMessages, LargestReadingInTheMiddle) {
  OniCamera camera;
  camera.largest_depth = 65535;
  OniFrame frame = pattern_frame(camera, 1);
  frame.depth[240 * 640 + 320] = 65535;
  open(record(camera, {frame}));
  EXPECT_THAT(process().output, testing::StartsWith("Frame 1 Middle point is: 65535. FPS: ?\n"));
}

TEST_F(FrameMessages, NumbersAreTheCameras) {
  std::vector<OniFrame> frames;
  for (const unsigned id : {1U, 3U, 5U, 5U, 0U}) {
    frames.push_back(pattern_frame(OniCamera(), static_cast<unsigned>(frames.size()) + 1));
    frames.back().id = id;
  }
  open(record(OniCamera(), frames));
  for (const char* const start : {"Frame 1 ", "Frame 3 ", "Frame 5 ", "Frame 5 ", "Frame 5 "}) {
    EXPECT_THAT(process().output, testing::StartsWith(start));
  }
}

TEST_F(FrameMessages, RateIsZeroAtFirst) {
  open(record(OniCamera(), 1));
  const ConsoleTrace trace = capture_console([&] { reader().process(0); });
  EXPECT_THAT(trace.output, testing::HasSubstr(". FPS: 0.000000\n"));
}

// The rate is the mean of three seconds: it is told once so much time has gone by.
TEST_F(FrameMessages, RateIsThatOfTheFrames) {
  constexpr int kFrames = 17;
  open(record(OniCamera(), kFrames));
  std::string last;
  for (int i = 0; i < kFrames; ++i) {
    last = capture_console([&] { reader().process(0); }).output;
    xnOSSleep(200);
  }
  std::smatch rate;
  ASSERT_TRUE(std::regex_search(last, rate, std::regex("FPS: ([0-9.]+)\n"))) << last;
  EXPECT_GT(std::stod(rate[1]), 1.0);
  EXPECT_LT(std::stod(rate[1]), 7.0);
}

}  // namespace
}  // namespace depth_io::test
