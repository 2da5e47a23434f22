#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "tests/tools/depthrw_fixture.h"
#include "tests/tools/image_directory.h"
#include "tools/frame/frame_time.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using tools::parse_moment;
using tools::seconds_between;

/// Recordings that SIGUSR1 asks for.
class DepthrwSignal : public Depthrw {
 protected:
  static constexpr double kFps = 15;
  const Moment start_ = parse_moment("2013-12-31T23:59:58").value();

  std::vector<std::string> by_signal(const std::string& source,
                                     const std::vector<std::string>& more) const {
    std::vector<std::string> arguments = {
        "record", "--out",   path("rec"),           "--source",  source,   "--fps",
        "15",     "--start", "2013-12-31T23:59:58", "--trigger", "signal", "--acknowledge"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }

  /// Numbers of the source's frames that the recorded names tell of.
  std::set<long> indexes_of(const std::vector<std::string>& names) const {
    std::set<long> indexes;
    for (const std::string& name : names) {
      const std::size_t stamp = name.find("20", name.rfind('/') + 1);
      const auto moment = parse_moment(name.substr(stamp, 26));
      if (moment) indexes.insert(std::lround(seconds_between(start_, *moment) * kFps));
    }
    return indexes;
  }

  /// Frames that lie within the times of the signals.
  std::set<long> wanted(double before, double after) const {
    std::set<long> indexes;
    const json root = description();
    for (const std::string text : root["signals"]["times"]) {
      const double signal = seconds_between(start_, parse_moment(text).value());
      for (long index = 0; index < 10000; ++index) {
        const double time = std::round(static_cast<double>(index) / kFps * 1e3) / 1e3;
        if (time - signal > after + 1e-6) break;
        if (signal - time < before - 1e-6) indexes.insert(index);
      }
    }
    return indexes;
  }

  /// All wanted frames are on disk and no others, but for what a slow machine dropped.
  void expect_exactly(const std::set<long>& recorded, const std::set<long>& expected) const {
    const long dropped = description()["frames"]["dropped"];
    EXPECT_TRUE(std::includes(expected.begin(), expected.end(), recorded.begin(), recorded.end()));
    EXPECT_GE(static_cast<long>(recorded.size()) + dropped, static_cast<long>(expected.size()));
    if (dropped == 0) {
      EXPECT_EQ(recorded, expected);
    }
  }
};

TEST_F(DepthrwSignal, RealFramesAroundASignalAreSavedAndPlayedByTheirTimes) {
  const std::string images = real_frames("kinect_kitchen");
  if (!fs::exists(images)) GTEST_SKIP() << "there are no real frames at " << images;
  RunningProgram program(
      by_signal("images:" + images, {"--history-seconds", "3", "--before", "2", "--after", "1"}));
  sleep_seconds(3.5);
  program.send(SIGUSR1);
  ASSERT_TRUE(program.wait_for_lines(10)) << program.messages();
  sleep_seconds(1.5);
  program.send(SIGTERM);
  const ProgramResult result = program.wait();
  ASSERT_EQ(result.status, 0) << result.messages;
  EXPECT_THAT(result.messages, HasSubstr("signal at "));

  const std::set<long> recorded = indexes_of(split_lines(result.output));
  expect_exactly(recorded, wanted(2, 1));
  EXPECT_EQ(indexes_of(played_names()), recorded);
  EXPECT_EQ(run_program({"verify", path("rec"), "--against", "images:" + images}).status, 0);

  // A second in the middle of it, to the millisecond.
  const json signals = description()["signals"];
  const Moment signal = parse_moment(signals["times"][0].get<std::string>()).value();
  const Moment from = tools::moment_after(signal, -1);
  std::set<long> expected;
  for (const long index : recorded) {
    const Moment moment = tools::moment_after(start_, static_cast<double>(index) / kFps);
    if (!tools::is_before(moment, from) && !tools::is_before(signal, moment)) {
      expected.insert(index);
    }
  }
  EXPECT_GE(expected.size(), 3U);
  EXPECT_EQ(indexes_of(played_names(
                {"--from", tools::stamp_text(from), "--to", tools::stamp_text(signal)})),
            expected);
}

TEST_F(DepthrwSignal, OverlappingSignalsLeaveNoGapAndWriteNothingTwice) {
  ImageDirectory images;
  images.add_depth("0", 1500);
  for (const char* layout : {"tree", "numbered", "flat"}) {
    fs::remove_all(path("rec"));
    std::vector<std::string> more = {"--loop", "--before", "0.8", "--after",
                                     "0.8",    "--layout", layout};
    if (layout == std::string("flat")) more.insert(more.end(), {"--name-by", "time"});
    RunningProgram program(by_signal("images:" + images.path(), more));
    sleep_seconds(1.2);
    program.send(SIGUSR1);
    sleep_seconds(0.5);
    program.send(SIGUSR1);
    sleep_seconds(1.1);
    program.send(SIGUSR1);
    sleep_seconds(1.2);
    program.send(SIGTERM);
    const ProgramResult result = program.wait();
    ASSERT_EQ(result.status, 0) << result.messages;
    const std::vector<std::string> names = split_lines(result.output);
    EXPECT_EQ(description()["signals"]["count"], 3);
    EXPECT_EQ(indexes_of(names).size(), names.size()) << "a frame was written twice";
    expect_exactly(indexes_of(names), wanted(0.8, 0.8));
    EXPECT_EQ(run_program({"verify", path("rec"), "--against", "images:" + images.path()}).status,
              0)
        << layout;
  }
}

TEST_F(DepthrwSignal, WithoutASignalNothingIsRecorded) {
  ImageDirectory images;
  images.add_depth("0", 1500);
  const ProgramResult result =
      run_program(by_signal("images:" + images.path(), {"--loop", "--frames", "5"}));
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(description()["frames"]["skipped"]["not_triggered"].get<long>() +
                description()["frames"]["dropped"].get<long>(),
            5);
  EXPECT_EQ(description()["realtime"], true);
}

TEST_F(DepthrwSignal, WhatIsStillToBeSavedIsSavedAtTheEnd) {
  ImageDirectory images;
  images.add_depth("0", 1500);
  RunningProgram program(by_signal("images:" + images.path(), {"--loop", "--before", "1"}));
  sleep_seconds(1.5);
  program.send(SIGUSR1);
  program.send(SIGTERM);
  const ProgramResult result = program.wait();
  EXPECT_EQ(result.status, 0) << result.messages;
  const std::set<long> recorded = indexes_of(split_lines(result.output));
  const std::set<long> expected = wanted(1, 0);
  const std::set<long> allowed = wanted(1, 3);
  EXPECT_TRUE(std::includes(recorded.begin(), recorded.end(), expected.begin(), expected.end()) ||
              description()["frames"]["dropped"] > 0);
  EXPECT_TRUE(std::includes(allowed.begin(), allowed.end(), recorded.begin(), recorded.end()));
  EXPECT_GE(recorded.size(), 5U);
  EXPECT_EQ(run_program({"verify", path("rec"), "--against", "images:" + images.path()}).status, 0);
}

TEST_F(DepthrwSignal, SignalsDoNotDisturbOtherTriggers) {
  RunningProgram program({"record", "--out", path("rec"), "--frames", "10", "--fps", "10",
                          "--realtime", "--no-colour", "--acknowledge"});
  ASSERT_TRUE(program.wait_for_lines(2)) << program.messages();
  for (int i = 0; i < 3; ++i) {
    program.send(SIGUSR1);
    sleep_seconds(0.05);
  }
  EXPECT_EQ(program.wait().status, 0);
  EXPECT_EQ(description()["signals"]["count"], 0);
}

}  // namespace
}  // namespace depth_io::test
