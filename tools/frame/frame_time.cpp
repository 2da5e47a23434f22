#include "tools/frame/frame_time.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <ctime>
#include <tuple>

#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

using Milliseconds = std::chrono::sys_time<std::chrono::milliseconds>;

Milliseconds to_milliseconds(const Moment& m) {
  const std::chrono::sys_days day = std::chrono::year(m.year) /
                                    std::chrono::month(static_cast<unsigned>(m.month)) /
                                    std::chrono::day(static_cast<unsigned>(m.day));
  return day + std::chrono::hours(m.hour) + std::chrono::minutes(m.minute) +
         std::chrono::seconds(m.second) + std::chrono::milliseconds(m.millisecond);
}

Moment to_moment(Milliseconds time) {
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  return Moment{static_cast<int>(date.year()),
                static_cast<int>(static_cast<unsigned>(date.month())),
                static_cast<int>(static_cast<unsigned>(date.day())),
                static_cast<int>(clock.hours().count()),
                static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()),
                static_cast<int>(clock.subseconds().count())};
}

Moment to_local_moment(std::time_t seconds, int millisecond) {
  std::tm local = {};
  localtime_r(&seconds, &local);
  return Moment{local.tm_year + 1900, local.tm_mon + 1,           local.tm_mday, local.tm_hour,
                local.tm_min,         std::min(local.tm_sec, 59), millisecond};
}

/// Takes pieces off the front of a text.
class Pieces {
 public:
  explicit Pieces(std::string_view text) : rest_(text) {}

  bool take_number(std::size_t digits, int& value) {
    if (rest_.size() < digits) return false;
    const char* const end = rest_.data() + digits;
    if (rest_[0] == '-') return false;
    if (std::from_chars(rest_.data(), end, value).ptr != end) return false;
    rest_.remove_prefix(digits);
    return true;
  }

  /// Takes one character that is among `choices`.
  bool take(std::string_view choices) {
    if (rest_.empty() || choices.find(rest_[0]) == std::string_view::npos) return false;
    rest_.remove_prefix(1);
    return true;
  }

  /// Takes any number of digits as the fraction of a second.
  bool take_fraction(int& milliseconds) {
    int digits = 0;
    milliseconds = 0;
    for (; !rest_.empty() && rest_[0] >= '0' && rest_[0] <= '9'; rest_.remove_prefix(1), ++digits) {
      if (digits < 3) milliseconds = milliseconds * 10 + (rest_[0] - '0');
    }
    for (int missing = digits; missing < 3; ++missing) milliseconds *= 10;
    return digits > 0;
  }

  bool at_end() const { return rest_.empty(); }
  char front() const { return rest_.empty() ? '\0' : rest_[0]; }

 private:
  std::string_view rest_;
};

bool is_valid(const Moment& m) {
  const auto between = [](int value, int first, int last) {
    return value >= first && value <= last;
  };
  if (!between(m.year, 1970, 9999) || !between(m.month, 1, 12) || !between(m.day, 1, 31)) {
    return false;
  }
  const std::chrono::year_month_day date(std::chrono::year(m.year),
                                         std::chrono::month(static_cast<unsigned>(m.month)),
                                         std::chrono::day(static_cast<unsigned>(m.day)));
  return date.ok() && between(m.hour, 0, 23) && between(m.minute, 0, 59) &&
         between(m.second, 0, 59);
}

/// The offset at the end of a text, in minutes east; none when it is malformed.
std::optional<int> take_offset(Pieces& pieces) {
  if (pieces.take("Zz")) return 0;
  const int sign = pieces.front() == '-' ? -1 : 1;
  int hours = 0;
  int minutes = 0;
  if (!pieces.take("+-") || !pieces.take_number(2, hours)) return {};
  pieces.take(":");
  if (!pieces.take_number(2, minutes) || hours > 23 || minutes > 59) return {};
  return sign * (hours * 60 + minutes);
}

}  // namespace

Moment local_time_now() {
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  return to_local_moment(now.tv_sec, static_cast<int>(now.tv_nsec / 1000000));
}

Moment moment_after(const Moment& start, double seconds) {
  return to_moment(to_milliseconds(start) + std::chrono::milliseconds(std::llround(seconds * 1e3)));
}

double seconds_between(const Moment& from, const Moment& to) {
  return static_cast<double>((to_milliseconds(to) - to_milliseconds(from)).count()) / 1e3;
}

std::int64_t microseconds_of(const Moment& moment) {
  return to_milliseconds(moment).time_since_epoch().count() * 1000;
}

Moment moment_at(std::int64_t microseconds) {
  return to_moment(Milliseconds(std::chrono::milliseconds((microseconds + 500) / 1000)));
}

std::string seconds_text(std::int64_t microseconds) {
  constexpr std::int64_t kMicro = 1000000;
  return format_text("%lld.%06lld", static_cast<long long>(microseconds / kMicro),
                     static_cast<long long>(microseconds % kMicro));
}

bool is_before(const Moment& a, const Moment& b) {
  const auto fields = [](const Moment& m) {
    return std::tie(m.year, m.month, m.day, m.hour, m.minute, m.second, m.millisecond);
  };
  return fields(a) < fields(b);
}

std::optional<Moment> parse_moment(std::string_view text) {
  Pieces pieces(text);
  Moment m;
  const bool has_shape =
      pieces.take_number(4, m.year) && pieces.take("-") && pieces.take_number(2, m.month) &&
      pieces.take("-") && pieces.take_number(2, m.day) && pieces.take("Tt ") &&
      pieces.take_number(2, m.hour) && pieces.take("-:") && pieces.take_number(2, m.minute) &&
      pieces.take("-:") && pieces.take_number(2, m.second);
  if (!has_shape) return {};
  if (pieces.take(".,") && !pieces.take_fraction(m.millisecond)) return {};
  if (!is_valid(m)) return {};
  if (pieces.at_end()) return m;
  const std::optional<int> offset_minutes = take_offset(pieces);
  if (!offset_minutes || !pieces.at_end()) return {};
  const auto universal = to_milliseconds(m) - std::chrono::minutes(*offset_minutes);
  const auto whole = std::chrono::floor<std::chrono::seconds>(universal);
  m = to_local_moment(static_cast<std::time_t>(whole.time_since_epoch().count()), m.millisecond);
  if (!is_valid(m)) return {};
  return m;
}

std::string stamp_text(const Moment& moment) {
  char text[kStampSize] = {};
  write_stamp(text, moment);
  return text;
}

std::string readable_text(const Moment& m) {
  return format_text("%04d-%02d-%02d %02d:%02d:%02d.%03d", m.year, m.month, m.day, m.hour, m.minute,
                     m.second, m.millisecond);
}

}  // namespace depth_io::tools
