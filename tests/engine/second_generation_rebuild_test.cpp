#include "tests/support/second_generation_fixture.h"

// Building a second-generation engine that was built before.
namespace depth_io::test {
namespace {

using Engine = KV_RGBD_CameraCompression2;

SecondSettings settings_with_history(int slots) {
  SecondSettings settings;
  settings.directory = "rec";
  settings.history = slots;
  return settings;
}

Outcome<bool> construct_seen(Engine& engine, KV_RGBD_CameraCompression2_parameters& parameters) {
  return observe([&] { return engine.Construct(parameters); });
}

TEST(SecondGenerationAgain, SecondCallIsSilentAndChangesTheRing) {
  Engine engine;
  start_engine(engine, settings_with_history(2));
  KV_RGBD_CameraCompression2_parameters parameters = second_parameters(settings_with_history(4));
  const auto seen = construct_seen(engine, parameters);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(engine.GetSizeHistory(), 4);
  EXPECT_EQ(engine.HistoryDepth.N1D, 4);
  EXPECT_TRUE(is_all(engine.HistoryYear, 4, -1));
}

TEST(SecondGenerationAgain, SecondCallForgetsTheFirstRecording) {
  TempDirectory directory;
  Engine engine;
  SecondSettings settings = settings_with_history(2);
  settings.directory = directory.path();
  settings.sub_directories = true;
  settings.per_directory = 1;
  start_engine(engine, settings);
  ASSERT_TRUE(capture_flat(engine, true, kMoment, 1.0F));
  ASSERT_TRUE(capture_flat(engine, true, moment_after(1), 1.0F));
  start_engine(engine, settings_with_history(2));
  EXPECT_FALSE(engine.INITIALISED);
  EXPECT_FALSE(engine.RECORDED);
  EXPECT_EQ(engine.HistoryModCounter, 0);
  EXPECT_EQ(engine.GetHistoryIndex(), 0);
  EXPECT_EQ(engine.CurrentSubDirectoryIndex, 0);
  EXPECT_EQ(engine.CurrentNbFramesSavedInSubDirectory, 0);
  EXPECT_EQ(engine.FirstIndexSavedInSubDirectory, -1);
  EXPECT_STREQ(engine.FirstTimeStampSavedInSubDirectory.buffer, "");
  EXPECT_STREQ(engine.timestamp.buffer, "");
  EXPECT_EQ(engine.last_time_recorded_year, -1);
  EXPECT_EQ(engine.last_time_recorded_unixtime, -1.0);
  EXPECT_EQ(engine.GetIntrinsic_a11(), 0.0F);
  EXPECT_TRUE(is_all(engine.HistoryUnixTimes, 2, 0.0));
}

TEST(SecondGenerationAgain, SecondCallResetsWhatTheCallerSwitchedOn) {
  Engine engine;
  start_engine(engine, settings_with_history(1));
  engine.REVERSE_NAME = false;
  engine.USE_FRAME_DIFF = true;
  engine.Record_period = true;
  engine.Record_period_gap = 2;
  engine.VERIFICATION = 1;
  engine.MapHasDepth.Init(true);
  engine.prev_MapHasDepth.Init(true);
  start_engine(engine, settings_with_history(1));
  EXPECT_TRUE(engine.REVERSE_NAME);
  EXPECT_FALSE(engine.USE_FRAME_DIFF);
  EXPECT_FALSE(engine.Record_period);
  EXPECT_EQ(engine.Record_period_gap, 100);
  EXPECT_EQ(engine.VERIFICATION, -1);
  EXPECT_TRUE(is_all(engine.MapHasDepth, kPixels, 0));
  EXPECT_TRUE(is_all(engine.prev_MapHasDepth, kPixels, 0));
}

TEST(SecondGenerationAgain, RefusedForLackOfADirectoryItRecordsNothingAnyMore) {
  const EmptyCurrentDirectory current;
  TempDirectory directory;
  KV_RGBD_CameraCompression2 engine;
  SecondSettings settings;
  settings.directory = directory.path();
  settings.history = 2;
  start_engine(engine, settings);
  ASSERT_TRUE(quietly([&] { return capture_at(engine, false, 0, kMoment); }));
  KV_RGBD_CameraCompression2_parameters no_directory;
  no_directory.SetWriteOrRead('W');
  no_directory.SetCameraType(1);
  for (const bool sub_directories : {false, true}) {
    if (sub_directories) no_directory.ActivateSubDirectory(2);
    EXPECT_FALSE(quietly([&] { return engine.Construct(no_directory); }));
    const auto seen = observe([&] { return capture_at(engine, true, 0, kMoment); });
    EXPECT_FALSE(seen.result);
    EXPECT_TRUE(seen.output.ends_with(failed_to_create_line(sub_directories ? "/00000000/" : "/")))
        << seen.output;
    EXPECT_FALSE(quietly([&] { return record_range(engine, kMoment, kMoment); }));
    EXPECT_FALSE(quietly([&] { return engine.recording_from_buffer(0, 0, 0, 0, 0); }));
  }
  EXPECT_TRUE(current.is_still_empty());
  EXPECT_FALSE(std::filesystem::exists("/00000000"));
}

TEST(SecondGenerationAgain, PositionOfPlaybackSurvivesASecondCall) {
  Engine engine;
  start_engine(engine, settings_with_history(1));
  Text stamp("stamp");
  engine.SetCurrentFrame(12);
  engine.SetCurrentTimeStamp(2013, 4, 9, 14, 5, 7, 42);
  engine.SetCurrentTimeStamp(stamp);
  start_engine(engine, settings_with_history(1));
  EXPECT_TRUE(engine._CurrentFrame_active);
  EXPECT_TRUE(engine._CurrentTimeStamp_active);
  EXPECT_TRUE(engine._CurrentStampString_active);
  EXPECT_EQ(engine._CurrentFrame, 12);
  EXPECT_EQ(engine._CurrentMillisecond, 42);
  EXPECT_STREQ(engine._CurrentStampString, "stamp");
}

TEST(SecondGenerationAgain, PositionsAreClearInAnEngineConstructedAtOnce) {
  KV_RGBD_CameraCompression2_parameters parameters = second_parameters(settings_with_history(1));
  const Engine engine(parameters);
  EXPECT_FALSE(engine._CurrentFrame_active);
  EXPECT_FALSE(engine._CurrentTimeStamp_active);
  EXPECT_FALSE(engine._CurrentStampString_active);
}

TEST(SecondGenerationAgain, DescriptorsOfAnOpenListAreClosedByConstructAndDestruction) {
  TempDirectory directory;
  std::filesystem::create_directory(directory.file("00000000"));
  touch(directory.file("00000000/list.txt"));
  SecondSettings settings;
  settings.directory = directory.path();
  settings.mode = 'R';
  settings.sub_directories = true;
  const int before = open_descriptors();
  {
    Engine engine;
    for (int i = 0; i < 2; ++i) {
      start_engine(engine, settings);
      engine.fSubDir_r = std::fopen(directory.file("00000000/list.txt").c_str(), "r");
      ASSERT_NE(engine.fSubDir_r, nullptr);
      EXPECT_EQ(open_descriptors(), before + 1);
    }
  }
  EXPECT_EQ(open_descriptors(), before);
}

}  // namespace
}  // namespace depth_io::test
