#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace depth_io::tools {

/// Contents of a regular file of at most `size_limit` bytes; none when there is no such file, it is
/// larger or it cannot be read. Never blocks on a pipe or device.
std::optional<std::string> read_regular_file(const std::string& path, std::size_t size_limit);

/// The first bytes of a regular file, at most `size`; none when there is no such file.
std::optional<std::string> read_start_of_file(const std::string& path, std::size_t size);

/// The last bytes of a regular file, at most `size`; none when there is no such file.
std::optional<std::string> read_end_of_file(const std::string& path, std::size_t size);

/// Throws `Failure` when a file to be replaced is there and is a directory or a device.
void check_replaceable(const std::string& path);

/// Writes a file under a temporary name beside it and renames it: readers see the old contents or
/// the new ones. Throws `Failure`.
void write_file_atomically(const std::string& path, std::string_view bytes);

/// Size of a regular file; none when there is no such file.
std::optional<std::uintmax_t> regular_file_size(const std::string& path);

/// Names in a directory, sorted, without "." and ".."; none, and errno set, when it cannot be
/// listed.
std::optional<std::vector<std::string>> sorted_names(const std::string& directory);

/// The same; throws `Failure` when it cannot be listed.
std::vector<std::string> listed_names(const std::string& directory);

/// Makes a directory and those above it. Throws `Failure`.
void make_directories(const std::string& path);

}  // namespace depth_io::tools
