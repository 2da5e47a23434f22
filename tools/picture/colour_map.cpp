#include "tools/picture/colour_map.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "tools/frame/frame.h"
#include "tools/picture/stroke_font.h"

namespace depth_io::tools {
namespace {

/// The Turbo map as polynomials of degree 5; `t` runs from 0 (cool) to 1 (warm).
Colour turbo(float t) {
  constexpr float kRed[] = {0.13572138F,   4.61539260F,    -42.66032258F,
                            132.13108234F, -152.94239396F, 59.28637943F};
  constexpr float kGreen[] = {0.09140261F,   2.19418839F, 4.84296658F,
                              -14.18503333F, 4.27729857F, 2.82956604F};
  constexpr float kBlue[] = {0.10667330F,   12.64194608F,  -60.58204836F,
                             110.36276771F, -89.90310912F, 27.34824973F};
  const auto channel = [t](const float(&coefficients)[6]) {
    float value = 0;
    for (int i = 5; i >= 0; --i) value = value * t + coefficients[i];
    return static_cast<unsigned char>(std::clamp(value, 0.0F, 1.0F) * 255.0F + 0.5F);
  };
  return {channel(kRed), channel(kGreen), channel(kBlue)};
}

/// Place of a depth on the scale, 0 (near) to 1 (far).
float scale_position(float depth) {
  const float clamped = std::clamp(depth, kNearestColourDepth, kFarthestColourDepth);
  return std::log(clamped / kNearestColourDepth) /
         std::log(kFarthestColourDepth / kNearestColourDepth);
}

/// Both ends of the map are nearly black, which would look like a missing reading.
Colour scale_colour(float position) { return turbo(0.97F - 0.92F * position); }

/// Colours of all depths on the scale in steps of a millimetre.
constexpr std::size_t kTableSize = 8001;
const std::array<Colour, kTableSize>& colour_table() {
  static const auto table = [] {
    std::array<Colour, kTableSize> colours;
    for (std::size_t mm = 0; mm < kTableSize; ++mm) {
      colours[mm] = scale_colour(scale_position(static_cast<float>(mm) / 1000.0F));
    }
    return colours;
  }();
  return table;
}

constexpr Colour kNoReading{0, 0, 0};
constexpr float kTextSize = 10.0F;
constexpr int kBarHeight = 14;

}  // namespace

Colour depth_colour(float depth) {
  // Not-a-number fails this comparison, too.
  if (!(depth > kLeastReading)) return kNoReading;
  const float millimetres = std::min(depth, kFarthestColourDepth) * 1000.0F + 0.5F;
  return colour_table()[std::min(static_cast<std::size_t>(millimetres), kTableSize - 1)];
}

Picture depth_picture(const std::vector<float>& depth, int width, int height) {
  Picture picture(width, height);
  std::size_t i = 0;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width && i < depth.size(); ++x) picture.set(x, y, depth_colour(depth[i++]));
  }
  return picture;
}

void draw_legend(Picture& picture, int x, int y, int width, Colour text_colour) {
  const std::string no_reading = "no reading";
  const int no_reading_width =
      static_cast<int>(text_width(no_reading, kTextSize)) + 2 * kBarHeight + 36;
  const std::string title = "depth, metres";
  const int title_width = static_cast<int>(text_width(title, kTextSize)) + 16;
  const int bar_x = x + title_width;
  const int bar_width = width - title_width - no_reading_width;
  const auto text_y = static_cast<float>(y + 2);
  draw_text(picture, static_cast<float>(x), text_y, kTextSize, title, text_colour);

  for (int i = 0; i < bar_width; ++i) {
    const float position = (static_cast<float>(i) + 0.5F) / static_cast<float>(bar_width);
    picture.fill(bar_x + i, y, 1, kBarHeight, scale_colour(position));
  }
  constexpr struct {
    float depth;
    const char* text;
  } kTicks[] = {{0.4F, "0.4"}, {0.5F, "0.5"}, {0.7F, "0.7"}, {1.0F, "1"}, {1.5F, "1.5"},
                {2.0F, "2"},   {3.0F, "3"},   {4.0F, "4"},   {6.0F, "6"}, {8.0F, "8"}};
  for (const auto& tick : kTicks) {
    const float place = scale_position(tick.depth) * static_cast<float>(bar_width - 1);
    const int tick_x = bar_x + static_cast<int>(place + 0.5F);
    picture.fill(tick_x, y + kBarHeight, 1, 5, text_colour);
    const float label_width = text_width(tick.text, kTextSize);
    draw_text(picture, static_cast<float>(tick_x) + 0.5F - label_width / 2,
              static_cast<float>(y + kBarHeight + 9), kTextSize, tick.text, text_colour);
  }

  const int swatch_x = bar_x + bar_width + 28;
  picture.fill(swatch_x - 1, y - 1, 2 * kBarHeight + 2, kBarHeight + 2, text_colour);
  picture.fill(swatch_x, y, 2 * kBarHeight, kBarHeight, kNoReading);
  draw_text(picture, static_cast<float>(swatch_x + 2 * kBarHeight + 8), text_y, kTextSize,
            no_reading, text_colour);
}

}  // namespace depth_io::tools
