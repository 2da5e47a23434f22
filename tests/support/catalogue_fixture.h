#pragma once

#include <dirent.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "codec/timestamps.h"
#include "tests/support/temp_directory.h"

// What the tests of recordings on disk share: frames that consist of a name only, and directories
// as the system lists them.
namespace depth_io::test {

inline void touch(const std::string& path) {
  write_file(path, "");
  ASSERT_TRUE(std::filesystem::exists(path)) << path;
}

/// An empty file named like a frame's label map: all that a listing looks at.
inline void touch_frame(const std::string& directory, const std::string& stamp) {
  touch(directory + "/" + stamp + "-depth.rle");
}

inline std::string stamp_text(const Moment& m) {
  char text[kStampSize];
  write_stamp(text, m);
  return text;
}

/// Names in the order in which the directory yields them.
inline std::vector<std::string> names_in_directory_order(const std::string& directory) {
  std::vector<std::string> names;
  DIR* const handle = opendir(directory.c_str());
  if (handle == nullptr) return names;
  while (const dirent* entry = readdir(handle)) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  closedir(handle);
  return names;
}

/// What the integer parser says about a text with a character that is no digit.
inline std::string not_an_integer(const std::string& text) {
  return " ---ERROR--- PROBLEM IN GetIntFromString(..) -> NOT A INTEGER IN STRING '" + text + "'\n";
}

/// Descriptors that the process has open.
inline int open_descriptors() {
  return static_cast<int>(names_in_directory_order("/proc/self/fd").size());
}

}  // namespace depth_io::test
