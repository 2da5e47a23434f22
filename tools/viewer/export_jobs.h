#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace depth_io::tools {

/// What is to be exported. Everything comes from a request and is checked before it is used.
struct ExportOrder {
  std::string format;
  std::string name;  ///< of the new directory
  std::string from;  ///< stamp texts of the first and the last frame; empty: all frames
  std::string to;
  std::uint64_t frames = 0;  ///< in that range
  std::uint64_t stride = 1;
  bool swaps_principal_point = false;

  bool operator==(const ExportOrder&) const = default;
};

inline constexpr const char* kExportFormats[] = {"tum", "png", "open3d", "ply", "video", "csv"};

/// Exports that run as programs of their own beside the viewer.
class ExportJobs {
 public:
  /// `program` exports frames of the recording in `recording_directory` to directories in `place`.
  ExportJobs(std::string program, std::string recording_directory, std::string place);
  /// Ends those that are at work.
  ~ExportJobs();

  /// Starts an export, or goes on with one that did not come to its end. Throws `Refused` when it
  /// cannot be taken now, `Failure` when it cannot start.
  std::uint64_t start(const ExportOrder& order);
  /// False when there is no such export at work.
  bool cancel(std::uint64_t id);
  /// Where they go and all of them, the newest first, JSON.
  std::string description() const;

 private:
  static constexpr std::size_t kMostAtWork = 2;
  static constexpr std::size_t kMostKept = 50;

  struct Job {
    std::uint64_t id = 0;
    ExportOrder order;
    std::string path;
    std::atomic<bool> is_cancelled = false;
    // Under the lock:
    std::uint64_t done = 0;
    std::uint64_t total = 0;
    std::vector<std::string> last_lines;
    std::optional<int> status;
    std::jthread thread;
  };

  void check(const ExportOrder& order) const;
  /// Whether an export that did not come to its end may go on with this order.
  bool goes_on_with(const ExportOrder& order) const;
  std::vector<std::string> command_for(const Job& job) const;
  void watch(Job& job, const std::stop_token& stop);
  void take_line(Job& job, const std::string& line);

  std::string program_;
  std::string recording_directory_;
  std::string place_;
  mutable std::mutex mutex_;
  std::uint64_t last_id_ = 0;
  std::list<Job> jobs_;
};

/// The progress that a line of the program shows, as "12/150 frames"; none in other lines.
struct ShownProgress {
  std::uint64_t done;
  std::uint64_t total;
};
std::optional<ShownProgress> shown_progress(const std::string& line);

}  // namespace depth_io::tools
