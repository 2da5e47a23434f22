#include "tools/recording/recording_info.h"

#include <gtest/gtest.h>

#include "tests/support/temp_directory.h"
#include "tools/frame/frame_time.h"
#include "tools/system/failure.h"

namespace depth_io::tools {
namespace {

using test::TempDirectory;

RecordingInfo example() {
  RecordingInfo info;
  info.program = "depthrw 1.2.3";
  info.source = "images:/data/kitchen";
  info.seed = 4000000000U;
  info.scale = 5000;
  info.fps = 29.97;
  info.start = parse_moment("2013-04-09T14:05:07.042").value();
  info.naming = Naming::kTime;
  info.colour = true;
  info.max_depth = 12.5;
  info.history = 30;
  info.every = 15;
  info.complete = true;
  info.layout = Layout::kNumbered;
  info.per_directory = 50;
  info.camera_type = 1;
  info.loop = true;
  info.max_gap = 0.05;
  info.source_times = true;
  info.max_fps = 7.5;
  info.trigger = Trigger::kSignal;
  info.before_seconds = 2.5;
  info.after_seconds = 4;
  info.realtime = true;
  info.end = "interrupted";
  info.frames_dropped = 11;
  info.kept = {1, 2, 3, 1};
  info.skipped = {80, 9, 4};
  info.clock_steps = {2, -3600.5};
  info.signals = 2;
  info.signal_times = {"2013-04-09T14-05-08.042000"};
  info.frames_offered = 100;
  info.frames_recorded = 7;
  info.frames_failed = 1;
  info.readings_cut = 5000000000U;
  return info;
}

/// The example's file with one text replaced by another.
void write_changed(const TempDirectory& directory, const std::string& from, const std::string& to) {
  write_recording_info(directory.path(), example());
  std::string text = test::read_file(directory.file("recording.json"));
  const std::size_t place = text.find(from);
  ASSERT_NE(place, std::string::npos) << from;
  text.replace(place, from.size(), to);
  test::write_file(directory.file("recording.json"), text);
}

TEST(RecordingInfo, ComesBackAsItWasWritten) {
  const TempDirectory directory;
  write_recording_info(directory.path(), example());
  const auto info = read_recording_info(directory.path());
  ASSERT_TRUE(info);
  EXPECT_EQ(info->program, "depthrw 1.2.3");
  EXPECT_EQ(info->source, "images:/data/kitchen");
  EXPECT_EQ(info->seed, 4000000000U);
  EXPECT_EQ(info->scale, 5000);
  EXPECT_EQ(info->fps, 29.97);
  EXPECT_EQ(readable_text(info->start), "2013-04-09 14:05:07.042");
  EXPECT_EQ(info->naming, Naming::kTime);
  EXPECT_TRUE(info->colour);
  EXPECT_EQ(info->max_depth, 12.5);
  EXPECT_EQ(info->history, 30);
  EXPECT_FALSE(info->motion_percent);
  EXPECT_EQ(info->every, 15);
  EXPECT_TRUE(info->complete);
  EXPECT_EQ(info->frames_offered, 100);
  EXPECT_EQ(info->frames_recorded, 7);
  EXPECT_EQ(info->frames_failed, 1);
  EXPECT_EQ(info->readings_cut, 5000000000U);
}

TEST(RecordingInfo, HowItWasTriggeredComesBack) {
  const TempDirectory directory;
  write_recording_info(directory.path(), example());
  const auto info = read_recording_info(directory.path());
  ASSERT_TRUE(info);
  EXPECT_EQ(info->layout, Layout::kNumbered);
  EXPECT_EQ(info->per_directory, 50);
  EXPECT_EQ(info->camera_type, 1);
  EXPECT_TRUE(info->loop);
  EXPECT_EQ(info->max_gap, 0.05);
  EXPECT_TRUE(info->source_times);
  EXPECT_EQ(info->max_fps, 7.5);
  EXPECT_EQ(info->trigger, Trigger::kSignal);
  EXPECT_EQ(info->before_seconds, 2.5);
  EXPECT_EQ(info->after_seconds, 4);
  EXPECT_TRUE(info->realtime);
  EXPECT_EQ(info->end, "interrupted");
}

TEST(RecordingInfo, CountsComeBack) {
  const TempDirectory directory;
  write_recording_info(directory.path(), example());
  const auto info = read_recording_info(directory.path());
  ASSERT_TRUE(info);
  EXPECT_EQ(info->frames_dropped, 11);
  EXPECT_EQ(info->kept.motion, 1);
  EXPECT_EQ(info->kept.period, 2);
  EXPECT_EQ(info->kept.request, 3);
  EXPECT_EQ(info->kept.history, 1);
  EXPECT_EQ(info->skipped.not_triggered, 80);
  EXPECT_EQ(info->skipped.rate_limit, 9);
  EXPECT_EQ(info->skipped.already_recorded, 4);
  EXPECT_EQ(info->clock_steps.count, 2);
  EXPECT_EQ(info->clock_steps.largest_seconds, -3600.5);
  EXPECT_EQ(info->signals, 2);
  EXPECT_EQ(info->signal_times, example().signal_times);
}

TEST(RecordingInfo, RunsOfOneDirectoryAreListedByTheirStart) {
  const TempDirectory directory;
  RecordingInfo first = example();
  write_recording_info(directory.path(), first);
  put_recording_info_aside(directory.path());
  EXPECT_EQ(read_all_recording_infos(directory.path()).size(), 1U);
  RecordingInfo second = example();
  second.start.day += 1;
  second.seed = 5;
  write_recording_info(directory.path(), second);
  const auto runs = read_all_recording_infos(directory.path());
  ASSERT_EQ(runs.size(), 2U);
  EXPECT_EQ(runs[0].seed, first.seed);
  EXPECT_EQ(runs[1].seed, 5U);
}

TEST(RecordingInfo, MayBeAbsent) { EXPECT_FALSE(read_recording_info(TempDirectory().path())); }

TEST(RecordingInfo, AnyBytesMayStandInTheSourceName) {
  const TempDirectory directory;
  RecordingInfo info = example();
  info.source = "images:/data/\xff\"\\\n";
  write_recording_info(directory.path(), info);
  EXPECT_TRUE(read_recording_info(directory.path()));
}

TEST(RecordingInfo, DamageIsTold) {
  const struct {
    const char* from;
    const char* to;
  } cases[] = {{"{", ""},
               {"camera_depth_rw recording", "something else"},
               {"\"format_version\": 1", "\"format_version\": 2"},
               {"29.97", "0"},
               {"29.97", "-1"},
               {"29.97", "1e-7"},
               {"29.97", "1e300"},
               {"29.97", "\"fast\""},
               {"2013-04-09", "2013-04-99"},
               {"\"recorded\": 7", "\"recorded\": -7"},
               {"\"dropped\": 11", "\"dropped\": -11"},
               {"\"dropped\": 11", "\"dropped\": \"many\""},
               {"\"layout\": \"numbered\"", "\"layout\": \"round\""},
               {"\"kept\": {", "\"kept\": 5, \"other\": {"},
               {"\"recorded\": 7", "\"recorded\": 1e300"},
               {"\"recorded\": 7", "\"recorded\": 99999999999999999999"},
               {"\"history\": 30", "\"history\": null"},
               {"\"readings_cut\"", "\"readings\""},
               {"4000000000", "4294967296"}};
  for (const auto& c : cases) {
    const TempDirectory directory;
    write_changed(directory, c.from, c.to);
    EXPECT_THROW(read_recording_info(directory.path()), Failure) << c.from << " -> " << c.to;
  }
}

TEST(RecordingInfo, AHugeFileIsNotRead) {
  const TempDirectory directory;
  test::write_file(directory.file("recording.json"), std::string(2U << 20U, ' '));
  EXPECT_THROW(read_recording_info(directory.path()), Failure);
}

TEST(RecordingInfo, DeepNestingIsDamage) {
  const TempDirectory directory;
  test::write_file(directory.file("recording.json"), std::string(500000, '['));
  EXPECT_THROW(read_recording_info(directory.path()), Failure);
}

}  // namespace
}  // namespace depth_io::tools
