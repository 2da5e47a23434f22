#include <bit>
#include <climits>
#include <cstdint>

#include "tests/support/frame_fixture.h"
#include "tests/support/second_generation_fixture.h"

// The decision about a frame and what is written and printed, without sub-directories.
namespace depth_io::test {
namespace {

using Engine = KV_RGBD_CameraCompression2;

constexpr char kNoCamera[] = "ERROR KV_RGBD_CameraCompression2::Construct CameraType non set\n";
constexpr char kNoIndex[] = "ERROR we do not use frame index anymore\n";

/// An engine without a rate limit that records into a directory of its own.
class SecondGenerationCapture : public ::testing::Test {
 protected:
  SecondGenerationCapture() {
    settings_.directory = directory_.path();
    start();
  }
  void start() {
    start_engine(engine_, settings_);
    fill(engine_, flat_depth(1.0F), flat_colour(100));
  }

  Outcome<bool> capture(bool record_now, const Moment& m, int frame = 7, int debug = 0) {
    return observe([&] { return capture_at(engine_, record_now, frame, m, debug); });
  }
  Outcome<bool> capture_by_index(bool record_now, int frame, int debug = 0) {
    return observe([&] { return engine_.apply_with_index(record_now, frame, debug); });
  }
  std::string stamped(const Moment& m) const { return stamp_of(m) + "-depth"; }

  TempDirectory directory_;
  SecondSettings settings_;
  Engine engine_;
};

// --- What is written ----------------------------------------------------------------------------

TEST_F(SecondGenerationCapture, FrameNotAskedForIsStoredInSilence) {
  const auto seen = capture(false, kMoment);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_FALSE(engine_.RECORDED);
  EXPECT_TRUE(engine_.INITIALISED);
  EXPECT_EQ(slot_depth(engine_, 0), 1.0F);
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

TEST_F(SecondGenerationCapture, WholeOutputOfAWrittenFrame) {
  const auto seen = capture(true, kMoment);
  EXPECT_TRUE(seen.result);
  EXPECT_TRUE(engine_.RECORDED);
  EXPECT_EQ(seen.output,
            " - info - Moving 0 BeenTooLong 0 (0) pass_delta 1 (0.000000 vs -1.000000) "
            "2013-4-9,14:5:7,42 - (lastrec 14:5:7,42)\n"
            "saving '" +
                directory_.path() + "//depth' index 7 timestamp 2013-04-09T14-05-07.042000\n");
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationCapture, WholeOutputOfAWrittenFrameWithColour) {
  settings_.colour_stem = "bgrimage";
  start();
  const auto seen = capture(true, kMoment);
  EXPECT_EQ(seen.output,
            first_info_line(kMoment) +
                saving_colour_lines(directory_.slash(), "depth", "bgrimage", 7, kMomentStamp));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationCapture, WrittenFrameHasItsFourFilesNamedByTheStamp) {
  capture(true, kMoment);
  EXPECT_EQ(files_in(directory_.path()), depth_files({stamped(kMoment)}));
}

TEST_F(SecondGenerationCapture, ColourImageIsAFifthFile) {
  settings_.colour_stem = "bgrimage";
  start();
  capture(true, kMoment);
  std::vector<std::string> expected = depth_files({stamped(kMoment)});
  expected.insert(expected.begin(), std::string(kMomentStamp) + "-bgrimage.jpg");
  EXPECT_EQ(files_in(directory_.path()), expected);
}

TEST_F(SecondGenerationCapture, NamesAreInTheOtherOrderWithoutReversal) {
  engine_.REVERSE_NAME = false;
  capture(true, kMoment);
  EXPECT_EQ(files_in(directory_.path()), depth_files({std::string("depth-") + kMomentStamp}));
}

TEST_F(SecondGenerationCapture, DirectoryWithASlashGetsAnotherOne) {
  settings_.directory = directory_.slash();
  start();
  const auto seen = capture(true, kMoment);
  EXPECT_EQ(seen.output, first_info_line(kMoment) +
                             saving_line(directory_.slash() + "/", "depth", 7, kMomentStamp));
  EXPECT_EQ(files_in(directory_.path()), depth_files({stamped(kMoment)}));
  EXPECT_EQ(engine_.temp_string, directory_.slash() + "/");
}

TEST_F(SecondGenerationCapture, WrittenFrameReadsBack) {
  fill(engine_, flat_depth(2.5F));
  capture(true, kMoment);
  EXPECT_EQ(recorded_depth(directory_.file(stamped(kMoment))), 2.5F);
}

TEST_F(SecondGenerationCapture, WholeOutputWithTheTraceOn) {
  const auto seen = capture(true, kMoment, 7, 1);
  EXPECT_EQ(seen.output,
            first_info_line(kMoment) +
                traced_writer_lines(saving_line(directory_.slash(), "depth", 7, kMomentStamp),
                                    directory_.file(stamped(kMoment))));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationCapture, WholeOutputWithColourAndTheTraceOn) {
  settings_.colour_stem = "c";
  start();
  const auto seen = capture(true, kMoment, 7, 1);
  const std::string saving =
      "saving '" + directory_.slash() + "/depth|c' index 7, timestamp " + kMomentStamp + "\n";
  EXPECT_EQ(seen.output,
            first_info_line(kMoment) +
                traced_writer_lines(saving, directory_.file(stamped(kMoment)),
                                    directory_.file(std::string(kMomentStamp) + "-c.jpg")));
}

TEST_F(SecondGenerationCapture, TraceIsOnForOneOnly) {
  const auto seen = capture(true, kMoment, 7, 2);
  EXPECT_EQ(seen.output,
            first_info_line(kMoment) + saving_line(directory_.slash(), "depth", 7, kMomentStamp));
}

TEST_F(SecondGenerationCapture, WriterChecksItselfWhenTheCallerAsksForIt) {
  engine_.VERIFICATION = 1;
  const auto seen = capture(true, kMoment);
  EXPECT_TRUE(seen.result);
  EXPECT_NE(seen.output.find(" --- VERIFICATION of DEPTH CONTENT ---\n"), std::string::npos);
}

TEST_F(SecondGenerationCapture, ModeIsNotLookedAt) {
  settings_.mode = 'R';
  start();
  EXPECT_TRUE(capture(true, kMoment).result);
  EXPECT_EQ(files_in(directory_.path()).size(), 4U);
}

// --- Cameras ------------------------------------------------------------------------------------

TEST_F(SecondGenerationCapture, FirstCameraHasItsConstants) {
  settings_.camera = 0;
  start();
  capture(false, kMoment);
  EXPECT_EQ(std::bit_cast<std::uint32_t>(engine_.GetIntrinsic_a11()), 0x440400ECU);
  EXPECT_EQ(std::bit_cast<std::uint32_t>(engine_.GetIntrinsic_a22()), 0x440400ECU);
  EXPECT_EQ(engine_.GetIntrinsic_cx(), 320.0F);
  EXPECT_EQ(engine_.GetIntrinsic_cy(), 267.0F);
}

TEST_F(SecondGenerationCapture, SecondCameraHasItsConstants) {
  capture(false, kMoment);
  EXPECT_EQ(engine_.GetIntrinsic_a11(), 533.0F);
  EXPECT_EQ(engine_.GetIntrinsic_a22(), 533.0F);
  EXPECT_EQ(engine_.GetIntrinsic_cx(), 240.0F);
  EXPECT_EQ(engine_.GetIntrinsic_cy(), 320.0F);
}

TEST_F(SecondGenerationCapture, ConstantsGoIntoTheReferenceFile) {
  settings_.camera = 0;
  start();
  capture(true, kMoment);
  EXPECT_EQ(read_file(directory_.file(stamped(kMoment) + ".ref")),
            "nblabels 1 a11 528.014404 a22 528.014404 cx 320.000000 cy 267.000000\n1.000000\n");
}

TEST_F(SecondGenerationCapture, MissingCameraIsAnErrorAfterTheInfoLine) {
  settings_.camera = -1;
  start();
  const auto seen = capture(true, kMoment);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, first_info_line(kMoment) + kNoCamera);
  EXPECT_EQ(seen.keys, 1);
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

TEST_F(SecondGenerationCapture, MissingCameraIsAnErrorForFramesNotAskedForToo) {
  settings_.camera = -1;
  start();
  const auto seen = capture(false, kMoment);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, kNoCamera);
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(SecondGenerationCapture, MissingCameraLeavesTheRing) {
  settings_.camera = -1;
  start();
  capture(true, kMoment);
  EXPECT_FALSE(engine_.INITIALISED);
  EXPECT_EQ(engine_.HistoryModCounter, 0);
  EXPECT_EQ(engine_.HistoryYear.buffer[0], -1);
  EXPECT_EQ(engine_.delta_time_last_recorded, 0);
}

// --- Moments that do not exist ------------------------------------------------------------------

struct BadMoment {
  Moment moment;
  const char* messages;
};

const BadMoment kBadMoments[] = {
    {{2013, 13, 9, 14, 5, 7, 42},
     " - ERROR - ConvertTimeStampToUnixTime - month NOt correct of stamp 2013/13/9 T 14:5:7.42\n"
     "ERROR - converting current timestamp 2013.13.9|14 5 7.42 recoding to unixtime\n"},
    {{2013, 4, 9, 24, 5, 7, 42},
     " - ERROR - ConvertTimeStampToUnixTime - hour NOT correct of stamp 2013/4/9 T 24:5:7.42\n"
     "ERROR - converting current timestamp 2013.4.9|24 5 7.42 recoding to unixtime\n"},
    {{2013, 4, 9, 14, 60, 7, 42},
     " - ERROR - ConvertTimeStampToUnixTime - minute NOT correct of stamp 2013/4/9 T 14:60:7.42\n"
     "ERROR - converting current timestamp 2013.4.9|14 60 7.42 recoding to unixtime\n"},
    {{2016, 12, 31, 23, 59, 60, 0},
     " - ERROR - ConvertTimeStampToUnixTime - second NOT correct of stamp 2016/12/31 T "
     "23:59:60.0\n"
     "ERROR - converting current timestamp 2016.12.31|23 59 60.0 recoding to unixtime\n"},
    {{2013, 2, 29, 14, 5, 7, 42},
     " ERROR day NOT correct; 29 (in month 2) not in [1:28]\n"
     "ERROR - converting current timestamp 2013.2.29|14 5 7.42 recoding to unixtime\n"},
};

TEST_F(SecondGenerationCapture, MomentThatDoesNotExistIsReportedWithoutAKey) {
  for (const BadMoment& bad : kBadMoments) {
    const auto seen = capture(true, bad.moment);
    EXPECT_FALSE(seen.result);
    EXPECT_EQ(seen.output, bad.messages);
    EXPECT_EQ(seen.keys, 0);
  }
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

TEST_F(SecondGenerationCapture, MomentThatDoesNotExistLeavesRingAndState) {
  capture(true, kMoment);
  capture(true, kBadMoments[0].moment);
  EXPECT_FALSE(engine_.RECORDED);
  EXPECT_EQ(engine_.delta_time_last_recorded, 0);
  EXPECT_EQ(engine_.last_time_recorded_month, 4);
  EXPECT_EQ(engine_.HistoryMonth.buffer[0], 4);
}

// --- Failures to write --------------------------------------------------------------------------

TEST_F(SecondGenerationCapture, MissingDirectoryIsAWriteFailure) {
  settings_.directory = directory_.file("missing");
  start();
  const auto seen = capture(true, kMoment);
  EXPECT_FALSE(seen.result);
  const std::string directory = settings_.directory + "/";
  EXPECT_EQ(seen.output, first_info_line(kMoment) +
                             saving_line(directory, "depth", 7, kMomentStamp) +
                             failed_to_write_line(directory + stamped(kMoment) + ".rle") +
                             kEngineWriteFailedLine);
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(SecondGenerationCapture, WriteFailureLeavesTheRing) {
  settings_.directory = directory_.file("missing");
  start();
  capture(true, kMoment);
  EXPECT_FALSE(engine_.RECORDED);
  EXPECT_FALSE(engine_.INITIALISED);
  EXPECT_EQ(engine_.HistoryModCounter, 0);
  EXPECT_EQ(engine_.HistoryYear.buffer[0], -1);
}

TEST_F(SecondGenerationCapture, WriteSucceedsOnceTheDirectoryIsThere) {
  settings_.directory = directory_.file("missing");
  start();
  capture(true, kMoment);
  std::filesystem::create_directory(settings_.directory);
  EXPECT_TRUE(capture(true, moment_after(1)).result);
  EXPECT_EQ(files_in(settings_.directory), depth_files({stamped(moment_after(1))}));
}

TEST_F(SecondGenerationCapture, ColourImageThatCannotBeWrittenIsAWriteFailure) {
  settings_.directory = directory_.file("missing");
  settings_.colour_stem = "c";
  start();
  const auto seen = capture(true, kMoment);
  EXPECT_FALSE(seen.result);
  const std::string image = settings_.directory + "/" + kMomentStamp + "-c.jpg";
  EXPECT_EQ(seen.output, first_info_line(kMoment) + "saving '" + settings_.directory +
                             "//depth|c' index 7, timestamp " + kMomentStamp +
                             "\nJpegFile :\nCan't open " + image +
                             "\nwrite_compressed_data - liblinjpeg - failed to save encode jpeg '" +
                             image + "' 640 x 480\n" + kEngineWriteFailedLine);
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(SecondGenerationCapture, NameThatIsTooLongIsAWriteFailureAndNothingIsWrittenElsewhere) {
  for (const std::size_t length : {std::size_t{245}, std::size_t{300}, std::size_t{511}}) {
    std::string directory = directory_.path();
    while (directory.size() + 2 <= length) directory += "/.";
    directory.resize(length, '/');
    settings_.directory = directory;
    start();
    const auto seen = capture(true, kMoment);
    EXPECT_FALSE(seen.result) << length;
    EXPECT_TRUE(seen.output.starts_with(first_info_line(kMoment))) << length;
    EXPECT_TRUE(seen.output.ends_with("\n")) << length;
    EXPECT_TRUE(files_in(directory_.path()).empty()) << length;
    EXPECT_FALSE(engine_.INITIALISED) << length;
  }
}

// --- By frame number ----------------------------------------------------------------------------

TEST_F(SecondGenerationCapture, FrameNumberIsRefusedAfterTheFrameIsWritten) {
  const auto seen = capture_by_index(true, 42);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output,
            index_request().str() + saving_line(directory_.slash(), "depth", 42) + kNoIndex);
  EXPECT_EQ(seen.keys, 1);
  EXPECT_TRUE(engine_.RECORDED);
  EXPECT_EQ(files_in(directory_.path()), depth_files({"00000042-depth"}));
}

TEST_F(SecondGenerationCapture, FrameNumberNotAskedForIsOnlyRefused) {
  const auto seen = capture_by_index(false, 42);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, kNoIndex);
  EXPECT_EQ(seen.keys, 1);
  EXPECT_FALSE(engine_.RECORDED);
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

TEST_F(SecondGenerationCapture, FrameNumberNeverEntersTheRing) {
  capture_by_index(true, 42);
  EXPECT_FALSE(engine_.INITIALISED);
  EXPECT_EQ(engine_.HistoryModCounter, 0);
  EXPECT_EQ(engine_.HistoryYear.buffer[0], -1);
  EXPECT_EQ(engine_.last_time_recorded_year, -1);
  EXPECT_EQ(engine_.delta_time_last_recorded, 0);
}

TEST_F(SecondGenerationCapture, FrameNumberCarriesTheStampTextLeftFromBefore) {
  capture(false, kMoment);
  const auto seen = capture_by_index(true, 3);
  RequestLine info = index_request();
  info.unrecorded = 1;
  info.last = kMoment;
  EXPECT_EQ(seen.output,
            info.str() + saving_line(directory_.slash(), "depth", 3, kMomentStamp) + kNoIndex);
  EXPECT_EQ(files_in(directory_.path()), depth_files({"00000003-depth"}));
}

TEST_F(SecondGenerationCapture, FrameNumberIsNotLimitedInRate) {
  settings_.max_fps = 0.0F;
  start();
  for (int frame = 0; frame < 2; ++frame) {
    const auto seen = capture_by_index(true, frame);
    RequestLine info = index_request();
    info.limit = "inf";
    EXPECT_TRUE(seen.output.starts_with(info.str())) << seen.output;
    EXPECT_TRUE(engine_.RECORDED);
  }
}

TEST_F(SecondGenerationCapture, FrameNumberWantsTheCameraToo) {
  settings_.camera = -1;
  start();
  const auto seen = capture_by_index(true, 1);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, index_request().str() + kNoCamera);
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(SecondGenerationCapture, FrameNumberThatCannotBeWrittenFailsBeforeItIsRefused) {
  settings_.directory = directory_.file("missing");
  start();
  const auto seen = capture_by_index(true, 42);
  EXPECT_EQ(seen.output, index_request().str() +
                             saving_line(settings_.directory + "/", "depth", 42) +
                             failed_to_write_line(settings_.directory + "/00000042-depth.rle") +
                             kEngineWriteFailedLine);
  EXPECT_EQ(seen.keys, 1);
}

// --- State --------------------------------------------------------------------------------------

TEST_F(SecondGenerationCapture, WrittenFrameBecomesTheLastRecorded) {
  capture(true, kMoment);
  capture(true, moment_after(5, 3));
  EXPECT_EQ(engine_.last_time_recorded_year, 2013);
  EXPECT_EQ(engine_.last_time_recorded_month, 4);
  EXPECT_EQ(engine_.last_time_recorded_day, 9);
  EXPECT_EQ(engine_.last_time_recorded_hour, 14);
  EXPECT_EQ(engine_.last_time_recorded_minute, 5);
  EXPECT_EQ(engine_.last_time_recorded_second, 12);
  EXPECT_EQ(engine_.last_time_recorded_millisecond, 3);
  EXPECT_EQ(engine_.last_time_recorded_unixtime,
            1365516312.0 + static_cast<double>(3.0F / 1000.0F));
}

TEST_F(SecondGenerationCapture, FirstFrameIsTheReferenceEvenWhenItIsNotWritten) {
  capture(false, kMoment);
  EXPECT_EQ(engine_.last_time_recorded_second, 7);
  capture(false, moment_after(1));
  EXPECT_EQ(engine_.last_time_recorded_second, 7);
}

TEST_F(SecondGenerationCapture, UnwrittenFramesAreCountedAndNeverForgotten) {
  capture(false, kMoment);
  capture(false, moment_after(1));
  EXPECT_EQ(engine_.delta_time_last_recorded, 2);
  capture(true, moment_after(2));
  EXPECT_EQ(engine_.delta_time_last_recorded, 2);
  capture(false, moment_after(3));
  EXPECT_EQ(engine_.delta_time_last_recorded, 3);
}

TEST_F(SecondGenerationCapture, CountOfUnwrittenFramesStopsAtItsLargestValue) {
  engine_.delta_time_last_recorded = INT_MAX;
  EXPECT_TRUE(capture(false, kMoment).result);
  EXPECT_EQ(engine_.delta_time_last_recorded, INT_MAX);
}

TEST_F(SecondGenerationCapture, ClearsWhatTheLastFrameLeft) {
  engine_.RECORDED = true;
  engine_.pct_moving = 0.9F;
  capture(false, kMoment);
  EXPECT_FALSE(engine_.RECORDED);
  EXPECT_EQ(engine_.pct_moving, 0.0F);
}

TEST_F(SecondGenerationCapture, HasDepthMapIsCopiedAndNotChanged) {
  engine_.MapHasDepth.buffer[5] = true;
  capture(false, kMoment);
  EXPECT_TRUE(engine_.prev_MapHasDepth.buffer[5]);
  EXPECT_FALSE(engine_.prev_MapHasDepth.buffer[6]);
  EXPECT_FALSE(engine_.MapHasDepth.buffer[6]);
}

TEST_F(SecondGenerationCapture, WorkerTakesBothForms) {
  EXPECT_TRUE(quietly([&] { return engine_._apply(true, true, 1, 2013, 4, 9, 14, 5, 7, 42, 0); }));
  EXPECT_FALSE(
      quietly([&] { return engine_._apply(true, false, 1, 2013, 4, 9, 14, 5, 7, 42, 0); }));
  EXPECT_EQ(files_in(directory_.path()), depth_files({"00000001-depth", stamped(kMoment)}));
}

}  // namespace
}  // namespace depth_io::test
