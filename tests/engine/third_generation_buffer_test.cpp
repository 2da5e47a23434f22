#include <climits>
#include <filesystem>
#include <string>

#include "tests/support/third_generation_fixture.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;

Moment at(int second, int millisecond = 0) {
  Moment m = kMoment;
  m.second = second;
  m.millisecond = millisecond;
  return m;
}

const std::string kDebug = " - DEBUG - _recording_from_buffer";

std::string closing_line(int frames) {
  return "INFO " + std::to_string(frames) + " frame recorded from buffer\n";
}

std::string stamp_line(const Moment& m) { return "recording timestamp '" + stamp_of(m) + "'\n"; }

std::string range_line(const Moment& start, const Moment& stop) {
  return "RECORDING FROM BUFFER, wanted range [" + moment_in_errors(start) + ": " +
         moment_in_errors(stop) + "]\n";
}

std::string history_line(int oldest, int newest, const Moment& first, const Moment& last) {
  return "[HISTORY RANGE (" + std::to_string(oldest) + ":" + std::to_string(newest) + ") [" +
         stamp_of(first) + " : " + stamp_of(last) + "]\n";
}

/// A ring of four slots with frames at seconds 0, 1, ... of a minute, the n-th at 1 + n/4 metres,
/// none recorded.
class ThirdBuffer : public testing::Test {
 protected:
  void capture_frames(int count) {
    for (int i = 0; i < count; ++i) {
      ASSERT_TRUE(capture_flat(engine(), false, at(i), 1.0F + 0.25F * static_cast<float>(i)));
    }
  }
  ThirdEngine& engine() { return recorder_.engine; }
  std::string folder() const { return recorder_.folder(kMoment); }
  std::string saving(const Moment& m) const {
    return saving_line(recorder_.folder(m), "depth", -1, stamp_of(m));
  }
  /// What the recording of one frame prints.
  std::string lines_of(const Moment& m) const { return stamp_line(m) + saving(m); }
  Outcome<bool> record(const Moment& start, const Moment& stop, int print = 0, int debug = 0) {
    return observe([&] { return record_range(engine(), start, stop, print, debug); });
  }
  ThirdRecorder recorder_{4};
};

// --- What is written ----------------------------------------------------------------------------

TEST_F(ThirdBuffer, FramesOfTheRangeAreWrittenInSlotOrder) {
  capture_frames(4);
  const auto seen = record(at(1), at(2));
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, lines_of(at(1)) + lines_of(at(2)) + closing_line(2));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(files_in(folder()),
            depth_files({stamp_of(at(1)) + "-depth", stamp_of(at(2)) + "-depth"}));
}

TEST_F(ThirdBuffer, EachFrameIsThatOfItsSlot) {
  capture_frames(4);
  ASSERT_TRUE(record(at(0), at(3)).result);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(recorder_.depth_of(at(i)), 1.0F + 0.25F * static_cast<float>(i));
  }
}

TEST_F(ThirdBuffer, WrappedRingIsWrittenInSlotOrder) {
  capture_frames(6);
  const auto seen = record(at(0), at(59));
  EXPECT_EQ(seen.output, lines_of(at(4)) + lines_of(at(5)) + lines_of(at(2)) + lines_of(at(3)) +
                             closing_line(4));
}

TEST_F(ThirdBuffer, BothEndsBelongToTheRange) {
  capture_frames(3);
  EXPECT_EQ(record(at(1), at(1)).output, lines_of(at(1)) + closing_line(1));
}

TEST_F(ThirdBuffer, AMillisecondBesideAFrameIsBesideIt) {
  capture_frames(3);
  EXPECT_EQ(record(at(0, 1), at(0, 999)).output, closing_line(0));
  EXPECT_EQ(record(at(0, 999), at(1)).output, lines_of(at(1)) + closing_line(1));
  EXPECT_EQ(record(at(2), at(2, 1)).output, lines_of(at(2)) + closing_line(1));
}

TEST_F(ThirdBuffer, RangeWithoutFramesWritesNothing) {
  capture_frames(3);
  const auto seen = record(at(30), at(40));
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, closing_line(0));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_TRUE(fs::is_empty(recorder_.path()));
}

TEST_F(ThirdBuffer, StopBeforeStartWritesNothing) {
  capture_frames(3);
  EXPECT_EQ(record(at(2), at(0)).output, closing_line(0));
}

TEST_F(ThirdBuffer, EmptyRingWritesNothing) {
  const auto seen = record(at(0), at(59));
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, closing_line(0));
}

TEST_F(ThirdBuffer, FramesGoToTheFoldersOfTheirMoments) {
  const Moment moments[] = {{2013, 4, 9, 23, 59, 59, 500},
                            {2013, 4, 10, 0, 0, 0, 500},
                            {2013, 4, 10, 23, 59, 0, 0},
                            {2013, 4, 11, 23, 59, 0, 0}};
  for (const Moment& m : moments) ASSERT_TRUE(capture_flat(engine(), false, m, 1.0F));
  ASSERT_TRUE(record(moments[0], moments[3]).result);
  for (const Moment& m : moments) {
    EXPECT_TRUE(holds_only_frame(recorder_.folder(m), m)) << format_moment(m);
  }
}

TEST_F(ThirdBuffer, FrameCanBeWrittenTwice) {
  capture_frames(1);
  ASSERT_TRUE(record(at(0), at(0)).result);
  EXPECT_EQ(record(at(0), at(0)).output, lines_of(at(0)) + closing_line(1));
  EXPECT_EQ(recorder_.depth_of(at(0)), 1.0F);
}

TEST_F(ThirdBuffer, ColourIsThatOfTheSlot) {
  set_colour(recorder_.parameters);
  construct(engine(), recorder_.parameters);
  ASSERT_TRUE(capture_flat(engine(), false, at(0), 1.0F, 200));
  fill_frame(engine(), 1.0F, 10);
  const auto seen = record(at(0), at(0));
  EXPECT_EQ(seen.output,
            stamp_line(at(0)) +
                saving_colour_lines(folder(), "depth", "bgrimage", -1, stamp_of(at(0))) +
                closing_line(1));
  Text name(folder() + stamp_of(at(0)) + "-bgrimage.jpg");
  ASSERT_TRUE(engine().LoadColourImage(name));
  EXPECT_NEAR(engine().ColourImage[0], 200, 2);
}

TEST_F(ThirdBuffer, IntrinsicsAreThoseOfTheLastCapture) {
  capture_frames(2);
  engine().param.SetCameraType(1);
  ASSERT_TRUE(capture_flat(engine(), false, at(2), 1.0F));
  ASSERT_TRUE(record(at(0), at(0)).result);
  EXPECT_EQ(read_file(folder() + stamp_of(at(0)) + "-depth.ref"),
            "nblabels 1 a11 533.000000 a22 533.000000 cx 240.000000 cy 320.000000\n1.000000\n");
}

TEST_F(ThirdBuffer, RangeFromTheBeginningOfTimeTakesEmptySlots) {
  capture_frames(3);
  const auto seen = record({1970, 1, 1, 0, 0, 0, 0}, {1970, 1, 1, 0, 0, 0, 0});
  const std::string odd_folder = recorder_.path() + "/-0001-00-00/00h/00mn/";
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output,
            "recording timestamp ''\n" + saving_line(odd_folder, "depth", -1) + closing_line(1));
  EXPECT_EQ(files_in(odd_folder), depth_files({"-depth"}));
}

// --- What is printed ----------------------------------------------------------------------------

TEST_F(ThirdBuffer, PrintTellsWantedAndHeldRange) {
  capture_frames(6);
  const auto seen = record(at(3), at(3), 1);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, range_line(at(3), at(3)) + history_line(2, 1, at(2), at(5)) +
                             lines_of(at(3)) + closing_line(1));
}

TEST_F(ThirdBuffer, PrintOfAnEmptyRingFailsBeforeTheScan) {
  const auto seen = record(at(0), at(59), 1);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, range_line(at(0), at(59)) + "ERROR bad oldest history slot\n");
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(ThirdBuffer, OtherPrintNumbersAreOff) {
  capture_frames(1);
  EXPECT_EQ(record(at(30), at(40), 2).output, closing_line(0));
}

TEST_F(ThirdBuffer, DebugTracesEveryStep) {
  capture_frames(2);
  const auto seen = record(at(1), at(1), 1, 1);
  const ConsoleTrace writer = writer_trace(folder(), stamp_of(at(1)), -1, 1.25F, 1);
  std::string expected = kDebug + "\n" + kDebug + " - start time\n" + kDebug + " - stop time\n" +
                         range_line(at(1), at(1)) + history_line(0, 1, at(0), at(1)) + kDebug +
                         " - old time\n" + kDebug + " - scan history\n";
  for (int slot = 0; slot < 4; ++slot) {
    expected += kDebug + " - scan history [" + std::to_string(slot) + "/4]\n" + kDebug +
                " - unixtime comparison\n";
    if (slot != 1) continue;
    expected += kDebug + " - updating timestamp history\n" + stamp_line(at(1)) + kDebug +
                " - write_compressed_data\n" + writer.output + kDebug + " - su directory update\n" +
                kDebug + " - next scan\n";
  }
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, expected + closing_line(1));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(ThirdBuffer, DebugWithoutPrintHasNoOldTime) {
  const auto seen = record(at(1), at(1), 0, 1);
  EXPECT_EQ(seen.output.find("old time"), std::string::npos);
  EXPECT_EQ(seen.output.find("HISTORY RANGE"), std::string::npos);
}

TEST_F(ThirdBuffer, OtherDebugNumbersAreOff) {
  capture_frames(1);
  EXPECT_EQ(record(at(0), at(0), 0, 2).output, lines_of(at(0)) + closing_line(1));
}

// --- What stays ---------------------------------------------------------------------------------

TEST_F(ThirdBuffer, BookkeepingStays) {
  capture_frames(5);
  engine().RECORDED = true;
  const std::string last = last_recorded(engine());
  const double last_time = engine().last_time_recorded_unixtime;
  ASSERT_TRUE(record(at(1), at(4)).result);
  EXPECT_EQ(last_recorded(engine()), last);
  EXPECT_EQ(engine().last_time_recorded_unixtime, last_time);
  EXPECT_TRUE(engine().RECORDED);
  EXPECT_TRUE(engine().INITIALISED);
  EXPECT_EQ(engine().HistoryModCounter, 1);
  EXPECT_EQ(engine().o_HistoryIndex, 0);
  EXPECT_EQ(engine().delta_time_last_recorded, 5);
}

TEST_F(ThirdBuffer, CurrentFrameStays) {
  capture_frames(2);
  fill_frame(engine(), 9.0F, 9);
  ASSERT_TRUE(record(at(0), at(1)).result);
  EXPECT_EQ(engine().DepthMap[0], 9.0F);
  EXPECT_EQ(engine().ColourImage[0], 9);
}

TEST_F(ThirdBuffer, StampAndFoldersAreThoseOfTheLastWrittenFrame) {
  capture_frames(3);
  ASSERT_TRUE(record(at(0), at(1)).result);
  EXPECT_EQ(engine().timestamp.buffer, stamp_of(at(1)));
  EXPECT_EQ(engine().CurrentFolderStringMinute, folder());
}

TEST_F(ThirdBuffer, FrameNumbersOfTheWorkerAreIgnored) {
  capture_frames(3);
  const auto seen = observe([&] {
    return engine()._recording_from_buffer(2013, 4, 9, 14, 5, 1, 0, 2013, 4, 9, 14, 5, 1, 0,
                                           INT_MAX, INT_MIN, 12, 0, 0);
  });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, lines_of(at(1)) + closing_line(1));
}

// --- Failures -----------------------------------------------------------------------------------

TEST_F(ThirdBuffer, StartThatDoesNotExist) {
  capture_frames(1);
  Moment bad = at(0);
  bad.hour = 24;
  const auto seen = record(bad, bad, 1);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, bad_hour_line(bad) + "ERROR - converting start timestamp " +
                             moment_in_errors(bad) + " recoding to unixtime\n");
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(ThirdBuffer, StopThatDoesNotExistIsToldInOneLine) {
  capture_frames(1);
  Moment bad = at(0);
  bad.hour = 24;
  const auto seen = record(at(0), bad, 1);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, "ERROR - converting stop timestamp recoding to unixtime\n");
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(ThirdBuffer, FolderThatCannotBeMadeEndsTheRecording) {
  capture_frames(2);
  write_file(recorder_.directory.file("2013-04-09"), "");
  const auto seen = record(at(0), at(1));
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output,
            stamp_line(at(0)) + failed_folder_line(hour_folder(recorder_.path(), kMoment)));
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(ThirdBuffer, FrameThatCannotBeWrittenEndsTheRecording) {
  capture_frames(3);
  fs::create_directories(folder() + stamp_of(at(1)) + "-depth.rle");
  const auto seen = record(at(0), at(2));
  EXPECT_FALSE(seen.result);
  const std::string begin = lines_of(at(0)) + lines_of(at(1));
  const std::string end = kEngineWriteFailedLine;
  EXPECT_EQ(seen.output.substr(0, begin.size()), begin);
  EXPECT_EQ(seen.output.substr(seen.output.size() - end.size()), end);
  EXPECT_EQ(seen.keys, 1);
  EXPECT_EQ(recorder_.depth_of(at(0)), 1.0F) << "the frame before is whole";
  EXPECT_FALSE(holds_frame(folder(), at(2)));
}

TEST_F(ThirdBuffer, RecordingResumesWhenTheFaultClears) {
  capture_frames(3);
  fs::create_directories(folder() + stamp_of(at(1)) + "-depth.rle");
  EXPECT_FALSE(record(at(0), at(2)).result);
  fs::remove(folder() + stamp_of(at(1)) + "-depth.rle");
  EXPECT_TRUE(record(at(0), at(2)).result);
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(holds_frame(folder(), at(i)));
}

}  // namespace
}  // namespace depth_io::test
