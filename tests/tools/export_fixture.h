#pragma once

#include <string>
#include <vector>

#include "tests/tools/depthrw_fixture.h"
#include "tools/recording/recording.h"
#include "tools/system/library_log.h"

namespace depth_io::test {

/// Exports of the recording "rec".
class DepthrwExportFixture : public Depthrw {
 protected:
  /// Exports "rec" to the directory of that name.
  ProgramResult export_to(const std::string& name, const std::string& format,
                          const std::vector<std::string>& more = {}) const {
    std::vector<std::string> arguments = {"export", path("rec"), "--to",
                                          format,   "--out",     path(name)};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run_program(arguments);
  }

  /// The same, and it has to work.
  void export_well(const std::string& name, const std::string& format,
                   const std::vector<std::string>& more = {}) const {
    const ProgramResult result = export_to(name, format, more);
    ASSERT_EQ(result.status, 0) << result.messages;
  }

  nlohmann::json json_of(const std::string& file) const {
    return nlohmann::json::parse(read_file(path(file)));
  }

  /// A recorded frame as playback gives it, with the name that its exports have.
  struct Played {
    std::string name;
    tools::RecordedFrame recorded;
    tools::Frame frame;
  };
  std::vector<Played> played_frames() const {
    tools::LibraryLog log(false);
    tools::Recording recording(path("rec"), log);
    std::vector<Played> played;
    for (const tools::RecordedFrame& recorded : recording.frames()) {
      played.push_back({recorded.key, recorded, {}});
      EXPECT_EQ(recording.read(recorded, played.back().frame), "");
    }
    return played;
  }

  /// Path of a frame's recorded file.
  std::string recorded_file(std::size_t frame, const std::string& ending) const {
    tools::LibraryLog log(false);
    const tools::Recording recording(path("rec"), log);
    return path("rec/") + recording.frames().at(frame).depth_name() + ending;
  }

  /// Cuts a file in half.
  static void cut(const std::string& file) {
    std::filesystem::resize_file(file, std::filesystem::file_size(file) / 2);
  }

  /// All files below a directory, with their contents.
  std::vector<std::pair<std::string, std::string>> contents(const std::string& name) const {
    std::vector<std::pair<std::string, std::string>> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path(name))) {
      if (!entry.is_regular_file()) continue;
      const std::string file = std::filesystem::relative(entry.path(), path(name));
      files.emplace_back(file, read_file(entry.path()));
    }
    std::sort(files.begin(), files.end());
    return files;
  }
};

}  // namespace depth_io::test
