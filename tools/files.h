#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace depth_io::tools {

/// Contents of a regular file of at most `size_limit` bytes; none when there is no such file, it is
/// larger or it cannot be read. Never blocks on a pipe or device.
std::optional<std::string> read_regular_file(const std::string& path, std::size_t size_limit);

/// Writes a file under a temporary name beside it and renames it: readers see the old contents or
/// the new ones. Throws `Failure`.
void write_file_atomically(const std::string& path, std::string_view bytes);

/// Size of a regular file; none when there is no such file.
std::optional<std::uintmax_t> regular_file_size(const std::string& path);

/// Makes a directory and those above it. Throws `Failure`.
void make_directories(const std::string& path);

}  // namespace depth_io::tools
