#include "tools/recording/jpeg_check.h"

#include <cstddef>
#include <string_view>
#include <vector>

#include "codec/liblinjpeg.h"
#include "tools/system/files.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

constexpr std::size_t kSizeLimit = std::size_t{64} << 20U;

/// What the markers of a JPEG file tell.
struct JpegStructure {
  int components = 0;
  bool has_end = false;
  std::size_t bytes_after_end = 0;
};

/// Walks over the markers. What a decoder must find out is left to it.
class MarkerWalk {
 public:
  explicit MarkerWalk(std::string_view bytes) : bytes_(bytes) {}

  JpegStructure walk() {
    constexpr int kEndOfImage = 0xD9;
    constexpr int kStartOfScan = 0xDA;
    constexpr std::size_t kStartOfImageSize = 2;
    place_ = kStartOfImageSize;
    while (const int marker = next_marker()) {
      if (marker == kEndOfImage) {
        structure_.has_end = true;
        structure_.bytes_after_end = bytes_.size() - place_;
        break;
      }
      if (is_start_of_frame(marker)) note_components();
      place_ += static_cast<std::size_t>(byte_at(place_) * 256 + byte_at(place_ + 1));
      if (marker == kStartOfScan) skip_scan();
    }
    return structure_;
  }

 private:
  static constexpr int kMarkerByte = 0xFF;

  int byte_at(std::size_t place) const {
    return place < bytes_.size() ? static_cast<unsigned char>(bytes_[place]) : 0;
  }

  static bool is_start_of_frame(int marker) {
    constexpr int kHuffmanTables = 0xC4;
    constexpr int kExtension = 0xC8;
    constexpr int kArithmeticTables = 0xCC;
    return marker >= 0xC0 && marker <= 0xCF && marker != kHuffmanTables && marker != kExtension &&
           marker != kArithmeticTables;
  }

  /// 0 when there is none where one belongs.
  int next_marker() {
    if (byte_at(place_) != kMarkerByte) return 0;
    while (byte_at(place_) == kMarkerByte) ++place_;
    return byte_at(place_++);
  }

  void note_components() {
    constexpr std::size_t kPlaceOfCount = 7;  // after length, precision and size
    structure_.components = byte_at(place_ + kPlaceOfCount);
  }

  /// Up to the next marker that is no restart.
  void skip_scan() {
    for (; place_ < bytes_.size(); ++place_) {
      if (byte_at(place_) != kMarkerByte) continue;
      const int next = byte_at(place_ + 1);
      const bool is_restart = next >= 0xD0 && next <= 0xD7;
      if (next != 0 && next != kMarkerByte && !is_restart) return;
    }
  }

  std::string_view bytes_;
  std::size_t place_ = 0;
  JpegStructure structure_;
};

std::string find_structure_fault(std::string_view bytes, int components) {
  const JpegStructure structure = MarkerWalk(bytes).walk();
  if (components != 0 && structure.components != components) {
    return format_text("has %d components instead of %d", structure.components, components);
  }
  if (!structure.has_end) return "has no end";
  if (structure.bytes_after_end > 0) {
    return format_text("goes on after its end, %zu bytes", structure.bytes_after_end);
  }
  return {};
}

}  // namespace

std::string find_jpeg_fault(const std::string& path, const FrameSize& size, int components) {
  const auto bytes = read_regular_file(path, kSizeLimit);
  if (!bytes) return "cannot be read";
  if (bytes->empty()) return "is empty";
  std::vector<unsigned char> pixels(static_cast<std::size_t>(size.pixels()) * 3);
  const JpegReadResult result = read_jpeg_file(path.c_str(), pixels);
  if (!result.decoded) return "cannot be decoded";
  if (result.width != size.width || result.height != size.height) {
    return format_text("is %d x %d pixels instead of %d x %d", result.width, result.height,
                       size.width, size.height);
  }
  if (result.warnings > 0) {
    return format_text("is damaged (%ld warning%s of the decoder)", result.warnings,
                       result.warnings == 1 ? "" : "s");
  }
  return find_structure_fault(*bytes, components);
}

}  // namespace depth_io::tools
