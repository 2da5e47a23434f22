#include <climits>
#include <utility>

#include "tests/support/camera_fixture.h"

// The process's one camera, reached by functions.
namespace depth_io::test {
namespace {

/// What the camera held when the program started.
struct FirstLook : testing::Environment {
  void SetUp() override {
    depth = depth_of(THE_READER);
    colour = colour_of(THE_READER);
    is_rate_metered = THE_READER.xnFPS != nullptr;
  }
  static inline std::vector<float> depth;
  static inline std::vector<std::uint8_t> colour;
  static inline bool is_rate_metered = true;
};

const testing::Environment* const g_first_look =
    testing::AddGlobalTestEnvironment(new FirstLook);  // NOLINT: GoogleTest deletes it

class FlatFunctions : public CameraTest {
 protected:
  ~FlatFunctions() override { RELEASE_ASUS_READER(); }

  static Outcome<int> init_camera(Text configuration, int debug = 0) {
    return observe([&] { return INIT_ASUS_READER(configuration, debug); });
  }
  static std::string process_camera(int debug = 0) {
    return without_rate(capture_console([&] { PROCESS_ASUS_READER(debug); }).output);
  }
};

TEST_F(FlatFunctions, FrameByFrame) {
  const std::string configuration = record(OniCamera(), 2);
  const Outcome<int> outcome = init_camera(configuration);
  EXPECT_EQ(outcome.result, 0);
  EXPECT_EQ(outcome.output, reading(configuration));
  for (unsigned i = 1; i <= 2; ++i) {
    EXPECT_EQ(process_camera(), frame_line(i, middle_of_pattern(i)) +
                                    resolution_line("depth", 480, 640) +
                                    resolution_line("image", 480, 640));
    const OniFrame frame = pattern_frame(OniCamera(), i);
    std::vector<float> depth;
    for (int k = 0; k < 640 * 480; ++k) depth.push_back(GET_DEPTH_ASUS_READER_AT(k));
    std::vector<std::uint8_t> colour;
    for (int k = 0; k < 640 * 480 * 3; ++k) colour.push_back(GET_IMAGE_ASUS_READER_AT(k));
    std::vector<float> expected = metres(frame.depth);
    expected.resize(kPixels);
    EXPECT_EQ(first_difference(depth, expected), kNowhere);
    EXPECT_EQ(first_difference(colour, frame.colour), kNowhere);
  }
}

TEST_F(FlatFunctions, DebugIsPassedOn) {
  const std::string configuration = record(OniCamera(), 1);
  EXPECT_THAT(init_camera(configuration, 1).output,
              testing::StartsWith(std::string(kOpenTrace) + reading(configuration)));
  EXPECT_THAT(process_camera(1),
              testing::StartsWith(" - DEBUG ASUS - loop 1\n - DEBUG ASUS - loop 2\n"));
}

TEST_F(FlatFunctions, FailureIsTheReaders) {
  const Outcome<int> outcome = init_camera(directory().file("missing.xml"));
  EXPECT_EQ(outcome.result, -1);
  EXPECT_EQ(outcome.keys, 0);
}

TEST_F(FlatFunctions, ReleaseTakesTheCameraAway) {
  init_camera(record(OniCamera(), 2));
  process_camera();
  RELEASE_ASUS_READER();
  RELEASE_ASUS_READER();
  EXPECT_EQ(process_camera(), kNoContext);
}

TEST_F(FlatFunctions, FrameBeforeOpening) { EXPECT_EQ(process_camera(), kNoContext); }

TEST_F(FlatFunctions, TheyReachTheOneReader) {
  THE_READER.DepthMap[5] = 1.25F;
  THE_READER.ColourImage[7] = 77;
  EXPECT_EQ(GET_DEPTH_ASUS_READER_AT(5), 1.25F);
  EXPECT_EQ(GET_IMAGE_ASUS_READER_AT(7), 77);
}

TEST_F(FlatFunctions, TheReaderHoldsNothingAtFirst) {
  EXPECT_EQ(first_difference(FirstLook::depth, std::vector<float>(kDepthEntries)), kNowhere);
  EXPECT_EQ(first_difference(FirstLook::colour, std::vector<std::uint8_t>(kColourEntries)),
            kNowhere);
  EXPECT_FALSE(FirstLook::is_rate_metered);
}

TEST_F(FlatFunctions, SizesAreThoseOfTheArraysWhateverTheCameraHas) {
  OniCamera small;
  small.depth_width = 320;
  small.depth_height = 240;
  small.colour_width = 320;
  small.colour_height = 240;
  for (const bool opened : {false, true}) {
    if (opened) {
      init_camera(record(small, 1));
      process_camera();
      ASSERT_EQ(THE_READER.GetWidthDepth(), 320);
    }
    EXPECT_EQ(GET_WIDTH_DEPTH_ASUS_READER(), 640);
    EXPECT_EQ(GET_HEIGHT_DEPTH_ASUS_READER(), 480);
    EXPECT_EQ(GET_WIDTH_IMAGE_ASUS_READER(), 640);
    EXPECT_EQ(GET_HEIGHT_IMAGE_ASUS_READER(), 480);
  }
}

TEST_F(FlatFunctions, IndicesOutsideTheArraysGiveZero) {
  std::fill(std::begin(THE_READER.DepthMap), std::end(THE_READER.DepthMap), 2.5F);
  std::fill(std::begin(THE_READER.ColourImage), std::end(THE_READER.ColourImage),
            std::uint8_t{200});
  for (const int index : {-1, INT_MIN, 307201, 921600, 1000000, INT_MAX}) {
    EXPECT_EQ(GET_DEPTH_ASUS_READER_AT(index), 0.0F) << index;
  }
  for (const int index : {-1, INT_MIN, 1000000, 1000001, INT_MAX}) {
    EXPECT_EQ(GET_IMAGE_ASUS_READER_AT(index), 0) << index;
  }
}

TEST_F(FlatFunctions, LastIndicesOfTheArrays) {
  THE_READER.DepthMap[307199] = 1.5F;
  THE_READER.DepthMap[307200] = 2.5F;
  THE_READER.ColourImage[921599] = 10;
  THE_READER.ColourImage[921600] = 20;
  THE_READER.ColourImage[999999] = 30;
  EXPECT_EQ(GET_DEPTH_ASUS_READER_AT(307199), 1.5F);
  EXPECT_EQ(GET_DEPTH_ASUS_READER_AT(307200), 2.5F);
  EXPECT_EQ(GET_IMAGE_ASUS_READER_AT(921599), 10);
  EXPECT_EQ(GET_IMAGE_ASUS_READER_AT(921600), 20);
  EXPECT_EQ(GET_IMAGE_ASUS_READER_AT(999999), 30);
}

class FileExists : public CameraTest {};

TEST_F(FileExists, File) { EXPECT_TRUE(fileExists(file("there.txt", "").c_str())); }

TEST_F(FileExists, NoFile) { EXPECT_FALSE(fileExists(directory().file("missing").c_str())); }

TEST_F(FileExists, NothingBelowAFile) {
  EXPECT_FALSE(fileExists((file("there.txt", "") + "/x").c_str()));
}

TEST_F(FileExists, NoName) {
  EXPECT_FALSE(fileExists(""));
  EXPECT_FALSE(fileExists(nullptr));
}

TEST_F(FileExists, PrintsNothing) {
  const std::string path = directory().file("missing");
  EXPECT_EQ(capture_console([&] { fileExists(path.c_str()); }).output, "");
}

}  // namespace
}  // namespace depth_io::test
