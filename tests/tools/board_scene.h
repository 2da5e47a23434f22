#pragma once

#include <array>
#include <cmath>

#include "tests/tools/image_directory.h"

namespace depth_io::test {

/// A board of one metre by one metre before a far wall, seen square on by a camera with this focal
/// length whose axis meets the middle of the board at this pixel. Its four quarters have colours.
struct BoardScene {
  double focal_length;
  double column;
  double row;

  static constexpr double kDistance = 2;
  static constexpr double kWallDistance = 3.5;
  static constexpr double kHalfSide = 0.5;
  static constexpr tools::Colour kLeftTop{220, 30, 30};
  static constexpr tools::Colour kRightTop{30, 220, 30};
  static constexpr tools::Colour kLeftBottom{30, 30, 220};
  static constexpr tools::Colour kRightBottom{220, 220, 30};
  static constexpr tools::Colour kWall{128, 128, 128};

  bool is_board(double x, double y) const {
    return std::abs(x) <= kHalfSide && std::abs(y) <= kHalfSide;
  }

  /// Writes it as a source of one frame, in millimetres.
  void write(const ImageDirectory& directory) const {
    tools::GreyImage depth{tools::kFrameWidth, tools::kFrameHeight, {}};
    tools::Picture colour(tools::kFrameWidth, tools::kFrameHeight, kWall);
    for (int y = 0; y < tools::kFrameHeight; ++y) {
      for (int x = 0; x < tools::kFrameWidth; ++x) {
        const double right = (x - column) * kDistance / focal_length;
        const double down = (y - row) * kDistance / focal_length;
        const bool on_board = is_board(right, down);
        depth.pixels.push_back(on_board ? 2000 : 3500);
        if (!on_board) continue;
        colour.set(x, y,
                   down < 0 ? (right < 0 ? kLeftTop : kRightTop)
                            : (right < 0 ? kLeftBottom : kRightBottom));
      }
    }
    std::filesystem::create_directories(directory.file("rgb"));
    tools::write_grey_png(directory.file("depth/0.png"), depth);
    tools::write_colour_png(directory.file("rgb/0.png"), colour);
  }
};

inline constexpr BoardScene kAsusBoard{533, 320, 240};
inline constexpr BoardScene kKinectBoard{528.0144, 320, 267};

}  // namespace depth_io::test
