#include "tools/system/library_log.h"

#include <cstdio>
#include <new>

#include "codec/console.h"

namespace depth_io::tools {

void show_library_lines(const std::vector<std::string>& lines) {
  for (const std::string& line : lines) std::fprintf(stderr, "  | %s\n", line.c_str());
}

LibraryLog::LibraryLog(bool verbose) : verbose_(verbose) {
  set_print_handler([](void* log, const char* text,
                       std::size_t length) { static_cast<LibraryLog*>(log)->add(text, length); },
                    this);
  const auto count_key_wait = [](void* context) {
    auto* const log = static_cast<LibraryLog*>(context);
    const std::lock_guard lock(log->mutex_);
    ++log->own_lines().key_waits;
  };
  set_key_wait_handler(count_key_wait, this);
}

LibraryLog::~LibraryLog() {
  set_print_handler(nullptr, nullptr);
  set_key_wait_handler(nullptr, nullptr);
}

void LibraryLog::start_operation() {
  const std::lock_guard lock(mutex_);
  own_lines() = {};
}

int LibraryLog::key_waits() const {
  const std::lock_guard lock(mutex_);
  return own_lines().key_waits;
}

bool LibraryLog::tells_errors() const {
  const std::lock_guard lock(mutex_);
  return own_lines().tells_errors;
}

void LibraryLog::show_last_lines() const { show_library_lines(last_lines()); }

std::vector<std::string> LibraryLog::last_lines() const {
  if (verbose_) return {};
  const std::lock_guard lock(mutex_);
  const Lines& own = own_lines();
  std::vector<std::string> lines(own.last_lines.begin(), own.last_lines.end());
  if (!own.line.empty()) lines.push_back(own.line);
  return lines;
}

void LibraryLog::add(const char* text, std::size_t length) {
  const std::lock_guard lock(mutex_);
  Lines& lines = own_lines();
  try {
    for (std::size_t i = 0; i < length; ++i) {
      if (text[i] == '\n') {
        end_line(lines);
      } else if (lines.line.size() < kLongestLine) {
        lines.line.push_back(text[i]);
      }
    }
  } catch (const std::bad_alloc&) {
    // A line that was lost may have told of an error; its start must not hide the next one.
    lines.tells_errors = true;
    lines.line.clear();
  }
}

void LibraryLog::end_line(Lines& lines) {
  lines.tells_errors |= lines.line.starts_with("ERROR");
  if (verbose_) {
    show_library_lines({lines.line});
  } else {
    lines.last_lines.push_back(lines.line);
    if (lines.last_lines.size() > kKeptLines) lines.last_lines.pop_front();
  }
  lines.line.clear();
}

}  // namespace depth_io::tools
