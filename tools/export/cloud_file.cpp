#include "tools/export/cloud_file.h"

#include <array>
#include <bit>
#include <charconv>
#include <cstring>
#include <optional>
#include <string_view>

#include "tools/system/files.h"

namespace depth_io::tools {
namespace {

constexpr std::string_view kBegin = "ply\nformat binary_little_endian 1.0\n";
constexpr std::string_view kVertices = "\nelement vertex ";
constexpr std::string_view kColours =
    "property uchar red\nproperty uchar green\nproperty uchar blue\n";
constexpr std::string_view kEnd = "end_header\n";
constexpr std::size_t kPointSize = 3 * sizeof(float);
constexpr std::size_t kColourSize = 3;

static_assert(std::endian::native == std::endian::little, "points are written as they are");

void append_point(std::string& text, const CloudPoint& point, bool with_colour) {
  const std::array<float, 3> place{point.x, point.y, point.z};
  std::array<char, kPointSize + kColourSize> bytes{};
  std::memcpy(bytes.data(), place.data(), kPointSize);
  bytes[kPointSize] = static_cast<char>(point.colour.red);
  bytes[kPointSize + 1] = static_cast<char>(point.colour.green);
  bytes[kPointSize + 2] = static_cast<char>(point.colour.blue);
  text.append(bytes.data(), with_colour ? bytes.size() : kPointSize);
}

}  // namespace

std::string cloud_text(const std::vector<CloudPoint>& points, bool with_colour,
                       const std::vector<std::string>& comments) {
  std::string text(kBegin);
  for (const std::string& comment : comments) text += "comment " + comment + "\n";
  text += "element vertex " + std::to_string(points.size()) + "\n";
  text += "property float x\nproperty float y\nproperty float z\n";
  if (with_colour) text += kColours;
  text += kEnd;
  text.reserve(text.size() + points.size() * (kPointSize + kColourSize));
  for (const CloudPoint& point : points) append_point(text, point, with_colour);
  return text;
}

bool is_whole_cloud(const std::string& path) {
  constexpr std::size_t kLongestHeader = 4096;
  const std::optional<std::string> start = read_start_of_file(path, kLongestHeader);
  if (!start || !start->starts_with(kBegin)) return false;
  const std::size_t end = start->find(kEnd);
  const std::size_t vertices = start->find(kVertices);
  if (end == std::string::npos || vertices > end) return false;
  std::uintmax_t count = 0;
  std::from_chars(start->data() + vertices + kVertices.size(), start->data() + end, count);
  const bool with_colour = start->find(kColours) < end;
  return regular_file_size(path) ==
         end + kEnd.size() + count * (kPointSize + (with_colour ? kColourSize : 0));
}

}  // namespace depth_io::tools
