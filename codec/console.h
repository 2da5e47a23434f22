#pragma once

#include <cstddef>
#include <string_view>

#include "codec/export.h"

/// The one place of the library that prints and that waits for a key press. Programs that have no
/// keyboard (services, recorders that run for weeks) replace both ways out.
namespace depth_io {

/// Receives each piece of diagnostic text: `length` bytes, not NUL-terminated, line ends included.
using PrintHandler = void (*)(void* context, const char* text, std::size_t length);

/// Called instead of reading a key from standard input.
using KeyWaitHandler = void (*)(void* context);

/// Sends all diagnostics to `handler` with `context`; null restores standard output. Set it before
/// other threads use the library: the handler is shared by all of them and not locked.
CAMERA_DEPTH_RW_EXPORT void set_print_handler(PrintHandler handler, void* context);

/// Calls `handler` with `context` where the library waits for a key; null restores standard input.
/// Set it before other threads use the library.
CAMERA_DEPTH_RW_EXPORT void set_key_wait_handler(KeyWaitHandler handler, void* context);

/// Prints formatted text.
[[gnu::format(printf, 1, 2)]] CAMERA_DEPTH_RW_EXPORT void print(const char* format, ...);

/// Prints `text` and a line end.
CAMERA_DEPTH_RW_EXPORT void print_line(const char* text);

/// Flushes standard output and takes one character from standard input; blocks until there is one.
/// End of file counts as a key.
CAMERA_DEPTH_RW_EXPORT void wait_for_key();

/// `print_line`, then `wait_for_key`: how most failures are held on the screen.
CAMERA_DEPTH_RW_EXPORT void print_line_and_wait(const char* text);

/// As `print_line`, of a text that has its line end already: for lines that can come once for each
/// pixel of a frame.
void print_whole_line(std::string_view line);

}  // namespace depth_io
