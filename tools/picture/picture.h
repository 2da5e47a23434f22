#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace depth_io::tools {

struct Colour {
  unsigned char red = 0;
  unsigned char green = 0;
  unsigned char blue = 0;
  bool operator==(const Colour&) const = default;
};

/// An R, G, B image that can be drawn on. What lies outside is not drawn.
class Picture {
 public:
  Picture() = default;
  Picture(int width, int height, Colour background = {});

  int width() const { return width_; }
  int height() const { return height_; }
  std::vector<unsigned char>& bytes() { return rgb_; }  ///< [height*width*3]
  const std::vector<unsigned char>& bytes() const { return rgb_; }

  Colour at(int x, int y) const;
  void set(int x, int y, Colour colour);
  /// Mixes `colour` in: 0 leaves the pixel, 1 replaces it.
  void blend(int x, int y, Colour colour, float share);
  void fill(int x, int y, int width, int height, Colour colour);
  void copy_from(const Picture& source, int x, int y);

 private:
  bool contains(int x, int y) const { return x >= 0 && y >= 0 && x < width_ && y < height_; }
  std::size_t offset(int x, int y) const {
    return (static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
            static_cast<std::size_t>(x)) *
           3;
  }

  int width_ = 0;
  int height_ = 0;
  std::vector<unsigned char> rgb_;
};

/// The picture at half its size, each pixel the mean of four.
Picture half_size(const Picture& picture);

/// A B, G, R frame of the given size as a picture.
Picture picture_of_bgr(const std::vector<unsigned char>& bgr, int width, int height);

}  // namespace depth_io::tools
