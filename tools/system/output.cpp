#include "tools/system/output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace depth_io::tools {

std::string format_text(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  std::string text;
  if (length > 0) {
    text.resize(static_cast<std::size_t>(length) + 1);
    std::vsnprintf(text.data(), text.size(), format, again);
    text.pop_back();
  }
  va_end(again);
  return text;
}

void write_data(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stdout, format, arguments);
  va_end(arguments);
}

void write_message(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::fputs("depthrw: ", stderr);
  std::vfprintf(stderr, format, arguments);
  std::fputc('\n', stderr);
  va_end(arguments);
}

bool data_was_written() { return std::fflush(stdout) == 0 && std::ferror(stdout) == 0; }

void flush_data() { std::fflush(stdout); }

bool data_can_be_written() { return std::ferror(stdout) == 0; }

void occupy_standard_descriptors() {
  // The null device is opened for reading in the place of standard output: writing there fails.
  constexpr int kModes[] = {O_RDONLY, O_RDONLY, O_WRONLY};
  for (int descriptor = 0; descriptor < 3; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF) continue;
    // The lowest free descriptor is this one: those below are open by now.
    if (open("/dev/null", kModes[descriptor]) < 0) return;
  }
}

}  // namespace depth_io::tools
