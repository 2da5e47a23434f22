#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Uncompressed frames with their times as a Matroska stream, which video programs read from a
/// pipe: the one way to give them two kinds of images and uneven times at once.
namespace depth_io::tools {

/// What the tracks hold.
struct MatroskaTracks {
  int width = 0;
  int height = 0;
  bool with_colour = false;            ///< track 2; track 1 is 16-bit grey
  std::uint64_t step_nanoseconds = 0;  ///< usual time from a frame to the next
};

/// The beginning of the stream.
std::string matroska_header(const MatroskaTracks& tracks);

/// The begin of a frame's cluster, for so many bytes: of 16-bit grey, little-endian, and of B, G, R
/// or none. Each part follows behind its own begin.
std::string matroska_cluster_begin(std::uint64_t milliseconds, std::size_t grey_size,
                                   std::size_t colour_size);
std::string matroska_block_begin(int track, std::size_t size);

}  // namespace depth_io::tools
