#include <algorithm>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/third_generation_fixture.h"

namespace depth_io::test {
namespace {

constexpr Moment kStart{2013, 4, 9, 14, 5, 7, 42};
constexpr Moment kStop{2013, 5, 10, 15, 6, 8, 43};

Moment start_of(const ThirdParameters& p) {
  return {p.ReadFolder_Start_Year,       p.ReadFolder_Start_Month,  p.ReadFolder_Start_Day,
          p.ReadFolder_Start_Hour,       p.ReadFolder_Start_Minute, p.ReadFolder_Start_Second,
          p.ReadFolder_Start_Millisecond};
}

Moment stop_of(const ThirdParameters& p) {
  return {p.ReadFolder_Stop_Year,       p.ReadFolder_Stop_Month,  p.ReadFolder_Stop_Day,
          p.ReadFolder_Stop_Hour,       p.ReadFolder_Stop_Minute, p.ReadFolder_Stop_Second,
          p.ReadFolder_Stop_Millisecond};
}

std::vector<int> current_of(const ThirdParameters& p) {
  return {p.ReadFolder_Current_Year, p.ReadFolder_Current_Month, p.ReadFolder_Current_Day,
          p.ReadFolder_Current_Hour, p.ReadFolder_Current_Minute};
}

double unix_time(const Moment& m) {
  double seconds = 0.0;
  to_unix_time(seconds, m, false);
  return seconds;
}

std::string bad_moment_line(const std::string& which, const Moment& m) {
  return "ERROR - reading - parameters - converting " + which + " timestamp " +
         moment_in_errors(m) + " to unixtime\n";
}

// --- Start values -------------------------------------------------------------------------------

TEST(ThirdParametersStart, NothingIsChosen) {
  const ThirdParameters p;
  EXPECT_EQ(p.CameraType, -1);
  EXPECT_EQ(p.WriteOrRead, 'X');
  EXPECT_EQ(p.SizeBuffer, 1);
  EXPECT_EQ(p.MaxFPS, 0.0F);
  EXPECT_STREQ(p.Directory, "");
  EXPECT_STREQ(p.DepthStem, "");
  EXPECT_STREQ(p.BGRStem, "");
}

TEST(ThirdParametersStart, OnlyTheSizeIsActive) {
  const ThirdParameters p;
  EXPECT_TRUE(p.SizeBuffer_active);
  EXPECT_FALSE(p.CameraType_active);
  EXPECT_FALSE(p.WriteOrRead_active);
  EXPECT_FALSE(p.Directory_active);
  EXPECT_FALSE(p.DepthStem_active);
  EXPECT_FALSE(p.BGRStem_active);
  EXPECT_FALSE(p.MaxFPS_active);
}

TEST(ThirdParametersStart, ThereIsNoRange) {
  const ThirdParameters p;
  EXPECT_EQ(p.ReadFolder_Start_Unixtime, -1.0);
  EXPECT_EQ(p.ReadFolder_Stop_Unixtime, -1.0);
  EXPECT_EQ(format_moment(start_of(p)), "-1--1--1,-1:-1:-1,-1");
  EXPECT_EQ(format_moment(stop_of(p)), "-1--1--1,-1:-1:-1,-1");
  EXPECT_EQ(current_of(p), (std::vector<int>{-1, -1, -1, -1, -1}));
}

TEST(ThirdParametersStart, TextsHaveTheirFixedSizes) {
  EXPECT_EQ(sizeof(ThirdParameters::Directory), 512U);
  EXPECT_EQ(sizeof(ThirdParameters::DepthStem), 256U);
  EXPECT_EQ(sizeof(ThirdParameters::BGRStem), 256U);
}

TEST(ThirdParametersStart, FieldsStandInTheirFixedOrder) {
  const std::vector<std::size_t> offsets{offsetof(ThirdParameters, CameraType),
                                         offsetof(ThirdParameters, CameraType_active),
                                         offsetof(ThirdParameters, WriteOrRead),
                                         offsetof(ThirdParameters, WriteOrRead_active),
                                         offsetof(ThirdParameters, SizeBuffer),
                                         offsetof(ThirdParameters, SizeBuffer_active),
                                         offsetof(ThirdParameters, Directory),
                                         offsetof(ThirdParameters, Directory_active),
                                         offsetof(ThirdParameters, DepthStem),
                                         offsetof(ThirdParameters, DepthStem_active),
                                         offsetof(ThirdParameters, BGRStem),
                                         offsetof(ThirdParameters, BGRStem_active),
                                         offsetof(ThirdParameters, MaxFPS),
                                         offsetof(ThirdParameters, MaxFPS_active),
                                         offsetof(ThirdParameters, ReadFolder_Start_Unixtime),
                                         offsetof(ThirdParameters, ReadFolder_Stop_Unixtime),
                                         offsetof(ThirdParameters, ReadFolder_Start_Year),
                                         offsetof(ThirdParameters, ReadFolder_Start_Month),
                                         offsetof(ThirdParameters, ReadFolder_Start_Day),
                                         offsetof(ThirdParameters, ReadFolder_Start_Hour),
                                         offsetof(ThirdParameters, ReadFolder_Stop_Year),
                                         offsetof(ThirdParameters, ReadFolder_Stop_Month),
                                         offsetof(ThirdParameters, ReadFolder_Stop_Day),
                                         offsetof(ThirdParameters, ReadFolder_Stop_Hour),
                                         offsetof(ThirdParameters, ReadFolder_Current_Year),
                                         offsetof(ThirdParameters, ReadFolder_Current_Month),
                                         offsetof(ThirdParameters, ReadFolder_Current_Day),
                                         offsetof(ThirdParameters, ReadFolder_Current_Hour),
                                         offsetof(ThirdParameters, ReadFolder_Start_Minute),
                                         offsetof(ThirdParameters, ReadFolder_Start_Second),
                                         offsetof(ThirdParameters, ReadFolder_Start_Millisecond),
                                         offsetof(ThirdParameters, ReadFolder_Stop_Minute),
                                         offsetof(ThirdParameters, ReadFolder_Stop_Second),
                                         offsetof(ThirdParameters, ReadFolder_Stop_Millisecond),
                                         offsetof(ThirdParameters, ReadFolder_Current_Minute)};
  EXPECT_TRUE(std::is_sorted(offsets.begin(), offsets.end()));
  EXPECT_LE(sizeof(ThirdParameters), offsets.back() + 2 * sizeof(int));
}

// --- Mode and camera ----------------------------------------------------------------------------

TEST(ThirdParameters, WriteModeIsW) {
  ThirdParameters p;
  EXPECT_EQ(p.SetWriteMode(), 1);
  EXPECT_EQ(p.WriteOrRead, 'W');
  EXPECT_TRUE(p.WriteOrRead_active);
}

TEST(ThirdParameters, WriteModeAfterReadModeIsW) {
  ThirdParameters p;
  set_range(p, kStart, kStop);
  EXPECT_EQ(p.SetWriteMode(), 1);
  EXPECT_EQ(p.WriteOrRead, 'W');
}

TEST(ThirdParameters, BothCamerasAreAccepted) {
  for (const int type : {0, 1}) {
    ThirdParameters p;
    const auto seen = observe([&] { return p.SetCameraType(type); });
    EXPECT_NE(seen.result, 0);
    EXPECT_EQ(seen.output, "");
    EXPECT_EQ(p.CameraType, type);
    EXPECT_TRUE(p.CameraType_active);
  }
}

TEST(ThirdParameters, OtherCamerasAreRefused) {
  for (const int type : {2, -1, 1000, std::numeric_limits<int>::min()}) {
    ThirdParameters p;
    const auto seen = observe([&] { return p.SetCameraType(type); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.output, "ERROR - camera type " + std::to_string(type) +
                               " choice error (0 for kinect and 1 for asus)\n");
    EXPECT_EQ(seen.keys, 1);
    EXPECT_EQ(p.CameraType, -1);
    EXPECT_FALSE(p.CameraType_active);
  }
}

TEST(ThirdParameters, RefusedCameraLeavesTheOneBefore) {
  ThirdParameters p;
  p.SetCameraType(1);
  quietly([&] { return p.SetCameraType(2); });
  EXPECT_EQ(p.CameraType, 1);
  EXPECT_TRUE(p.CameraType_active);
}

// --- Numbers ------------------------------------------------------------------------------------

TEST(ThirdParameters, AnySizeIsStored) {
  for (const int size : {25, 0, -4, std::numeric_limits<int>::max()}) {
    ThirdParameters p;
    p.SizeBuffer_active = false;
    p.SetSizeBuffer(size);
    EXPECT_EQ(p.SizeBuffer, size);
    EXPECT_TRUE(p.SizeBuffer_active);
  }
}

TEST(ThirdParameters, AnyRateIsStored) {
  for (const float fps : {12.5F, 0.0F, -1.0F, std::numeric_limits<float>::infinity()}) {
    ThirdParameters p;
    p.SetMaxFPS(fps);
    EXPECT_EQ(p.MaxFPS, fps);
    EXPECT_TRUE(p.MaxFPS_active);
  }
}

// --- Texts --------------------------------------------------------------------------------------

struct TextField {
  const char* name;
  void (ThirdParameters::*set)(char*);
  char* (*text)(ThirdParameters&);
  bool ThirdParameters::*active;
  std::size_t size;
};

class ThirdParameterTexts : public testing::TestWithParam<TextField> {
 protected:
  void set(const std::string& text) {
    Text copy(text);
    console_ = capture_console([&] { (p_.*GetParam().set)(copy); });
  }
  std::string text() { return GetParam().text(p_); }
  bool active() const { return p_.*GetParam().active; }
  ThirdParameters p_;
  ConsoleTrace console_;
};

TEST_P(ThirdParameterTexts, IsStored) {
  set("some text");
  EXPECT_EQ(text(), "some text");
  EXPECT_TRUE(active());
  EXPECT_EQ(console_.output, "");
}

TEST_P(ThirdParameterTexts, EmptyOneIsStored) {
  set("some text");
  set("");
  EXPECT_EQ(text(), "");
  EXPECT_TRUE(active());
}

TEST_P(ThirdParameterTexts, LongestOneIsStoredWhole) {
  const std::string longest(GetParam().size - 1, 'x');
  set(longest);
  EXPECT_EQ(text(), longest);
  EXPECT_TRUE(active());
  EXPECT_EQ(console_.output, "");
}

TEST_P(ThirdParameterTexts, OverlongOneIsRefusedWithAnErrorLine) {
  for (const std::size_t size : {GetParam().size, GetParam().size + 1, std::size_t{100'000}}) {
    set("old");
    set(std::string(size, 'x'));
    EXPECT_EQ(text(), "old");
    EXPECT_TRUE(active());
    EXPECT_TRUE(is_one_error_line(console_.output)) << console_.output;
    EXPECT_EQ(console_.keys, 0);
  }
}

TEST_P(ThirdParameterTexts, OverlongFirstOneLeavesTheFieldUnset) {
  set(std::string(GetParam().size, 'x'));
  EXPECT_EQ(text(), "");
  EXPECT_FALSE(active());
}

TEST_P(ThirdParameterTexts, NullLeavesTheOldOne) {
  set("old");
  capture_console([&] { (p_.*GetParam().set)(nullptr); });
  EXPECT_EQ(text(), "old");
}

INSTANTIATE_TEST_SUITE_P(
    Fields, ThirdParameterTexts,
    testing::Values(TextField{"Directory", &ThirdParameters::SetDirectory,
                              [](ThirdParameters& p) -> char* { return p.Directory; },
                              &ThirdParameters::Directory_active, 512},
                    TextField{"DepthStem", &ThirdParameters::SetDepthStem,
                              [](ThirdParameters& p) -> char* { return p.DepthStem; },
                              &ThirdParameters::DepthStem_active, 256},
                    TextField{"BGRStem", &ThirdParameters::SetBGRStem,
                              [](ThirdParameters& p) -> char* { return p.BGRStem; },
                              &ThirdParameters::BGRStem_active, 256}),
    [](const auto& row) { return row.param.name; });

// --- The range of playback ----------------------------------------------------------------------

TEST(ThirdParametersRange, BothMomentsAreStored) {
  ThirdParameters p;
  const auto seen = observe([&] { return set_range(p, kStart, kStop); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(format_moment(start_of(p)), format_moment(kStart));
  EXPECT_EQ(format_moment(stop_of(p)), format_moment(kStop));
}

TEST(ThirdParametersRange, ChoosesPlayback) {
  ThirdParameters p;
  set_range(p, kStart, kStop);
  EXPECT_EQ(p.WriteOrRead, 'R');
  EXPECT_TRUE(p.WriteOrRead_active);
}

TEST(ThirdParametersRange, MomentsAreConverted) {
  ThirdParameters p;
  set_range(p, kStart, kStop);
  EXPECT_EQ(p.ReadFolder_Start_Unixtime, 1365516307.0 + static_cast<double>(42.0F / 1000.0F));
  EXPECT_EQ(p.ReadFolder_Stop_Unixtime, 1368198368.0 + static_cast<double>(43.0F / 1000.0F));
}

TEST(ThirdParametersRange, FolderPositionIsTheStartWithoutItsMinute) {
  ThirdParameters p;
  set_range(p, kStart, kStop);
  EXPECT_EQ(current_of(p), (std::vector<int>{2013, 4, 9, 14, -1}));
  p.ReadFolder_Current_Minute = 33;
  set_range(p, kStop, kStop);
  EXPECT_EQ(current_of(p), (std::vector<int>{2013, 5, 10, 15, 33}));
}

TEST(ThirdParametersRange, StopBeforeStartIsAccepted) {
  ThirdParameters p;
  EXPECT_TRUE(set_range(p, kStop, kStart));
  EXPECT_GT(p.ReadFolder_Start_Unixtime, p.ReadFolder_Stop_Unixtime);
}

TEST(ThirdParametersRange, BadStartIsReportedAlone) {
  Moment bad = kStart;
  bad.hour = 24;
  Moment bad_too = kStop;
  bad_too.hour = 25;
  ThirdParameters p;
  const auto seen = observe([&] { return set_range(p, bad, bad_too); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, bad_hour_line(bad) + bad_moment_line("start", bad));
  EXPECT_EQ(seen.keys, 0);
}

TEST(ThirdParametersRange, BadStartLeavesTheStopTime) {
  Moment bad = kStart;
  bad.hour = 24;
  ThirdParameters p;
  p.ReadFolder_Stop_Unixtime = 17.0;
  quietly([&] { return set_range(p, bad, kStop); });
  EXPECT_EQ(p.ReadFolder_Stop_Unixtime, 17.0);
  EXPECT_EQ(p.ReadFolder_Start_Unixtime, unix_time(bad)) << "written all the same";
}

TEST(ThirdParametersRange, FieldsAreSetDespiteABadStart) {
  Moment bad = kStart;
  bad.hour = 24;
  ThirdParameters p;
  quietly([&] { return set_range(p, bad, kStop); });
  EXPECT_EQ(p.WriteOrRead, 'R');
  EXPECT_TRUE(p.WriteOrRead_active);
  EXPECT_EQ(format_moment(start_of(p)), format_moment(bad));
  EXPECT_EQ(format_moment(stop_of(p)), format_moment(kStop));
  EXPECT_EQ(current_of(p), (std::vector<int>{2013, 4, 9, 24, -1}));
}

TEST(ThirdParametersRange, BadStopIsReported) {
  Moment bad = kStop;
  bad.day = 32;
  ThirdParameters p;
  const auto seen = observe([&] { return set_range(p, kStart, bad); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, bad_day_line(32, 5, 31) + bad_moment_line("stop", bad));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(p.ReadFolder_Start_Unixtime, unix_time(kStart));
  EXPECT_EQ(p.ReadFolder_Stop_Unixtime, unix_time(bad));
}

TEST(ThirdParametersRange, MomentsThatDoNotExistAreRefused) {
  for (const Moment& bad : {Moment{2013, 0, 9, 14, 5, 7, 0}, Moment{2013, 13, 9, 14, 5, 7, 0},
                            Moment{2013, 2, 29, 14, 5, 7, 0}, Moment{2013, 4, 31, 14, 5, 7, 0},
                            Moment{2013, 4, 0, 14, 5, 7, 0}, Moment{2013, 4, 9, -1, 5, 7, 0},
                            Moment{2013, 4, 9, 14, 60, 7, 0}, Moment{2013, 4, 9, 14, 5, 60, 0}}) {
    ThirdParameters p;
    EXPECT_FALSE(quietly([&] { return set_range(p, bad, kStop); })) << format_moment(bad);
    EXPECT_FALSE(quietly([&] { return set_range(p, kStart, bad); })) << format_moment(bad);
  }
}

TEST(ThirdParametersRange, MillisecondIsNotTested) {
  Moment odd = kStart;
  odd.millisecond = 5000;
  ThirdParameters p;
  EXPECT_TRUE(set_range(p, odd, kStop));
  EXPECT_EQ(p.ReadFolder_Start_Unixtime, 1365516312.0);
}

// --- Copies -------------------------------------------------------------------------------------

TEST(ThirdParametersCopy, TakesEverySetting) {
  ThirdParameters source;
  set_recording(source, "/some/where");
  set_colour(source);
  source.SetSizeBuffer(12);
  source.SetMaxFPS(4.0F);
  set_range(source, kStart, kStop);
  source.ReadFolder_Current_Minute = 44;
  ThirdParameters copy;
  copy.CopyFrom(source);
  EXPECT_EQ(copy.CameraType, 0);
  EXPECT_EQ(copy.WriteOrRead, 'R');
  EXPECT_EQ(copy.SizeBuffer, 12);
  EXPECT_STREQ(copy.Directory, "/some/where");
  EXPECT_STREQ(copy.DepthStem, "depth");
  EXPECT_STREQ(copy.BGRStem, "bgrimage");
  EXPECT_EQ(copy.MaxFPS, 4.0F);
  EXPECT_EQ(copy.ReadFolder_Start_Unixtime, source.ReadFolder_Start_Unixtime);
  EXPECT_EQ(copy.ReadFolder_Stop_Unixtime, source.ReadFolder_Stop_Unixtime);
  EXPECT_EQ(format_moment(start_of(copy)), format_moment(kStart));
  EXPECT_EQ(format_moment(stop_of(copy)), format_moment(kStop));
  EXPECT_EQ(current_of(copy), (std::vector<int>{2013, 4, 9, 14, 44}));
}

TEST(ThirdParametersCopy, TakesEveryFlag) {
  for (const bool value : {true, false}) {
    ThirdParameters source;
    ThirdParameters copy;
    for (bool ThirdParameters::*flag :
         {&ThirdParameters::CameraType_active, &ThirdParameters::WriteOrRead_active,
          &ThirdParameters::SizeBuffer_active, &ThirdParameters::Directory_active,
          &ThirdParameters::DepthStem_active, &ThirdParameters::BGRStem_active,
          &ThirdParameters::MaxFPS_active}) {
      source.*flag = value;
      copy.*flag = !value;
      copy.CopyFrom(source);
      EXPECT_EQ(copy.*flag, value);
    }
  }
}

TEST(ThirdParametersCopy, OfDefaultsKeepsTheSizeActive) {
  ThirdParameters source;
  ThirdParameters copy;
  copy.SizeBuffer_active = false;
  copy.CopyFrom(source);
  EXPECT_TRUE(copy.SizeBuffer_active);
  EXPECT_FALSE(copy.Directory_active);
}

TEST(ThirdParametersCopy, OfItselfChangesNothing) {
  ThirdParameters p;
  set_recording(p, "/some/where");
  p.CopyFrom(p);
  EXPECT_STREQ(p.Directory, "/some/where");
  EXPECT_STREQ(p.DepthStem, "depth");
}

}  // namespace
}  // namespace depth_io::test
