#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "codec/timestamps.h"

/// Moments as the recordings use them: local wall-clock time without a zone.
namespace depth_io::tools {

Moment local_time_now();

/// `start` and so many seconds, by the calendar, rounded to a millisecond.
Moment moment_after(const Moment& start, double seconds);

double seconds_between(const Moment& from, const Moment& to);

/// Microseconds since 1970 of a moment, as if its clock showed universal time.
std::int64_t microseconds_of(const Moment& moment);

/// The moment of so many microseconds since 1970, rounded to a millisecond.
Moment moment_at(std::int64_t microseconds);

/// Microseconds as seconds with six decimals: 1365516307.042000.
std::string seconds_text(std::int64_t microseconds);

bool is_before(const Moment& a, const Moment& b);

/// Reads the stamp text of file names, or a date and time with ":" in it, with or without a
/// fraction; "Z" or an offset such as +02:00 is converted to local time. The year must lie in
/// 1970..9999.
std::optional<Moment> parse_moment(std::string_view text);

/// The form used in file names.
std::string stamp_text(const Moment& moment);

/// The form used in lists: 2013-04-09 14:05:07.042.
std::string readable_text(const Moment& moment);

}  // namespace depth_io::tools
