#include "tools/system/free_space.h"

#include <sys/statvfs.h>

#include <charconv>
#include <cmath>
#include <utility>

#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

/// A frame and its folders need a few; other programs want some, too.
constexpr std::uintmax_t kFewestFiles = 1000;
constexpr std::string_view kUnits = "KMGT";

}  // namespace

std::optional<std::uintmax_t> parse_size(std::string_view text) {
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  if (result.ec != std::errc() || !std::isfinite(number) || number < 0) return {};
  const std::string_view unit(result.ptr, static_cast<std::size_t>(end - result.ptr));
  if (!unit.empty()) {
    const std::size_t power = kUnits.find(unit[0]);
    if (unit.size() > 1 || power == std::string_view::npos) return {};
    number *= std::pow(1024.0, static_cast<double>(power + 1));
  }
  constexpr double kLargest = 1e18;
  if (number > kLargest) return {};
  return static_cast<std::uintmax_t>(number);
}

std::string size_text(double bytes) {
  if (bytes >= 1e12) return format_text("%.1f TB", bytes / 1e12);
  if (bytes >= 1e9) return format_text("%.1f GB", bytes / 1e9);
  return format_text("%.1f MB", bytes / 1e6);
}

FreeSpaceFloor::FreeSpaceFloor(std::string directory, std::uintmax_t bytes)
    : directory_(std::move(directory)), bytes_(bytes) {}

std::string FreeSpaceFloor::shortage() const {
  if (bytes_ == 0) return {};
  struct statvfs status = {};
  // What cannot be asked does not end a recording: a full disk is then found in writing.
  if (statvfs(directory_.c_str(), &status) != 0) return {};
  const std::uintmax_t bytes = std::uintmax_t{status.f_bavail} * status.f_frsize;
  if (bytes < bytes_) {
    return format_text("only %s are free for '%s', less than the %s of --min-free",
                       size_text(static_cast<double>(bytes)).c_str(), directory_.c_str(),
                       size_text(static_cast<double>(bytes_)).c_str());
  }
  // File systems without a limit tell of no files at all.
  if (status.f_files > 0 && status.f_favail < kFewestFiles) {
    return format_text("only %ju more files fit the file system of '%s'",
                       static_cast<std::uintmax_t>(status.f_favail), directory_.c_str());
  }
  return {};
}

}  // namespace depth_io::tools
