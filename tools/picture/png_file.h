#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/picture/picture.h"

namespace depth_io::tools {

/// A 16-bit grey image.
struct GreyImage {
  int width = 0;
  int height = 0;
  std::vector<std::uint16_t> pixels;  ///< [height*width], row-major
};

/// Reads a 16-bit grey PNG file. Throws `Failure` when it is damaged, larger than 4096 in width or
/// height, or of another kind.
GreyImage read_grey_png(const std::string& path);

/// Reads a PNG file of any kind as 8-bit R, G, B; transparency is dropped. Throws `Failure`.
Picture read_colour_png(const std::string& path);

/// How hard a PNG file is compressed.
enum class PngEffort {
  kSmall,
  kFast  ///< a fifth of the time, about a tenth larger: for many files
};

/// Write a file as a whole or not at all. Throw `Failure`.
void write_grey_png(const std::string& path, const GreyImage& image,
                    PngEffort effort = PngEffort::kSmall);
void write_colour_png(const std::string& path, const Picture& picture,
                      PngEffort effort = PngEffort::kSmall);

}  // namespace depth_io::tools
