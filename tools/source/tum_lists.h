#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace depth_io::tools {

/// An image that a list of a TUM data set names.
struct ListedImage {
  std::int64_t microseconds = 0;  ///< since 1970
  std::string file;               ///< relative to the data set
};

/// A depth image and the colour image that belongs to it.
struct ListedFrame {
  ListedImage depth;
  std::optional<ListedImage> colour;
};

/// True when a directory holds the list of depth images of that layout.
bool has_tum_lists(const std::string& directory);

/// Reads a list: a line for each image with its time in seconds and its file, "#" before comments.
/// In the order of time. Throws `Failure` when a line is damaged or its file lies outside the data
/// set.
std::vector<ListedImage> read_tum_list(const std::string& path);

/// Gives each depth image the colour image nearest to it in time, if there is one within
/// `max_gap_seconds`. Both lists are in the order of time.
std::vector<ListedFrame> associate(const std::vector<ListedImage>& depth,
                                   const std::vector<ListedImage>& colour, double max_gap_seconds);

}  // namespace depth_io::tools
