#include "tools/file_heads.h"

#include <charconv>
#include <string_view>

#include "tools/files.h"

namespace depth_io::tools {
namespace {

/// The number behind a keyword at the beginning of a text file.
std::optional<long> leading_count(const std::string& path, std::string_view keyword) {
  constexpr std::size_t kEnough = 64;
  const std::optional<std::string> text = read_start_of_file(path, kEnough);
  if (!text || !text->starts_with(keyword)) return {};
  long count = 0;
  const auto result =
      std::from_chars(text->data() + keyword.size(), text->data() + text->size(), count);
  if (result.ec != std::errc() || count < 0) return {};
  return count;
}

}  // namespace

std::optional<long> label_count(const std::string& path) {
  return leading_count(path, "nblabels ");
}

std::optional<long> run_count(const std::string& path) { return leading_count(path, ""); }

std::optional<long> error_record_count(const std::string& path) {
  constexpr std::size_t kHeaderSize = 12;
  const std::optional<std::string> bytes = read_start_of_file(path, kHeaderSize);
  if (!bytes || bytes->size() < kHeaderSize) return {};
  long count = 0;
  for (std::size_t i = 0; i < kHeaderSize; i += 2) {
    count +=
        static_cast<unsigned char>((*bytes)[i]) * 256 + static_cast<unsigned char>((*bytes)[i + 1]);
  }
  return count;
}

}  // namespace depth_io::tools
