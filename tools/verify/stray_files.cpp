#include "tools/verify/stray_files.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

#include "tools/recording/frame_files.h"
#include "tools/recording/recording_folders.h"
#include "tools/system/files.h"

namespace depth_io::tools {
namespace {

bool is_number_between(std::string_view name, std::string_view before, std::string_view after) {
  if (!name.starts_with(before) || !name.ends_with(after)) return false;
  if (name.size() < before.size() + after.size()) return false;
  name.remove_prefix(before.size());
  name.remove_suffix(after.size());
  return name.find_first_not_of("0123456789") == std::string_view::npos;
}

/// Descriptions, catalogues and the scripts of surveys.
bool is_record_keeping(std::string_view name) {
  return name == "list.txt" || name == "ls.txt" || is_number_between(name, "info", ".txt") ||
         is_number_between(name, "fresume", ".txt") ||
         (name.starts_with("recording") && name.ends_with(".json")) ||
         (name.starts_with("batch_") && name.ends_with(".sh"));
}

enum class NameKind { kOfFrame, kLikeFrame, kOther };

NameKind kind_of(const std::string& name) {
  const std::optional<FrameFile> file = frame_file(name);
  if (!file) return NameKind::kOther;
  RecordedFrame frame;
  frame.key = file->key;
  return understand_key(frame) ? NameKind::kOfFrame : NameKind::kLikeFrame;
}

class StraySearch {
 public:
  explicit StraySearch(const Recording& recording) : recording_(recording) {}

  std::vector<StrayFile> search() {
    look_through_root();
    for (const std::string& name : names_in("")) {
      if (!is_folder(name)) continue;
      if (is_numbered_folder(name)) look_through(name + "/");
      if (is_day_folder(name)) look_through_levels(name + "/", is_hour_folder, true);
    }
    return std::move(strays_);
  }

 private:
  bool is_folder(const std::string& name) const {
    std::error_code error;
    return std::filesystem::is_directory(recording_.directory() + "/" + name, error);
  }

  /// The recording tells of folders that cannot be listed; what failed only now nobody knows of
  /// yet.
  std::vector<std::string> names_in(const std::string& folder) const {
    const std::string path = recording_.directory() + "/" + folder;
    if (!recording_.has_unreadable_folders()) return listed_names(path);
    return sorted_names(path).value_or(std::vector<std::string>());
  }

  void look_through_root() {
    const bool has_frames =
        std::any_of(recording_.frames().begin(), recording_.frames().end(),
                    [](const RecordedFrame& frame) { return frame.folder.empty(); });
    for (const std::string& name : names_in("")) {
      if (is_folder(name)) continue;
      const bool is_judged = has_frames || kind_of(name) == NameKind::kLikeFrame;
      if (is_judged) look_at("", name);
    }
  }

  /// The folder of a day, and those of its hours: only folders belong there.
  void look_through_levels(const std::string& folder, bool (*belongs)(std::string_view),
                           bool holds_hours) {
    for (const std::string& name : names_in(folder)) {
      if (!belongs(name) || !is_folder(folder + name)) {
        add(folder, name, "belongs to no frame");
      } else if (holds_hours) {
        look_through_levels(folder + name + "/", is_minute_folder, false);
      } else {
        look_through(folder + name + "/");
      }
    }
  }

  void look_through(const std::string& folder) {
    for (const std::string& name : names_in(folder)) look_at(folder, name);
  }

  void look_at(const std::string& folder, const std::string& name) {
    switch (kind_of(name)) {
      case NameKind::kOfFrame:
        return;
      case NameKind::kLikeFrame:
        add(folder, name, "is named like a frame's file, but has no number or time of one");
        return;
      case NameKind::kOther:
        if (!is_record_keeping(name)) add(folder, name, "belongs to no frame");
    }
  }

  void add(const std::string& folder, const std::string& name, const char* reason) {
    const char* const end = is_folder(folder + name) ? "/" : "";
    strays_.push_back({folder + name + end, reason});
  }

  const Recording& recording_;
  std::vector<StrayFile> strays_;
};

}  // namespace

std::vector<StrayFile> find_stray_files(const Recording& recording) {
  return StraySearch(recording).search();
}

}  // namespace depth_io::tools
