#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "tools/system/directory_lock.h"

namespace depth_io::tools {

/// The directory that an export goes to: new, empty, or of an earlier run with the same parameters,
/// whose files are then kept. Its description, `export.json`, is there before any other file.
class ExportDirectory {
 public:
  /// Makes the directory if need be, and keeps it from other exports. With `overwrite` the files of
  /// an earlier export are removed. Throws `UsageFailure` when the directory
  /// lies in the recording, and `Failure` when it holds anything else.
  ExportDirectory(std::string path, const std::string& recording,
                  const nlohmann::ordered_json& parameters, bool overwrite);

  const std::string& path() const { return path_; }
  /// The description that an earlier run left; null when there is none.
  const nlohmann::ordered_json& earlier() const { return earlier_; }

  /// Throw `Failure`.
  void write_description(const nlohmann::ordered_json& description) const;
  void write_readme(const std::string& text) const;

 private:
  void read_earlier();
  void check_parameters(const nlohmann::ordered_json& parameters) const;
  void remove_export() const;

  std::string path_;
  nlohmann::ordered_json earlier_;
  std::unique_ptr<DirectoryLock> lock_;
};

/// What the description of an export begins with.
nlohmann::ordered_json begin_description();

}  // namespace depth_io::tools
