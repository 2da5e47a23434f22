#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <limits>
#include <string>

#include "codec/depth_code.h"
#include "codec/frame_files.h"
#include "codec/text_parser.h"
#include "fuzz/fuzz_support.h"

// The parsers of frame files, in memory. The first byte chooses the parser, the rest is its file.

namespace {

using depth_io::fuzz::Input;
using depth_io::fuzz::require;

struct SmallRecord {
  struct_read_write_depth value;
  SmallRecord() {
    InitStruct(value);
    Allocate(value, 16, 12);
  }
  ~SmallRecord() { depth_io::release_record(value); }
  SmallRecord(const SmallRecord&) = delete;
  SmallRecord& operator=(const SmallRecord&) = delete;
};

struct_read_write_depth& record() {
  static SmallRecord instance;
  return instance.value;
}

void parse_label_map(std::string_view text) { depth_io::parse_label_map(text, record()); }

void parse_reference(std::string_view text) {
  int label_count = -1;
  const auto outcome = depth_io::parse_reference(text, record(), label_count);
  require(label_count <= static_cast<int>(depth_io::pixel_count(record())),
          "no more labels than pixels");
  require((outcome == depth_io::ReferenceOutcome::kComplete) <= (label_count > 0),
          "complete references have a label");
}

void parse_error_file(std::string_view text) {
  depth_io::ErrorFileParser parser(
      {reinterpret_cast<const unsigned char*>(text.data()), text.size()});
  std::size_t records = 0;
  parser.for_each_record([&](int down, int across, const depth_io::ErrorRecord& found) {
    ++records;
    require(down >= 0 && down < depth_io::kRegionsDown, "row of a region");
    require(across >= 0 && across < depth_io::kRegionsAcross, "column of a region");
    require(found.row == found.row_in_region + depth_io::kRegionSize * down, "row in the image");
    require(found.column == found.column_in_region + depth_io::kRegionSize * across,
            "column in the image");
    require(depth_io::is_valid_code(found.code), "code of a byte");
  });
  require(12 + 3 * records <= std::max<std::size_t>(text.size(), 12), "no records from nowhere");
}

/// An integer as the C library reads it, with values that do not fit brought to the nearest one.
void compare_integer(const std::string& text) {
  char* end = nullptr;
  const long expected = std::clamp<long>(std::strtol(text.c_str(), &end, 10), INT_MIN, INT_MAX);
  depth_io::TextParser parser(text);
  const auto found = parser.integer();
  require(found.has_value() == (end != text.c_str()), "an integer where there is one");
  if (found) require(*found == expected, "the nearest int");
}

void parse_words_and_numbers(std::string_view text) {
  compare_integer(std::string(text));
  Input choices(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
  depth_io::TextParser parser(text);
  std::size_t words = 0;
  std::size_t numbers = 0;
  while (!choices.empty()) {
    switch (choices.byte() % 3) {
      case 0:
        words += parser.word().empty() ? 0 : 1;
        break;
      case 1:
        numbers += parser.integer() ? 1 : 0;
        break;
      default:
        numbers += parser.real() ? 1 : 0;
    }
  }
  require(words + numbers <= text.size(), "a character for each word or number");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  Input input(bytes, size);
  const int parser = input.below(4);
  // A string of its own: no byte behind its NUL may be looked at.
  const std::string text(input.rest());
  switch (parser) {
    case 0:
      parse_label_map(text);
      break;
    case 1:
      parse_reference(text);
      break;
    case 2:
      parse_error_file(text);
      break;
    default:
      parse_words_and_numbers(text);
  }
  return 0;
}
