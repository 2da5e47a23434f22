#include "tools/frame/frame_time.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace depth_io::tools {
namespace {

TEST(FrameTime, StampTextsAreRead) {
  const auto moment = parse_moment("2013-04-09T14-05-07.042000");
  ASSERT_TRUE(moment);
  EXPECT_EQ(stamp_text(*moment), "2013-04-09T14-05-07.042000");
}

TEST(FrameTime, CommonFormsAreRead) {
  for (const char* text : {"2013-04-09T14:05:07.042", "2013-04-09 14:05:07.042",
                           "2013-04-09T14:05:07,0429", "2013-04-09t14:05:07.042000"}) {
    const auto moment = parse_moment(text);
    ASSERT_TRUE(moment) << text;
    EXPECT_EQ(readable_text(*moment), "2013-04-09 14:05:07.042") << text;
  }
}

TEST(FrameTime, AFractionOfOneDigitIsTenths) {
  EXPECT_EQ(readable_text(parse_moment("2013-04-09T14:05:07.5").value()),
            "2013-04-09 14:05:07.500");
}

TEST(FrameTime, OffsetsAreConvertedToLocalTime) {
  setenv("TZ", "CET-1", 1);
  tzset();
  EXPECT_EQ(readable_text(parse_moment("2013-01-09T23:30:00Z").value()), "2013-01-10 00:30:00.000");
  EXPECT_EQ(readable_text(parse_moment("2013-01-09T10:00:00.25+03:00").value()),
            "2013-01-09 08:00:00.250");
  EXPECT_EQ(readable_text(parse_moment("2013-01-09T10:00:00-0130").value()),
            "2013-01-09 12:30:00.000");
}

TEST(FrameTime, WhatIsNoTimeIsRefused) {
  for (const char* text :
       {"", "now", "2013", "2013-04-09", "2013-04-09T14:05", "2013-13-01T00:00:00",
        "2013-00-01T00:00:00", "2013-02-29T00:00:00", "2013-04-31T00:00:00", "2013-04-09T24:00:00",
        "2013-04-09T00:60:00", "2013-04-09T00:00:60", "2013-04-09T14:05:07.",
        "2013-04-09T14:05:07.042 ", "2013-04-09T14:05:07+1", "2013-04-09T14:05:07+25:00",
        "1969-12-31T23:59:59", "-013-04-09T14:05:07", "2013-04-09T1a:05:07"}) {
    EXPECT_FALSE(parse_moment(text)) << text;
  }
}

TEST(FrameTime, ALeapDayIsADay) { EXPECT_TRUE(parse_moment("2024-02-29T00:00:00")); }

TEST(FrameTime, MomentsFollowTheCalendar) {
  const struct {
    const char* start;
    double seconds;
    const char* end;
  } cases[] = {{"2013-12-31T23:59:59.900", 0.2, "2014-01-01 00:00:00.100"},
               {"2024-02-28T23:59:59", 1, "2024-02-29 00:00:00.000"},
               {"2023-02-28T23:59:59", 1, "2023-03-01 00:00:00.000"},
               {"2100-02-28T23:59:59", 1, "2100-03-01 00:00:00.000"},
               {"2013-04-09T14:05:07", 1.0 / 30, "2013-04-09 14:05:07.033"},
               {"2013-04-09T14:05:07", 86400, "2013-04-10 14:05:07.000"}};
  for (const auto& c : cases) {
    EXPECT_EQ(readable_text(moment_after(parse_moment(c.start).value(), c.seconds)), c.end)
        << c.start;
  }
}

TEST(FrameTime, MicrosecondsCountAsIfTheClockShowedUniversalTime) {
  const struct {
    const char* moment;
    std::int64_t microseconds;
  } cases[] = {{"1970-01-01T00:00:00", 0},
               {"2011-05-10T12:38:22.160", 1305031102160000},
               {"2038-01-19T03:14:08.001", 2147483648001000},
               {"9999-12-31T23:59:59.999", 253402300799999000}};
  for (const auto& c : cases) {
    const Moment moment = parse_moment(c.moment).value();
    EXPECT_EQ(microseconds_of(moment), c.microseconds) << c.moment;
    EXPECT_EQ(readable_text(moment_at(c.microseconds)), readable_text(moment)) << c.moment;
  }
}

TEST(FrameTime, MicrosecondsAreRoundedToMilliseconds) {
  EXPECT_EQ(readable_text(moment_at(1305031102160499)), "2011-05-10 12:38:22.160");
  EXPECT_EQ(readable_text(moment_at(1305031102160500)), "2011-05-10 12:38:22.161");
  EXPECT_EQ(readable_text(moment_at(1305031102999999)), "2011-05-10 12:38:23.000");
}

TEST(FrameTime, SecondsHaveSixDecimals) {
  EXPECT_EQ(seconds_text(1305031102160407), "1305031102.160407");
  EXPECT_EQ(seconds_text(33), "0.000033");
  EXPECT_EQ(seconds_text(0), "0.000000");
}

TEST(FrameTime, SecondsBetweenUndoesMomentAfter) {
  const Moment start = parse_moment("2013-12-31T23:59:59.900").value();
  EXPECT_DOUBLE_EQ(seconds_between(start, moment_after(start, 12.345)), 12.345);
}

}  // namespace
}  // namespace depth_io::tools
