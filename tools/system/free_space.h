#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace depth_io::tools {

/// Bytes in a text such as 500M, 1.5G or 4096 (K, M, G, T: powers of 1024); none when it is no
/// size.
std::optional<std::uintmax_t> parse_size(std::string_view text);

/// A size for people: 1.5 GB.
std::string size_text(double bytes);

/// Sees to it that a recording ends before its disk is full.
class FreeSpaceFloor {
 public:
  /// `bytes` 0: there is no floor.
  FreeSpaceFloor(std::string directory, std::uintmax_t bytes);

  /// What is short of the floor, a sentence; empty when there is room.
  std::string shortage() const;

 private:
  std::string directory_;
  std::uintmax_t bytes_;
};

}  // namespace depth_io::tools
