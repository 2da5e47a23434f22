#include "tools/frame/time_range.h"

#include <gtest/gtest.h>

#include "tools/frame/frame_time.h"
#include "tools/system/failure.h"

namespace depth_io::tools {
namespace {

TimeRange range(const std::string& from, const std::string& to) {
  return time_range_of({from, to});
}

TEST(TimeRange, BothEndsAreIncludedToTheMillisecond) {
  const TimeRange hour = range("2013-04-09T14:00:00", "2013-04-09T15-00-00.000000");
  const struct {
    const char* moment;
    bool is_inside;
  } cases[] = {{"2013-04-09T13:59:59.999", false}, {"2013-04-09T14:00:00", true},
               {"2013-04-09T14:59:59.999", true},  {"2013-04-09T15:00:00", true},
               {"2013-04-09T15:00:00.001", false}, {"2014-04-09T14:30:00", false}};
  for (const auto& c : cases) {
    EXPECT_EQ(hour.contains(parse_moment(c.moment).value()), c.is_inside) << c.moment;
  }
}

TEST(TimeRange, WithoutAnEndItIsOpenThere) {
  const Moment moment = parse_moment("2013-04-09T14:00:00").value();
  EXPECT_TRUE(range("", "").is_everything());
  EXPECT_TRUE(range("", "2014-01-01T00:00:00").contains(moment));
  EXPECT_TRUE(range("2012-01-01T00:00:00", "").contains(moment));
  EXPECT_FALSE(range("2014-01-01T00:00:00", "").contains(moment));
}

TEST(TimeRange, FoldersThatCannotContainItAreKnown) {
  const TimeRange night = range("2013-12-31T23:58:30", "2014-01-01T00:01:00");
  const struct {
    const char* stamp;
    bool may_contain;
  } cases[] = {{"2013-12-30", false},       {"2013-12-31", true},        {"2014-01-01", true},
               {"2014-01-02", false},       {"2013-12-31T22", false},    {"2013-12-31T23", true},
               {"2013-12-31T23-57", false}, {"2013-12-31T23-58", true},  {"2014-01-01T00-01", true},
               {"2014-01-01T00-02", false}, {"2014-01-01T01-00", false}, {"2014-01-01T01", false}};
  for (const auto& c : cases) EXPECT_EQ(night.may_contain(c.stamp), c.may_contain) << c.stamp;
}

TEST(TimeRange, NonsenseIsAUsageError) {
  EXPECT_THROW(range("noon", ""), UsageFailure);
  EXPECT_THROW(range("", "2013-04-09"), UsageFailure);
  EXPECT_THROW(range("2013-04-09T14:00:00.001", "2013-04-09T14:00:00"), UsageFailure);
  EXPECT_NO_THROW(range("2013-04-09T14:00:00", "2013-04-09T14:00:00"));
}

}  // namespace
}  // namespace depth_io::tools
