#pragma once

#include <string_view>

/// The folders of recordings, by their names.
namespace depth_io::tools {

bool is_day_folder(std::string_view name);       ///< 2013-04-09
bool is_hour_folder(std::string_view name);      ///< 14h
bool is_minute_folder(std::string_view name);    ///< 05mn
bool is_numbered_folder(std::string_view name);  ///< 00000042

}  // namespace depth_io::tools
