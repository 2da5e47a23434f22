#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/tools/program_runner.h"

namespace depth_io::test {

inline long lines_in(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }

/// The whole lines of a text.
inline std::vector<std::string> split_lines(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t begin = 0, end = 0; (end = text.find('\n', begin)) != std::string::npos;
       begin = end + 1) {
    lines.push_back(text.substr(begin, end - begin));
  }
  return lines;
}

/// Directory of real frames; they lie beside the project, and not everybody has them.
inline std::string real_frames(const std::string& name) {
  return std::string(CAMERA_DEPTH_RW_REAL_FRAMES) + "/" + name;
}

/// A directory in which recordings are made.
class Depthrw : public testing::Test {
 protected:
  std::string path(const std::string& name) const { return directory_.file(name); }

  /// Records from the synthetic scene into "rec".
  void record(const std::string& layout, const std::string& frames,
              const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments = {"record", "--out",    path("rec"), "--layout",
                                          layout,   "--frames", frames};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const ProgramResult result = run_program(arguments);
    ASSERT_EQ(result.status, 0) << result.messages;
  }

  nlohmann::json description() const {
    return nlohmann::json::parse(read_file(path("rec/recording.json")));
  }

  std::vector<std::string> files_in(const std::string& name) const {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(path(name))) {
      files.push_back(entry.path().filename());
    }
    std::sort(files.begin(), files.end());
    return files;
  }

  /// Names of the frames that `play` delivers.
  std::vector<std::string> played_names(std::vector<std::string> more = {}) const {
    std::vector<std::string> arguments = {"play", path("rec"), "--json"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const ProgramResult result = run_program(arguments);
    EXPECT_EQ(result.status, 0) << result.messages;
    std::vector<std::string> names;
    const auto root = nlohmann::json::parse(result.output, nullptr, false);
    if (root.is_discarded()) return names;
    for (const auto& frame : root["frames"]) names.push_back(frame["name"]);
    return names;
  }

 private:
  TempDirectory directory_;
};

}  // namespace depth_io::test
