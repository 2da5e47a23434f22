#pragma once

#include <optional>
#include <string>

/// What the beginnings of a frame's files tell; none when a file is missing or damaged there.
namespace depth_io::tools {

/// Number of labels, from a reference file.
std::optional<long> label_count(const std::string& path);

/// Number of runs, from a label map.
std::optional<long> run_count(const std::string& path);

/// Number of records, from an error file.
std::optional<long> error_record_count(const std::string& path);

}  // namespace depth_io::tools
