#include "tests/support/engine_fixture.h"

// The decision with a stamp: the rate limit, the moment of the last written frame, bad moments.
namespace depth_io::test {
namespace {

/// An engine that is asked to record every frame, at most five a second.
class FirstGenerationRateLimit : public ::testing::Test {
 protected:
  FirstGenerationRateLimit() {
    Text path(directory_.slash());
    Text stem("depth");
    engine_.start_recording(path, stem, 3);
    DepthMap map = flat_depth(1.0F);
    engine_.input(map.data());
  }

  /// Whether the frame was written; every frame here is stored.
  bool written(const Moment& m, float fps = 5.0F) {
    EXPECT_TRUE(quietly([&] { return apply_at(engine_, 0, m, fps); }));
    return engine_.RECORDED;
  }

  TempDirectory directory_;
  KV_RGBD_CameraCompression engine_;
};

TEST_F(FirstGenerationRateLimit, WholeOutputOfTheFirstFrame) {
  const auto seen = observe([&] { return apply_at(engine_, 7, kMoment, 5.0F); });
  EXPECT_TRUE(seen.result);
  EXPECT_TRUE(engine_.RECORDED);
  EXPECT_EQ(seen.output,
            " --- info Moving 0, ItsBeenTooLong 0, pass_delta_unix_time 1 "
            "(1365516307.042000-1365516307.042000=0.000000 vs 0.200000) "
            "2013-4-9,14:5:7,42 - 2013-4-9,14:5:7,42 ---\n"
            "saving '" +
                directory_.slash() + "/depth' index 7 timestamp 2013-04-09T14-05-07.042000\n");
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(FirstGenerationRateLimit, WholeOutputOfAVetoedFrame) {
  ASSERT_TRUE(written(kMoment));
  const auto seen = observe([&] { return apply_at(engine_, 8, moment_at(192), 5.0F); });
  EXPECT_TRUE(seen.result);
  EXPECT_FALSE(engine_.RECORDED);
  EXPECT_EQ(seen.output,
            " --- info Moving 0, ItsBeenTooLong 0, pass_delta_unix_time 0 "
            "(1365516307.192000-1365516307.042000=0.150000 vs 0.200000) "
            "2013-4-9,14:5:7,192 - 2013-4-9,14:5:7,42 ---\n");
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(FirstGenerationRateLimit, StampNamesTheFiles) {
  ASSERT_TRUE(written(kMoment));
  EXPECT_EQ(files_in(directory_.path()), depth_files({"depth-2013-04-09T14-05-07.042000"}));
}

TEST_F(FirstGenerationRateLimit, ReversedNameBeginsWithTheStamp) {
  engine_.REVERSE_NAME = true;
  ASSERT_TRUE(written(kMoment));
  EXPECT_EQ(files_in(directory_.path()), depth_files({"2013-04-09T14-05-07.042000-depth"}));
}

TEST_F(FirstGenerationRateLimit, ColourImageIsNamedByTheStampToo) {
  DepthMap depth = flat_depth(1.0F);
  ColourImage colour = flat_colour(90);
  engine_.input(depth.data(), colour.data());
  const auto seen = observe([&] { return apply_at(engine_, 7, kMoment, 5.0F); });
  const std::string lines =
      saving_colour_lines(directory_.slash(), "depth", "bgrimage", 7, kMomentStamp);
  ASSERT_GT(seen.output.size(), lines.size());
  EXPECT_EQ(seen.output.substr(seen.output.size() - lines.size()), lines);
  EXPECT_TRUE(std::filesystem::exists(directory_.file("bgrimage-2013-04-09T14-05-07.042000.jpg")));
}

// --- The limit ----------------------------------------------------------------------------------

TEST_F(FirstGenerationRateLimit, FrameAfter150MillisecondsIsVetoed) {
  ASSERT_TRUE(written(moment_at(0)));
  EXPECT_FALSE(written(moment_at(150)));
}

TEST_F(FirstGenerationRateLimit, FrameAfter250MillisecondsIsWritten) {
  ASSERT_TRUE(written(moment_at(0)));
  EXPECT_TRUE(written(moment_at(250)));
}

TEST_F(FirstGenerationRateLimit, FrameExactlyAtTheIntervalIsVetoed) {
  // At the origin of time the difference is exact: 200 ms and 1/5 s are the same single-precision
  // number.
  ASSERT_TRUE(written({1970, 1, 1, 0, 0, 0, 0}));
  EXPECT_FALSE(written({1970, 1, 1, 0, 0, 0, 200}));
  EXPECT_TRUE(written({1970, 1, 1, 0, 0, 0, 201}));
}

TEST_F(FirstGenerationRateLimit, IntervalRunsFromTheLastWrittenFrame) {
  ASSERT_TRUE(written(moment_at(0)));
  EXPECT_FALSE(written(moment_at(150)));
  EXPECT_TRUE(written(moment_at(250)));
  EXPECT_FALSE(written(moment_at(400)));
  EXPECT_TRUE(written(moment_at(500)));
}

TEST_F(FirstGenerationRateLimit, NegativeLimitIsNoLimit) {
  ASSERT_TRUE(written(kMoment, -1.0F));
  EXPECT_TRUE(written(kMoment, -1.0F));
  EXPECT_TRUE(written(moment_at(0), -0.001F));
}

TEST_F(FirstGenerationRateLimit, NegativeLimitIsShownAsItsReciprocal) {
  ASSERT_TRUE(written(kMoment, -1.0F));
  InfoLine info;
  info.times = "1365516307.092000-1365516307.042000=0.050000 vs -0.500000";
  info.current = moment_at(92);
  info.last = kMoment;
  const auto seen = observe([&] { return apply_at(engine_, 7, moment_at(92), -2.0F); });
  EXPECT_EQ(seen.output,
            info.str() + saving_line(directory_.slash(), "depth", 7, "2013-04-09T14-05-07.092000"));
}

TEST_F(FirstGenerationRateLimit, LimitOfZeroWritesTheFirstFrameOnly) {
  EXPECT_TRUE(written(kMoment, 0.0F));
  EXPECT_FALSE(written({2037, 1, 1, 0, 0, 0, 0}, 0.0F));
}

TEST_F(FirstGenerationRateLimit, LimitOfZeroIsShownAsInfinity) {
  ASSERT_TRUE(written(kMoment, 0.0F));
  InfoLine info;
  info.pass = 0;
  info.times = "1365516307.043000-1365516307.042000=0.001000 vs inf";
  info.current = moment_at(43);
  info.last = kMoment;
  const auto seen = observe([&] { return apply_at(engine_, 7, moment_at(43), 0.0F); });
  EXPECT_EQ(seen.output, info.str());
}

TEST_F(FirstGenerationRateLimit, ClockThatStepsBackIsVetoed) {
  ASSERT_TRUE(written(kMoment));
  EXPECT_FALSE(written({2013, 4, 9, 13, 0, 0, 0}));
}

TEST_F(FirstGenerationRateLimit, EqualStampsAreVetoed) {
  ASSERT_TRUE(written(kMoment));
  EXPECT_FALSE(written(kMoment));
}

TEST_F(FirstGenerationRateLimit, VetoedFrameIsStored) {
  ASSERT_TRUE(written(kMoment));
  ASSERT_FALSE(written(moment_at(43)));
  EXPECT_STREQ(engine_.HistoryTimeStamp.arr1D[0].buffer, "2013-04-09T14-05-07.043000");
  EXPECT_EQ(engine_.HistoryCounter, 2);
}

TEST_F(FirstGenerationRateLimit, VetoedFrameMovesTheRequestButNotTheMoment) {
  ASSERT_TRUE(written(kMoment));
  quietly([&] { return apply_at(engine_, 8, moment_at(43), 5.0F); });
  EXPECT_EQ(engine_.last_time_recorded_at, 8);
  EXPECT_EQ(engine_.last_time_recorded_millisecond, 42);
}

TEST_F(FirstGenerationRateLimit, FrameBeforeAnyStoredOnePassesAnyLimit) {
  engine_.last_time_recorded_year = 2013;
  engine_.last_time_recorded_month = 4;
  engine_.last_time_recorded_day = 9;
  engine_.last_time_recorded_hour = 14;
  engine_.last_time_recorded_minute = 5;
  engine_.last_time_recorded_second = 7;
  engine_.last_time_recorded_millisecond = 42;
  EXPECT_TRUE(written(kMoment, 0.0F));
}

TEST_F(FirstGenerationRateLimit, PassingTheLimitAloneAsksForNothing) {
  engine_.stop_recording();
  EXPECT_FALSE(written(kMoment, -1.0F));
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

// --- The moment of the last written frame -------------------------------------------------------

TEST_F(FirstGenerationRateLimit, WrittenFrameSetsAllSevenFields) {
  ASSERT_TRUE(written(moment_at(0)));
  ASSERT_TRUE(written({2014, 5, 10, 15, 6, 8, 43}));
  EXPECT_EQ(engine_.last_time_recorded_year, 2014);
  EXPECT_EQ(engine_.last_time_recorded_month, 5);
  EXPECT_EQ(engine_.last_time_recorded_day, 10);
  EXPECT_EQ(engine_.last_time_recorded_hour, 15);
  EXPECT_EQ(engine_.last_time_recorded_minute, 6);
  EXPECT_EQ(engine_.last_time_recorded_second, 8);
  EXPECT_EQ(engine_.last_time_recorded_millisecond, 43);
}

TEST_F(FirstGenerationRateLimit, FirstStampedCallSetsTheMomentAlthoughNothingIsWritten) {
  engine_.stop_recording();
  ASSERT_FALSE(written({2014, 5, 10, 15, 6, 8, 43}));
  EXPECT_EQ(engine_.last_time_recorded_year, 2014);
  EXPECT_EQ(engine_.last_time_recorded_month, 5);
  EXPECT_EQ(engine_.last_time_recorded_day, 10);
  EXPECT_EQ(engine_.last_time_recorded_hour, 15);
  EXPECT_EQ(engine_.last_time_recorded_minute, 6);
  EXPECT_EQ(engine_.last_time_recorded_second, 8);
  EXPECT_EQ(engine_.last_time_recorded_millisecond, 43);
}

TEST_F(FirstGenerationRateLimit, MomentOfAFirstCallWithoutAWriteVetoesTheNext) {
  engine_.stop_recording();
  ASSERT_FALSE(written(moment_at(0)));
  engine_.Record = true;
  EXPECT_FALSE(written(moment_at(150)));
  EXPECT_TRUE(written(moment_at(250)));
}

TEST_F(FirstGenerationRateLimit, LaterCallWithoutAWriteLeavesTheMoment) {
  engine_.stop_recording();
  ASSERT_FALSE(written(moment_at(0)));
  ASSERT_FALSE(written(moment_at(900)));
  EXPECT_EQ(engine_.last_time_recorded_millisecond, 0);
}

// --- Bad moments --------------------------------------------------------------------------------

TEST_F(FirstGenerationRateLimit, BadMomentIsReportedOnce) {
  struct Case {
    Moment moment;
    const char* shown;
  };
  const Case cases[] = {
      {{2013, 13, 9, 14, 5, 7, 42}, "2013.13.9|14 5 7.42"},
      {{2013, 0, 9, 14, 5, 7, 42}, "2013.0.9|14 5 7.42"},
      {{2013, 2, 29, 14, 5, 7, 42}, "2013.2.29|14 5 7.42"},
      {{2013, 4, 0, 14, 5, 7, 42}, "2013.4.0|14 5 7.42"},
      {{2013, 4, 9, 24, 5, 7, 42}, "2013.4.9|24 5 7.42"},
      {{2013, 4, 9, 14, 60, 7, 42}, "2013.4.9|14 60 7.42"},
      {{2013, 4, 9, 14, 5, -1, 42}, "2013.4.9|14 5 -1.42"},
  };
  for (const Case& bad : cases) {
    const auto seen = observe([&] { return apply_at(engine_, 0, bad.moment, -1.0F); });
    EXPECT_FALSE(seen.result) << bad.shown;
    EXPECT_EQ(seen.output, std::string("ERROR - converting current timestamp ") + bad.shown +
                               " recoding to unixtime\n");
    EXPECT_EQ(seen.keys, 0);
  }
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

TEST_F(FirstGenerationRateLimit, BadMomentChangesNothingInTheHistory) {
  quietly([&] { return apply_at(engine_, 5, {2013, 13, 9, 14, 5, 7, 42}, -1.0F); });
  EXPECT_FALSE(engine_.INITIALISED);
  EXPECT_EQ(engine_.HistoryCounter, 0);
  EXPECT_EQ(engine_.HistoryModCounter, 0);
  EXPECT_EQ(engine_.last_time_recorded_at, 0);
  EXPECT_EQ(engine_.last_time_recorded_year, -1);
  EXPECT_EQ(slot_depth(engine_, 0), 0.0F);
  EXPECT_STREQ(engine_.HistoryTimeStamp.arr1D[0].buffer, "");
}

TEST_F(FirstGenerationRateLimit, BadMomentForgetsThatTheFrameBeforeWasWritten) {
  ASSERT_TRUE(written(kMoment));
  quietly([&] { return apply_at(engine_, 5, {2013, 13, 9, 14, 5, 7, 42}, -1.0F); });
  EXPECT_FALSE(engine_.RECORDED);
}

TEST_F(FirstGenerationRateLimit, MillisecondIsNotTested) {
  EXPECT_TRUE(written({2013, 4, 9, 14, 5, 7, 999}));
  EXPECT_TRUE(written({2013, 4, 9, 14, 5, 7, 1400}));
}

TEST_F(FirstGenerationRateLimit, BadMomentOfTheLastWrittenFrameIsReportedWithItsReason) {
  ASSERT_TRUE(written(kMoment));
  engine_.last_time_recorded_hour = 24;
  engine_.last_time_recorded_day = 31;
  const auto seen = observe([&] { return apply_at(engine_, 0, kMoment, -1.0F); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output,
            " - ERROR - ConvertTimeStampToUnixTime - hour NOT correct of stamp 2013/4/31 T "
            "24:5:7.42\n"
            " ERROR day NOT correct; 31 (in month 4) not in [1:30]\n"
            "ERROR - converting current timestamp 2013.4.31|24 5 7.42 recoding to unixtime\n");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(engine_.HistoryCounter, 1);
}

TEST_F(FirstGenerationRateLimit, MomentWithOverlongFieldsStaysInsideTheStampText) {
  const auto seen = observe([&] {
    return apply_at(engine_, 0, {-2013, -13, -9, -14, -5, -7, -42}, -1.0F);
  });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(std::string(engine_.timestamp.buffer).size(), 26U);
}

}  // namespace
}  // namespace depth_io::test
