#include "tools/picture/picture.h"

#include <algorithm>

namespace depth_io::tools {
namespace {

unsigned char mix(unsigned char from, unsigned char to, float share) {
  const float value =
      static_cast<float>(from) + (static_cast<float>(to) - static_cast<float>(from)) * share;
  return static_cast<unsigned char>(std::clamp(value + 0.5F, 0.0F, 255.0F));
}

}  // namespace

Picture::Picture(int width, int height, Colour background)
    : width_(width),
      height_(height),
      rgb_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3) {
  fill(0, 0, width, height, background);
}

Colour Picture::at(int x, int y) const {
  if (!contains(x, y)) return {};
  const unsigned char* const pixel = &rgb_[offset(x, y)];
  return {pixel[0], pixel[1], pixel[2]};
}

void Picture::set(int x, int y, Colour colour) {
  if (!contains(x, y)) return;
  unsigned char* const pixel = &rgb_[offset(x, y)];
  pixel[0] = colour.red;
  pixel[1] = colour.green;
  pixel[2] = colour.blue;
}

void Picture::blend(int x, int y, Colour colour, float share) {
  const Colour old = at(x, y);
  set(x, y,
      {mix(old.red, colour.red, share), mix(old.green, colour.green, share),
       mix(old.blue, colour.blue, share)});
}

void Picture::fill(int x, int y, int width, int height, Colour colour) {
  for (int row = std::max(y, 0); row < std::min(y + height, height_); ++row) {
    for (int column = std::max(x, 0); column < std::min(x + width, width_); ++column) {
      set(column, row, colour);
    }
  }
}

void Picture::copy_from(const Picture& source, int x, int y) {
  for (int row = 0; row < source.height(); ++row) {
    for (int column = 0; column < source.width(); ++column) {
      set(x + column, y + row, source.at(column, row));
    }
  }
}

Picture half_size(const Picture& picture) {
  Picture half(picture.width() / 2, picture.height() / 2);
  for (int y = 0; y < half.height(); ++y) {
    for (int x = 0; x < half.width(); ++x) {
      int sums[3] = {2, 2, 2};
      for (int part = 0; part < 4; ++part) {
        const Colour colour = picture.at(2 * x + part % 2, 2 * y + part / 2);
        sums[0] += colour.red;
        sums[1] += colour.green;
        sums[2] += colour.blue;
      }
      half.set(x, y,
               {static_cast<unsigned char>(sums[0] / 4), static_cast<unsigned char>(sums[1] / 4),
                static_cast<unsigned char>(sums[2] / 4)});
    }
  }
  return half;
}

Picture picture_of_bgr(const std::vector<unsigned char>& bgr, int width, int height) {
  Picture picture(width, height);
  std::vector<unsigned char>& rgb = picture.bytes();
  for (std::size_t i = 0; i + 2 < std::min(rgb.size(), bgr.size()); i += 3) {
    rgb[i] = bgr[i + 2];
    rgb[i + 1] = bgr[i + 1];
    rgb[i + 2] = bgr[i];
  }
  return picture;
}

}  // namespace depth_io::tools
