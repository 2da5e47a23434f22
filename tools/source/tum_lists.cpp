#include "tools/source/tum_lists.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <utility>

#include "tools/system/failure.h"
#include "tools/system/files.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

constexpr std::size_t kSizeLimit = std::size_t{64} << 20U;
constexpr double kEndOfYear9999 = 253402300799;

std::string_view take_line(std::string_view& text) {
  const std::string_view line = text.substr(0, text.find('\n'));
  text.remove_prefix(std::min(line.size() + 1, text.size()));
  return line;
}

std::string_view take_word(std::string_view& text) {
  constexpr std::string_view kBlanks = " \t\r";
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
  text.remove_prefix(word.size());
  return word;
}

std::optional<std::int64_t> parse_seconds(std::string_view word) {
  double seconds = -1;
  const auto result = std::from_chars(word.data(), word.data() + word.size(), seconds);
  if (result.ec != std::errc() || result.ptr != word.data() + word.size()) return {};
  if (!(seconds >= 0 && seconds < kEndOfYear9999)) return {};
  return std::llround(seconds * 1e6);
}

/// A list cannot reach for files elsewhere.
bool lies_inside(const std::filesystem::path& file) {
  return file.is_relative() && std::find(file.begin(), file.end(), "..") == file.end();
}

std::optional<ListedImage> parse_line(std::string_view line) {
  const auto time = parse_seconds(take_word(line));
  const std::string_view file = take_word(line);
  if (!time || file.empty() || !take_word(line).empty() || !lies_inside(file)) return {};
  return ListedImage{*time, std::string(file)};
}

}  // namespace

bool has_tum_lists(const std::string& directory) {
  return regular_file_size(directory + "/depth.txt").has_value();
}

std::vector<ListedImage> read_tum_list(const std::string& path) {
  const std::optional<std::string> text = read_regular_file(path, kSizeLimit);
  if (!text) throw Failure("cannot read '" + path + "'");
  std::vector<ListedImage> images;
  std::string_view rest = *text;
  for (long number = 1; !rest.empty(); ++number) {
    const std::string_view line = take_line(rest);
    std::string_view words = line;
    const std::string_view first = take_word(words);
    if (first.empty() || first[0] == '#') continue;
    const std::optional<ListedImage> image = parse_line(line);
    if (!image) {
      throw Failure(
          format_text("line %ld of '%s' is no time in seconds with a file of the data set", number,
                      path.c_str()));
    }
    images.push_back(*image);
  }
  std::stable_sort(images.begin(), images.end(), [](const ListedImage& a, const ListedImage& b) {
    return a.microseconds < b.microseconds;
  });
  return images;
}

std::vector<ListedFrame> associate(const std::vector<ListedImage>& depth,
                                   const std::vector<ListedImage>& colour, double max_gap_seconds) {
  std::vector<ListedFrame> frames;
  std::size_t nearest = 0;
  for (const ListedImage& image : depth) {
    const auto gap_to = [&](std::size_t place) {
      return std::abs(colour[place].microseconds - image.microseconds);
    };
    while (nearest + 1 < colour.size() && gap_to(nearest + 1) < gap_to(nearest)) ++nearest;
    ListedFrame frame{image, {}};
    const bool is_near =
        nearest < colour.size() && static_cast<double>(gap_to(nearest)) <= max_gap_seconds * 1e6;
    if (is_near) frame.colour = colour[nearest];
    frames.push_back(std::move(frame));
  }
  return frames;
}

}  // namespace depth_io::tools
