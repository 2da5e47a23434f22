#include "tests/support/frame_fixture.h"
#include "tests/support/second_generation_fixture.h"

// A first frame of a new sub-directory that cannot be written, and how recording goes on after it.
namespace depth_io::test {
namespace {

using Engine = KV_RGBD_CameraCompression2;

/// What was printed while output could not go to a file either.
struct Printed {
  bool result = false;
  std::string output;
  long keys = 0;
};

class SecondGenerationDiskFull : public ::testing::Test {
 protected:
  void start(int per_directory, const std::string& colour_stem = "") {
    settings_.directory = directory_.path();
    settings_.sub_directories = true;
    settings_.per_directory = per_directory;
    settings_.colour_stem = colour_stem;
    settings_.history = 4;
    start_engine(engine_, settings_);
    fill(engine_, scene_depth(0), flat_colour(100));
  }
  Outcome<bool> capture(int second) {
    return observe([&] { return capture_at(engine_, true, 0, moment_after(second)); });
  }
  /// Runs `code` on a disk where files cannot grow beyond `bytes`.
  template <typename Code>
  Printed on_full_disk(rlim_t bytes, Code&& code) {
    Printed printed;
    const PrintHook hook;
    const KeyCounter keys;
    {
      const NoSpaceLeft full(bytes);
      printed.result = code();
    }
    printed.output = hook.output();
    printed.keys = keys.count();
    return printed;
  }
  Printed capture_on_full_disk(int second, rlim_t bytes = 0) {
    return on_full_disk(bytes, [&] { return capture_at(engine_, true, 0, moment_after(second)); });
  }
  std::string folder(const std::string& digits) const { return directory_.file(digits); }
  static std::string name(int second) { return stamp_of(moment_after(second)) + "-depth"; }
  bool plays(const std::string& digits, int second) const {
    return recorded_depth(folder(digits) + "/" + name(second)) == scene_depth(0)[0];
  }

  TempDirectory directory_;
  SecondSettings settings_;
  Engine engine_;
};

TEST_F(SecondGenerationDiskFull, WholeOutputOfTheFirstFrame) {
  start(3);
  const Printed printed = capture_on_full_disk(0);
  EXPECT_FALSE(printed.result);
  EXPECT_EQ(printed.output,
            first_info_line(moment_after(0)) + creating_line(folder("00000000")) +
                saving_line(folder("00000000") + "/", "depth", 0, stamp_of(moment_after(0))) +
                failed_to_write_line(folder("00000000") + "/" + name(0) + ".rle") +
                kEngineWriteFailedLine);
  EXPECT_EQ(printed.keys, 1);
}

TEST_F(SecondGenerationDiskFull, FailedFirstFrameIsNotCounted) {
  start(3);
  capture_on_full_disk(0);
  EXPECT_EQ(engine_.CurrentNbFramesSavedInSubDirectory, 0);
  EXPECT_EQ(engine_.CurrentSubDirectoryIndex, 0);
  EXPECT_FALSE(engine_.RECORDED);
  EXPECT_FALSE(engine_.INITIALISED);
}

TEST_F(SecondGenerationDiskFull, RecordingGoesOnInTheSameSubDirectory) {
  start(3);
  capture_on_full_disk(0);
  const auto seen = capture(1);
  EXPECT_TRUE(seen.result);
  EXPECT_TRUE(engine_.RECORDED);
  EXPECT_TRUE(plays("00000000", 1));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationDiskFull, SubDirectoryIsNotAnnouncedASecondTime) {
  start(3);
  capture_on_full_disk(0);
  const auto seen = capture(1);
  RequestLine info;
  info.seconds = "1.000000";
  info.current = moment_after(1);
  info.last = moment_after(0);
  EXPECT_EQ(seen.output, info.str() + saving_line(folder("00000000") + "/", "depth", 0,
                                                  stamp_of(moment_after(1))));
}

TEST_F(SecondGenerationDiskFull, RecordingGoesOnAfterManyFailures) {
  start(3);
  for (int i = 0; i < 5; ++i) EXPECT_FALSE(capture_on_full_disk(i).result);
  EXPECT_TRUE(capture(5).result);
  EXPECT_TRUE(plays("00000000", 5));
}

TEST_F(SecondGenerationDiskFull, FirstStampIsThatOfTheFirstWrittenFrame) {
  start(3);
  capture_on_full_disk(0);
  capture(1);
  EXPECT_EQ(engine_.FirstTimeStampSavedInSubDirectory.buffer, stamp_of(moment_after(1)));
}

TEST_F(SecondGenerationDiskFull, NumberOfFramesCountsTheWrittenOnes) {
  start(2);
  capture_on_full_disk(0);
  for (int i = 1; i <= 3; ++i) EXPECT_TRUE(capture(i).result);
  EXPECT_TRUE(plays("00000000", 1));
  EXPECT_TRUE(plays("00000000", 2));
  EXPECT_TRUE(plays("00000001", 3));
}

TEST_F(SecondGenerationDiskFull, LaterSubDirectoryIsKeptLikeTheFirst) {
  start(1);
  ASSERT_TRUE(capture(0).result);
  EXPECT_FALSE(capture_on_full_disk(1).result);
  EXPECT_TRUE(capture(2).result);
  EXPECT_TRUE(plays("00000001", 2));
  EXPECT_TRUE(capture(3).result);
  EXPECT_TRUE(plays("00000002", 3));
}

TEST_F(SecondGenerationDiskFull, NextSubDirectoryIsMadeAnewAfterOneThatWasKept) {
  start(1);
  capture_on_full_disk(0);
  capture(1);
  std::filesystem::create_directory(folder("00000001"));
  const auto seen = capture(2);
  EXPECT_FALSE(seen.result);
  EXPECT_TRUE(seen.output.ends_with(failed_to_create_line(folder("00000001"))));
}

TEST_F(SecondGenerationDiskFull, FrameOfAFilledSubDirectoryFailsWithoutBeingCounted) {
  start(3);
  ASSERT_TRUE(capture(0).result);
  EXPECT_FALSE(capture_on_full_disk(1).result);
  EXPECT_EQ(engine_.CurrentNbFramesSavedInSubDirectory, 1);
  EXPECT_TRUE(capture(2).result);
  EXPECT_TRUE(plays("00000000", 0));
  EXPECT_TRUE(plays("00000000", 2));
}

TEST_F(SecondGenerationDiskFull, RetryOfTheSameMomentSucceeds) {
  start(3);
  capture_on_full_disk(0);
  EXPECT_TRUE(capture(0).result);
  EXPECT_TRUE(plays("00000000", 0));
}

TEST_F(SecondGenerationDiskFull, ColourImageThatDoesNotFitIsReported) {
  start(3, "c");
  const Printed printed = capture_on_full_disk(0, 200);
  EXPECT_FALSE(printed.result);
  const std::string image = folder("00000000") + "/" + stamp_of(moment_after(0)) + "-c.jpg";
  EXPECT_TRUE(
      printed.output.ends_with("write_compressed_data - liblinjpeg - failed to save encode jpeg '" +
                               image + "' 640 x 480\n" + kEngineWriteFailedLine))
      << printed.output;
  EXPECT_EQ(printed.keys, 1);
  EXPECT_TRUE(capture(1).result);
  EXPECT_TRUE(plays("00000000", 1));
}

TEST_F(SecondGenerationDiskFull, SecondConstructForgetsTheKeptSubDirectory) {
  start(3);
  capture_on_full_disk(0);
  TempDirectory other;
  std::filesystem::create_directory(other.file("00000000"));
  settings_.directory = other.path();
  start_engine(engine_, settings_);
  const auto seen = capture(1);
  EXPECT_FALSE(seen.result);
  EXPECT_TRUE(seen.output.ends_with(failed_to_create_line(other.file("00000000"))));
  EXPECT_TRUE(files_in(other.file("00000000")).empty());
}

// --- Any of the frame's files -------------------------------------------------------------------

/// A directory stands in the place of one of the frame's files, from the moment that the frame is
/// announced: the sub-directory was just made.
class SecondGenerationFileInTheWay : public SecondGenerationDiskFull,
                                     public ::testing::WithParamInterface<const char*> {
 protected:
  std::string blocked(int second) const {
    return folder("00000000") + "/" + stamp_of(moment_after(second)) + GetParam();
  }
  Printed capture_blocked(int second) {
    Printed printed;
    const PrintHook hook("saving '", [&] { std::filesystem::create_directory(blocked(second)); });
    const KeyCounter keys;
    printed.result = capture_at(engine_, true, 0, moment_after(second));
    EXPECT_TRUE(hook.fired());
    printed.output = hook.output();
    printed.keys = keys.count();
    return printed;
  }
};

TEST_P(SecondGenerationFileInTheWay, FrameFailsWithOneKey) {
  start(3, "c");
  const Printed printed = capture_blocked(0);
  EXPECT_FALSE(printed.result);
  EXPECT_TRUE(printed.output.ends_with(kEngineWriteFailedLine));
  EXPECT_NE(printed.output.find("'" + blocked(0) + "'"), std::string::npos) << printed.output;
  EXPECT_EQ(printed.keys, 1);
  EXPECT_FALSE(engine_.INITIALISED);
}

TEST_P(SecondGenerationFileInTheWay, NextFrameIsWrittenBesideIt) {
  start(3, "c");
  capture_blocked(0);
  EXPECT_TRUE(capture(1).result);
  EXPECT_TRUE(plays("00000000", 1));
}

TEST_P(SecondGenerationFileInTheWay, SameFrameIsWrittenOnceTheWayIsFree) {
  start(3, "c");
  capture_blocked(0);
  std::filesystem::remove(blocked(0));
  EXPECT_TRUE(capture(0).result);
  EXPECT_TRUE(plays("00000000", 0));
}

INSTANTIATE_TEST_SUITE_P(Files, SecondGenerationFileInTheWay,
                         ::testing::Values("-c.jpg", "-depth.rle", "-depth.ref", "-depth.jpg",
                                           "-depth.err"),
                         [](const auto& tested) {
                           const std::string file = tested.param;
                           return file == "-c.jpg" ? std::string("colour")
                                                   : file.substr(file.size() - 3);
                         });

// --- Recording from the ring --------------------------------------------------------------------

class SecondGenerationDiskFullRing : public SecondGenerationDiskFull {
 protected:
  void start_with_frames(int per_directory) {
    start(per_directory);
    for (int i = 0; i < 3; ++i) {
      ASSERT_TRUE(quietly([&] { return capture_at(engine_, false, 0, moment_after(i)); }));
    }
  }
  Outcome<bool> save() {
    return observe([&] { return record_range(engine_, moment_after(0), moment_after(9)); });
  }
  Printed save_on_full_disk() {
    return on_full_disk(0, [&] { return record_range(engine_, moment_after(0), moment_after(9)); });
  }
};

TEST_F(SecondGenerationDiskFullRing, WholeOutputOfAFailedFirstFrame) {
  start_with_frames(3);
  const Printed printed = save_on_full_disk();
  EXPECT_FALSE(printed.result);
  const std::string stamp = stamp_of(moment_after(0));
  EXPECT_EQ(printed.output, "recording timestamp '" + stamp + "'\n" +
                                creating_line(folder("00000000")) +
                                saving_line(folder("00000000") + "/", "depth", -1, stamp) +
                                failed_to_write_line(folder("00000000") + "/" + name(0) + ".rle") +
                                kEngineWriteFailedLine);
  EXPECT_EQ(printed.keys, 1);
}

TEST_F(SecondGenerationDiskFullRing, RangeIsSavedIntoTheSameSubDirectoryAfterwards) {
  start_with_frames(3);
  save_on_full_disk();
  const auto seen = save();
  EXPECT_TRUE(seen.result);
  EXPECT_TRUE(seen.output.ends_with("INFO 3 frame recorded from buffer\n"));
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(plays("00000000", i)) << i;
}

TEST_F(SecondGenerationDiskFullRing, CaptureGoesOnInTheSubDirectoryThatTheRingMade) {
  start_with_frames(3);
  save_on_full_disk();
  EXPECT_TRUE(capture(5).result);
  EXPECT_TRUE(plays("00000000", 5));
}

TEST_F(SecondGenerationDiskFullRing, FramesWrittenBeforeTheFailureStayAndCount) {
  start_with_frames(2);
  bool saved = true;
  {
    const PrintHook hook("recording timestamp '" + stamp_of(moment_after(2)),
                         [&] { std::filesystem::create_directory(folder("00000001")); });
    const KeyCounter keys;
    saved = record_range(engine_, moment_after(0), moment_after(9));
    EXPECT_TRUE(hook.output().ends_with(creating_line(folder("00000001")) +
                                        failed_to_create_line(folder("00000001"))));
    EXPECT_EQ(keys.count(), 1);
  }
  EXPECT_FALSE(saved);
  EXPECT_TRUE(plays("00000000", 0));
  EXPECT_TRUE(plays("00000000", 1));
  EXPECT_EQ(engine_.CurrentSubDirectoryIndex, 1);
  EXPECT_EQ(engine_.CurrentNbFramesSavedInSubDirectory, 0);
}

}  // namespace
}  // namespace depth_io::test
