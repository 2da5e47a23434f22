#include "tools/recording_info.h"

#include <gtest/gtest.h>

#include "tests/support/temp_directory.h"
#include "tools/failure.h"
#include "tools/frame_time.h"

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
               {"29.97", "\"fast\""},
               {"2013-04-09", "2013-04-99"},
               {"\"recorded\": 7", "\"recorded\": -7"},
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
