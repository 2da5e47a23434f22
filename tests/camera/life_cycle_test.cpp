#include <new>
#include <type_traits>

#include "tests/support/camera_fixture.h"

// The reader's calls in any order: each ends with a message at worst, and a frame that is not there
// leaves the arrays as they were.
namespace depth_io::test {
namespace {

constexpr char kEndOfFile[] = "UpdateData failed: End of file reached\n";
constexpr char kNotInitialised[] = "UpdateData failed: Module was not initialized!\n";

// It holds a camera, which its destructor lets go of: of two copies one would be left without.
static_assert(!std::is_copy_constructible_v<class_asus_reader>);
static_assert(!std::is_copy_assignable_v<class_asus_reader>);

class LifeCycle : public CameraTest {
 protected:
  void expect_frame(const OniFrame& frame) {
    EXPECT_EQ(first_difference(depth_of(reader()), metres(frame.depth)), kNowhere);
    EXPECT_EQ(first_difference(colour_of(reader()), in_colour_array(frame.colour)), kNowhere);
  }
  void expect_no_frame(const std::string& message) {
    const Outcome<int> outcome = process();
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.output, message);
    EXPECT_EQ(outcome.keys, 0);
  }
  std::string record_only(bool depth, bool colour, const std::string& name) const {
    OniCamera camera;
    camera.has_depth = depth;
    camera.has_colour = colour;
    return record(camera, 2, name);
  }
};

TEST_F(LifeCycle, NewReaderHoldsNothing) {
  expect_frame({{}, {}, 0, 0});
  EXPECT_EQ(reader().GetWidthDepth(), 0);
  EXPECT_EQ(reader().GetHeightDepth(), 0);
  EXPECT_EQ(reader().GetWidthImage(), 0);
  EXPECT_EQ(reader().GetHeightImage(), 0);
}

TEST_F(LifeCycle, NewReaderClearsItsMemory) {
  struct Freed {
    void operator()(void* memory) const {
      ::operator delete (memory, std::align_val_t{alignof(class_asus_reader)});
    }
  };
  const std::unique_ptr<void, Freed> memory(
      ::operator new (sizeof(class_asus_reader), std::align_val_t{alignof(class_asus_reader)}));
  std::fill_n(static_cast<unsigned char*>(memory.get()), sizeof(class_asus_reader),
              static_cast<unsigned char>(0xEE));
  auto* const made = new (memory.get()) class_asus_reader;
  EXPECT_EQ(first_difference(depth_of(*made), std::vector<float>(kDepthEntries)), kNowhere);
  EXPECT_EQ(first_difference(colour_of(*made), std::vector<std::uint8_t>(kColourEntries)),
            kNowhere);
  for (const auto* const plane : {&made->tempR, &made->tempG, &made->tempB}) {
    const unsigned char* const first = &(*plane)[0][0];
    EXPECT_TRUE(std::all_of(first, first + kPixels, [](unsigned char v) { return v == 0; }));
  }
  EXPECT_EQ(made->xnFPS, nullptr);
  made->~class_asus_reader();
}

TEST_F(LifeCycle, ReaderOnTheStackPlaysToo) {
  class_asus_reader on_the_stack;
  Text configuration = record(OniCamera(), 1);
  quietly([&] { return on_the_stack.init(configuration, 0) + on_the_stack.process(0); });
  EXPECT_EQ(first_difference(depth_of(on_the_stack), metres(depth_pattern(640, 480, 1))), kNowhere);
}

TEST_F(LifeCycle, TwoReadersPlayTheirOwn) {
  class_asus_reader other;
  Text configuration = record(OniCamera(), 2, "other");
  open(record(OniCamera(), 1, "camera"));
  quietly([&] { return other.init(configuration, 0) + other.process(0) + other.process(0); });
  process();
  expect_frame(pattern_frame(OniCamera(), 1));
  EXPECT_EQ(first_difference(depth_of(other), metres(depth_pattern(640, 480, 2))), kNowhere);
}

TEST_F(LifeCycle, FrameBeforeOpening) { expect_no_frame(kNoContext); }

TEST_F(LifeCycle, TraceOfAFrameBeforeOpening) {
  EXPECT_EQ(process(1).output, std::string(" - DEBUG ASUS - loop 1\n") + kNoContext);
}

TEST_F(LifeCycle, EndOfTheRecordingIsToldAtEachCall) {
  open(record(OniCamera(), 2));
  process();
  process();
  for (int i = 0; i < 3; ++i) expect_no_frame(kEndOfFile);
  EXPECT_EQ(process(1).output, std::string(" - DEBUG ASUS - loop 1\n") + kEndOfFile);
}

TEST_F(LifeCycle, LastFrameStaysAtTheEndOfTheRecording) {
  open(record(OniCamera(), 2));
  for (int i = 0; i < 4; ++i) process();
  expect_frame(pattern_frame(OniCamera(), 2));
  EXPECT_EQ(reader().depthMD.FrameID(), 2U);
  EXPECT_EQ(reader().GetWidthDepth(), 640);
}

TEST_F(LifeCycle, RepeatedRecordingBeginsAgain) {
  record(OniCamera(), 2);
  open(file("again.xml", oni_configuration(directory().file("camera.oni"), true)));
  for (const unsigned expected : {1U, 2U, 1U, 2U, 1U}) {
    EXPECT_EQ(process().output, frame_line(expected, middle_of_pattern(expected)) +
                                    resolution_line("depth", 480, 640) +
                                    resolution_line("image", 480, 640));
    expect_frame(pattern_frame(OniCamera(), expected));
  }
}

TEST_F(LifeCycle, ReleaseBeforeOpeningPrintsNothing) {
  EXPECT_EQ(capture_console([&] { release(); }).output, "");
}

TEST_F(LifeCycle, ReleasePrintsNothing) {
  open(record(OniCamera(), 1));
  const ConsoleTrace trace = capture_console([&] { release(); });
  EXPECT_EQ(trace.output, "");
  EXPECT_EQ(trace.keys, 0);
}

TEST_F(LifeCycle, ReleaseTwice) {
  open(record(OniCamera(), 1));
  release();
  release();
  expect_no_frame(kNoContext);
}

TEST_F(LifeCycle, FrameAfterRelease) {
  open(record(OniCamera(), 2));
  process();
  release();
  expect_no_frame(kNoContext);
  expect_frame(pattern_frame(OniCamera(), 1));
}

TEST_F(LifeCycle, OpeningAgainAfterRelease) {
  const std::string configuration = record(OniCamera(), 2);
  for (int i = 0; i < 3; ++i) {
    open(configuration);
    process();
    expect_frame(pattern_frame(OniCamera(), 1));
    release();
  }
}

TEST_F(LifeCycle, OpeningAgainWithoutReleaseBeginsAgain) {
  const std::string configuration = record(OniCamera(), 2);
  for (int i = 0; i < 3; ++i) {
    open(configuration);
    process();
    expect_frame(pattern_frame(OniCamera(), 1));
  }
}

TEST_F(LifeCycle, OpeningAnotherResolution) {
  OniCamera small;
  small.depth_width = 320;
  small.depth_height = 240;
  small.colour_width = 160;
  small.colour_height = 120;
  open(record(OniCamera(), 1, "large"));
  process();
  release();
  open(record(small, 1, "small"));
  process();
  EXPECT_EQ(reader().GetWidthDepth(), 320);
  EXPECT_EQ(reader().GetHeightDepth(), 240);
  EXPECT_EQ(reader().GetWidthImage(), 160);
  EXPECT_EQ(reader().GetHeightImage(), 120);
  const OniFrame large_frame = pattern_frame(OniCamera(), 1);
  EXPECT_EQ(first_difference(depth_of(reader()),
                             metres(pattern_frame(small, 1).depth, metres(large_frame.depth))),
            kNowhere);
  EXPECT_EQ(first_difference(colour_of(reader()), in_colour_array(large_frame.colour)), kNowhere);
}

TEST_F(LifeCycle, SizesStayThoseOfTheLastFrameAfterRelease) {
  open(record(OniCamera(), 1));
  process();
  release();
  EXPECT_EQ(reader().GetWidthDepth(), 640);
  EXPECT_EQ(reader().GetHeightDepth(), 480);
  EXPECT_EQ(reader().GetWidthImage(), 640);
  EXPECT_EQ(reader().GetHeightImage(), 480);
}

TEST_F(LifeCycle, SizesBeforeTheFirstFrameAreZero) {
  open(record(OniCamera(), 1));
  EXPECT_EQ(reader().GetWidthDepth(), 0);
  EXPECT_EQ(reader().GetHeightImage(), 0);
}

TEST_F(LifeCycle, FrameAfterOpeningFailedAtTheImageNode) {
  EXPECT_EQ(init(record_only(true, false, "depth")).result, 0x1000A);
  expect_no_frame(kNotInitialised);
  EXPECT_EQ(process(1).output, std::string(" - DEBUG ASUS - loop 1\n") + kNotInitialised);
  expect_frame({{}, {}, 0, 0});
}

TEST_F(LifeCycle, FrameAfterOpeningFailedAtTheDepthNode) {
  EXPECT_EQ(init(record_only(false, true, "colour")).result, 0x1000A);
  expect_no_frame(kNoContext);
}

TEST_F(LifeCycle, ReleaseAfterOpeningFailedAtTheImageNode) {
  init(record_only(true, false, "depth"));
  release();
  expect_no_frame(kNoContext);
}

TEST_F(LifeCycle, FailureAtTheImageNodeTakesTheEarlierCameraAway) {
  open(record(OniCamera(), 2, "good"));
  process();
  EXPECT_EQ(init(record_only(true, false, "depth")).result, 0x1000A);
  expect_no_frame(kNotInitialised);
  expect_frame(pattern_frame(OniCamera(), 1));
}

TEST_F(LifeCycle, FailureAtTheDepthNodeTakesTheEarlierCameraAway) {
  open(record(OniCamera(), 2, "good"));
  process();
  EXPECT_EQ(init(record_only(false, true, "colour")).result, 0x1000A);
  expect_no_frame(kNoContext);
  expect_frame(pattern_frame(OniCamera(), 1));
}

TEST_F(LifeCycle, FailureAtTheImageNodeAfterReleaseOfAnEarlierCamera) {
  open(record(OniCamera(), 2, "good"));
  process();
  release();
  EXPECT_EQ(init(record_only(true, false, "depth")).result, 0x1000A);
  expect_no_frame(kNotInitialised);
}

TEST_F(LifeCycle, UnreadableConfigurationLeavesTheEarlierCameraOpen) {
  open(record(OniCamera(), 2));
  process();
  EXPECT_EQ(init(directory().file("missing.xml")).result, -1);
  EXPECT_EQ(init(file("bad.xml", "<OpenNI>")).result, 0x10014);
  process();
  expect_frame(pattern_frame(OniCamera(), 2));
}

TEST_F(LifeCycle, OpeningAgainAfterAHalfFailedOne) {
  init(record_only(true, false, "depth"));
  open(record(OniCamera(), 1, "good"));
  process();
  expect_frame(pattern_frame(OniCamera(), 1));
}

TEST_F(LifeCycle, ReaderThatIsDestroyedOpenLetsGoOfItsCamera) {
  Text configuration = record(OniCamera(), 2);
  for (int i = 0; i < 20; ++i) {
    const auto again = std::make_unique<class_asus_reader>();
    quietly([&] { return again->init(configuration, 0) + again->process(0); });
    EXPECT_EQ(again->depthMD.FrameID(), 1U);
  }
}

}  // namespace
}  // namespace depth_io::test
