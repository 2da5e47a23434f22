#pragma once

#include <cstdint>

namespace depth_io::tools {

/// Bytes on disk, by kind of file.
struct FileBytes {
  std::uintmax_t colour = 0;
  std::uintmax_t label_map = 0;
  std::uintmax_t reference = 0;
  std::uintmax_t codes = 0;
  std::uintmax_t errors = 0;

  std::uintmax_t sum() const { return colour + label_map + reference + codes + errors; }
  FileBytes& operator+=(const FileBytes& other) {
    colour += other.colour;
    label_map += other.label_map;
    reference += other.reference;
    codes += other.codes;
    errors += other.errors;
    return *this;
  }
};

}  // namespace depth_io::tools
