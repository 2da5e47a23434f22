#include "tools/picture/stroke_font.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <vector>

namespace depth_io::tools {
namespace {

/// The strokes of a character: points as two digits, x and y, on a grid with the top of digits at
/// y 0 and the base line at 6. A stroke that begins with "~" is a quadratic spline over its points,
/// closed when the first point comes again at the end.
struct Glyph {
  char character;
  const char* strokes;
};
constexpr Glyph kGlyphs[] = {
    {'0', "~00 40 46 06 00"},
    {'1', "11 20 26"},
    {'2', "~01 00 40 43 06;06 46"},
    {'3', "~01 00 40 43 13;~13 43 46 06 05"},
    {'4', "36 30 04 44"},
    {'5', "40 10 03;~03 02 42 46 06 05"},
    {'6', "~02 42 46 06 02;~40 00 04"},
    {'7', "00 40 16"},
    {'8', "~00 40 43 03 00;~03 43 46 06 03"},
    {'9', "~00 40 44 04 00;~42 46 06"},
    {'-', "03 33"},
    {'.', "06 06"},
    {':', "03 03;06 06"},
    {',', "06 07"},
    {'/', "07 40"},
    {'%', "06 40;~00 10 11 01 00;~35 45 46 36 35"},
    {'_', "07 47"},
    {'(', "~20 03 26"},
    {')', "~00 23 06"},
    {'<', "32 04 36"},
    {'>', "02 34 06"},
    {'+', "24 24;04 44;22 26"},
    {'T', "00 40;20 26"},
    {'a', "~02 42 46 06 02;42 46"},
    {'b', "00 06;~02 42 46 06 02"},
    {'c', "~43 42 02 06 46 45"},
    {'d', "40 46;~02 42 46 06 02"},
    {'e', "04 44;~44 42 02 06 46 45"},
    {'f', "~30 10 13;13 16;02 32"},
    {'g', "~02 42 46 06 02;42 46;~46 48 08 07"},
    {'h', "00 06;~04 02 42 44;44 46"},
    {'i', "02 06;00 00"},
    {'j', "12 16;~16 18 08;10 10"},
    {'k', "00 06;32 04 36"},
    {'l', "00 06"},
    {'m', "02 06;~04 02 32 34;34 36;~34 32 62 64;64 66"},
    {'n', "02 06;~04 02 42 44;44 46"},
    {'o', "~02 42 46 06 02"},
    {'p', "02 08;~02 42 46 06 02"},
    {'q', "42 48;~02 42 46 06 02"},
    {'r', "02 06;~04 02 32"},
    {'s', "~43 42 02 03 04 44 45 46 06 05"},
    {'t', "10 14;~14 16 36;02 32"},
    {'u', "02 04;~04 06 46 44;42 46"},
    {'v', "02 26 42"},
    {'w', "02 16 33 56 62"},
    {'x', "02 46;42 06"},
    {'y', "02 26;42 18"},
    {'z', "02 42 06 46"},
};

constexpr float kGridHeight = 6.0F;
constexpr float kDigitWidth = 4.0F;
constexpr float kGap = 1.9F;
constexpr float kSpaceWidth = 2.2F;
constexpr float kStrokeWidth = 0.78F;  ///< in grid units

struct Point {
  float x;
  float y;
};
Point middle(Point a, Point b) { return {(a.x + b.x) / 2, (a.y + b.y) / 2}; }

struct Segment {
  Point from;
  Point to;
};

const Glyph* find_glyph(char character) {
  if (character != 'T') {
    character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
  }
  const auto* const found =
      std::find_if(std::begin(kGlyphs), std::end(kGlyphs),
                   [character](const Glyph& glyph) { return glyph.character == character; });
  return found == std::end(kGlyphs) ? nullptr : found;
}

std::vector<std::string_view> split_strokes(std::string_view strokes) {
  std::vector<std::string_view> parts;
  while (!strokes.empty()) {
    const std::size_t end = std::min(strokes.find(';'), strokes.size());
    parts.push_back(strokes.substr(0, end));
    strokes.remove_prefix(std::min(end + 1, strokes.size()));
  }
  return parts;
}

std::vector<Point> parse_points(std::string_view stroke) {
  std::vector<Point> points;
  for (std::size_t i = 0; i + 1 < stroke.size(); i += 3) {
    points.push_back(
        {static_cast<float>(stroke[i] - '0'), static_cast<float>(stroke[i + 1] - '0')});
  }
  return points;
}

void add_bend(std::vector<Segment>& segments, Point from, Point control, Point to) {
  constexpr int kSteps = 6;
  Point last = from;
  for (int step = 1; step <= kSteps; ++step) {
    const float t = static_cast<float>(step) / kSteps;
    const float a = (1 - t) * (1 - t);
    const float b = 2 * t * (1 - t);
    const float c = t * t;
    const Point next{a * from.x + b * control.x + c * to.x, a * from.y + b * control.y + c * to.y};
    segments.push_back({last, next});
    last = next;
  }
}

void add_spline(std::vector<Segment>& segments, const std::vector<Point>& points) {
  const std::size_t count = points.size();
  const bool closed = points.front().x == points.back().x && points.front().y == points.back().y;
  if (closed) {
    const std::size_t corners = count - 1;
    for (std::size_t i = 0; i < corners; ++i) {
      const Point before = points[(i + corners - 1) % corners];
      const Point after = points[(i + 1) % corners];
      add_bend(segments, middle(before, points[i]), points[i], middle(points[i], after));
    }
    return;
  }
  for (std::size_t i = 1; i + 1 < count; ++i) {
    const Point from = i == 1 ? points[0] : middle(points[i - 1], points[i]);
    const Point to = i + 2 == count ? points[count - 1] : middle(points[i], points[i + 1]);
    add_bend(segments, from, points[i], to);
  }
}

std::vector<Segment> glyph_segments(const Glyph& glyph) {
  std::vector<Segment> segments;
  for (std::string_view stroke : split_strokes(glyph.strokes)) {
    const bool spline = stroke.front() == '~';
    if (spline) stroke.remove_prefix(1);
    const std::vector<Point> points = parse_points(stroke);
    if (spline) {
      add_spline(segments, points);
    } else {
      for (std::size_t i = 1; i < points.size(); ++i)
        segments.push_back({points[i - 1], points[i]});
    }
  }
  return segments;
}

/// Advance of a character in grid units, the gap behind it included.
float advance(char character) {
  const Glyph* const glyph = find_glyph(character);
  if (glyph == nullptr) return kSpaceWidth + kGap;
  if (std::isdigit(static_cast<unsigned char>(character)) != 0) return kDigitWidth + kGap;
  float width = 0;
  for (const Segment& segment : glyph_segments(*glyph)) {
    width = std::max({width, segment.from.x, segment.to.x});
  }
  return width + kGap;
}

float distance_to(const Segment& segment, Point p) {
  const float dx = segment.to.x - segment.from.x;
  const float dy = segment.to.y - segment.from.y;
  const float length_squared = dx * dx + dy * dy;
  float t = 0;
  if (length_squared > 0) {
    t = ((p.x - segment.from.x) * dx + (p.y - segment.from.y) * dy) / length_squared;
    t = std::clamp(t, 0.0F, 1.0F);
  }
  return std::hypot(p.x - segment.from.x - t * dx, p.y - segment.from.y - t * dy);
}

void draw_glyph(Picture& picture, float x, float y, float unit, const Glyph& glyph, Colour colour) {
  const std::vector<Segment> segments = glyph_segments(glyph);
  const float radius = std::max(kStrokeWidth * unit, 1.1F) / 2;
  const int margin = 2;
  const int left = static_cast<int>(x) - margin;
  const int top = static_cast<int>(y) - margin;
  const int right = static_cast<int>(x + 7 * unit) + margin;
  const int bottom = static_cast<int>(y + 9 * unit) + margin;
  for (int row = top; row <= bottom; ++row) {
    for (int column = left; column <= right; ++column) {
      const Point p{(static_cast<float>(column) + 0.5F - x) / unit,
                    (static_cast<float>(row) + 0.5F - y) / unit};
      float nearest = 1e9F;
      for (const Segment& segment : segments) nearest = std::min(nearest, distance_to(segment, p));
      const float share = std::clamp(radius + 0.5F - nearest * unit, 0.0F, 1.0F);
      if (share > 0) picture.blend(column, row, colour, share);
    }
  }
}

}  // namespace

float text_width(std::string_view text, float size) {
  float width = 0;
  for (const char character : text) width += advance(character);
  return text.empty() ? 0 : (width - kGap) * size / kGridHeight;
}

void draw_text(Picture& picture, float x, float y, float size, std::string_view text,
               Colour colour) {
  const float unit = size / kGridHeight;
  for (const char character : text) {
    const Glyph* const glyph = find_glyph(character);
    if (glyph != nullptr) draw_glyph(picture, x, y, unit, *glyph, colour);
    x += advance(character) * unit;
  }
}

}  // namespace depth_io::tools
