#include <limits>

#include "tests/support/second_generation_fixture.h"

// Writing past frames out of the ring, by time range and by frame number.
namespace depth_io::test {
namespace {

using Engine = KV_RGBD_CameraCompression2;

constexpr char kTrace[] = " - DEBUG - _recording_from_buffer - ";

/// An engine whose ring is filled with frames of 1 m, 2 m, ... a second apart.
class SecondGenerationBuffer : public ::testing::Test {
 protected:
  void start(int slots, int frames) {
    settings_.directory = directory_.path();
    settings_.history = slots;
    start_engine(engine_, settings_);
    for (int i = 0; i < frames; ++i) {
      ASSERT_TRUE(capture_flat(engine_, false, moment_after(i), static_cast<float>(i + 1)));
    }
  }
  void start_in_sub_directories(int slots, int frames, int per_directory) {
    settings_.sub_directories = true;
    settings_.per_directory = per_directory;
    start(slots, frames);
  }
  Outcome<bool> save(const Moment& from, const Moment& to, int print = 0, int debug = 0) {
    return observe([&] { return record_range(engine_, from, to, print, debug); });
  }
  Outcome<bool> save_all() { return save(moment_after(0), moment_after(30)); }
  Outcome<bool> save_numbers(int first, int last, int current, int debug = 0) {
    return observe([&] { return engine_.recording_from_buffer(first, last, current, 0, debug); });
  }
  static std::string name(int second) { return stamp_of(moment_after(second)) + "-depth"; }
  /// What a frame of the range prints.
  std::string frame_lines(int second) const {
    const std::string stamp = stamp_of(moment_after(second));
    return "recording timestamp '" + stamp + "'\n" +
           saving_line(directory_.slash(), "depth", -1, stamp);
  }
  static std::string counted(int frames) {
    return "INFO " + std::to_string(frames) + " frame recorded from buffer\n";
  }

  TempDirectory directory_;
  SecondSettings settings_;
  Engine engine_;
};

// --- Time range ---------------------------------------------------------------------------------

TEST_F(SecondGenerationBuffer, WholeOutputOfARangeThatCoversTheRing) {
  start(3, 3);
  const auto seen = save_all();
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, frame_lines(0) + frame_lines(1) + frame_lines(2) + counted(3));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationBuffer, EachFrameIsWrittenWithItsOwnDepth) {
  start(3, 3);
  save_all();
  EXPECT_EQ(files_in(directory_.path()), depth_files({name(0), name(1), name(2)}));
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(recorded_depth(directory_.file(name(i))), static_cast<float>(i + 1));
  }
}

TEST_F(SecondGenerationBuffer, ColourImagesComeOutOfTheRing) {
  settings_.colour_stem = "c";
  start(2, 0);
  for (int i = 0; i < 2; ++i) {
    const auto value = static_cast<unsigned char>(50 + 100 * i);
    fill(engine_, flat_depth(1.0F), flat_colour(value));
    ASSERT_TRUE(quietly([&] { return capture_at(engine_, false, 0, moment_after(i)); }));
  }
  const auto seen = save_all();
  const std::string first = stamp_of(moment_after(0));
  const std::string second = stamp_of(moment_after(1));
  EXPECT_EQ(seen.output, "recording timestamp '" + first + "'\n" +
                             saving_colour_lines(directory_.slash(), "depth", "c", -1, first) +
                             "recording timestamp '" + second + "'\n" +
                             saving_colour_lines(directory_.slash(), "depth", "c", -1, second) +
                             counted(2));
  ASSERT_TRUE(quietly([&] {
    Text image(directory_.file(first + "-c.jpg"));
    return engine_.LoadColourImage(image);
  }));
  EXPECT_NEAR(engine_.ColourImage[0], 50, 1);
}

TEST_F(SecondGenerationBuffer, WrappedRingIsWrittenInTheOrderOfItsSlots) {
  start(3, 4);
  const auto seen = save_all();
  EXPECT_EQ(seen.output, frame_lines(3) + frame_lines(1) + frame_lines(2) + counted(3));
}

TEST_F(SecondGenerationBuffer, BothEndsAreIncluded) {
  start(4, 4);
  const auto seen = save(moment_after(1), moment_after(2));
  EXPECT_EQ(seen.output, frame_lines(1) + frame_lines(2) + counted(2));
}

TEST_F(SecondGenerationBuffer, MillisecondBesideAnEndIsOutside) {
  start(1, 0);
  ASSERT_TRUE(capture_flat(engine_, false, moment_at(500), 1.0F));
  EXPECT_EQ(save(moment_at(501), moment_after(9)).output, counted(0));
  EXPECT_EQ(save(moment_after(0), moment_at(499)).output, counted(0));
  EXPECT_TRUE(save(moment_at(500), moment_at(500)).output.ends_with(counted(1)));
}

TEST_F(SecondGenerationBuffer, RangeBetweenTwoFramesWritesNothingAndIsASuccess) {
  start(3, 3);
  const auto seen = save(moment_after(0, 100), moment_after(0, 900));
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, counted(0));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

TEST_F(SecondGenerationBuffer, RangeInTheWrongOrderWritesNothing) {
  start(3, 3);
  const auto seen = save(moment_after(2), moment_after(0));
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, counted(0));
}

TEST_F(SecondGenerationBuffer, EmptySlotsMatchOnlyARangeAroundTheYear1970) {
  start(2, 1);
  EXPECT_EQ(save({1971, 1, 1, 0, 0, 0, 0}, moment_after(9)).output, frame_lines(0) + counted(1));
}

TEST_F(SecondGenerationBuffer, WholeOutputWithTheRanges) {
  start(3, 4);
  const auto seen = save(moment_after(2, 7), moment_after(3), 1);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output,
            "RECORDING FROM BUFFER, wanted range "
            "[2013.4.9|14 5 9.7: 2013.4.9|14 5 10.0]\n"
            "[HISTORY RANGE (1:0) [2013-04-09T14-05-08.000000 : 2013-04-09T14-05-10.000000]\n" +
                frame_lines(3) + counted(1));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationBuffer, RangesAreReportedForOneOnly) {
  start(3, 1);
  EXPECT_EQ(save(moment_after(0), moment_after(9), 2).output, frame_lines(0) + counted(1));
}

TEST_F(SecondGenerationBuffer, EmptyRingWithTheRangesIsAnError) {
  start(3, 0);
  const auto seen = save(moment_after(0), moment_after(9), 1);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output,
            "RECORDING FROM BUFFER, wanted range "
            "[2013.4.9|14 5 7.0: 2013.4.9|14 5 16.0]\nERROR bad oldest history slot\n");
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(SecondGenerationBuffer, EmptyRingWithoutTheRangesIsASuccess) {
  start(3, 0);
  const auto seen = save(moment_after(0), moment_after(9));
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, counted(0));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationBuffer, StartThatDoesNotExistIsReportedWithItsReason) {
  start(3, 3);
  Moment bad = moment_after(0, 42);
  bad.month = 13;
  const auto seen = save(bad, moment_after(9), 1);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output,
            " - ERROR - ConvertTimeStampToUnixTime - month NOt correct of stamp 2013/13/9 T "
            "14:5:7.42\n"
            "ERROR - converting start timestamp 2013.13.9|14 5 7.42 recoding to unixtime\n");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

TEST_F(SecondGenerationBuffer, StopThatDoesNotExistIsReportedWithoutItsReason) {
  start(3, 3);
  Moment bad = moment_after(0);
  bad.hour = 24;
  const auto seen = save(moment_after(0), bad, 1);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, "ERROR - converting stop timestamp recoding to unixtime\n");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

TEST_F(SecondGenerationBuffer, StartIsTestedBeforeTheStop) {
  start(1, 1);
  Moment bad = moment_after(0);
  bad.second = 60;
  const auto seen = save(bad, bad);
  EXPECT_TRUE(seen.output.ends_with(
      "ERROR - converting start timestamp 2013.4.9|14 5 60.0 recoding to unixtime\n"));
}

TEST_F(SecondGenerationBuffer, CapturedFrameIsWrittenAgainUnderItsName) {
  start(2, 0);
  ASSERT_TRUE(capture_flat(engine_, true, moment_after(0), 1.5F));
  std::filesystem::remove(directory_.file(name(0) + ".rle"));
  const auto seen = save_all();
  EXPECT_EQ(seen.output, frame_lines(0) + counted(1));
  EXPECT_EQ(files_in(directory_.path()), depth_files({name(0)}));
  EXPECT_EQ(recorded_depth(directory_.file(name(0))), 1.5F);
}

TEST_F(SecondGenerationBuffer, StampTextIsThatOfTheLastWrittenFrame) {
  start(3, 3);
  save(moment_after(0), moment_after(1));
  EXPECT_EQ(engine_.timestamp.buffer, stamp_of(moment_after(1)));
}

TEST_F(SecondGenerationBuffer, RingAndLastRecordedMomentStay) {
  start(3, 2);
  save_all();
  EXPECT_EQ(engine_.HistoryModCounter, 2);
  EXPECT_EQ(engine_.GetHistoryIndex(), 1);
  EXPECT_EQ(engine_.last_time_recorded_second, 7);
  EXPECT_EQ(engine_.delta_time_last_recorded, 2);
  EXPECT_FALSE(engine_.RECORDED);
}

TEST_F(SecondGenerationBuffer, IntrinsicsAreThoseOfTheLastCapture) {
  start(1, 1);
  engine_.a11 = 1.5F;
  engine_.cy = 2.5F;
  save_all();
  EXPECT_EQ(read_file(directory_.file(name(0) + ".ref")),
            "nblabels 1 a11 1.500000 a22 533.000000 cx 240.000000 cy 2.500000\n1.000000\n");
}

TEST_F(SecondGenerationBuffer, NamesAreInTheOtherOrderWithoutReversal) {
  start(1, 1);
  engine_.REVERSE_NAME = false;
  save_all();
  EXPECT_EQ(files_in(directory_.path()), depth_files({"depth-" + stamp_of(moment_after(0))}));
}

TEST_F(SecondGenerationBuffer, FrameThatCannotBeWrittenEndsTheScan) {
  start(3, 3);
  std::filesystem::create_directory(directory_.file(name(1) + ".rle"));
  const auto seen = save_all();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, frame_lines(0) + frame_lines(1) +
                             failed_to_write_line(directory_.file(name(1) + ".rle")) +
                             kEngineWriteFailedLine);
  EXPECT_EQ(seen.keys, 1);
  EXPECT_EQ(recorded_depth(directory_.file(name(0))), 1.0F);
  EXPECT_FALSE(std::filesystem::exists(directory_.file(name(2) + ".rle")));
}

TEST_F(SecondGenerationBuffer, WholeOutputWithTheTraceOn) {
  start(2, 1);
  const auto seen = save(moment_after(0), moment_after(9), 1, 1);
  const std::string stamp = stamp_of(moment_after(0));
  const std::string t = kTrace;
  EXPECT_EQ(seen.output,
            t + "SAVE_WITH_TIMESTAMP 1\n" + t + "start time\n" + t + "stop time\n" +
                "RECORDING FROM BUFFER, wanted range [2013.4.9|14 5 7.0: 2013.4.9|14 5 16.0]\n"
                "[HISTORY RANGE (0:0) [" +
                stamp + " : " + stamp + "]\n" + t + "old time\n" + t + "scan history\n" + t +
                "scan history [0/2]\n" + t + "unixtime comparison\n" + t +
                "updating timestamp history\n" + "recording timestamp '" + stamp + "'\n" + t +
                "write_compressed_data\n" +
                traced_writer_lines(saving_line(directory_.slash(), "depth", -1, stamp),
                                    directory_.file(name(0))) +
                t + "su directory update\n" + t + "next scan\n" + t + "scan history [1/2]\n" + t +
                "unixtime comparison\n" + counted(1));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationBuffer, TraceIsOnForOneOnly) {
  start(1, 1);
  EXPECT_EQ(save(moment_after(0), moment_after(9), 0, 2).output, frame_lines(0) + counted(1));
}

// --- Sub-directories ----------------------------------------------------------------------------

TEST_F(SecondGenerationBuffer, RangeContinuesTheSubDirectoryOfCapturedFrames) {
  start_in_sub_directories(4, 0, 3);
  ASSERT_TRUE(capture_flat(engine_, true, moment_after(0), 1.0F));
  for (int i = 1; i < 4; ++i) ASSERT_TRUE(capture_flat(engine_, false, moment_after(i), 1.0F));
  EXPECT_TRUE(save(moment_after(1), moment_after(3)).result);
  EXPECT_EQ(frames_in(directory_.file("00000000")),
            (std::vector<std::string>{name(0), name(1), name(2)}));
  EXPECT_EQ(frames_in(directory_.file("00000001")), std::vector<std::string>{name(3)});
  EXPECT_EQ(engine_.CurrentNbFramesSavedInSubDirectory, 1);
  EXPECT_EQ(engine_.CurrentSubDirectoryIndex, 1);
}

TEST_F(SecondGenerationBuffer, CapturedFramesContinueTheSubDirectoryOfARange) {
  start_in_sub_directories(2, 2, 3);
  save_all();
  ASSERT_TRUE(capture_flat(engine_, true, moment_after(5), 1.0F));
  EXPECT_EQ(frames_in(directory_.file("00000000")),
            (std::vector<std::string>{name(0), name(1), name(5)}));
}

TEST_F(SecondGenerationBuffer, WholeOutputInSubDirectories) {
  start_in_sub_directories(2, 2, 1);
  const auto seen = save_all();
  const std::string first = stamp_of(moment_after(0));
  const std::string second = stamp_of(moment_after(1));
  EXPECT_EQ(seen.output,
            "recording timestamp '" + first + "'\n" + creating_line(directory_.file("00000000")) +
                saving_line(directory_.file("00000000/"), "depth", -1, first) +
                "recording timestamp '" + second + "'\n" +
                creating_line(directory_.file("00000001")) +
                saving_line(directory_.file("00000001/"), "depth", -1, second) + counted(2));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationBuffer, SubDirectoryThatCannotBeMadeEndsTheScan) {
  start_in_sub_directories(3, 3, 2);
  std::filesystem::create_directory(directory_.file("00000001"));
  const auto seen = save_all();
  EXPECT_FALSE(seen.result);
  EXPECT_TRUE(seen.output.ends_with("recording timestamp '" + stamp_of(moment_after(2)) + "'\n" +
                                    creating_line(directory_.file("00000001")) +
                                    failed_to_create_line(directory_.file("00000001"))));
  EXPECT_EQ(seen.keys, 1);
  EXPECT_EQ(frames_in(directory_.file("00000000")), (std::vector<std::string>{name(0), name(1)}));
  EXPECT_EQ(engine_.CurrentSubDirectoryIndex, 1);
}

TEST_F(SecondGenerationBuffer, FirstStampIsThatOfTheFirstFrameOfTheRange) {
  start_in_sub_directories(2, 2, 5);
  save_all();
  EXPECT_EQ(engine_.FirstTimeStampSavedInSubDirectory.buffer, stamp_of(moment_after(0)));
}

// --- Frame number -------------------------------------------------------------------------------

TEST_F(SecondGenerationBuffer, NumbersAllTakeTheSlotOfTheNextCapture) {
  start(3, 4);
  Text inside(directory_.slash());
  engine_.param.SetDirectory(inside);
  const auto seen = save_numbers(8, 10, 10);
  EXPECT_TRUE(seen.result);
  std::string expected;
  const std::string stamp = stamp_of(moment_after(3));
  for (int i = 8; i <= 10; ++i) {
    expected += "recording " + std::to_string(i) + " history_index 1 (SizeHistory 3)\n" +
                saving_line(directory_.slash(), "depth", i, stamp);
  }
  EXPECT_EQ(seen.output, expected);
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(files_in(directory_.path()),
            depth_files({"00000008-depth", "00000009-depth", "00000010-depth"}));
  EXPECT_EQ(recorded_depth(directory_.file("00000009-depth")), 2.0F);
}

TEST_F(SecondGenerationBuffer, NumbersGoBesideADirectoryWithoutASlash) {
  TempDirectory parent;
  settings_.directory = parent.file("rec");
  start_engine(engine_, settings_);
  const auto seen = save_numbers(5, 5, 5);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "recording 5 history_index 0 (SizeHistory 1)\n" +
                             saving_line(parent.file("rec"), "depth", 5));
  EXPECT_EQ(files_in(parent.path()), depth_files({"rec00000005-depth"}));
}

TEST_F(SecondGenerationBuffer, NumbersOutsideTheRingAreReportedOneByOne) {
  start(3, 3);
  const auto seen = save_numbers(6, 7, 10);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output,
            " - WARNING - depth history corresponding index out of range 6 (SizeHistory 3) "
            "current_frame 10 [7:10]\n"
            " - WARNING - depth history corresponding index out of range 7 (SizeHistory 3) "
            "current_frame 10 [7:10]\n");
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationBuffer, NumbersInsideAreWrittenBesideThoseOutside) {
  TempDirectory parent;
  settings_.directory = parent.slash();
  settings_.history = 2;
  start_engine(engine_, settings_);
  const auto seen = save_numbers(8, 11, 10);
  EXPECT_FALSE(seen.result);
  const std::string inside = " history_index 0 (SizeHistory 2)\n";
  EXPECT_EQ(seen.output,
            " - WARNING - depth history corresponding index out of range 8 (SizeHistory 2) "
            "current_frame 10 [8:10]\n"
            "recording 9" +
                inside + saving_line(parent.slash(), "depth", 9) + "recording 10" + inside +
                saving_line(parent.slash(), "depth", 10) +
                " - WARNING - depth history corresponding index out of range 11 (SizeHistory 2) "
                "current_frame 10 [8:10]\n");
  EXPECT_EQ(files_in(parent.path()), depth_files({"00000009-depth", "00000010-depth"}));
}

TEST_F(SecondGenerationBuffer, NoNumbersAreASilentSuccess) {
  start(3, 3);
  const auto seen = save_numbers(9, 8, 10);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
}

TEST_F(SecondGenerationBuffer, NegativeSlotEndsTheNumbers) {
  start(3, 3);
  engine_.HistoryModCounter = -1;
  const auto seen = save_numbers(9, 10, 10);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, " - ERROR - depth history corresponding index out of range\n");
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationBuffer, SlotBeyondTheRingEndsTheNumbers) {
  start(3, 3);
  engine_.HistoryModCounter = 3;
  EXPECT_FALSE(save_numbers(10, 10, 10).result);
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

TEST_F(SecondGenerationBuffer, NumberThatCannotBeWrittenEndsTheNumbers) {
  settings_.directory = directory_.file("missing/");
  start_engine(engine_, settings_);
  const auto seen = save_numbers(5, 6, 5);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, "recording 5 history_index 0 (SizeHistory 1)\n" +
                             saving_line(settings_.directory, "depth", 5) +
                             failed_to_write_line(settings_.directory + "00000005-depth.rle") +
                             kEngineWriteFailedLine);
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(SecondGenerationBuffer, NumbersKnowNoSubDirectories) {
  settings_.directory = directory_.slash();
  settings_.sub_directories = true;
  settings_.per_directory = 1;
  start_engine(engine_, settings_);
  EXPECT_TRUE(save_numbers(5, 5, 5).result);
  EXPECT_EQ(files_in(directory_.path()), depth_files({"00000005-depth"}));
  EXPECT_EQ(engine_.CurrentSubDirectoryIndex, 0);
}

TEST_F(SecondGenerationBuffer, TraceOfNumbersBeginsWithTheForm) {
  settings_.directory = directory_.slash();
  start_engine(engine_, settings_);
  const auto seen = save_numbers(5, 5, 5, 1);
  EXPECT_TRUE(seen.output.starts_with(std::string(kTrace) +
                                      "SAVE_WITH_TIMESTAMP 0\n"
                                      "recording 5 history_index 0 (SizeHistory 1)\n"))
      << seen.output;
  EXPECT_TRUE(seen.output.ends_with(traced_writer_lines(saving_line(directory_.slash(), "depth", 5),
                                                        directory_.file("00000005-depth"))))
      << seen.output;
}

TEST_F(SecondGenerationBuffer, LargestNumbersEnd) {
  start(1, 1);
  const int largest = std::numeric_limits<int>::max();
  EXPECT_FALSE(save_numbers(largest - 1, largest - 1, largest).result);
  EXPECT_FALSE(save_numbers(largest, largest, 0).result);
  const int smallest = std::numeric_limits<int>::min();
  EXPECT_FALSE(save_numbers(smallest, smallest, 0).result);
}

}  // namespace
}  // namespace depth_io::test
