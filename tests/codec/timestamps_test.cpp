#include "codec/timestamps.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <memory>
#include <ostream>
#include <random>
#include <string>

#include "tests/support/console_capture.h"

namespace depth_io {

bool operator==(const Moment& a, const Moment& b) {
  return a.year == b.year && a.month == b.month && a.day == b.day && a.hour == b.hour &&
         a.minute == b.minute && a.second == b.second && a.millisecond == b.millisecond;
}

void PrintTo(const Moment& m, std::ostream* out) {
  *out << m.year << "/" << m.month << "/" << m.day << " T " << m.hour << ":" << m.minute << ":"
       << m.second << "." << m.millisecond;
}

namespace test {
namespace {

const Moment kSpring = {2013, 4, 9, 14, 5, 7, 42};
const Moment kUntouched = {-77, -77, -77, -77, -77, -77, -77};

void expect_silent(const ConsoleTrace& trace) {
  EXPECT_EQ(trace.output, "");
  EXPECT_EQ(trace.keys, 0);
}

/// A text in an array of exactly its size, so that a read past the NUL is a detected error.
class ExactText {
 public:
  explicit ExactText(const std::string& text) : bytes_(new char[text.size() + 1]) {
    std::memcpy(bytes_.get(), text.c_str(), text.size() + 1);
  }
  operator char*() { return bytes_.get(); }  // NOLINT: converts on purpose

 private:
  std::unique_ptr<char[]> bytes_;
};

std::string not_an_integer(const std::string& text) {
  return " ---ERROR--- PROBLEM IN GetIntFromString(..) -> NOT A INTEGER IN STRING '" + text + "'\n";
}

// --- Text ----------------------------------------------------------------------------------------

std::string stamp(const Moment& moment, int debug = 0) {
  constexpr std::size_t kGuard = 64;
  std::string bytes(kStampSize + 2 * kGuard, '#');
  write_stamp(bytes.data() + kGuard, moment, debug);
  const std::string guard(kGuard, '#');
  EXPECT_EQ(bytes.substr(0, kGuard), guard);
  EXPECT_EQ(bytes.substr(kGuard + kStampSize), guard);
  const std::string text = bytes.substr(kGuard, kStampSize);
  EXPECT_EQ(text.find('\0'), 26u);
  return text.substr(0, text.find('\0'));
}

TEST(StampText, HasFixedWidths) {
  EXPECT_EQ(stamp(kSpring), "2013-04-09T14-05-07.042000");
  EXPECT_EQ(stamp({2013, 12, 31, 23, 59, 59, 999}), "2013-12-31T23-59-59.999000");
  EXPECT_EQ(stamp({2013, 1, 1, 0, 0, 0, 5}), "2013-01-01T00-00-00.005000");
  EXPECT_EQ(stamp({0, 0, 0, 0, 0, 0, 0}), "0000-00-00T00-00-00.000000");
  EXPECT_EQ(stamp({9, 9, 9, 9, 9, 9, 9}), "0009-09-09T09-09-09.009000");
}

TEST(StampText, OverlongFieldsKeepTheirLastDigits) {
  EXPECT_EQ(stamp({12013, 104, 109, 114, 105, 107, 1042}), "2013-04-09T14-05-07.042000");
  EXPECT_EQ(stamp({INT_MAX, 100, 100, 100, 100, 100, 1000}), "3648-00-00T00-00-00.000000");
}

TEST(StampText, NegativeFieldShiftsTheRestAndIsCutAt26) {
  EXPECT_EQ(stamp({2013, -4, 9, 14, 5, 7, 42}), "2013--04-09T14-05-07.04200");
  EXPECT_EQ(stamp({-13, 4, 9, 14, 5, 7, 42}), "-0013-04-09T14-05-07.04200");
  EXPECT_EQ(stamp({2013, 4, 9, 14, 5, 7, -42}), "2013-04-09T14-05-07.-04200");
  EXPECT_EQ(stamp({-2013, -4, -9, -14, -5, -7, -42}), "-2013--04--09T-14--05--07.");
}

TEST(StampText, AnyFieldsStayWithinTheCallersBytes) {
  for (const int value : {INT_MIN, -999999999, -1, 999999999, INT_MAX}) {
    const Moment moment = {value, value, value, value, value, value, value};
    EXPECT_EQ(stamp(moment).size(), 26u) << value;
    const ConsoleTrace trace = capture_console([&] { stamp(moment, 1); });
    EXPECT_EQ(std::count(trace.output.begin(), trace.output.end(), '\n'), 8) << value;
  }
  GetTimeStampString(nullptr, 2013, 4, 9, 14, 5, 7, 42, 1);  // nor without a place
}

TEST(StampText, IsSilentUnlessDebugIsOne) {
  for (const int debug : {0, 2, -1}) {
    expect_silent(capture_console([&] { stamp(kSpring, debug); }));
  }
}

TEST(StampText, DebugPrintsEachFieldBeforeItsSeparator) {
  std::string text;
  const ConsoleTrace trace = capture_console([&] { text = stamp(kSpring, 1); });
  EXPECT_EQ(text, "2013-04-09T14-05-07.042000");
  EXPECT_EQ(trace.keys, 0);
  EXPECT_EQ(trace.output,
            " - DEBUG - GetTimeStampString: 2013-> '2013' into '2013' (4)\n"
            " - DEBUG - GetTimeStampString: 4-> '04' into '2013-04'  (7)\n"
            " - DEBUG - GetTimeStampString: 9-> '09' into '2013-04-09'  (10)\n"
            " - DEBUG - GetTimeStampString: 14-> '14' into '2013-04-09T14'  (13)\n"
            " - DEBUG - GetTimeStampString: 5-> '05' into '2013-04-09T14-05'  (16)\n"
            " - DEBUG - GetTimeStampString: 7-> '07' into '2013-04-09T14-05-07'  (19)\n"
            " - DEBUG - GetTimeStampString: 42-> '042' into '2013-04-09T14-05-07.042'  (23)\n"
            " - DEBUG - GetTimeStampString: FINAL '2013-04-09T14-05-07.042000'  (26)\n");
}

// --- Parsing -------------------------------------------------------------------------------------

struct Parsed {
  int result = -77;
  Moment moment = kUntouched;
  ConsoleTrace trace;
};

Parsed parse(const std::string& text, int debug = 0) {
  Parsed parsed;
  Moment& m = parsed.moment;
  parsed.trace = capture_console([&] {
    parsed.result = GetTimeStampFromString(ExactText(text), m.year, m.month, m.day, m.hour,
                                           m.minute, m.second, m.millisecond, debug);
  });
  return parsed;
}

void expect_parsed(const std::string& text, const Moment& expected) {
  const Parsed parsed = parse(text);
  EXPECT_EQ(parsed.result, 1) << text;
  EXPECT_EQ(parsed.moment, expected) << text;
  expect_silent(parsed.trace);
}

TEST(StampParser, ReadsTheFixedPositions) {
  expect_parsed("2013-04-09T14-05-07.042000", kSpring);
  expect_parsed("0000-00-00T00-00-00.000000", {0, 0, 0, 0, 0, 0, 0});
  expect_parsed("9999-99-99T99-99-99.999000", {9999, 99, 99, 99, 99, 99, 999});
}

TEST(StampParser, DoesNotTestTheSeparatorsOrTheTail) {
  expect_parsed("2013x04x09x14x05x07x042", kSpring);
  expect_parsed("2013004009014005007004204242", kSpring);
  expect_parsed("2013-04-09T14-05-07.042abc", kSpring);
  expect_parsed("2013-04-09T14-05-07.042000" + std::string(5000, 'x'), kSpring);
}

TEST(StampParser, ReadsASignWithinAField) {
  expect_parsed("-001--4--9T-1--5--7.-42000", {-1, -4, -9, -1, -5, -7, -42});
}

TEST(StampParser, DebugHasNoEffect) {
  const Parsed parsed = parse("2013-04-09T14-05-07.042000", 1);
  EXPECT_EQ(parsed.result, 1);
  EXPECT_EQ(parsed.moment, kSpring);
  expect_silent(parsed.trace);
}

TEST(StampParser, FieldsBeyondAShortTextAreZero) {
  expect_parsed("", {0, 0, 0, 0, 0, 0, 0});
  expect_parsed("2013", {2013, 0, 0, 0, 0, 0, 0});
  expect_parsed("2013-04-09", {2013, 4, 9, 0, 0, 0, 0});
  expect_parsed("2013-04-09T14-05-07.", {2013, 4, 9, 14, 5, 7, 0});
}

TEST(StampParser, NeverReadsPastTheEndOfAShortText) {
  const std::string whole = "2013-04-09T14-05-07.042000";
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    const Parsed parsed = parse(whole.substr(0, length));
    EXPECT_EQ(parsed.result, 1);
    EXPECT_EQ(parsed.moment.millisecond == 42, length >= 23) << length;
    expect_silent(parsed.trace);
  }
}

TEST(StampParser, FieldThatIsNoNumberIsReportedAndMinusOne) {
  struct {
    std::size_t position;
    std::string bad;
    int Moment::*field;
  } const cases[] = {{0, "2O13", &Moment::year},       {5, "o4", &Moment::month},
                     {8, "9 ", &Moment::day},          {11, "1:", &Moment::hour},
                     {14, "+5", &Moment::minute},      {17, "7.", &Moment::second},
                     {20, "0.4", &Moment::millisecond}};
  for (const auto& c : cases) {
    std::string text = "2013-04-09T14-05-07.042000";
    text.replace(c.position, c.bad.size(), c.bad);
    Moment expected = kSpring;
    expected.*c.field = -1;
    const Parsed parsed = parse(text);
    EXPECT_EQ(parsed.result, 1);
    EXPECT_EQ(parsed.moment, expected) << text;
    EXPECT_EQ(parsed.trace.output, not_an_integer(c.bad));
    EXPECT_EQ(parsed.trace.keys, 1);
  }
}

TEST(StampParser, EveryBadFieldIsReported) {
  const Parsed parsed = parse("year-mo-daTho-mi-se.mil000");
  EXPECT_EQ(parsed.result, 1);
  EXPECT_EQ(parsed.moment, (Moment{-1, -1, -1, -1, -1, -1, -1}));
  EXPECT_EQ(parsed.trace.output, not_an_integer("year") + not_an_integer("mo") +
                                     not_an_integer("da") + not_an_integer("ho") +
                                     not_an_integer("mi") + not_an_integer("se") +
                                     not_an_integer("mil"));
  EXPECT_EQ(parsed.trace.keys, 7);
}

TEST(StampParser, ReadsWhatWasWritten) {
  std::mt19937 random(6);
  const auto up_to = [&](int limit) { return static_cast<int>(random() % (unsigned(limit) + 1)); };
  for (int i = 0; i < 5000; ++i) {
    const Moment moment = {up_to(9999), up_to(99), up_to(99), up_to(99),
                           up_to(99),   up_to(99), up_to(999)};
    char text[kStampSize];
    write_stamp(text, moment);
    Moment read = kUntouched;
    ASSERT_TRUE(parse_stamp(text, read));
    ASSERT_EQ(read, moment) << text;
  }
}

TEST(StampParser, MissingTextIsAsAnEmptyOne) {
  Moment moment = kUntouched;
  bool parsed = false;
  expect_silent(capture_console([&] { parsed = parse_stamp(nullptr, moment); }));
  EXPECT_TRUE(parsed);
  EXPECT_EQ(moment, Moment());
}

// --- Unix time -----------------------------------------------------------------------------------

struct Converted {
  int result = -77;
  double unixtime = std::numeric_limits<double>::quiet_NaN();
  ConsoleTrace trace;
};

Converted convert(const Moment& m, int print) {
  Converted converted;
  converted.trace = capture_console([&] {
    converted.result = ConvertTimeStampToUnixTime(converted.unixtime, m.year, m.month, m.day,
                                                  m.hour, m.minute, m.second, m.millisecond, print);
  });
  return converted;
}

void expect_unix_time(const Moment& moment, double expected) {
  const Converted converted = convert(moment, 1);
  EXPECT_EQ(converted.result, 1) << testing::PrintToString(moment);
  EXPECT_EQ(converted.unixtime, expected) << testing::PrintToString(moment);
  expect_silent(converted.trace);
}

TEST(UnixTime, OfKnownMoments) {
  expect_unix_time({1970, 1, 1, 0, 0, 0, 0}, 0.0);
  expect_unix_time({1970, 1, 2, 0, 0, 0, 0}, 86400.0);
  expect_unix_time({1972, 2, 29, 0, 0, 0, 0}, 68169600.0);
  expect_unix_time({1972, 3, 1, 0, 0, 0, 0}, 68256000.0);
  expect_unix_time({1973, 1, 1, 0, 0, 0, 0}, 94694400.0);
  expect_unix_time({2000, 1, 1, 0, 0, 0, 0}, 946684800.0);
  expect_unix_time({2001, 9, 9, 1, 46, 40, 0}, 1000000000.0);
  expect_unix_time({2009, 2, 13, 23, 31, 30, 0}, 1234567890.0);
  expect_unix_time({2038, 1, 19, 3, 14, 7, 0}, 2147483647.0);
}

TEST(UnixTime, AgreesWithTheCivilCalendarOnEveryDayTo2037) {
  std::tm civil = {};
  for (std::time_t noon = 43200; noon < std::time_t{2145916800}; noon += 86400) {
    ASSERT_NE(gmtime_r(&noon, &civil), nullptr);
    double unixtime = -1.0;
    const Moment moment = {civil.tm_year + 1900, civil.tm_mon + 1, civil.tm_mday, 12, 0, 0, 0};
    ASSERT_TRUE(to_unix_time(unixtime, moment, false)) << testing::PrintToString(moment);
    ASSERT_EQ(unixtime, static_cast<double>(timegm(&civil))) << testing::PrintToString(moment);
  }
}

TEST(UnixTime, FractionIsInSinglePrecision) {
  expect_unix_time({1970, 1, 1, 0, 0, 0, 42}, 0.041999999433755875);
  for (int millisecond = 0; millisecond < 1000; ++millisecond) {
    const double fraction = static_cast<float>(millisecond) / 1000.0f;
    double unixtime = -1.0;
    ASSERT_TRUE(to_unix_time(unixtime, {1970, 1, 1, 0, 0, 0, millisecond}, false));
    ASSERT_EQ(unixtime, fraction);
    ASSERT_TRUE(to_unix_time(unixtime, {2013, 4, 9, 14, 5, 7, millisecond}, false));
    ASSERT_EQ(unixtime, 1365516307.0 + fraction);
  }
}

TEST(UnixTime, MillisecondIsNotValidated) {
  expect_unix_time({1970, 1, 1, 0, 0, 0, 5000}, 5.0);
  expect_unix_time({1970, 1, 1, 0, 0, 0, -500}, -0.5);
  expect_unix_time({1970, 1, 1, 0, 0, 1, INT_MAX}, 1.0 + double{2147483648.0f / 1000.0f});
}

TEST(UnixTime, WrapsAfterJanuary2038) {
  expect_unix_time({2038, 1, 19, 3, 14, 8, 0}, -2147483648.0);
  expect_unix_time({2038, 1, 19, 3, 14, 9, 500}, -2147483646.5);
  expect_unix_time({2039, 1, 1, 0, 0, 0, 0}, 2177452800.0 - 4294967296.0);
}

// Kept: every fourth year is a leap year, without exception.
TEST(UnixTime, Year2100IsALeapYear) {
  const auto wrapped = [](std::int64_t days) {
    return static_cast<double>(static_cast<std::int32_t>(static_cast<std::uint32_t>(days * 86400)));
  };
  expect_unix_time({2100, 2, 28, 0, 0, 0, 0}, wrapped(47482 + 58));
  expect_unix_time({2100, 2, 29, 0, 0, 0, 0}, wrapped(47482 + 59));
  expect_unix_time({2100, 3, 1, 0, 0, 0, 0}, wrapped(47482 + 60));
  expect_unix_time({2101, 1, 1, 0, 0, 0, 0}, wrapped(47482 + 366));
}

TEST(UnixTime, YearsBefore1970CountNoLeapYears) {
  expect_unix_time({1969, 1, 1, 0, 0, 0, 0}, -31536000.0);
  expect_unix_time({1968, 1, 1, 0, 0, 0, 0}, -63072000.0);
  expect_unix_time({1968, 2, 29, 0, 0, 0, 0}, -63072000.0 + 59 * 86400.0);
}

TEST(UnixTime, ExtremeYearsWrap) {
  for (const int year : {INT_MIN, INT_MIN + 1, -1, 0, 100000, INT_MAX - 1, INT_MAX}) {
    const Converted converted = convert({year, 1, 1, 0, 0, 0, 0}, 1);
    EXPECT_EQ(converted.result, 1) << year;
    EXPECT_GE(converted.unixtime, -2147483648.0) << year;
    EXPECT_LE(converted.unixtime, 2147483647.0) << year;
  }
}

std::string refused(const std::string& field, const std::string& moment) {
  return " - ERROR - ConvertTimeStampToUnixTime - " + field + " correct of stamp " + moment + "\n";
}

struct RefusedCase {
  Moment moment;
  double unixtime;
  std::string message;
};

TEST(UnixTime, FieldOutOfRangeIsRefusedButConverted) {
  const RefusedCase cases[] = {
      {{1970, 1, 1, 24, 0, 0, 7}, 86400.0, refused("hour NOT", "1970/1/1 T 24:0:0.7")},
      {{1970, 1, 2, -1, 0, 0, 0}, 82800.0, refused("hour NOT", "1970/1/2 T -1:0:0.0")},
      {{1970, 1, 1, 0, 60, 0, 0}, 3600.0, refused("minute NOT", "1970/1/1 T 0:60:0.0")},
      {{1970, 1, 1, 1, -1, 0, 0}, 3540.0, refused("minute NOT", "1970/1/1 T 1:-1:0.0")},
      {{1970, 1, 1, 0, 0, 60, 0}, 60.0, refused("second NOT", "1970/1/1 T 0:0:60.0")},
      {{1970, 1, 1, 0, 1, -1, 0}, 59.0, refused("second NOT", "1970/1/1 T 0:1:-1.0")},
      {{2013, 2, 29, 0, 0, 0, 0},
       1362096000.0,
       " ERROR day NOT correct; 29 (in month 2) not in [1:28]\n"},
      {{2012, 2, 30, 0, 0, 0, 0},
       1330560000.0,
       " ERROR day NOT correct; 30 (in month 2) not in [1:29]\n"},
      {{1970, 1, 0, 0, 0, 0, 0},
       -86400.0,
       " ERROR day NOT correct; 0 (in month 1) not in [1:31]\n"},
      {{1970, 1, 32, 0, 0, 0, 0},
       2678400.0,
       " ERROR day NOT correct; 32 (in month 1) not in [1:31]\n"}};
  for (const RefusedCase& c : cases) {
    const double fraction = static_cast<float>(c.moment.millisecond) / 1000.0f;
    const Converted told = convert(c.moment, 1);
    EXPECT_EQ(told.result, 0) << c.message;
    EXPECT_EQ(told.unixtime, c.unixtime + fraction) << c.message;
    EXPECT_EQ(told.trace.output, c.message);
    EXPECT_EQ(told.trace.keys, 0);
    for (const int print : {0, 2, -1}) {
      const Converted untold = convert(c.moment, print);
      EXPECT_EQ(untold.result, 0) << c.message;
      EXPECT_EQ(untold.unixtime, c.unixtime + fraction) << c.message;
      expect_silent(untold.trace);
    }
  }
}

TEST(UnixTime, EachMonthHasItsLastDay) {
  const int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (const int year : {1970, 1972, 2012, 2013, 2096, 2100}) {
    for (int month = 1; month <= 12; ++month) {
      const int last = lengths[month - 1] + (month == 2 && year % 4 == 0 ? 1 : 0);
      EXPECT_EQ(convert({year, month, 1, 0, 0, 0, 0}, 0).result, 1);
      EXPECT_EQ(convert({year, month, last, 0, 0, 0, 0}, 0).result, 1) << year << "/" << month;
      const Converted beyond = convert({year, month, last + 1, 0, 0, 0, 0}, 1);
      EXPECT_EQ(beyond.result, 0) << year << "/" << month;
      EXPECT_EQ(beyond.trace.output, " ERROR day NOT correct; " + std::to_string(last + 1) +
                                         " (in month " + std::to_string(month) +
                                         ") not in [1:" + std::to_string(last) + "]\n");
    }
  }
}

TEST(UnixTime, EveryBadFieldIsReportedInOrder) {
  const Converted converted = convert({2013, 2, 29, 24, 60, 60, 42}, 1);
  const std::string moment = "2013/2/29 T 24:60:60.42";
  EXPECT_EQ(converted.result, 0);
  EXPECT_EQ(converted.trace.output, refused("hour NOT", moment) + refused("minute NOT", moment) +
                                        refused("second NOT", moment) +
                                        " ERROR day NOT correct; 29 (in month 2) not in [1:28]\n");
  EXPECT_EQ(converted.trace.keys, 0);
}

TEST(UnixTime, BadMonthIsReportedWithoutADayCheck) {
  for (const int month : {13, 0, -1, 100, INT_MAX, INT_MIN}) {
    const Converted converted = convert({2013, month, 45, 14, 5, 7, 42}, 1);
    EXPECT_EQ(converted.result, 0) << month;
    EXPECT_EQ(converted.trace.output,
              refused("month NOt", "2013/" + std::to_string(month) + "/45 T 14:5:7.42"));
    EXPECT_EQ(converted.trace.keys, 0);
    EXPECT_FALSE(std::isnan(converted.unixtime)) << "not written for month " << month;
    for (const int print : {0, 2}) {
      const Converted untold = convert({2013, month, 45, 14, 5, 7, 42}, print);
      EXPECT_EQ(untold.result, 0) << month;
      expect_silent(untold.trace);
    }
  }
}

TEST(UnixTime, BadMonthIsReportedBeforeTheOtherFields) {
  const std::string moment = "2013/13/1 T -1:60:99.0";
  EXPECT_EQ(convert({2013, 13, 1, -1, 60, 99, 0}, 1).trace.output,
            refused("month NOt", moment) + refused("hour NOT", moment) +
                refused("minute NOT", moment) + refused("second NOT", moment));
}

TEST(UnixTime, FieldsBeyondAllRangesWrap) {
  for (const int value : {INT_MIN, INT_MAX}) {
    const Converted converted = convert({2013, 1, value, value, value, value, value}, 0);
    EXPECT_EQ(converted.result, 0);
    EXPECT_FALSE(std::isnan(converted.unixtime));
    expect_silent(converted.trace);
  }
}

TEST(UnixTime, HelperPrintsOnlyWhenAsked) {
  double unixtime = -1.0;
  const Moment bad = {1970, 1, 1, 24, 0, 0, 0};
  expect_silent(capture_console([&] { EXPECT_FALSE(to_unix_time(unixtime, bad, false)); }));
  EXPECT_EQ(capture_console([&] { EXPECT_FALSE(to_unix_time(unixtime, bad, true)); }).output,
            refused("hour NOT", "1970/1/1 T 24:0:0.0"));
}

// --- Increments ----------------------------------------------------------------------------------

Moment incremented(int interval, Moment m) {
  IncrementTimeStampMilliSecond(interval, m.year, m.month, m.day, m.hour, m.minute, m.second,
                                m.millisecond);
  return m;
}

TEST(Increment, CarriesWithDaysOf30AndMonthsOf12) {
  const struct {
    int interval;
    Moment from, to;
  } cases[] = {{1, {2013, 4, 29, 23, 59, 59, 999}, {2013, 5, 0, 0, 0, 0, 0}},
               {1, {2013, 4, 9, 14, 5, 7, 42}, {2013, 4, 9, 14, 5, 7, 43}},
               {1, {2013, 4, 9, 14, 5, 7, 999}, {2013, 4, 9, 14, 5, 8, 0}},
               {1, {2013, 4, 9, 14, 5, 59, 999}, {2013, 4, 9, 14, 6, 0, 0}},
               {1, {2013, 4, 9, 14, 59, 59, 999}, {2013, 4, 9, 15, 0, 0, 0}},
               {1, {2013, 4, 9, 23, 59, 59, 999}, {2013, 4, 10, 0, 0, 0, 0}},
               {1500, {2013, 4, 9, 14, 5, 7, 600}, {2013, 4, 9, 14, 5, 9, 100}},
               {86400000, {2013, 4, 9, 14, 5, 7, 42}, {2013, 4, 10, 14, 5, 7, 42}},
               {1, {2013, 11, 29, 23, 59, 59, 999}, {2014, 0, 0, 0, 0, 0, 0}},
               {0, {2013, 4, 9, 14, 5, 7, 42}, {2013, 4, 9, 14, 5, 7, 42}},
               {0, {2013, 4, 30, 14, 5, 7, 42}, {2013, 5, 0, 14, 5, 7, 42}},
               {0, {2013, 5, 31, 14, 5, 7, 42}, {2013, 6, 1, 14, 5, 7, 42}},
               {0, {2013, 12, 5, 14, 5, 7, 42}, {2014, 0, 5, 14, 5, 7, 42}},
               {0, {2013, 12, 31, 23, 59, 59, 999}, {2014, 1, 1, 23, 59, 59, 999}},
               {0, {2013, 12, 30, 0, 0, 0, 0}, {2014, 1, 0, 0, 0, 0, 0}},
               {0, {2013, 4, 9, 24, 60, 60, 1000}, {2013, 4, 10, 1, 1, 1, 0}},
               {-1, {2013, 4, 9, 14, 5, 7, 42}, {2013, 4, 9, 14, 5, 7, 41}},
               {-1, {2013, 4, 9, 14, 5, 7, 0}, {2013, 4, 9, 14, 5, 7, -1}},
               {-1000, {2013, 4, 9, 14, 5, 0, 0}, {2013, 4, 9, 14, 5, -1, 0}},
               {-60000, {2013, 4, 9, 14, 5, 7, 42}, {2013, 4, 9, 14, 5, -52, -958}},
               // 99999999 is 100000000 in single precision: a remainder of -1 stays behind.
               {99999999, {2013, 4, 9, 0, 0, 0, 0}, {2013, 4, 10, 3, 46, 40, -1}}};
  for (const auto& c : cases) {
    EXPECT_EQ(incremented(c.interval, c.from), c.to)
        << c.interval << " ms from " << testing::PrintToString(c.from);
  }
}

TEST(Increment, AnyDay31BecomesDayOneOfTheNextMonth) {
  for (int month = 1; month <= 10; ++month) {
    EXPECT_EQ(incremented(0, {2013, month, 31, 1, 2, 3, 4}),
              (Moment{2013, month + 1, 1, 1, 2, 3, 4}));
  }
}

TEST(Increment, StepsOfFramesAddUp) {
  Moment moment = kSpring;
  for (int step = 0; step < 100000; ++step) moment = incremented(33, moment);
  EXPECT_EQ(moment, (Moment{2013, 4, 9, 15, 0, 7, 42}));
}

TEST(Increment, AgreesWithUnixTimeWithinAMonth) {
  std::mt19937 random(7);
  const auto up_to = [&](int limit) { return static_cast<int>(random() % (unsigned(limit) + 1)); };
  for (int i = 0; i < 2000; ++i) {
    const Moment from = {1970 + up_to(60), 1 + up_to(10), 1 + up_to(26), up_to(23),
                         up_to(59),        up_to(59),     up_to(999)};
    const int interval = up_to(86400000);
    double before = 0.0;
    double after = 0.0;
    ASSERT_TRUE(to_unix_time(before, from, true));
    ASSERT_TRUE(to_unix_time(after, incremented(interval, from), true))
        << testing::PrintToString(from);
    // The quotient of a large interval is a single-precision one, so that a remainder may be off
    // by a carry; the sum is not.
    ASSERT_NEAR(after - before, interval / 1000.0, 1e-5) << testing::PrintToString(from);
  }
}

TEST(Increment, ExtremeFieldsAreDefined) {
  for (const int value : {INT_MIN, INT_MAX}) {
    const Moment moment = incremented(value, {value, value, value, value, value, value, value});
    EXPECT_LT(std::abs(moment.hour), 200) << "a remainder by 24, up to single precision";
  }
}

// --- From a path ---------------------------------------------------------------------------------

Parsed parse_path(const std::string& directory, const std::string& stem, const std::string& path) {
  Parsed parsed;
  Moment& m = parsed.moment;
  parsed.trace = capture_console([&] {
    parsed.result = _get_timestamp_from_stamp_stem(ExactText(directory), ExactText(stem),
                                                   ExactText(path), m.year, m.month, m.day, m.hour,
                                                   m.minute, m.second, m.millisecond);
  });
  return parsed;
}

void expect_path(const std::string& directory, const std::string& stem, const std::string& path,
                 const Moment& expected) {
  const Parsed parsed = parse_path(directory, stem, path);
  EXPECT_EQ(parsed.result, 1) << path;
  EXPECT_EQ(parsed.moment, expected) << path;
  expect_silent(parsed.trace);
}

TEST(StampOfPath, FollowsDirectoryAndStem) {
  expect_path("/d/", "img_", "/d/img_2013-04-09T14-05-07.042000.rle", kSpring);
  expect_path("", "", "2013-04-09T14-05-07.042000.rle", kSpring);
  expect_path("/d/", "", "/d/2013-04-09T14-05-07.042000.jpg", kSpring);
  const std::string deep = "/" + std::string(3000, 'd') + "/";
  expect_path(deep, "img", deep + "img2013-04-09T14-05-07.042000.rle", kSpring);
}

TEST(StampOfPath, OnlyTheLengthsOfDirectoryAndStemMatter) {
  expect_path("xxx", "yyyy", "/d/img_2013-04-09T14-05-07.042000.rle", kSpring);
}

TEST(StampOfPath, DashBetweenStemAndStampIsNotRemoved) {
  const Parsed parsed = parse_path("/d/", "img", "/d/img-2013-04-09T14-05-07.042000.rle");
  EXPECT_EQ(parsed.result, 1);
  EXPECT_EQ(parsed.moment, (Moment{-201, 0, 0, -1, 0, 0, -1}));
  EXPECT_EQ(parsed.trace.output, not_an_integer("T1") + not_an_integer(".04"));
  EXPECT_EQ(parsed.trace.keys, 2);
}

TEST(StampOfPath, StampOf29CharactersIsRead) {
  expect_path("/d/", "img_", "/d/img_2013-04-09T14-05-07.042000abc.rle", kSpring);
}

TEST(StampOfPath, StampOf30CharactersIsRefusedSilently) {
  for (const std::size_t extra : {std::size_t{4}, std::size_t{5}, std::size_t{5000}}) {
    const Parsed parsed = parse_path(
        "/d/", "img_", "/d/img_2013-04-09T14-05-07.042000" + std::string(extra, 'a') + ".rle");
    EXPECT_EQ(parsed.result, 0);
    EXPECT_EQ(parsed.moment, kUntouched);
    expect_silent(parsed.trace);
  }
}

TEST(StampOfPath, ShortPathGivesZerosForWhatIsMissing) {
  expect_path("/d/", "img_", "/d/img_2013.rle", {2013, 0, 0, 0, 0, 0, 0});
  expect_path("/d/", "img_", "/d/img_.rle", {0, 0, 0, 0, 0, 0, 0});
  expect_path("/d/", "img_", "/d/img_", {0, 0, 0, 0, 0, 0, 0});
  expect_path("/d/", "img_", "abc", {0, 0, 0, 0, 0, 0, 0});
  expect_path("/d/", "img_", "", {0, 0, 0, 0, 0, 0, 0});
  expect_path("", "", "", {0, 0, 0, 0, 0, 0, 0});
}

}  // namespace
}  // namespace test
}  // namespace depth_io
