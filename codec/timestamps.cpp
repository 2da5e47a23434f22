#include "codec/timestamps.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "codec/console.h"
#include "codec/number_text.h"
#include "codec/numeric.h"

using depth_io::Moment;
using depth_io::print;
using depth_io::wrapping_add;
using depth_io::wrapping_multiply;
using depth_io::wrapping_subtract;

namespace {

/// Appends to a stamp text without ever passing its 27 bytes.
class StampText {
 public:
  explicit StampText(char* text) : text_(text) { text_[0] = '\0'; }

  void append(const char* piece) {
    while (*piece != '\0' && count_ < depth_io::kStampSize - 1) text_[count_++] = *piece++;
    text_[count_] = '\0';
  }

  int count() const { return count_; }

 private:
  char* text_;
  int count_ = 0;
};

/// Fixed positions of the fields in a stamp text.
struct FieldPlace {
  std::size_t first;
  std::size_t width;
  int Moment::*field;
};
constexpr FieldPlace kFieldPlaces[] = {
    {0, 4, &Moment::year},         {5, 2, &Moment::month},   {8, 2, &Moment::day},
    {11, 2, &Moment::hour},        {14, 2, &Moment::minute}, {17, 2, &Moment::second},
    {20, 3, &Moment::millisecond},
};
constexpr std::size_t kParsedLength = 23;

Moment parse_fields(const char* stamp) {
  const std::size_t length = stamp == nullptr ? 0 : strnlen(stamp, kParsedLength);
  Moment moment;
  for (const FieldPlace& place : kFieldPlaces) {
    char text[5] = {};
    if (place.first < length) {
      std::memcpy(text, stamp + place.first, std::min(place.width, length - place.first));
    }
    moment.*place.field = __GetIntFromString(text);
  }
  return moment;
}

constexpr int kReferenceYear = 1970;
constexpr int kFirstLeapYear = 1972;
constexpr int kSecondsPerDay = 86400;

bool in_range(int value, int first, int last) { return value >= first && value <= last; }

int leap_years_before(int year) {
  if (year <= kFirstLeapYear) return 0;
  return wrapping_subtract(year, kFirstLeapYear + 1) / 4 + 1;
}

/// Every fourth year, centuries included.
bool is_leap_year(int year) { return __Modulo(4, wrapping_subtract(year, kFirstLeapYear)) == 0; }

int days_in_month(int month, bool leap) {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && leap ? 29 : kDays[month - 1];
}

void carry(int mode, int& field, int& next_field) {
  int quotient = 0;
  int remainder = 0;
  __Modulo(mode, field, quotient, remainder);
  field = remainder;
  next_field = wrapping_add(next_field, quotient);
}

}  // namespace

void GetTimeStampString(char* timestamp, int year, int month, int day, int hour, int minute,
                        int second, int millisecond, int debug) {
  if (timestamp == nullptr) return;
  StampText stamp(timestamp);
  char field[12];

  __GetStringFromInt(field, 4, year);
  stamp.append(field);
  if (debug == 1) {
    print(" - DEBUG - GetTimeStampString: %d-> '%s' into '%s' (%d)\n", year, field, timestamp,
          stamp.count());
  }
  const auto append_field = [&](const char* separator, int digits, int value) {
    stamp.append(separator);
    __GetStringFromInt(field, digits, value);
    stamp.append(field);
    if (debug == 1) {
      print(" - DEBUG - GetTimeStampString: %d-> '%s' into '%s'  (%d)\n", value, field, timestamp,
            stamp.count());
    }
  };
  append_field("-", 2, month);
  append_field("-", 2, day);
  append_field("T", 2, hour);
  append_field("-", 2, minute);
  append_field("-", 2, second);
  append_field(".", 3, millisecond);

  // A microsecond field that is never filled.
  stamp.append("000");
  if (debug == 1) {
    print(" - DEBUG - GetTimeStampString: FINAL '%s'  (%d)\n", timestamp, stamp.count());
  }
}

int GetTimeStampFromString(char* stamp_string, int& year, int& month, int& day, int& hour,
                           int& minute, int& second, int& millisecond, int /*debug*/) {
  const Moment moment = parse_fields(stamp_string);
  year = moment.year;
  month = moment.month;
  day = moment.day;
  hour = moment.hour;
  minute = moment.minute;
  second = moment.second;
  millisecond = moment.millisecond;
  return 1;
}

int ConvertTimeStampToUnixTime(double& unixtime, int year, int month, int day, int hour, int minute,
                               int second, int millisecond, int PRINT) {
  int succ = 1;
  const auto refuse = [&](const char* complaint) {
    succ = 0;
    if (PRINT != 1) return;
    print("%s %d/%d/%d T %d:%d:%d.%d\n", complaint, year, month, day, hour, minute, second,
          millisecond);
  };
  const bool month_is_valid = in_range(month, 1, 12);
  if (!month_is_valid) {
    refuse(" - ERROR - ConvertTimeStampToUnixTime - month NOt correct of stamp");
  }
  if (!in_range(hour, 0, 23)) {
    refuse(" - ERROR - ConvertTimeStampToUnixTime - hour NOT correct of stamp");
  }
  if (!in_range(minute, 0, 59)) {
    refuse(" - ERROR - ConvertTimeStampToUnixTime - minute NOT correct of stamp");
  }
  if (!in_range(second, 0, 59)) {
    refuse(" - ERROR - ConvertTimeStampToUnixTime - second NOT correct of stamp");
  }

  const int leap_years = leap_years_before(year);
  const int normal_years = wrapping_subtract(wrapping_subtract(year, kReferenceYear), leap_years);
  const int days_from_years =
      wrapping_add(wrapping_multiply(normal_years, 365), wrapping_multiply(leap_years, 366));

  int days_from_month = 0;
  if (month_is_valid) {
    const bool leap = is_leap_year(year);
    const int month_length = days_in_month(month, leap);
    if (!in_range(day, 1, month_length)) {
      succ = 0;
      if (PRINT == 1) {
        print(" ERROR day NOT correct; %d (in month %d) not in [1:%d]\n", day, month, month_length);
      }
    }
    for (int m = 1; m < month; ++m) days_from_month += days_in_month(m, leap);
  }

  // 32-bit seconds: they wrap after 2038-01-19T03:14:07.
  const int whole_days =
      wrapping_add(wrapping_add(days_from_month, days_from_years), wrapping_subtract(day, 1));
  int total = wrapping_multiply(whole_days, kSecondsPerDay);
  total = wrapping_add(total, wrapping_multiply(hour, 3600));
  total = wrapping_add(total, wrapping_multiply(minute, 60));
  total = wrapping_add(total, second);

  // Kept: the fraction is a single-precision quotient; capture compares differences of these.
  const float fraction = static_cast<float>(millisecond) / 1000.0F;
  unixtime = static_cast<double>(total) + static_cast<double>(fraction);
  return succ;
}

void IncrementTimeStampMilliSecond(int INTERVAL, int& year, int& month, int& day, int& hour,
                                   int& minute, int& second, int& millisecond) {
  millisecond = wrapping_add(millisecond, INTERVAL);
  carry(1000, millisecond, second);
  carry(60, second, minute);
  carry(60, minute, hour);
  carry(24, hour, day);
  // Kept: months of 30 days and no month 12; callers only step and compare nearby stamps.
  carry(30, day, month);
  carry(12, month, year);
}

int _get_timestamp_from_stamp_stem(char* dir_in, char* stem_filename, char* stem_stamp, int& year,
                                   int& month, int& day, int& hour, int& minute, int& second,
                                   int& millisecond) {
  constexpr std::size_t kScratchSize = 30;
  constexpr std::size_t kExtensionLength = 4;
  if (dir_in == nullptr || stem_filename == nullptr || stem_stamp == nullptr) return 0;
  const std::size_t first = std::strlen(dir_in) + std::strlen(stem_filename);
  const std::size_t length = std::strlen(stem_stamp);
  char scratch[kScratchSize] = {};
  if (length > first + kExtensionLength) {
    const std::size_t stamp_length = length - kExtensionLength - first;
    if (stamp_length >= kScratchSize) return 0;
    std::memcpy(scratch, stem_stamp + first, stamp_length);
  }
  return GetTimeStampFromString(scratch, year, month, day, hour, minute, second, millisecond, 0);
}
