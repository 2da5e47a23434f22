#include "tools/picture/contact_sheet.h"

#include <algorithm>
#include <utility>

#include "tools/picture/colour_map.h"
#include "tools/picture/stroke_font.h"

namespace depth_io::tools {
namespace {

constexpr Colour kBackground{24, 26, 31};
constexpr Colour kText{222, 226, 232};
constexpr Colour kFaintText{150, 156, 168};

constexpr int kMargin = 24;
constexpr int kPairGap = 4;  ///< between a depth picture and its colour image
constexpr int kRows = 3;
constexpr int kHeaderHeight = 34;
constexpr int kCaptionHeight = 30;
constexpr float kTitleSize = 14.0F;
constexpr float kCaptionSize = 10.0F;

/// Depth in colours, and the colour image to the right of it.
Picture side_by_side(const Picture& depth, const Picture* colour) {
  if (colour == nullptr) return depth;
  Picture both(depth.width() + kPairGap + colour->width(), depth.height(), kBackground);
  both.copy_from(depth, 0, 0);
  both.copy_from(*colour, depth.width() + kPairGap, 0);
  return both;
}

void draw_text_at(Picture& picture, int x, int y, float size, const std::string& text,
                  Colour colour) {
  draw_text(picture, static_cast<float>(x), static_cast<float>(y), size, text, colour);
}

}  // namespace

Picture frame_picture(const Frame& frame, const std::string& caption) {
  const Picture depth = depth_picture(frame.depth, kFrameWidth, kFrameHeight);
  const Picture colour = picture_of_bgr(frame.bgr, kFrameWidth, kFrameHeight);
  const Picture both = side_by_side(depth, frame.has_colour ? &colour : nullptr);
  constexpr int kBorder = 12;
  Picture picture(both.width(), both.height() + kCaptionHeight + kLegendHeight + kBorder,
                  kBackground);
  picture.copy_from(both, 0, 0);
  draw_text_at(picture, kBorder, both.height() + 10, kCaptionSize, caption, kText);
  draw_legend(picture, kBorder, both.height() + kCaptionHeight + 2, both.width() - 2 * kBorder,
              kText);
  return picture;
}

ContactSheet::ContactSheet(std::string title, long frame_count, bool with_colour)
    : title_(std::move(title)), with_colour_(with_colour) {
  const long columns = with_colour ? 2 : 4;
  const long wanted = std::min(columns * kRows, frame_count);
  for (long i = 0; i < wanted; ++i) {
    positions_.push_back(wanted == 1 ? 0 : i * (frame_count - 1) / (wanted - 1));
  }
}

bool ContactSheet::wants(long position) const {
  return std::find(positions_.begin(), positions_.end(), position) != positions_.end();
}

void ContactSheet::add(const Frame& frame, const std::string& caption) {
  const Picture depth = half_size(depth_picture(frame.depth, kFrameWidth, kFrameHeight));
  const Picture colour = half_size(picture_of_bgr(frame.bgr, kFrameWidth, kFrameHeight));
  cells_.push_back({side_by_side(depth, with_colour_ ? &colour : nullptr), caption});
}

Picture ContactSheet::draw() const {
  const int cells = static_cast<int>(cells_.size());
  const int least_columns = with_colour_ ? 1 : 2;  // the legend wants room
  const int columns = std::clamp(cells, least_columns, with_colour_ ? 2 : 4);
  const int half_width = kFrameWidth / 2;
  const int cell_width = with_colour_ ? 2 * half_width + kPairGap : half_width;
  const int cell_height = kFrameHeight / 2 + kCaptionHeight;
  const int rows = std::max((cells + columns - 1) / columns, 1);

  const int width = kMargin + columns * (cell_width + kMargin);
  const int legend_y = kMargin + kHeaderHeight + rows * cell_height + 12;
  Picture sheet(width, legend_y + kLegendHeight + kMargin - 10, kBackground);
  draw_text_at(sheet, kMargin, kMargin, kTitleSize, title_, kText);
  for (int i = 0; i < cells; ++i) {
    const Cell& cell = cells_[static_cast<std::size_t>(i)];
    const int x = kMargin + (i % columns) * (cell_width + kMargin);
    const int y = kMargin + kHeaderHeight + (i / columns) * cell_height;
    sheet.copy_from(cell.picture, x, y);
    draw_text_at(sheet, x, y + kFrameHeight / 2 + 8, kCaptionSize, cell.caption, kFaintText);
  }
  draw_legend(sheet, kMargin, legend_y, width - 2 * kMargin, kText);
  return sheet;
}

}  // namespace depth_io::tools
