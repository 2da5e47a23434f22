#include "tools/recording_folders.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <memory>

namespace depth_io::tools {
namespace {

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};

/// In the pattern, 0 stands for any digit.
bool matches(std::string_view name, std::string_view pattern) {
  const auto fits = [](char c, char wanted) {
    return wanted == '0' ? c >= '0' && c <= '9' : c == wanted;
  };
  return std::equal(name.begin(), name.end(), pattern.begin(), pattern.end(), fits);
}

}  // namespace

bool is_day_folder(std::string_view name) { return matches(name, "0000-00-00"); }
bool is_hour_folder(std::string_view name) { return matches(name, "00h"); }
bool is_minute_folder(std::string_view name) { return matches(name, "00mn"); }
bool is_numbered_folder(std::string_view name) { return matches(name, "00000000"); }

std::optional<std::vector<std::string>> sorted_names(const std::string& directory) {
  // The standard library's iterator crashes when memory runs out within it.
  const std::unique_ptr<DIR, CloseDirectory> folder(opendir(directory.c_str()));
  if (folder == nullptr) return {};
  std::vector<std::string> names;
  errno = 0;
  while (const dirent* const entry = readdir(folder.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
    errno = 0;
  }
  if (errno != 0) return {};
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace depth_io::tools
