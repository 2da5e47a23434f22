#pragma once

#include <cstddef>
#include <span>
#include <vector>

/// The JPEG library's own calls and nothing else: what no recorder of this format can do without.
namespace depth_io::bench {

struct JpegImage {
  const unsigned char* pixels;  ///< row-major without padding
  int width;
  int height;
  int components;  ///< 1 grey; 3 colour, in buffer order
};

/// Encodes as the frame writer does (quality 95, the library's defaults) from memory to memory.
/// `buffer` holds the bytes to come and keeps its size; returns how many of them were filled.
std::size_t encode_bare(const JpegImage& image, std::span<unsigned char> buffer);

/// Decodes from memory. `image` grows to the image's size.
void decode_bare(std::span<const unsigned char> bytes, std::vector<unsigned char>& image);

}  // namespace depth_io::bench
