#include <bit>
#include <climits>
#include <cstdint>
#include <filesystem>
#include <string>

#include "tests/support/third_generation_fixture.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;

const std::string kNoCamera = "ERROR KV_RGBD_CameraCompression3::Construct CameraType non set\n";

/// The same minute as `kMoment`.
Moment at(int second, int millisecond = 0) {
  Moment m = kMoment;
  m.second = second;
  m.millisecond = millisecond;
  return m;
}

// --- Frames that are not recorded ---------------------------------------------------------------

TEST(ThirdCapture, FrameWithoutRequestGoesToTheRingOnly) {
  ThirdRecorder recorder;
  fill_frame(recorder.engine, 1.5F, 20);
  const auto seen = observe([&] { return capture(recorder.engine, false, kMoment); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_FALSE(recorder.engine.RECORDED);
  EXPECT_TRUE(recorder.engine.INITIALISED);
  EXPECT_TRUE(fs::is_empty(recorder.path()));
}

TEST(ThirdCapture, SlotHoldsTheWholeFrame) {
  ThirdRecorder recorder(2);
  fill_frame(recorder.engine, 1.5F, 20);
  recorder.engine.DepthMap[kPixels - 1] = 3.25F;
  recorder.engine.ColourImage[kColourBytes - 1] = 99;
  ASSERT_TRUE(capture_quietly(recorder.engine, false, kMoment));
  const ThirdEngine& engine = recorder.engine;
  EXPECT_EQ(engine.HistoryDepth.arr1D[0].buffer[0], 1.5F);
  EXPECT_EQ(engine.HistoryDepth.arr1D[0].buffer[kPixels - 1], 3.25F);
  EXPECT_EQ(engine.HistoryBGR.arr1D[0].buffer[0], 20);
  EXPECT_EQ(engine.HistoryBGR.arr1D[0].buffer[kColourBytes - 1], 99);
  EXPECT_STREQ(engine.HistoryTimeStamp.arr1D[0].buffer, kMomentStamp);
  EXPECT_EQ(slot_moment(engine, 0), format_moment(kMoment));
  EXPECT_EQ(engine.HistoryUnixTimes.buffer[0], 1365516307.0 + static_cast<double>(42.0F / 1000.0F));
}

TEST(ThirdCapture, OtherSlotsStayEmpty) {
  ThirdRecorder recorder(2);
  ASSERT_TRUE(capture_flat(recorder.engine, false, kMoment, 1.0F));
  EXPECT_EQ(recorder.engine.HistoryYear.buffer[1], -1);
  EXPECT_EQ(recorder.engine.HistoryUnixTimes.buffer[1], 0.0);
}

TEST(ThirdCapture, StampTextIsThatOfTheFrame) {
  ThirdRecorder recorder;
  ASSERT_TRUE(capture_flat(recorder.engine, false, kMoment, 1.0F));
  EXPECT_STREQ(recorder.engine.timestamp.buffer, kMomentStamp);
}

TEST(ThirdCapture, FirstMomentCountsAsTheLastRecordedOne) {
  ThirdRecorder recorder;
  ASSERT_TRUE(capture_flat(recorder.engine, false, kMoment, 1.0F));
  EXPECT_EQ(last_recorded(recorder.engine), format_moment(kMoment));
  EXPECT_EQ(recorder.engine.last_time_recorded_unixtime,
            1365516307.0 + static_cast<double>(42.0F / 1000.0F));
  ASSERT_TRUE(capture_flat(recorder.engine, false, at(20), 1.0F));
  EXPECT_EQ(last_recorded(recorder.engine), format_moment(kMoment));
}

TEST(ThirdCapture, RingWrapsAround) {
  ThirdRecorder recorder(3);
  for (int i = 0; i < 4; ++i) {
    ASSERT_TRUE(capture_flat(recorder.engine, false, at(i), static_cast<float>(i + 1)));
  }
  EXPECT_EQ(recorder.engine.o_HistoryIndex, 0);
  EXPECT_EQ(recorder.engine.HistoryModCounter, 1);
  EXPECT_EQ(recorder.engine.HistoryDepth.arr1D[0].buffer[0], 4.0F);
  EXPECT_EQ(recorder.engine.HistoryDepth.arr1D[1].buffer[0], 2.0F);
  EXPECT_EQ(slot_moment(recorder.engine, 0), format_moment(at(3)));
}

TEST(ThirdCapture, UnrecordedFramesAreCounted) {
  ThirdRecorder recorder;
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(capture_flat(recorder.engine, false, at(i), 1.0F));
  EXPECT_EQ(recorder.engine.delta_time_last_recorded, 3);
}

TEST(ThirdCapture, CountOfUnrecordedFramesIsNotReset) {
  ThirdRecorder recorder;
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(capture_flat(recorder.engine, false, at(i), 1.0F));
  ASSERT_TRUE(capture_flat(recorder.engine, true, at(4), 1.0F));
  EXPECT_TRUE(recorder.engine.RECORDED);
  EXPECT_EQ(recorder.engine.delta_time_last_recorded, 3);
}

TEST(ThirdCapture, CountOfUnrecordedFramesSaturates) {
  ThirdRecorder recorder;
  recorder.engine.delta_time_last_recorded = INT_MAX;
  ASSERT_TRUE(capture_flat(recorder.engine, false, kMoment, 1.0F));
  EXPECT_EQ(recorder.engine.delta_time_last_recorded, INT_MAX);
}

// --- Frames that are recorded -------------------------------------------------------------------

TEST(ThirdCapture, RequestedFrameTellsDecisionFoldersAndFiles) {
  ThirdRecorder recorder(1, 8.0F);
  fill_frame(recorder.engine, 1.5F);
  const auto seen = observe([&] { return capture(recorder.engine, true, kMoment); });
  RequestLine request;
  request.limit = "0.125000";
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output,
            request.str() + new_folder_lines(recorder.path(), kMoment) +
                saving_line(recorder.folder(kMoment), "depth", kFrameNumber, kMomentStamp));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_TRUE(recorder.engine.RECORDED);
}

TEST(ThirdCapture, RequestedFrameHasFourFilesNamedByItsStamp) {
  ThirdRecorder recorder;
  ASSERT_TRUE(capture_flat(recorder.engine, true, kMoment, 1.5F));
  EXPECT_EQ(files_in(recorder.path() + "/2013-04-09/14h/05mn"),
            depth_files({std::string(kMomentStamp) + "-depth"}));
  EXPECT_EQ(recorder.depth_of(kMoment), 1.5F);
}

TEST(ThirdCapture, ColourStemAddsAColourImage) {
  ThirdRecorder recorder(1, -1.0F, true);
  fill_frame(recorder.engine, 1.5F);
  const auto seen = observe([&] { return capture(recorder.engine, true, kMoment); });
  EXPECT_EQ(seen.output, RequestLine{}.str() + new_folder_lines(recorder.path(), kMoment) +
                             saving_colour_lines(recorder.folder(kMoment), "depth", "bgrimage",
                                                 kFrameNumber, kMomentStamp));
  EXPECT_TRUE(fs::exists(recorder.folder(kMoment) + kMomentStamp + "-bgrimage.jpg"));
}

TEST(ThirdCapture, FilesHaveTheCallersStem) {
  ThirdRecorder recorder;
  Text stem("left");
  recorder.parameters.SetDepthStem(stem);
  construct(recorder.engine, recorder.parameters);
  ASSERT_TRUE(capture_flat(recorder.engine, true, kMoment, 1.5F));
  EXPECT_EQ(files_in(recorder.folder(kMoment)), depth_files({std::string(kMomentStamp) + "-left"}));
}

TEST(ThirdCapture, WithoutReverseNameTheStemComesFirst) {
  ThirdRecorder recorder;
  recorder.engine.REVERSE_NAME = false;
  ASSERT_TRUE(capture_flat(recorder.engine, true, kMoment, 1.5F));
  EXPECT_EQ(files_in(recorder.folder(kMoment)),
            depth_files({std::string("depth-") + kMomentStamp}));
}

TEST(ThirdCapture, RecordedFrameIsInTheRing) {
  ThirdRecorder recorder;
  ASSERT_TRUE(capture_flat(recorder.engine, true, kMoment, 1.5F));
  EXPECT_EQ(recorder.engine.HistoryDepth.arr1D[0].buffer[0], 1.5F);
  EXPECT_EQ(slot_moment(recorder.engine, 0), format_moment(kMoment));
}

TEST(ThirdCapture, RecordedMomentIsKept) {
  ThirdRecorder recorder;
  ASSERT_TRUE(capture_flat(recorder.engine, true, kMoment, 1.5F));
  ASSERT_TRUE(capture_flat(recorder.engine, true, at(9), 1.5F));
  EXPECT_EQ(last_recorded(recorder.engine), format_moment(at(9)));
  EXPECT_EQ(recorder.engine.last_time_recorded_unixtime, 1365516309.0);
  EXPECT_EQ(recorder.engine.delta_time_last_recorded, 0);
}

TEST(ThirdCapture, SecondFrameOfTheMinuteMakesNoFolder) {
  ThirdRecorder recorder;
  ASSERT_TRUE(capture_flat(recorder.engine, true, kMoment, 1.5F));
  const auto seen = observe([&] { return capture(recorder.engine, true, at(9)); });
  RequestLine request;
  request.current = at(9);
  request.seconds = "1.958000";
  EXPECT_EQ(seen.output, request.str() + saving_line(recorder.folder(kMoment), "depth",
                                                     kFrameNumber, stamp_of(at(9))));
}

TEST(ThirdCapture, RecordedIsFalseAgainAfterAFrameThatIsNot) {
  ThirdRecorder recorder;
  ASSERT_TRUE(capture_flat(recorder.engine, true, kMoment, 1.5F));
  ASSERT_TRUE(capture_flat(recorder.engine, false, at(9), 1.5F));
  EXPECT_FALSE(recorder.engine.RECORDED);
}

TEST(ThirdCapture, WorkerDoesTheSame) {
  ThirdRecorder recorder;
  fill_frame(recorder.engine, 1.5F);
  const auto seen = observe(
      [&] { return recorder.engine._apply(true, kFrameNumber, 2013, 4, 9, 14, 5, 7, 42, 0); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output,
            RequestLine{}.str() + new_folder_lines(recorder.path(), kMoment) +
                saving_line(recorder.folder(kMoment), "depth", kFrameNumber, kMomentStamp));
}

TEST(ThirdCapture, DebugTracesTheWriter) {
  for (const bool colour : {false, true}) {
    ThirdRecorder recorder(1, -1.0F, colour);
    fill_frame(recorder.engine, 1.5F);
    const auto seen = observe([&] { return capture(recorder.engine, true, kMoment, 1); });
    const ConsoleTrace writer =
        writer_trace(recorder.folder(kMoment), kMomentStamp, kFrameNumber, 1.5F, 1, colour);
    EXPECT_EQ(seen.output,
              RequestLine{}.str() + new_folder_lines(recorder.path(), kMoment) + writer.output);
    EXPECT_EQ(seen.keys, 0);
    EXPECT_NE(writer.output.find(" - DEBUG - write_compressed_data - done\n"), std::string::npos);
  }
}

// --- The rate limit -----------------------------------------------------------------------------

struct Rate {
  const char* name;
  float fps;
  Moment second_frame;
  bool recorded;
  const char* seconds;
  const char* limit;
};

class ThirdRate : public testing::TestWithParam<Rate> {};

TEST_P(ThirdRate, DecidesAboutTheSecondFrame) {
  ThirdRecorder recorder(1, GetParam().fps);
  ASSERT_TRUE(capture_flat(recorder.engine, true, at(7), 1.5F));
  EXPECT_TRUE(recorder.engine.RECORDED) << "the first frame always passes";
  const auto seen =
      observe([&] { return capture(recorder.engine, true, GetParam().second_frame); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(recorder.engine.RECORDED, GetParam().recorded);
  RequestLine request;
  request.current = GetParam().second_frame;
  request.last = at(7);
  request.pass = GetParam().recorded ? 1 : 0;
  request.seconds = GetParam().seconds;
  request.limit = GetParam().limit;
  EXPECT_EQ(seen.output.substr(0, request.str().size()), request.str());
}

INSTANTIATE_TEST_SUITE_P(
    Rates, ThirdRate,
    testing::Values(Rate{"TenthAtEight", 8.0F, at(7, 100), false, "0.100000", "0.125000"},
                    Rate{"FifthAtEight", 8.0F, at(7, 200), true, "0.200000", "0.125000"},
                    Rate{"EqualAtEight", 8.0F, at(7, 125), false, "0.125000", "0.125000"},
                    Rate{"JustAboveAtEight", 8.0F, at(7, 126), true, "0.126000", "0.125000"},
                    Rate{"SameMomentWithoutLimit", -1.0F, at(7), true, "0.000000", "-1.000000"},
                    Rate{"BackWithoutLimit", -4.0F, at(5), true, "-2.000000", "-0.250000"},
                    Rate{"NeverAtZero", 0.0F, at(59), false, "52.000000", "inf"},
                    Rate{"ClockBackAtEight", 8.0F, at(6), false, "-1.000000", "0.125000"}),
    [](const auto& row) { return row.param.name; });

TEST(ThirdRateLimit, DefaultIsEight) {
  ThirdRecorder recorder;
  recorder.parameters.MaxFPS_active = false;
  quietly([&] { return recorder.engine.Construct(recorder.parameters); });
  ASSERT_TRUE(capture_flat(recorder.engine, true, at(7), 1.5F));
  ASSERT_TRUE(capture_flat(recorder.engine, true, at(7, 100), 1.5F));
  EXPECT_FALSE(recorder.engine.RECORDED);
  ASSERT_TRUE(capture_flat(recorder.engine, true, at(7, 200), 1.5F));
  EXPECT_TRUE(recorder.engine.RECORDED);
}

TEST(ThirdRateLimit, WithoutTheFlagEveryFramePasses) {
  ThirdRecorder recorder(1, 8.0F);
  recorder.engine.param.MaxFPS_active = false;
  ASSERT_TRUE(capture_flat(recorder.engine, true, at(7), 1.5F));
  ASSERT_TRUE(capture_flat(recorder.engine, true, at(7), 1.5F));
  EXPECT_TRUE(recorder.engine.RECORDED);
}

TEST(ThirdRateLimit, FirstFrameOfTheRingCountsThoughItWasNotRecorded) {
  ThirdRecorder recorder(1, 8.0F);
  ASSERT_TRUE(capture_flat(recorder.engine, false, at(7), 1.5F));
  ASSERT_TRUE(capture_flat(recorder.engine, true, at(7, 100), 1.5F));
  EXPECT_FALSE(recorder.engine.RECORDED);
}

// --- The camera ---------------------------------------------------------------------------------

TEST(ThirdCamera, FirstKindHasItsIntrinsics) {
  ThirdRecorder recorder;
  ASSERT_TRUE(capture_flat(recorder.engine, false, kMoment, 1.5F));
  EXPECT_EQ(std::bit_cast<std::uint32_t>(recorder.engine.GetIntrinsic_a11()), 0x440400ECU);
  EXPECT_EQ(std::bit_cast<std::uint32_t>(recorder.engine.GetIntrinsic_a22()), 0x440400ECU);
  EXPECT_EQ(recorder.engine.GetIntrinsic_cx(), 320.0F);
  EXPECT_EQ(recorder.engine.GetIntrinsic_cy(), 267.0F);
}

TEST(ThirdCamera, SecondKindHasItsIntrinsics) {
  ThirdRecorder recorder;
  recorder.engine.param.SetCameraType(1);
  ASSERT_TRUE(capture_flat(recorder.engine, false, kMoment, 1.5F));
  EXPECT_EQ(recorder.engine.GetIntrinsic_a11(), 533.0F);
  EXPECT_EQ(recorder.engine.GetIntrinsic_a22(), 533.0F);
  EXPECT_EQ(recorder.engine.GetIntrinsic_cx(), 240.0F);
  EXPECT_EQ(recorder.engine.GetIntrinsic_cy(), 320.0F);
}

TEST(ThirdCamera, IntrinsicsAreWritten) {
  ThirdRecorder recorder;
  recorder.engine.param.SetCameraType(1);
  ASSERT_TRUE(capture_flat(recorder.engine, true, kMoment, 1.5F));
  EXPECT_EQ(read_file(recorder.folder(kMoment) + kMomentStamp + "-depth.ref"),
            "nblabels 1 a11 533.000000 a22 533.000000 cx 240.000000 cy 320.000000\n1.500000\n");
}

TEST(ThirdCamera, NotChosenStopsTheCapture) {
  ThirdRecorder recorder;
  recorder.engine.param.CameraType_active = false;
  for (const bool record_now : {false, true}) {
    const auto seen = observe([&] { return capture(recorder.engine, record_now, kMoment); });
    EXPECT_FALSE(seen.result);
    EXPECT_EQ(seen.output, (record_now ? RequestLine{}.str() : "") + kNoCamera);
    EXPECT_EQ(seen.keys, 1);
  }
  EXPECT_FALSE(recorder.engine.INITIALISED);
  EXPECT_EQ(recorder.engine.HistoryModCounter, 0);
  EXPECT_EQ(recorder.engine.HistoryYear.buffer[0], -1);
  EXPECT_EQ(recorder.engine.delta_time_last_recorded, 0);
}

// --- Failures -----------------------------------------------------------------------------------

TEST(ThirdCaptureFailure, MomentThatDoesNotExist) {
  ThirdRecorder recorder;
  Moment bad = kMoment;
  bad.hour = 24;
  const auto seen = observe([&] { return capture(recorder.engine, true, bad); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, bad_hour_line(bad) + "ERROR - converting current timestamp " +
                             moment_in_errors(bad) + " recoding to unixtime\n");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_FALSE(recorder.engine.INITIALISED);
  EXPECT_EQ(recorder.engine.HistoryYear.buffer[0], -1);
  EXPECT_EQ(last_recorded(recorder.engine), "-1--1--1,-1:-1:-1,-1");
}

TEST(ThirdCaptureFailure, MomentsOfAnyKindDoNoHarm) {
  const EmptyCurrentDirectory current;
  ThirdRecorder recorder;
  for (const int odd : {-1, INT_MIN, INT_MAX}) {
    for (int field = 0; field < 6; ++field) {
      Moment m = kMoment;
      int* const fields[] = {&m.year, &m.month, &m.day, &m.hour, &m.minute, &m.second};
      *fields[field] = odd;
      quietly([&] { return capture(recorder.engine, true, m); });
    }
  }
  EXPECT_TRUE(current.is_still_empty());
}

TEST(ThirdCaptureFailure, FolderThatCannotBeMade) {
  ThirdRecorder recorder;
  write_file(recorder.directory.file("2013-04-09"), "");
  const auto seen = observe([&] { return capture(recorder.engine, true, kMoment); });
  const std::string hour = hour_folder(recorder.path(), kMoment);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, RequestLine{}.str() + new_day_line(day_folder(recorder.path(), kMoment)) +
                             kExistsLine + new_hour_line(hour) + failed_folder_line(hour));
  EXPECT_EQ(seen.keys, 1);
  EXPECT_FALSE(recorder.engine.INITIALISED);
  EXPECT_FALSE(recorder.engine.RECORDED);
  EXPECT_EQ(recorder.engine.HistoryYear.buffer[0], -1);
}

TEST(ThirdCaptureFailure, FrameThatCannotBeWritten) {
  ThirdRecorder recorder;
  fs::create_directories(recorder.folder(kMoment) + kMomentStamp + "-depth.rle");
  const auto seen = observe([&] { return capture(recorder.engine, true, kMoment); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output.substr(seen.output.size() - std::string(kEngineWriteFailedLine).size()),
            kEngineWriteFailedLine);
  EXPECT_EQ(seen.keys, 1);
  EXPECT_FALSE(recorder.engine.RECORDED);
  EXPECT_FALSE(recorder.engine.INITIALISED);
  EXPECT_EQ(recorder.engine.HistoryModCounter, 0);
  EXPECT_EQ(recorder.engine.HistoryYear.buffer[0], -1);
}

TEST(ThirdCaptureFailure, RingStaysWhenALaterFrameCannotBeWritten) {
  ThirdRecorder recorder(2);
  ASSERT_TRUE(capture_flat(recorder.engine, true, kMoment, 1.5F));
  fs::create_directories(recorder.folder(at(9)) + stamp_of(at(9)) + "-depth.rle");
  EXPECT_FALSE(capture_flat(recorder.engine, true, at(9), 2.5F));
  EXPECT_EQ(recorder.engine.HistoryModCounter, 1);
  EXPECT_EQ(recorder.engine.HistoryYear.buffer[1], -1);
  EXPECT_EQ(last_recorded(recorder.engine), format_moment(kMoment));
  EXPECT_EQ(recorder.depth_of(kMoment), 1.5F) << "the earlier frame is whole";
}

TEST(ThirdCaptureFailure, RecordingResumesWhenTheFaultClears) {
  ThirdRecorder recorder;
  write_file(recorder.directory.file("2013-04-09"), "");
  EXPECT_FALSE(capture_flat(recorder.engine, true, kMoment, 1.5F));
  fs::remove(recorder.directory.file("2013-04-09"));
  EXPECT_TRUE(capture_flat(recorder.engine, true, at(9), 2.5F));
  EXPECT_EQ(recorder.depth_of(at(9)), 2.5F);
}

TEST(ThirdCaptureFailure, LongDirectoryIsNotCut) {
  TempDirectory root;
  ThirdParameters parameters;
  set_recording(parameters, directory_of_length(root, 230));
  ThirdEngine engine;
  construct(engine, parameters);
  EXPECT_FALSE(capture_flat(engine, true, kMoment, 1.5F)) << "a file's name has no room left";
  for (const auto& entry : fs::recursive_directory_iterator(root.path())) {
    EXPECT_FALSE(entry.is_regular_file()) << entry.path();
  }
}

}  // namespace
}  // namespace depth_io::test
