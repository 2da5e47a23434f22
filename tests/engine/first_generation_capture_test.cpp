#include <climits>

#include "tests/support/engine_fixture.h"

// The decision without a stamp: what asks for a recording, what is printed, what is written.
namespace depth_io::test {
namespace {

constexpr Moment kZeros{};

/// An engine that records every frame into a directory of its own.
class FirstGenerationCapture : public ::testing::Test {
 protected:
  FirstGenerationCapture() { start("depth"); }

  void start(const char* stem) {
    Text path(directory_.slash());
    Text depth_stem(stem);
    engine_.start_recording(path, depth_stem, 3);
  }

  TempDirectory directory_;
  KV_RGBD_CameraCompression engine_;
  DepthMap depth_ = flat_depth(1.0F);
  ColourImage colour_ = flat_colour(100);
};

// --- Recording switched on ----------------------------------------------------------------------

TEST_F(FirstGenerationCapture, FrameIsStoredAndNotWrittenWhileRecordingIsOff) {
  engine_.stop_recording();
  engine_.input(depth_.data());
  const auto seen = observe([&] { return engine_.apply(0, 0); });
  EXPECT_TRUE(seen.result);
  EXPECT_FALSE(engine_.RECORDED);
  EXPECT_TRUE(engine_.INITIALISED);
  EXPECT_EQ(slot_depth(engine_, 0), 1.0F);
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

TEST_F(FirstGenerationCapture, WholeOutputWhileRecordingIsOff) {
  engine_.stop_recording();
  const auto seen = observe([&] { return engine_.apply(0, 0); });
  EXPECT_EQ(seen.output,
            " --- info Moving 0, ItsBeenTooLong 0, pass_delta_unix_time 1 "
            "(-1.000000--1.000000=-1.000000 vs inf) 0-0-0,0:0:0,0 - -1--1--1,-1:-1:-1,-1 ---\n");
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(FirstGenerationCapture, WholeOutputOfAWrittenFrame) {
  engine_.input(depth_.data());
  const auto seen = observe([&] { return engine_.apply(42, 0); });
  EXPECT_TRUE(seen.result);
  EXPECT_TRUE(engine_.RECORDED);
  EXPECT_EQ(seen.output,
            " --- info Moving 0, ItsBeenTooLong 0, pass_delta_unix_time 1 "
            "(-1.000000--1.000000=-1.000000 vs inf) 0-0-0,0:0:0,0 - -1--1--1,-1:-1:-1,-1 ---\n"
            "saving '" +
                directory_.slash() + "/depth' index 42 timestamp \n");
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(FirstGenerationCapture, WholeOutputOfAWrittenFrameWithColour) {
  engine_.input(depth_.data(), colour_.data());
  const auto seen = observe([&] { return engine_.apply(42, 0); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, InfoLine{}.str() + "saving '" + directory_.slash() +
                             "/depth|bgrimage' index 42, timestamp \nsaving done\n");
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(FirstGenerationCapture, WrittenFrameHasItsFourFiles) {
  engine_.input(depth_.data());
  quietly([&] { return engine_.apply(42, 0); });
  EXPECT_EQ(files_in(directory_.path()), depth_files({"depth-042"}));
}

TEST_F(FirstGenerationCapture, ColourImageIsAFifthFile) {
  engine_.input(depth_.data(), colour_.data());
  quietly([&] { return engine_.apply(42, 0); });
  std::vector<std::string> expected = depth_files({"depth-042"});
  expected.insert(expected.begin(), "bgrimage-042.jpg");
  EXPECT_EQ(files_in(directory_.path()), expected);
}

TEST_F(FirstGenerationCapture, ColourImageOfAnEarlierFrameIsNotWritten) {
  engine_.input(depth_.data(), colour_.data());
  engine_.input(depth_.data());
  quietly([&] { return engine_.apply(1, 0); });
  EXPECT_EQ(files_in(directory_.path()), depth_files({"depth-001"}));
}

TEST_F(FirstGenerationCapture, ReverseNameIsPassedOn) {
  engine_.REVERSE_NAME = true;
  quietly([&] { return engine_.apply(42, 0); });
  EXPECT_EQ(files_in(directory_.path()), depth_files({"042-depth"}));
}

TEST_F(FirstGenerationCapture, IntrinsicsAreWritten) {
  engine_.a11 = 533.25F;
  engine_.a22 = 534.5F;
  engine_.cx = 239.75F;
  engine_.cy = 319.5F;
  engine_.input(depth_.data());
  quietly([&] { return engine_.apply(0, 0); });
  EXPECT_EQ(read_file(directory_.file("depth-000.ref")),
            "nblabels 1 a11 533.250000 a22 534.500000 cx 239.750000 cy 319.500000\n1.000000\n");
}

TEST_F(FirstGenerationCapture, VerificationModeIsPassedOn) {
  engine_.VERIFICATION = 1;
  engine_.input(depth_.data());
  const auto seen = observe([&] { return engine_.apply(0, 0); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, InfoLine{}.str() + saving_line(directory_.slash(), "depth", 0) +
                             " --- VERIFICATION of DEPTH CONTENT ---\n" +
                             reading_line(directory_.file("depth-000")));
}

TEST_F(FirstGenerationCapture, DebugIsPassedOnToTheWriter) {
  const auto seen = observe([&] { return engine_.apply(0, 1); });
  EXPECT_TRUE(seen.result);
  const std::string start = InfoLine{}.str() + " - DEBUG - write_compressed_data\n";
  EXPECT_EQ(seen.output.substr(0, start.size()), start);
}

TEST_F(FirstGenerationCapture, StampOfAnEarlierStampedFrameIsStillShown) {
  engine_.stop_recording();
  ASSERT_TRUE(store_flat_at(engine_, 0, kMoment, 1.0F));
  start("depth");
  InfoLine info;
  info.last = kMoment;
  const auto seen = observe([&] { return engine_.apply(1, 0); });
  EXPECT_EQ(seen.output, info.str() + saving_line(directory_.slash(), "depth", 1, kMomentStamp));
}

TEST_F(FirstGenerationCapture, RecordedTellsOfTheLastCallOnly) {
  quietly([&] { return engine_.apply(0, 0); });
  EXPECT_TRUE(engine_.RECORDED);
  engine_.stop_recording();
  quietly([&] { return engine_.apply(1, 0); });
  EXPECT_FALSE(engine_.RECORDED);
}

TEST_F(FirstGenerationCapture, RequestMovesTheFrameOfTheLastRecording) {
  quietly([&] { return engine_.apply(12, 0); });
  EXPECT_EQ(engine_.last_time_recorded_at, 12);
  engine_.stop_recording();
  quietly([&] { return engine_.apply(13, 0); });
  EXPECT_EQ(engine_.last_time_recorded_at, 12);
}

TEST_F(FirstGenerationCapture, WriteWithoutStampSetsTheLastRecordedMomentToZeros) {
  quietly([&] { return engine_.apply(0, 0); });
  InfoLine info;
  info.last = kZeros;
  const auto seen = observe([&] { return engine_.apply(1, 0); });
  EXPECT_EQ(seen.output, info.str() + saving_line(directory_.slash(), "depth", 1));
}

TEST_F(FirstGenerationCapture, StampedFrameAfterAWriteWithoutStampCannotConvertMonthZero) {
  quietly([&] { return engine_.apply(0, 0); });
  const auto seen = observe([&] { return apply_at(engine_, 1, kMoment, -1.0F); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output,
            " - ERROR - ConvertTimeStampToUnixTime - month NOt correct of stamp 0/0/0 T 0:0:0.0\n"
            "ERROR - converting current timestamp 0.0.0|0 0 0.0 recoding to unixtime\n");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_FALSE(engine_.RECORDED);
  EXPECT_EQ(engine_.HistoryCounter, 0);
}

TEST_F(FirstGenerationCapture, LongFormIsTheSameDecision) {
  engine_.input(depth_.data());
  const auto seen =
      observe([&] { return engine_._apply(false, 42, 0, 0, 0, 0, 0, 0, 0, 0.0F, 0); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, InfoLine{}.str() + saving_line(directory_.slash(), "depth", 42));
  EXPECT_EQ(files_in(directory_.path()), depth_files({"depth-042"}));
}

TEST_F(FirstGenerationCapture, LongFormWithoutStampShowsAndKeepsTheMomentGiven) {
  InfoLine info;
  info.times = "-1.000000--1.000000=-1.000000 vs 0.200000";
  info.current = kMoment;
  const auto seen =
      observe([&] { return engine_._apply(false, 0, 2013, 4, 9, 14, 5, 7, 42, 5.0F, 0); });
  EXPECT_EQ(seen.output, info.str() + saving_line(directory_.slash(), "depth", 0));
  EXPECT_EQ(engine_.last_time_recorded_year, 2013);
  EXPECT_EQ(engine_.last_time_recorded_millisecond, 42);
  EXPECT_STREQ(engine_.timestamp.buffer, "");
}

TEST_F(FirstGenerationCapture, RateLimitDoesNotHoldWithoutStamp) {
  for (int frame = 0; frame < 2; ++frame) {
    quietly([&] { return engine_._apply(false, frame, 0, 0, 0, 0, 0, 0, 0, 0.001F, 0); });
    EXPECT_TRUE(engine_.RECORDED) << frame;
  }
}

// --- Writer failures ----------------------------------------------------------------------------

class FirstGenerationWriteFailure : public FirstGenerationCapture {
 protected:
  FirstGenerationWriteFailure() {
    Text path(missing_ + "/");
    Text stem("depth");
    engine_.start_recording(path, stem, 3);
  }

  std::string missing_ = directory_.file("missing");
};

TEST_F(FirstGenerationWriteFailure, MissingDirectoryIsReportedWithOneWait) {
  engine_.input(depth_.data());
  const auto seen = observe([&] { return engine_.apply(7, 0); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, InfoLine{}.str() + saving_line(missing_ + "/", "depth", 7) +
                             failed_to_write_line(missing_ + "/depth-007.rle") +
                             "ERROR KV_RGBD_CameraCompression apply - write_compressed failed\n");
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(FirstGenerationWriteFailure, ColourImageFailsFirst) {
  engine_.input(depth_.data(), colour_.data());
  const auto seen = observe([&] { return engine_.apply(7, 0); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, InfoLine{}.str() + "saving '" + missing_ +
                             "//depth|bgrimage' index 7, timestamp \n" + "JpegFile :\nCan't open " +
                             missing_ + "/bgrimage-007.jpg\n" +
                             "write_compressed_data - liblinjpeg - failed to save encode jpeg '" +
                             missing_ + "/bgrimage-007.jpg' 640 x 480\n" + kEngineWriteFailedLine);
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(FirstGenerationWriteFailure, FrameIsNotStored) {
  engine_.MapHasDepth.Init(true);
  engine_.input(depth_.data());
  quietly([&] { return engine_.apply(0, 0); });
  EXPECT_FALSE(engine_.INITIALISED);
  EXPECT_EQ(engine_.HistoryModCounter, 0);
  EXPECT_EQ(slot_depth(engine_, 0), 0.0F);
  EXPECT_FALSE(engine_.prev_MapHasDepth.buffer[0]);
  EXPECT_EQ(engine_.last_time_recorded_year, -1);
}

TEST_F(FirstGenerationWriteFailure, FrameCountsAsRequestedAndRecorded) {
  quietly([&] { return engine_.apply(7, 0); });
  EXPECT_TRUE(engine_.RECORDED);
  EXPECT_EQ(engine_.last_time_recorded_at, 7);
}

TEST_F(FirstGenerationWriteFailure, StampedFrameDoesNotTakeASlot) {
  InfoLine info;
  info.times = "1365516307.042000-1365516307.042000=0.000000 vs -1.000000";
  info.current = info.last = kMoment;
  const auto seen = observe([&] { return apply_at(engine_, 7, kMoment, -1.0F); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, info.str() + saving_line(missing_ + "/", "depth", 7, kMomentStamp) +
                             failed_to_write_line(missing_ + "/depth-" + kMomentStamp + ".rle") +
                             kEngineWriteFailedLine);
  EXPECT_EQ(seen.keys, 1);
  EXPECT_EQ(engine_.HistoryCounter, 0);
  EXPECT_STREQ(engine_.HistoryTimeStamp.arr1D[0].buffer, "");
}

TEST_F(FirstGenerationWriteFailure, RecordingResumesWhenTheDirectoryIsThere) {
  quietly([&] { return engine_.apply(7, 0); });
  std::filesystem::create_directory(missing_);
  EXPECT_TRUE(quietly([&] { return engine_.apply(8, 0); }));
  EXPECT_EQ(files_in(missing_), depth_files({"depth-008"}));
}

TEST_F(FirstGenerationWriteFailure, NameBeyondTheWritersLimitFailsWithOneWait) {
  Text path(directory_.slash() + std::string(300, 'x') + "/");
  Text stem("depth");
  engine_.start_recording(path, stem, 3);
  const auto seen = observe([&] { return engine_.apply(7, 0); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.keys, 1);
  const std::string last = kEngineWriteFailedLine;
  ASSERT_GT(seen.output.size(), last.size());
  EXPECT_EQ(seen.output.substr(seen.output.size() - last.size()), last);
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

// --- Recording periodically ---------------------------------------------------------------------

class FirstGenerationPeriod : public FirstGenerationCapture {
 protected:
  FirstGenerationPeriod() {
    engine_.stop_recording();
    engine_.Record_period = true;
    engine_.Record_period_gap = 30;
  }

  bool written(int frame) {
    quietly([&] { return engine_.apply(frame, 0); });
    return engine_.RECORDED;
  }
};

TEST_F(FirstGenerationPeriod, WholeOutputBeforeTheGapHasPassed) {
  const auto seen = observe([&] { return engine_.apply(29, 0); });
  EXPECT_EQ(seen.output, std::string("(Record compressed depth period)\n") + InfoLine{}.str());
  EXPECT_EQ(seen.keys, 0);
  EXPECT_FALSE(engine_.RECORDED);
  EXPECT_EQ(engine_.last_time_recorded_at, 0);
}

TEST_F(FirstGenerationPeriod, WholeOutputWhenTheGapHasPassed) {
  InfoLine info;
  info.too_long = 1;
  const auto seen = observe([&] { return engine_.apply(30, 0); });
  EXPECT_EQ(seen.output, kPeriodLine + info.str() + saving_line(directory_.slash(), "depth", 30));
  EXPECT_TRUE(engine_.RECORDED);
}

TEST_F(FirstGenerationPeriod, EveryThirtiethFrameIsWritten) {
  std::vector<int> frames;
  for (int frame = 0; frame <= 95; ++frame) {
    if (written(frame)) frames.push_back(frame);
  }
  EXPECT_EQ(frames, (std::vector<int>{30, 60, 90}));
}

TEST_F(FirstGenerationPeriod, OtherRequestsRestartTheGap) {
  engine_.Record = true;
  EXPECT_TRUE(written(10));
  engine_.Record = false;
  EXPECT_FALSE(written(39));
  EXPECT_TRUE(written(40));
}

TEST_F(FirstGenerationPeriod, FrameVetoedByTheRateLimitRestartsTheGap) {
  std::vector<int> requests;
  for (const int frame : {0, 29, 30, 31, 59, 60, 61}) {
    // All within the limit of five a second after the first frame, which nothing asked for.
    const auto seen =
        observe([&] { return apply_at(engine_, frame, moment_at(42 + frame), 5.0F); });
    EXPECT_TRUE(seen.result);
    EXPECT_FALSE(engine_.RECORDED) << frame;
    if (seen.output.find("ItsBeenTooLong 1") != std::string::npos) requests.push_back(frame);
  }
  EXPECT_EQ(requests, (std::vector<int>{30, 60}));
  EXPECT_EQ(engine_.last_time_recorded_at, 60);
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

TEST_F(FirstGenerationPeriod, GapOfZeroAsksForEveryFrame) {
  engine_.Record_period_gap = 0;
  EXPECT_TRUE(written(0));
  EXPECT_TRUE(written(1));
}

TEST_F(FirstGenerationPeriod, PeriodThatIsOffPrintsNoLine) {
  engine_.Record_period = false;
  const auto seen = observe([&] { return engine_.apply(1000, 0); });
  EXPECT_EQ(seen.output, InfoLine{}.str());
}

TEST_F(FirstGenerationPeriod, DistanceBetweenExtremeFrameNumbersIsDefined) {
  engine_.last_time_recorded_at = INT_MAX;
  const bool stored = quietly([&] { return engine_.apply(INT_MIN, 0); });
  EXPECT_EQ(stored, engine_.INITIALISED);
}

}  // namespace
}  // namespace depth_io::test
