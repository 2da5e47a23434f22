#pragma once

#include <cstddef>
#include <deque>
#include <string>

namespace depth_io::tools {

/// Takes the library's diagnostics, so that they never mix with data, and answers its waits for a
/// key at once. One at a time; the library's own console is restored at the end of its life.
class LibraryLog {
 public:
  /// With `verbose` each line is shown on standard error as it comes.
  explicit LibraryLog(bool verbose);
  ~LibraryLog();
  LibraryLog(const LibraryLog&) = delete;
  LibraryLog& operator=(const LibraryLog&) = delete;

  /// Forgets lines and key waits: call it before the operation that they are to explain.
  void start_operation();

  /// How often the library wanted a key since then: it does so when something is wrong.
  int key_waits() const { return key_waits_; }

  /// Shows the kept lines on standard error, unless they were shown already.
  void show_last_lines() const;

 private:
  static constexpr std::size_t kKeptLines = 6;
  static constexpr std::size_t kLongestLine = 600;

  void add(const char* text, std::size_t length);
  void end_line();

  bool verbose_;
  int key_waits_ = 0;
  std::string line_;
  std::deque<std::string> last_lines_;
};

}  // namespace depth_io::tools
