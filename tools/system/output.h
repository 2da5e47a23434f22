#pragma once

#include <string>

namespace depth_io::tools {

/// Formatted text as a string.
[[gnu::format(printf, 1, 2)]] std::string format_text(const char* format, ...);

/// Data: goes to standard output as it is.
[[gnu::format(printf, 1, 2)]] void write_data(const char* format, ...);

/// A message for the user: a line on standard error, after the program's name.
[[gnu::format(printf, 1, 2)]] void write_message(const char* format, ...);

/// Flushes standard output; false when any data could not be written.
bool data_was_written();

/// Sends data on at once.
void flush_data();

/// True as long as no failure of standard output is known.
bool data_can_be_written();

/// Gives the descriptors 0 to 2 a place if the program was started without them, so that no file
/// opened later becomes one of them. Data for a missing standard output still counts as lost.
void occupy_standard_descriptors();

}  // namespace depth_io::tools
