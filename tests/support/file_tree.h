#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "tests/support/temp_directory.h"

namespace depth_io::test {

/// Contents of all files below a directory, by their paths in it.
inline std::map<std::string, std::string> file_tree(const std::string& directory) {
  namespace fs = std::filesystem;
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(directory)) {
    if (!entry.is_regular_file()) continue;
    files[fs::relative(entry.path(), directory).string()] = read_file(entry.path());
  }
  return files;
}

}  // namespace depth_io::test
