// The program with a camera: recordings that OpenNI plays back stand in for one.

#include <chrono>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "camera/asus_reader.h"
#include "tests/support/oni_recording.h"
#include "tests/tools/clock_steps.h"
#include "tests/tools/depthrw_fixture.h"
#include "tools/source/camera_source.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

constexpr std::size_t kPixels = std::size_t{640} * 480;

/// A wall with a step in it, another one for each number.
OniFrame wall(unsigned number, std::uint64_t microseconds) {
  OniFrame frame;
  frame.depth.assign(kPixels, static_cast<std::uint16_t>(1000 + 10 * number));
  std::fill_n(frame.depth.begin(), kPixels / 3, std::uint16_t{2345});
  frame.colour.resize(kPixels * 3);
  for (std::size_t i = 0; i < kPixels; ++i) {
    frame.colour[3 * i] = 200;
    frame.colour[3 * i + 1] = static_cast<std::uint8_t>(10 + number);
    frame.colour[3 * i + 2] = 40;
  }
  frame.id = number;
  frame.microseconds = microseconds;
  return frame;
}

constexpr std::uint64_t kFrameTime = 33333;  ///< microseconds

std::vector<OniFrame> walls(unsigned count) {
  std::vector<OniFrame> frames;
  for (unsigned i = 1; i <= count; ++i) frames.push_back(wall(i, i * kFrameTime));
  return frames;
}

class DepthrwCamera : public Depthrw {
 protected:
  /// OpenNI's own faults, which sanitizers find in the program, are none of it.
  void SetUp() override {
    write_file(path("known_leaks"), "leak:libOpenNI.so\nleak:libnim\n");
    setenv("ASAN_OPTIONS", "new_delete_type_mismatch=0:alloc_dealloc_mismatch=0", 1);
    setenv("LSAN_OPTIONS",
           ("suppressions=" + path("known_leaks") + ":print_suppressions=0").c_str(), 1);
  }

  enum class Pace { kAsFastAsRead, kOfTheCamera };

  /// Makes a camera of these frames; returns the path of its configuration.
  std::string camera(const std::vector<OniFrame>& frames, bool repeat = false,
                     Pace pace = Pace::kAsFastAsRead, const OniCamera& kind = {}) const {
    write_oni(path("camera.oni"), kind, frames);
    std::string text = oni_configuration(path("camera.oni"), repeat);
    if (pace == Pace::kOfTheCamera) {
      text.replace(text.find("playbackSpeed=\"0.0\""), 19, "playbackSpeed=\"1.0\"");
    }
    write_file(path("camera.xml"), text);
    return path("camera.xml");
  }

  /// Makes a camera of the first images of a directory.
  void make_camera_of(const std::string& images, const std::string& count) const {
    ProgramStart start;
    start.program = MAKE_ONI_PROGRAM;
    const ProgramResult result = run_program({path("camera.oni"), images, count}, start);
    ASSERT_EQ(result.status, 0) << result.messages;
    write_file(path("camera.xml"), oni_configuration(path("camera.oni"), false));
  }

  std::vector<std::string> from(const std::string& configuration,
                                const std::vector<std::string>& more = {}) const {
    std::vector<std::string> arguments = {"record", "--out", path("rec"), "--source",
                                          "openni:" + configuration};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }

  /// The files of all frames, in order; names hold times.
  static std::vector<std::string> contents(const std::string& directory) {
    std::vector<std::string> paths;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
      if (entry.is_regular_file() && entry.path().extension() != ".json") {
        paths.push_back(entry.path());
      }
    }
    std::sort(paths.begin(), paths.end());
    std::vector<std::string> all;
    for (const std::string& file : paths) {
      all.push_back(fs::path(file).extension().string() + ":" + read_file(file));
    }
    return all;
  }
};

TEST_F(DepthrwCamera, RecordsEveryFrameUntilTheEnd) {
  const ProgramResult result = run_program(from(camera(walls(12))));
  ASSERT_EQ(result.status, 0) << result.messages;
  EXPECT_EQ(played_names().size(), 12U);
  EXPECT_EQ(description()["frames"]["missed"], 0);
  EXPECT_EQ(description()["end"], "the source ended");
  EXPECT_EQ(description()["live"], true);
}

TEST_F(DepthrwCamera, RealFramesComeBackAsTheSourceHasThem) {
  const std::string images = real_frames("kinect_kitchen");
  if (!fs::exists(images)) GTEST_SKIP() << "there are no real frames at " << images;
  make_camera_of(images, "12");
  const ProgramResult result = run_program(from(path("camera.xml")));
  ASSERT_EQ(result.status, 0) << result.messages;
  const ProgramResult verified =
      run_program({"verify", path("rec"), "--against", "images:" + images, "--in-order"});
  EXPECT_EQ(verified.status, 0) << verified.messages;
  EXPECT_THAT(verified.output, HasSubstr("12 checked, 12 good, 0 bad, 0 missing"));
}

TEST_F(DepthrwCamera, WritesTheSameFilesAsFromImages) {
  const std::string images = real_frames("kinect_kitchen");
  if (!fs::exists(images)) GTEST_SKIP() << "there are no real frames at " << images;
  make_camera_of(images, "3");
  ASSERT_EQ(run_program(from(path("camera.xml"))).status, 0);
  ASSERT_EQ(run_program({"record", "--out", path("images"), "--source", "images:" + images,
                         "--frames", "3", "--camera-type", "1"})
                .status,
            0);
  const std::vector<std::string> expected = contents(path("images"));
  EXPECT_EQ(expected.size(), 15U);
  EXPECT_TRUE(contents(path("rec")) == expected);
}

TEST_F(DepthrwCamera, NoTwoFramesHaveTheSameTime) {
  ASSERT_EQ(run_program(from(camera(walls(30)), {"--no-colour"})).status, 0);
  const std::vector<std::string> names = played_names();
  EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), 30U);
}

TEST_F(DepthrwCamera, IsOfTheAsusClassUnlessTheUserSaysOtherwise) {
  const std::string configuration = camera(walls(1));
  ASSERT_EQ(run_program(from(configuration)).status, 0);
  EXPECT_EQ(description()["camera"]["type"], 1);
  fs::remove_all(path("rec"));
  ASSERT_EQ(run_program(from(configuration, {"--camera-type", "0"})).status, 0);
  EXPECT_EQ(description()["camera"]["type"], 0);
}

/// OpenNI waits two seconds for the frame behind such a gap.
TEST_F(DepthrwCamera, ASilentCameraEndsTheRecordingWithStatus3) {
  std::vector<OniFrame> frames = walls(3);
  frames.push_back(wall(4, 60000000));
  const ProgramResult result =
      run_program(from(camera(frames, false, Pace::kOfTheCamera), {"--stall", "0.5"}));
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.messages, HasSubstr("no new frame for 0.5 seconds"));
  EXPECT_EQ(played_names().size(), 3U);
  EXPECT_EQ(description()["end"], "the camera stalled");
  EXPECT_EQ(description()["frames"]["failed"], 0);
}

TEST_F(DepthrwCamera, FramesThatTheProgramNeverSawAreCounted) {
  const std::string configuration = camera(walls(12));
  tools::LibraryLog log(false);
  tools::CameraSource source(configuration, 5, log);
  tools::Frame frame;
  ASSERT_TRUE(source.next(frame));
  EXPECT_EQ(source.frames_missed(), 0);
  xn::Player player;
  ASSERT_EQ(THE_READER.context.FindExistingNode(XN_NODE_TYPE_PLAYER, player), XN_STATUS_OK);
  ASSERT_EQ(player.SeekToFrame(THE_READER.depth.GetName(), 7, XN_PLAYER_SEEK_SET), XN_STATUS_OK);
  ASSERT_TRUE(source.next(frame));
  EXPECT_EQ(frame.depth.back(), 1.07F);
  EXPECT_EQ(source.frames_missed(), 5);
}

TEST_F(DepthrwCamera, GoesOnUntilItIsInterrupted) {
  RunningProgram program(
      from(camera(walls(5), true, Pace::kOfTheCamera), {"--acknowledge", "--no-colour"}));
  ASSERT_TRUE(program.wait_for_lines(12)) << program.messages();
  program.send(SIGINT);
  const ProgramResult result = program.wait();
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_EQ(description()["end"], "interrupted");
  EXPECT_EQ(played_names(), split_lines(result.output));
}

TEST_F(DepthrwCamera, AStepOfTheClockIsToldAndFrameTimesGoOnEvenly) {
  const ProgramResult result = run_while_clock_is_put_back(
      from(camera(walls(5), true, Pace::kOfTheCamera), {"--acknowledge", "--no-colour"}));
  expect_even_stamps(result, description());
}

TEST_F(DepthrwCamera, EndsAfterSoManyFrames) {
  ASSERT_EQ(run_program(from(camera(walls(5), true), {"--frames", "7"})).status, 0);
  EXPECT_EQ(played_names().size(), 7U);
}

TEST_F(DepthrwCamera, EndsWhenItsTimeIsOver) {
  const auto begin = std::chrono::steady_clock::now();
  const ProgramResult result = run_program(
      from(camera(walls(5), true, Pace::kOfTheCamera), {"--duration", "1", "--fps", "1000"}));
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_GE(passed.count(), 1);
  EXPECT_LT(passed.count(), 20);
  EXPECT_GE(played_names().size(), 2U);
}

TEST_F(DepthrwCamera, ASignalSavesTheTimeBeforeIt) {
  RunningProgram program(from(
      camera(walls(30), true, Pace::kOfTheCamera),
      {"--acknowledge", "--no-colour", "--trigger", "signal", "--before", "1", "--after", "0.2"}));
  sleep_seconds(2.5);
  EXPECT_EQ(program.output(), "");
  program.send(SIGUSR1);
  ASSERT_TRUE(program.wait_for_lines(5)) << program.messages();
  sleep_seconds(0.5);
  program.send(SIGTERM);
  const ProgramResult result = program.wait();
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_GE(description()["frames"]["kept"]["history"], 5);
  EXPECT_LE(description()["frames"]["kept"]["history"], 60);
  EXPECT_EQ(played_names(), split_lines(result.output));
}

TEST_F(DepthrwCamera, DepthOfAnotherSizeIsRefused) {
  OniCamera kind;
  kind.depth_width = 320;
  kind.depth_height = 240;
  OniFrame frame = wall(1, kFrameTime);
  frame.depth.resize(kPixels / 4);
  const std::string configuration = camera({frame}, false, Pace::kAsFastAsRead, kind);
  const ProgramResult result = run_program(from(configuration));
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.messages, HasSubstr("depth is 320 x 240"));
  EXPECT_FALSE(fs::exists(path("rec")));
  EXPECT_EQ(run_program({"camera", "--config", configuration}).status, 3);
}

TEST_F(DepthrwCamera, ColourOfAnotherSizeIsLeftOut) {
  OniCamera kind;
  kind.colour_width = 160;
  kind.colour_height = 120;
  OniFrame frame = wall(1, kFrameTime);
  frame.colour.resize(std::size_t{160} * 120 * 3);
  const std::string configuration = camera({frame}, false, Pace::kAsFastAsRead, kind);
  ASSERT_EQ(run_program(from(configuration)).status, 0);
  EXPECT_EQ(description()["colour"], false);
  EXPECT_EQ(contents(path("rec")).size(), 4U);
}

TEST_F(DepthrwCamera, TellsWhatACameraDelivers) {
  const ProgramResult result = run_program(
      {"camera", "--config", camera(walls(30), true, Pace::kOfTheCamera), "--seconds", "1.5"});
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_THAT(result.output, HasSubstr("depth      640 x 480\ncolour     640 x 480\n"));
  EXPECT_THAT(result.output, testing::ContainsRegex("frames     [1-9][0-9]*, [0-9]+ missed\n"));
  EXPECT_THAT(result.output, testing::ContainsRegex("middle     1\\.[0-3][0-9]0 m in frame"));
}

TEST_F(DepthrwCamera, TellsThatACameraIsSilent) {
  std::vector<OniFrame> frames = walls(2);
  frames.push_back(wall(3, 60000000));
  const ProgramResult result = run_program(
      {"camera", "--config", camera(frames, false, Pace::kOfTheCamera), "--stall", "0.4"});
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.messages, HasSubstr("no new frame for 0.4 seconds"));
}

TEST_F(DepthrwCamera, SaysWhyItCannotBeOpened) {
  struct Case {
    std::string text;
    const char* reason;
  };
  const Case cases[] = {{"", "Open failed: "},
                        {"<OpenNI><Prod", "Open failed: "},
                        {oni_configuration(path("none.oni"), false), "Open failed: "}};
  for (const Case& entry : cases) {
    write_file(path("bad.xml"), entry.text);
    for (const auto& arguments :
         {std::vector<std::string>{"camera", "--config", path("bad.xml")}, from(path("bad.xml"))}) {
      const ProgramResult result = run_program(arguments);
      EXPECT_EQ(result.status, 1) << entry.text;
      EXPECT_EQ(result.output, "");
      EXPECT_THAT(result.messages, HasSubstr(entry.reason));
      EXPECT_THAT(result.messages, HasSubstr("could not be opened"));
    }
  }
  const ProgramResult missing = run_program(from(path("nowhere.xml")));
  EXPECT_EQ(missing.status, 1);
  EXPECT_THAT(missing.messages, HasSubstr("file does not exists"));
}

TEST_F(DepthrwCamera, OptionsThatSuitNoCameraAreRefused) {
  const std::string configuration = path("camera.xml");
  const std::vector<std::vector<std::string>> all = {
      {"--loop"}, {"--scale", "1000"}, {"--realtime"}, {"--no-realtime"}, {"--stall", "0"}};
  for (const auto& more : all) EXPECT_EQ(run_program(from(configuration, more)).status, 2);
  EXPECT_EQ(run_program({"record", "--out", path("rec"), "--stall", "3"}).status, 2);
  EXPECT_EQ(run_program({"camera", "--config", configuration, "--seconds", "nan"}).status, 2);
}

TEST_F(DepthrwCamera, ItsFramesAreComparedInOrderOnly) {
  ASSERT_EQ(run_program(from(camera(walls(2)))).status, 0);
  const ProgramResult result = run_program({"verify", path("rec"), "--against", "synthetic"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.messages, HasSubstr("--in-order"));
}

}  // namespace
}  // namespace depth_io::test
