#include "tests/support/engine_fixture.h"

// Writing past frames out of the ring by a time range.
namespace depth_io::test {
namespace {

constexpr Moment kLongAgo{1970, 1, 1, 0, 0, 0, 0};
constexpr Moment kFarAhead{2037, 12, 31, 23, 59, 59, 999};

class FirstGenerationTimeRange : public ::testing::Test {
 protected:
  /// Frames in the ring have the millisecond as their frame number and its tenth as centimetres.
  static void store(KV_RGBD_CameraCompression& engine, int millisecond) {
    ASSERT_TRUE(store_flat_at(engine, millisecond, moment_at(millisecond), depth_at(millisecond)));
  }
  static float depth_at(int millisecond) { return 1.0F + 0.001F * static_cast<float>(millisecond); }

  Outcome<int> record(KV_RGBD_CameraCompression& engine, const Moment& a, const Moment& b,
                      int debug = 0) {
    Text path(directory_.slash());
    Text stem("past");
    return observe([&] {
      return engine.recording(a.year, a.month, a.day, a.hour, a.minute, a.second, a.millisecond,
                              b.year, b.month, b.day, b.hour, b.minute, b.second, b.millisecond,
                              path, stem, debug);
    });
  }

  std::string written_lines(int millisecond) const {
    const std::string stamp = stamp_of(moment_at(millisecond));
    return "recording timestamp '" + stamp + "'\n" +
           saving_line(directory_.slash(), "past", -1, stamp);
  }

  static std::string count_line(int frames) {
    return "INFO " + std::to_string(frames) + " frame recorded from buffer\n";
  }

  static std::string base_at(int millisecond) { return "past-" + stamp_of(moment_at(millisecond)); }

  TempDirectory directory_;
};

TEST_F(FirstGenerationTimeRange, WholeOutputOfOneFrame) {
  KV_RGBD_CameraCompression engine(2);
  store(engine, 42);
  const auto seen = record(engine, kLongAgo, kFarAhead);
  EXPECT_EQ(seen.result, 1);
  EXPECT_EQ(seen.output,
            "recording timestamp '2013-04-09T14-05-07.042000'\n"
            "saving '" +
                directory_.slash() +
                "/past' index -1 timestamp 2013-04-09T14-05-07.042000\n"
                "INFO 1 frame recorded from buffer\n");
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(FirstGenerationTimeRange, FramesAreNamedByTheirStamps) {
  KV_RGBD_CameraCompression engine(2);
  store(engine, 100);
  store(engine, 200);
  record(engine, kLongAgo, kFarAhead);
  EXPECT_EQ(files_in(directory_.path()), depth_files({base_at(100), base_at(200)}));
}

TEST_F(FirstGenerationTimeRange, EachFrameIsTheOneOfItsStamp) {
  KV_RGBD_CameraCompression engine(2);
  store(engine, 100);
  store(engine, 200);
  record(engine, kLongAgo, kFarAhead);
  for (const int millisecond : {100, 200}) {
    EXPECT_NEAR(recorded_depth(directory_.file(base_at(millisecond))), depth_at(millisecond),
                1e-5F);
  }
}

TEST_F(FirstGenerationTimeRange, BothEndsAreIncluded) {
  KV_RGBD_CameraCompression engine(4);
  for (const int millisecond : {100, 200, 300, 400}) store(engine, millisecond);
  const auto seen = record(engine, moment_at(200), moment_at(300));
  EXPECT_EQ(seen.result, 1);
  EXPECT_EQ(seen.output, written_lines(200) + written_lines(300) + count_line(2));
}

TEST_F(FirstGenerationTimeRange, RangeOfOneMomentFindsItsFrame) {
  KV_RGBD_CameraCompression engine(4);
  for (const int millisecond : {41, 42, 43}) store(engine, millisecond);
  EXPECT_EQ(record(engine, kMoment, kMoment).output, written_lines(42) + count_line(1));
}

TEST_F(FirstGenerationTimeRange, WrappedRingIsWrittenInSlotOrder) {
  KV_RGBD_CameraCompression engine(3);
  for (const int millisecond : {100, 200, 300, 400}) store(engine, millisecond);
  EXPECT_EQ(record(engine, kLongAgo, kFarAhead).output,
            written_lines(400) + written_lines(200) + written_lines(300) + count_line(3));
}

TEST_F(FirstGenerationTimeRange, SlotsNeverFilledLieOutsideOfAnyRange) {
  KV_RGBD_CameraCompression engine(4);
  store(engine, 100);
  EXPECT_EQ(record(engine, kLongAgo, kFarAhead).output, written_lines(100) + count_line(1));
}

TEST_F(FirstGenerationTimeRange, EmptyResultIsASuccess) {
  KV_RGBD_CameraCompression engine(2);
  store(engine, 100);
  const auto seen = record(engine, moment_at(101), moment_at(900));
  EXPECT_EQ(seen.result, 1);
  EXPECT_EQ(seen.output, "INFO 0 frame recorded from buffer\n");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

TEST_F(FirstGenerationTimeRange, RangeThatEndsBeforeItStartsIsEmpty) {
  KV_RGBD_CameraCompression engine(2);
  store(engine, 100);
  const auto seen = record(engine, moment_at(200), moment_at(50));
  EXPECT_EQ(seen.result, 1);
  EXPECT_EQ(seen.output, count_line(0));
}

TEST_F(FirstGenerationTimeRange, RingWithoutSlotsGivesNoFrame) {
  for (const int size : {0, -3}) {
    ConsoleCapture constructing;
    KV_RGBD_CameraCompression engine(size);
    constructing.stop();
    const auto seen = record(engine, kLongAgo, kFarAhead);
    EXPECT_EQ(seen.result, 1);
    EXPECT_EQ(seen.output, count_line(0));
  }
}

TEST_F(FirstGenerationTimeRange, BadStartIsReportedWithItsReason) {
  KV_RGBD_CameraCompression engine(2);
  store(engine, 100);
  const auto seen = record(engine, {2013, 13, 9, 14, 5, 7, 42}, kFarAhead);
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.output,
            " - ERROR - ConvertTimeStampToUnixTime - month NOt correct of stamp 2013/13/9 T "
            "14:5:7.42\n"
            "ERROR - converting start timestamp 2013.13.9|14 5 7.42 recoding to unixtime\n");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

TEST_F(FirstGenerationTimeRange, BadStopIsReportedWithoutItsReason) {
  KV_RGBD_CameraCompression engine(2);
  store(engine, 100);
  const auto seen = record(engine, kLongAgo, {2013, 13, 9, 14, 5, 7, 42});
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.output, "ERROR - converting stop timestamp recoding to unixtime\n");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

TEST_F(FirstGenerationTimeRange, BadStartIsReportedBeforeABadStop) {
  KV_RGBD_CameraCompression engine;
  const auto seen = record(engine, {2013, 4, 9, 14, 5, 60, 42}, {2013, 13, 9, 14, 5, 7, 42});
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.output,
            " - ERROR - ConvertTimeStampToUnixTime - second NOT correct of stamp 2013/4/9 T "
            "14:5:60.42\n"
            "ERROR - converting start timestamp 2013.4.9|14 5 60.42 recoding to unixtime\n");
}

TEST_F(FirstGenerationTimeRange, StampTextBecomesThatOfTheLastFrameWritten) {
  KV_RGBD_CameraCompression engine(3);
  for (const int millisecond : {100, 200, 300}) store(engine, millisecond);
  record(engine, moment_at(100), moment_at(200));
  EXPECT_STREQ(engine.timestamp.buffer, "2013-04-09T14-05-07.200000");
}

TEST_F(FirstGenerationTimeRange, StateOfTheEngineIsLeftAlone) {
  KV_RGBD_CameraCompression engine(3);
  store(engine, 100);
  store(engine, 200);
  record(engine, kLongAgo, kFarAhead);
  EXPECT_FALSE(engine.Record);
  EXPECT_FALSE(engine.RECORDED);
  EXPECT_EQ(engine.last_time_recorded_at, 0);
  EXPECT_EQ(engine.last_time_recorded_millisecond, 100);
  EXPECT_EQ(engine.HistoryCounter, 2);
  EXPECT_EQ(engine.HistoryModCounter, 2);
  EXPECT_EQ(engine.HistoryMillisecond.buffer[0], 100);
}

TEST_F(FirstGenerationTimeRange, ColourFormWritesTheColourOfTheSlot) {
  KV_RGBD_CameraCompression engine(2);
  DepthMap depth = flat_depth(1.0F);
  ColourImage colour = flat_colour(150);
  engine.input(depth.data(), colour.data());
  ASSERT_TRUE(quietly([&] { return apply_at(engine, 0, kMoment, -1.0F); }));
  colour = flat_colour(0);
  engine.input(depth.data(), colour.data());

  Text path(directory_.slash());
  Text stem("past");
  Text colour_stem("colour");
  const auto seen = observe([&] {
    return engine.recording(2013, 4, 9, 14, 5, 7, 42, 2013, 4, 9, 14, 5, 7, 42, path, stem,
                            colour_stem, 0);
  });
  EXPECT_EQ(seen.result, 1);
  EXPECT_EQ(seen.output,
            "recording timestamp '2013-04-09T14-05-07.042000'\n" +
                saving_colour_lines(directory_.slash(), "past", "colour", -1, kMomentStamp) +
                count_line(1));
  EXPECT_EQ(seen.keys, 0);
  ColourImage pixels = flat_colour(0);
  const std::string file = directory_.file("colour-2013-04-09T14-05-07.042000.jpg");
  ASSERT_TRUE(read_jpeg_file(file.c_str(), pixels).decoded);
  EXPECT_NEAR(pixels[kColourBytes / 2], 150, 3);
}

TEST_F(FirstGenerationTimeRange, ReversedNameBeginsWithTheStamp) {
  KV_RGBD_CameraCompression engine;
  store(engine, 42);
  engine.REVERSE_NAME = true;
  record(engine, kLongAgo, kFarAhead);
  EXPECT_EQ(files_in(directory_.path()), depth_files({"2013-04-09T14-05-07.042000-past"}));
}

TEST_F(FirstGenerationTimeRange, DebugIsPassedOnToTheWriter) {
  KV_RGBD_CameraCompression engine;
  store(engine, 42);
  const std::string start =
      "recording timestamp '2013-04-09T14-05-07.042000'\n - DEBUG - write_compressed_data\n";
  EXPECT_EQ(record(engine, kLongAgo, kFarAhead, 1).output.substr(0, start.size()), start);
}

TEST_F(FirstGenerationTimeRange, WriterFailureEndsTheLoopWithOneWait) {
  KV_RGBD_CameraCompression engine(2);
  store(engine, 100);
  store(engine, 200);
  const std::string missing = directory_.file("missing");
  const std::string stamp = stamp_of(moment_at(100));
  Text path(missing + "/");
  Text stem("past");
  const auto seen = observe([&] {
    return engine.recording(1970, 1, 1, 0, 0, 0, 0, 2037, 1, 1, 0, 0, 0, 0, path, stem, 0);
  });
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.output, "recording timestamp '" + stamp + "'\n" +
                             saving_line(missing + "/", "past", -1, stamp) +
                             failed_to_write_line(missing + "/past-" + stamp + ".rle") +
                             "ERROR KV_RGBD_CameraCompression apply - write_compressed failed\n");
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(FirstGenerationTimeRange, NullNamesFail) {
  KV_RGBD_CameraCompression engine;
  store(engine, 42);
  Text path(directory_.slash());
  Text stem("past");
  const auto record_with = [&](char* directory, char* depth_stem) {
    return quietly([&] {
      return engine.recording(1970, 1, 1, 0, 0, 0, 0, 2037, 1, 1, 0, 0, 0, 0, directory, depth_stem,
                              0);
    });
  };
  EXPECT_EQ(record_with(nullptr, stem), 0);
  EXPECT_EQ(record_with(path, nullptr), 0);
  EXPECT_TRUE(files_in(directory_.path()).empty());
}

TEST_F(FirstGenerationTimeRange, LongFormTakesTheRange) {
  KV_RGBD_CameraCompression engine;
  store(engine, 42);
  Text path(directory_.slash());
  Text stem("past");
  const auto seen = observe([&] {
    return engine._recording(true, 1970, 1, 1, 0, 0, 0, 0, 2037, 1, 1, 0, 0, 0, 0, -1, -1, -1, path,
                             stem, false, nullptr, -1, 0);
  });
  EXPECT_EQ(seen.result, 1);
  EXPECT_EQ(seen.output, written_lines(42) + count_line(1));
}

}  // namespace
}  // namespace depth_io::test
