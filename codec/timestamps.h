#pragma once

#include "codec/export.h"

// A moment is seven ints of local wall-clock time. Its text form has 26 characters,
// YYYY-MM-DDTHH-MM-SS.mmm000, and stands in file names and history slots. Moments are compared as
// seconds since 1970 in a double.

/// Writes the 26-character text of a moment and a NUL to `timestamp` (27 bytes, never more). A
/// negative field gets a '-', and the text is then cut at 26 characters. With `debug` 1 prints each
/// step. Does nothing when `timestamp` is null.
CAMERA_DEPTH_RW_EXPORT void GetTimeStampString(char* timestamp, int year, int month, int day,
                                               int hour, int minute, int second, int millisecond,
                                               int debug);

/// Reads the seven fields from their fixed positions in `stamp_string`; separators are not tested,
/// fields beyond the end of a short text are 0. A character that is no digit prints an error, waits
/// for a key and makes the field -1. `debug` has no effect. Always 1.
CAMERA_DEPTH_RW_EXPORT int GetTimeStampFromString(char* stamp_string, int& year, int& month,
                                                  int& day, int& hour, int& minute, int& second,
                                                  int& millisecond, int debug);

/// Seconds since 1970 of a moment, with the milliseconds as a single-precision fraction; every
/// fourth year is a leap year, and the seconds wrap after 2038-01-19T03:14:07. `unixtime` is always
/// written. Returns 1, or 0 when a field is out of range (the millisecond is not tested), with a
/// message for each only when `PRINT` is 1.
CAMERA_DEPTH_RW_EXPORT int ConvertTimeStampToUnixTime(double& unixtime, int year, int month,
                                                      int day, int hour, int minute, int second,
                                                      int millisecond, int PRINT);

/// Adds `INTERVAL` milliseconds. Days carry at 30 and months at 12 without regard to month lengths,
/// also when the interval is 0 (day 31 becomes day 1 of the next month, month 12 becomes month 0).
CAMERA_DEPTH_RW_EXPORT void IncrementTimeStampMilliSecond(int INTERVAL, int& year, int& month,
                                                          int& day, int& hour, int& minute,
                                                          int& second, int& millisecond);

/// Reads the moment out of `stem_stamp`, a path made of `dir_in`, `stem_filename`, the stamp text
/// and a four-character extension. Only the lengths of the first two are used: a "-" between stem
/// and stamp belongs into `stem_filename`. Returns 0 when the stamp part has 30 characters or more.
CAMERA_DEPTH_RW_EXPORT int _get_timestamp_from_stamp_stem(char* dir_in, char* stem_filename,
                                                          char* stem_stamp, int& year, int& month,
                                                          int& day, int& hour, int& minute,
                                                          int& second, int& millisecond);

namespace depth_io {

/// A moment as one value.
struct Moment {
  int year = 0;         ///< four digits
  int month = 0;        ///< 1..12
  int day = 0;          ///< 1..31
  int hour = 0;         ///< 0..23
  int minute = 0;       ///< 0..59
  int second = 0;       ///< 0..59
  int millisecond = 0;  ///< 0..999
};

/// Bytes of a stamp text with its NUL.
inline constexpr int kStampSize = 27;

/// `GetTimeStampString` of a moment: `timestamp` has room for `kStampSize` bytes.
inline void write_stamp(char* timestamp, const Moment& m, int debug = 0) {
  GetTimeStampString(timestamp, m.year, m.month, m.day, m.hour, m.minute, m.second, m.millisecond,
                     debug);
}

/// `ConvertTimeStampToUnixTime` of a moment; false when a field is out of range, with messages only
/// when `print_errors`.
inline bool to_unix_time(double& unixtime, const Moment& m, bool print_errors) {
  return ConvertTimeStampToUnixTime(unixtime, m.year, m.month, m.day, m.hour, m.minute, m.second,
                                    m.millisecond, print_errors ? 1 : 0) == 1;
}

/// `GetTimeStampFromString` into a moment; always true. A character that is no digit prints an
/// error and waits for a key.
inline bool parse_stamp(char* stamp_string, Moment& m) {
  return GetTimeStampFromString(stamp_string, m.year, m.month, m.day, m.hour, m.minute, m.second,
                                m.millisecond, 0) == 1;
}

}  // namespace depth_io
