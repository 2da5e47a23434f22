#include "tools/recorder/tree_end.h"

#include <sys/stat.h>

#include <algorithm>

#include "codec/frame_names.h"
#include "tools/frame/frame_time.h"
#include "tools/recording/frame_files.h"
#include "tools/recording/recording_folders.h"
#include "tools/system/failure.h"
#include "tools/system/files.h"

namespace depth_io::tools {
namespace {

using FolderTest = bool (*)(std::string_view);
constexpr FolderTest kLevels[] = {is_day_folder, is_hour_folder, is_minute_folder};

/// The latest stamp text in a folder; empty when it holds no frame.
std::string last_stamp_in(const std::string& folder) {
  std::string last;
  for (const std::string& name : sorted_names(folder).value_or(std::vector<std::string>())) {
    const std::optional<FrameFile> file = frame_file(name);
    if (!file) continue;
    RecordedFrame frame;
    frame.key = file->key;
    if (understand_key(frame) && frame.moment) last = std::max(last, frame.key);
  }
  return last;
}

/// Goes down from the last folder of a level; an empty one is passed over.
std::string last_stamp_below(const std::string& folder, std::size_t level) {
  if (level == std::size(kLevels)) return last_stamp_in(folder);
  auto names = sorted_names(folder).value_or(std::vector<std::string>());
  std::erase_if(names, [level](const std::string& name) { return !kLevels[level](name); });
  for (auto name = names.rbegin(); name != names.rend(); ++name) {
    std::string stamp = last_stamp_below(folder + "/" + *name, level + 1);
    if (!stamp.empty()) return stamp;
  }
  return {};
}

/// Whether all that is there is what a run without a frame left.
bool holds_no_frame(const std::string& directory, const std::vector<std::string>& names) {
  if (names != std::vector<std::string>{"recording.json"}) return false;
  const std::optional<RecordingInfo> info = read_recording_info(directory);
  return info && recorded_nothing(*info);
}

}  // namespace

bool check_contents(const std::string& directory, bool may_append) {
  const std::vector<std::string> names = listed_names(directory);
  if (names.empty() || holds_no_frame(directory, names)) return true;
  if (!may_append) {
    throw UsageFailure("'" + directory +
                       "' is not empty; recordings are not mixed (--append goes on with a tree)");
  }
  const bool has_other_layout = std::any_of(names.begin(), names.end(), [](const auto& name) {
    return is_numbered_folder(name) || frame_file(name).has_value();
  });
  bool is_tree = std::any_of(names.begin(), names.end(), is_day_folder);
  // A run that was ended before its first frame left a description only.
  if (!is_tree) {
    const std::optional<RecordingInfo> info = read_recording_info(directory);
    is_tree = info && info->layout == Layout::kTree;
  }
  if (!is_tree || has_other_layout) {
    throw UsageFailure("'" + directory + "' holds something else than a tree of recorded frames");
  }
  return false;
}

std::optional<Moment> last_moment_of_tree(const std::string& directory) {
  const std::string stamp = last_stamp_below(directory, 0);
  if (stamp.empty()) return {};
  return parse_moment(stamp);
}

bool tree_has_frame(const std::string& directory, const Moment& moment) {
  PathText path;
  append_day_folder(path, directory.c_str(), moment);
  append_hour_folder(path, moment);
  append_minute_folder(path, moment);
  const std::string stamp = stamp_text(moment);
  append_frame_name(path, "", kDepthStem, true, {true, kNumberDigits, 0, stamp.c_str()});
  // The file that is written last.
  path.append(kErrorEnding);
  struct stat status = {};
  return path.fits() && ::stat(path.c_str(), &status) == 0;
}

}  // namespace depth_io::tools
