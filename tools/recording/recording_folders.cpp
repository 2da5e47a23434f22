#include "tools/recording/recording_folders.h"

#include <algorithm>

namespace depth_io::tools {
namespace {

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

}  // namespace depth_io::tools
