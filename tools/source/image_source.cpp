#include "tools/source/image_source.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <utility>

#include "codec/liblinjpeg.h"
#include "tools/picture/png_file.h"
#include "tools/source/tum_lists.h"
#include "tools/system/failure.h"
#include "tools/system/files.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

namespace fs = std::filesystem;

constexpr double kTumUnitsPerMetre = 5000;

bool is_digit(char c) { return c >= '0' && c <= '9'; }

std::string_view take_digits(std::string_view& text) {
  std::size_t count = 0;
  while (count < text.size() && is_digit(text[count])) ++count;
  const std::string_view digits = text.substr(0, count);
  text.remove_prefix(count);
  return digits;
}

std::string_view without_zeros(std::string_view digits) {
  return digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
}

/// Units per metre out of the file `scale`; none when there is no such file.
std::optional<double> read_scale(const std::string& directory) {
  const std::string path = directory + "/scale";
  const std::optional<std::string> text = read_regular_file(path, 4096);
  if (!text) return {};
  double scale = 0;
  const char* const end = text->data() + text->size();
  const auto result = std::from_chars(text->data(), end, scale);
  const bool rest_is_blank = std::all_of(
      result.ptr, end, [](char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; });
  if (result.ec != std::errc() || !rest_is_blank || !std::isfinite(scale) || scale <= 0) {
    throw Failure("'" + path + "' does not hold a number of units per metre");
  }
  return scale;
}

std::vector<std::string> list_depth_names(const std::string& directory) {
  const auto files = sorted_names(directory + "/depth");
  if (!files) {
    const std::string reason = std::strerror(errno);
    throw Failure("cannot list '" + directory +
                  "/depth', where the source's depth images are: " + reason);
  }
  std::vector<std::string> names;
  for (const fs::path path : *files) {
    if (path.extension() == ".png") names.push_back(path.stem().string());
  }
  if (names.empty()) throw Failure("there are no .png files in '" + directory + "/depth'");
  std::sort(names.begin(), names.end(), comes_before);
  return names;
}

void check_size(const std::string& path, int width, int height) {
  if (width == kFrameWidth && height == kFrameHeight) return;
  throw Failure(format_text("'%s' is %d x %d pixels; frames are %d x %d", path.c_str(), width,
                            height, kFrameWidth, kFrameHeight));
}

void load_png(const std::string& path, std::vector<unsigned char>& rgb) {
  const Picture picture = read_colour_png(path);
  check_size(path, picture.width(), picture.height());
  rgb = picture.bytes();
}

void load_jpeg(const std::string& path, std::vector<unsigned char>& rgb) {
  const JpegReadResult result = read_jpeg_file(path.c_str(), rgb);
  if (result.width > 0) check_size(path, result.width, result.height);
  if (!result.decoded) throw Failure("cannot read '" + path + "'");
  if (result.warnings > 0) throw Failure("'" + path + "' is damaged");
}

}  // namespace

bool comes_before(const std::string& a, const std::string& b) {
  std::string_view x = a;
  std::string_view y = b;
  while (!x.empty() && !y.empty()) {
    if (is_digit(x[0]) && is_digit(y[0])) {
      const std::string_view m = without_zeros(take_digits(x));
      const std::string_view n = without_zeros(take_digits(y));
      if (m.size() != n.size()) return m.size() < n.size();
      if (m != n) return m < n;
    } else {
      if (x[0] != y[0]) return x[0] < y[0];
      x.remove_prefix(1);
      y.remove_prefix(1);
    }
  }
  if (x.empty() != y.empty()) return x.empty();
  return a < b;
}

ImageSource::ImageSource(std::string directory, const ImageChoice& choice)
    : directory_(std::move(directory)) {
  std::error_code error;
  if (!fs::is_directory(directory_, error)) {
    throw Failure("there is no directory '" + directory_ + "'");
  }
  const bool is_listed = has_tum_lists(directory_);
  if (is_listed) {
    take_lists(choice);
  } else {
    take_names(choice.with_colour);
  }
  std::optional<double> scale = choice.units_per_metre;
  if (!scale) scale = read_scale(directory_);
  if (!scale && is_listed) scale = kTumUnitsPerMetre;
  if (!scale) {
    throw Failure("there is no file '" + directory_ +
                  "/scale' with the units per metre; give --scale");
  }
  units_per_metre_ = *scale;
}

void ImageSource::take_names(bool with_colour) {
  const std::vector<std::string> names = list_depth_names(directory_);
  std::error_code error;
  has_colour_ = with_colour && fs::is_directory(directory_ + "/rgb", error);
  for (const std::string& name : names) {
    images_.push_back({directory_ + "/depth/" + name + ".png",
                       has_colour_ ? colour_file(name) : std::string(),
                       {}});
  }
}

std::string ImageSource::colour_file(const std::string& name) const {
  const std::string base = directory_ + "/rgb/" + name;
  std::error_code error;
  for (const char* const ending : {".png", ".jpg"}) {
    if (fs::exists(base + ending, error)) return base + ending;
  }
  throw Failure("there is no colour image '" + base +
                ".png' or .jpg; give --no-colour to do without");
}

void ImageSource::take_lists(const ImageChoice& choice) {
  const std::string colour_list = directory_ + "/rgb.txt";
  std::vector<ListedImage> colour;
  if (regular_file_size(colour_list)) colour = read_tum_list(colour_list);
  const std::vector<ListedImage> depth = read_tum_list(directory_ + "/depth.txt");
  if (depth.empty()) throw Failure("'" + directory_ + "/depth.txt' lists no images");
  has_colour_ = choice.with_colour && !colour.empty();
  const bool wants_pairs = !colour.empty() && !choice.with_unpaired;
  for (const ListedFrame& frame : associate(depth, colour, choice.max_gap_seconds)) {
    if (wants_pairs && !frame.colour) {
      ++unpaired_;
      continue;
    }
    images_.push_back({directory_ + "/" + frame.depth.file,
                       frame.colour ? directory_ + "/" + frame.colour->file : std::string(),
                       frame.depth.microseconds});
  }
  if (!images_.empty()) return;
  throw Failure(
      format_text("no depth image of '%s' has a colour image within %g s; give a larger "
                  "--max-gap, or --no-colour",
                  directory_.c_str(), choice.max_gap_seconds));
}

std::optional<std::int64_t> ImageSource::time_of(long index) const {
  if (index < 0 || index >= static_cast<long>(images_.size())) return {};
  return images_[static_cast<std::size_t>(index)].microseconds;
}

void ImageSource::load(long index, Frame& frame) {
  if (index < 0 || index >= static_cast<long>(images_.size())) {
    throw Failure(format_text("'%s' has no frame %ld", directory_.c_str(), index));
  }
  const Images& images = images_[static_cast<std::size_t>(index)];
  load_depth(images.depth, frame.depth);
  frame.has_colour = has_colour_ && !images.colour.empty();
  if (!frame.has_colour) return;
  if (images.colour.ends_with(".png")) {
    load_png(images.colour, frame.bgr);
  } else {
    load_jpeg(images.colour, frame.bgr);
  }
  for (std::size_t i = 0; i < frame.bgr.size(); i += 3) std::swap(frame.bgr[i], frame.bgr[i + 2]);
}

void ImageSource::load_depth(const std::string& path, std::vector<float>& depth) const {
  const GreyImage image = read_grey_png(path);
  check_size(path, image.width, image.height);
  for (std::size_t i = 0; i < kFramePixels; ++i) {
    depth[i] = static_cast<float>(static_cast<double>(image.pixels[i]) / units_per_metre_);
  }
}

}  // namespace depth_io::tools
