#include "tools/recording/recording_scan.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <tuple>
#include <utility>

#include "tools/recording/recording_folders.h"
#include "tools/system/failure.h"
#include "tools/system/files.h"

namespace depth_io::tools {
namespace {

namespace fs = std::filesystem;

class Scanner {
 public:
  Scanner(const std::string& directory, const TimeRange& folders)
      : directory_(directory), range_(folders) {}

  RecordingScan scan() {
    const std::vector<std::string> names = listed_names(directory_);
    add_frames("", names);
    note_layout(Layout::kFlat);
    for (const std::string& name : names) {
      if (is_numbered_folder(name)) add_folder(name + "/");
    }
    note_layout(Layout::kNumbered);
    for (const std::string& name : names) {
      if (is_day_folder(name)) scan_day(name);
    }
    note_layout(Layout::kTree);
    // Stamp texts are in the order of time.
    std::sort(scan_.frames.begin(), scan_.frames.end(),
              [](const RecordedFrame& a, const RecordedFrame& b) {
                return std::tie(a.number, a.key, a.folder) < std::tie(b.number, b.key, b.folder);
              });
    return std::move(scan_);
  }

 private:
  void scan_day(const std::string& day) {
    if (!range_.may_contain(day)) return;
    for (const std::string& hour : names_in(day + "/")) {
      if (!is_hour_folder(hour)) continue;
      const std::string hour_stamp = day + "T" + hour.substr(0, 2);
      if (!range_.may_contain(hour_stamp)) continue;
      const std::string hour_folder = day + "/" + hour + "/";
      for (const std::string& minute : names_in(hour_folder)) {
        if (!is_minute_folder(minute)) continue;
        if (!range_.may_contain(hour_stamp + "-" + minute.substr(0, 2))) continue;
        add_folder(hour_folder + minute + "/");
      }
    }
  }

  void add_folder(const std::string& folder) { add_frames(folder, names_in(folder)); }

  /// Nothing for what is no directory; one that cannot be listed is noted.
  std::vector<std::string> names_in(const std::string& folder) {
    const std::string path = directory_ + "/" + folder;
    std::error_code error;
    const fs::file_type type = fs::status(path, error).type();
    const bool can_be_told = type != fs::file_type::none;
    if (can_be_told && type != fs::file_type::directory) return {};
    auto names = sorted_names(path);
    if (!names) scan_.unreadable_folders.push_back(folder);
    return std::move(names).value_or(std::vector<std::string>());
  }

  void add_frames(const std::string& folder, const std::vector<std::string>& names) {
    std::map<std::pair<std::string_view, bool>, RecordedFrame> found;
    for (const std::string& name : names) {
      const std::optional<FrameFile> file = frame_file(name);
      if (file) found[{file->key, file->key_first}].*(file->flag) = true;
    }
    for (auto& [key, frame] : found) {
      frame.folder = folder;
      frame.key = key.first;
      frame.key_first = key.second;
      if (understand_key(frame)) scan_.frames.push_back(std::move(frame));
    }
  }

  void note_layout(Layout layout) {
    if (scan_.frames.size() > frames_before_) scan_.layouts.push_back(layout);
    frames_before_ = scan_.frames.size();
  }

  const std::string& directory_;
  const TimeRange& range_;
  RecordingScan scan_;
  std::size_t frames_before_ = 0;
};

}  // namespace

RecordingScan scan_recording(const std::string& directory, const TimeRange& folders) {
  return Scanner(directory, folders).scan();
}

}  // namespace depth_io::tools
