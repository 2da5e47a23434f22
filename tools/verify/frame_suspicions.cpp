#include "tools/verify/frame_suspicions.h"

#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <vector>

#include "codec/frame_names.h"
#include "tools/recording/recording_folders.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

constexpr double kNanosecondsPerSecond = 1e9;

struct TimedFile {
  std::string name;
  std::int64_t written;  ///< nanoseconds
};

/// None when there is no such file.
std::optional<TimedFile> timed_file(const std::string& directory, const std::string& name) {
  struct stat status = {};
  if (::lstat((directory + "/" + name).c_str(), &status) != 0) return {};
  constexpr std::int64_t kNanoseconds = 1000000000;
  return TimedFile{name, status.st_mtim.tv_sec * kNanoseconds + status.st_mtim.tv_nsec};
}

/// The files of a frame in the order in which the recorder writes them.
std::vector<TimedFile> files_in_order(const std::string& directory, const RecordedFrame& frame) {
  std::vector<TimedFile> files;
  const auto add = [&](const std::string& name) {
    if (auto file = timed_file(directory, name)) files.push_back(std::move(*file));
  };
  add(frame.colour_name() + kJpegEnding);
  for (const char* const ending : {kLabelMapEnding, kReferenceEnding, kJpegEnding, kErrorEnding}) {
    add(frame.depth_name() + ending);
  }
  return files;
}

/// Places of files that are older than the one before them.
std::vector<std::size_t> find_falls(const std::vector<TimedFile>& files) {
  std::vector<std::size_t> falls;
  for (std::size_t i = 1; i < files.size(); ++i) {
    if (files[i].written < files[i - 1].written) falls.push_back(i);
  }
  return falls;
}

/// Seconds by which a later file may be older: clocks and file systems are coarse, and the clock
/// may have been set while the frame was written.
double allowed_seconds(const Recording& recording) {
  constexpr double kCoarsestClock = 5;
  double largest_step = 0;
  for (const RecordingInfo& run : recording.runs()) {
    largest_step = std::max(largest_step, std::fabs(run.clock_steps.largest_seconds));
  }
  return kCoarsestClock + largest_step;
}

/// Why a frame looks half overwritten; empty when it does not. All of the new part must be newer
/// than all of the old one.
std::string find_overwriting(const std::vector<TimedFile>& files,
                             const std::vector<std::size_t>& falls, double allowed) {
  if (falls.size() != 1) return {};
  const TimedFile& oldest_of_new = files.front();
  const TimedFile& newest_of_old = files.back();
  const double seconds =
      static_cast<double>(oldest_of_new.written - newest_of_old.written) / kNanosecondsPerSecond;
  if (!(seconds > allowed)) return {};
  return format_text("looks half overwritten: '%s' is %.0f seconds older than '%s'",
                     files[falls.front()].name.c_str(), seconds, oldest_of_new.name.c_str());
}

}  // namespace

std::string find_misplacement(const RecordedFrame& frame) {
  constexpr std::size_t kDayNameSize = 10;
  const bool lies_in_a_tree = is_day_folder(frame.folder.substr(0, kDayNameSize));
  if (!frame.moment || !lies_in_a_tree) return {};
  PathText path;
  append_day_folder(path, "", *frame.moment);
  append_hour_folder(path, *frame.moment);
  append_minute_folder(path, *frame.moment);
  const std::string expected = std::string(path.c_str()).substr(1);  // without the "/" in front
  if (expected == frame.folder) return {};
  return "lies in a folder of another time, by its name it belongs into '" + expected + "'";
}

std::map<std::string, std::string> find_half_overwritten(const Recording& recording) {
  std::map<std::string, std::string> suspects;
  const double allowed = allowed_seconds(recording);
  std::size_t in_order = 0;
  std::size_t out_of_order = 0;
  for (const RecordedFrame& frame : recording.frames()) {
    if (!frame.has_depth_files()) continue;
    const std::vector<TimedFile> files = files_in_order(recording.directory(), frame);
    const std::vector<std::size_t> falls = find_falls(files);
    ++(falls.empty() ? in_order : out_of_order);
    std::string reason = find_overwriting(files, falls, allowed);
    if (!reason.empty()) suspects.emplace(frame.depth_name(), std::move(reason));
  }
  constexpr std::size_t kOthersInOrder = 9;  // of ten
  const bool times_are_the_recorders =
      in_order > 0 && (out_of_order <= 1 || out_of_order * kOthersInOrder <= in_order);
  if (!times_are_the_recorders) suspects.clear();
  return suspects;
}

}  // namespace depth_io::tools
