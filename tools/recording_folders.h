#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The folders of recordings, by their names.
namespace depth_io::tools {

bool is_day_folder(std::string_view name);       ///< 2013-04-09
bool is_hour_folder(std::string_view name);      ///< 14h
bool is_minute_folder(std::string_view name);    ///< 05mn
bool is_numbered_folder(std::string_view name);  ///< 00000042

/// Names in a directory, sorted, without "." and ".."; none, and errno set, when it cannot be
/// listed.
std::optional<std::vector<std::string>> sorted_names(const std::string& directory);

}  // namespace depth_io::tools
