#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace depth_io::tools {

/// Shows lines of the library on standard error.
void show_library_lines(const std::vector<std::string>& lines);

/// Takes the library's diagnostics, so that they never mix with data, and answers its waits for a
/// key at once. One at a time; the library's own console is restored at the end of its life. Each
/// thread that uses the library sees what the library said to itself.
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
  int key_waits() const;

  /// Whether it told an error since then.
  bool tells_errors() const;

  /// Shows the kept lines on standard error, unless they were shown already.
  void show_last_lines() const;

  /// The kept lines, for another thread to show them; none when they were shown already.
  std::vector<std::string> last_lines() const;

 private:
  static constexpr std::size_t kKeptLines = 6;
  static constexpr std::size_t kLongestLine = 600;

  /// What the library said to a thread.
  struct Lines {
    int key_waits = 0;
    bool tells_errors = false;
    std::string line;
    std::deque<std::string> last_lines;
  };

  void add(const char* text, std::size_t length);
  void end_line(Lines& lines);
  Lines& own_lines() const { return lines_[std::this_thread::get_id()]; }

  bool verbose_;
  mutable std::mutex mutex_;
  mutable std::map<std::thread::id, Lines> lines_;
};

}  // namespace depth_io::tools
