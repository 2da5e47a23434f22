#pragma once

#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

// Real depth frames, which lie beside the project: CAMERA_DEPTH_RW_REAL_FRAMES names their place.
namespace depth_io::test {

/// Readings beyond this are noise of the sensor, and single precision grows too coarse for them.
inline constexpr float kFarthestReading = 30.0F;

/// A set of frames: DIR/depth/*.png, 16-bit grey, and DIR/scale, units per metre.
class RealFrames {
 public:
  explicit RealFrames(const std::string& name)
      : directory_(std::string(CAMERA_DEPTH_RW_REAL_FRAMES) + "/" + name) {
    std::ifstream(directory_ + "/scale") >> units_per_metre_;
    std::error_code missing;
    for (const auto& entry : std::filesystem::directory_iterator(directory_ + "/depth", missing)) {
      if (entry.path().extension() == ".png") files_.push_back(entry.path().string());
    }
    std::sort(files_.begin(), files_.end());
  }

  std::size_t count() const { return units_per_metre_ > 0.0F ? files_.size() : 0; }
  const std::string& directory() const { return directory_; }

  /// Depth of a frame, [480*640] metres; empty when it is no 640 * 480 image.
  std::vector<float> depth(std::size_t index) const {
    return depth_of_samples(samples(files_[index]));
  }

 private:
  static std::vector<png_byte> samples(const std::string& path) {
    std::vector<png_byte> bytes;
    std::FILE* const file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) return bytes;
    bytes.resize(std::size_t{640} * 480 * 2);
    if (!read_rows(file, bytes)) bytes.clear();
    std::fclose(file);
    return bytes;
  }

  /// Nothing with a destructor lives here: libpng reports errors by a jump.
  static bool read_rows(std::FILE* file, std::vector<png_byte>& bytes) {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png)) != 0) {  // NOLINT: the library's way to report an error
      png_destroy_read_struct(&png, &info, nullptr);
      return false;
    }
    png_init_io(png, file);
    png_read_info(png, info);
    const bool known = png_get_image_width(png, info) == 640 &&
                       png_get_image_height(png, info) == 480 &&
                       png_get_bit_depth(png, info) == 16 &&
                       png_get_color_type(png, info) == PNG_COLOR_TYPE_GRAY &&
                       png_get_interlace_type(png, info) == PNG_INTERLACE_NONE;
    for (std::size_t row = 0; known && row < 480; ++row) {
      png_read_row(png, bytes.data() + row * 1280, nullptr);
    }
    png_destroy_read_struct(&png, &info, nullptr);
    return known;
  }

  std::vector<float> depth_of_samples(const std::vector<png_byte>& bytes) const {
    std::vector<float> depths;
    depths.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
      const float metres = static_cast<float>(256 * bytes[i] + bytes[i + 1]) / units_per_metre_;
      depths.push_back(metres > kFarthestReading ? 0.0F : metres);
    }
    return depths;
  }

  std::string directory_;
  float units_per_metre_ = 0.0F;
  std::vector<std::string> files_;
};

}  // namespace depth_io::test
