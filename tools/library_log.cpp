#include "tools/library_log.h"

#include <cstdio>

#include "codec/console.h"

namespace depth_io::tools {

LibraryLog::LibraryLog(bool verbose) : verbose_(verbose) {
  set_print_handler([](void* log, const char* text,
                       std::size_t length) { static_cast<LibraryLog*>(log)->add(text, length); },
                    this);
  set_key_wait_handler([](void* log) { ++static_cast<LibraryLog*>(log)->key_waits_; }, this);
}

LibraryLog::~LibraryLog() {
  set_print_handler(nullptr, nullptr);
  set_key_wait_handler(nullptr, nullptr);
}

void LibraryLog::start_operation() {
  key_waits_ = 0;
  line_.clear();
  last_lines_.clear();
}

void LibraryLog::show_last_lines() const {
  if (verbose_) return;
  for (const std::string& line : last_lines_) std::fprintf(stderr, "  | %s\n", line.c_str());
  if (!line_.empty()) std::fprintf(stderr, "  | %s\n", line_.c_str());
}

void LibraryLog::add(const char* text, std::size_t length) {
  for (std::size_t i = 0; i < length; ++i) {
    if (text[i] == '\n') {
      end_line();
    } else if (line_.size() < kLongestLine) {
      line_.push_back(text[i]);
    }
  }
}

void LibraryLog::end_line() {
  if (verbose_) {
    std::fprintf(stderr, "  | %s\n", line_.c_str());
  } else {
    last_lines_.push_back(line_);
    if (last_lines_.size() > kKeptLines) last_lines_.pop_front();
  }
  line_.clear();
}

}  // namespace depth_io::tools
