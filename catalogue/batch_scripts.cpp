#include <optional>
#include <string>
#include <string_view>

#include "catalogue/catalogue.h"
#include "catalogue/memory_guard.h"
#include "codec/console.h"
#include "codec/file_io.h"
#include "codec/frame_names.h"
#include "codec/text_parser.h"

using depth_io::count_or_report;
using depth_io::print;
using depth_io::print_line;

namespace {

constexpr char kCreatingScript[] = "batch_create_empty_sub_dir.sh";
constexpr char kReadingScript[] = "batch_read_sub_dir.sh";

/// Longest word of a shell's listing that is taken; recorded names are far shorter.
constexpr std::size_t kLongestWord = 99;

std::string number_of(int sub_directory) {
  depth_io::PathText text;
  text.append_number(8, sub_directory);
  return text.c_str();
}

std::string text_or_empty(const char* text) { return text == nullptr ? "" : text; }

/// First and last word of a shell's listing.
struct Listing {
  std::string_view first;
  std::string_view last;
};

/// Nothing when there is no word.
std::optional<Listing> find_ends(std::string_view text) {
  depth_io::TextParser parser(text);
  Listing listing;
  for (std::string_view word = parser.word(); !word.empty(); word = parser.word()) {
    if (word.size() > kLongestWord) continue;
    if (listing.first.empty()) listing.first = word;
    listing.last = word;
  }
  if (listing.first.empty()) return {};
  return listing;
}

std::string summary_path(const std::string& directory, int sub_directory) {
  return directory + "/fresume" + number_of(sub_directory) + ".txt";
}

bool write_summary(const std::string& path, const Listing& listing) {
  depth_io::ReplacedFile summary(path);
  summary.content().write("start ");
  summary.content().write(listing.first);
  summary.content().write("\nstop ");
  summary.content().write(listing.last);
  summary.content().write("\n");
  return summary.put_in_place();
}

/// Kept: a script that cannot be created is not told; one that ends in the middle is.
bool finish(depth_io::ReplacedFile& script) {
  script.put_in_place();
  return !script.was_cut_short();
}

int write_creating_script(const char* directory, int sub_directories) {
  depth_io::ReplacedFile script(kCreatingScript);
  depth_io::BufferedFile& lines = script.content();
  const std::string path = text_or_empty(directory);
  lines.write("mkdir " + path + "\n");
  lines.write("cd " + path + "\n");
  for (int i = 0; i < sub_directories; ++i) lines.write("mkdir " + number_of(i) + "\n");
  return finish(script) ? 1 : 0;
}

int write_reading_script(const char* directory, int sub_directories) {
  depth_io::ReplacedFile script(kReadingScript);
  depth_io::BufferedFile& lines = script.content();
  lines.write("cd " + text_or_empty(directory) + "\n");
  for (int i = 0; i < sub_directories; ++i) {
    lines.write("cd " + number_of(i) + "\n");
    lines.write("ls *.rle > ls.txt\n");
    lines.write("cd ..\n");
  }
  return finish(script) ? 1 : 0;
}

int write_summaries(const char* directory, int sub_directories) {
  const std::string recording = text_or_empty(directory);
  int written = 0;
  for (int i = 0; i < sub_directories; ++i) {
    const std::string listing_path = recording + "/" + number_of(i) + "/ls.txt";
    print("ReadSubDirBatch_part2 - open '%s' to scan\n", listing_path.c_str());
    const auto file = depth_io::read_regular_file(listing_path.c_str());
    // Kept: a listing that cannot be opened is passed over in silence.
    if (!file && depth_io::is_regular_file(listing_path.c_str())) {
      print("ERROR failed to read '%s'\n", listing_path.c_str());
    }
    const auto listing = file ? find_ends(file->text()) : std::nullopt;
    if (!listing) continue;
    const std::string path = summary_path(recording, i);
    print("ReadSubDirBatch_part2 - open '%s' to write start and stop\n", path.c_str());
    if (!write_summary(path, *listing)) {
      depth_io::print_line_and_wait("error opening");
      return written;
    }
    ++written;
  }
  return written;
}

int count_summaries(const char* directory, int sub_directories) {
  const std::string recording = text_or_empty(directory);
  for (int i = 0; i < sub_directories; ++i) {
    const std::string path = summary_path(recording, i);
    print("ReadNbSubDir - open '%s' to scan\n", path.c_str());
    if (!depth_io::is_regular_file(path.c_str())) return i;
  }
  return sub_directories > 0 ? sub_directories : 0;
}

}  // namespace

void CreateSubDirBatch(char* directory, int MaxNbSubDirectories) {
  print_line("CreateSubDirBatch");
  if (count_or_report([&] { return write_creating_script(directory, MaxNbSubDirectories); }) == 0) {
    print("ERROR failed to write '%s'\n", kCreatingScript);
  }
}

void ReadSubDirBatch_part1(char* directory, int MaxNbSubDirectories) {
  print_line("ReadSubDirBatch_part1");
  if (count_or_report([&] { return write_reading_script(directory, MaxNbSubDirectories); }) == 0) {
    print("ERROR failed to write '%s'\n", kReadingScript);
    return;
  }
  print_line("SUCCESS. NOW RUN ./batch_read_sub_dir.sh BEFORE running ReadSubDirBatch_part2");
}

void ReadSubDirBatch_part2(char* directory, int MaxNbSubDirectories) {
  print_line("ReadSubDirBatch_part2");
  count_or_report([&] { return write_summaries(directory, MaxNbSubDirectories); });
}

int ReadNbSubDir(char* directory, int MaxNbSubDirectories) {
  print_line("ReadNbSubDir");
  return count_or_report([&] { return count_summaries(directory, MaxNbSubDirectories); });
}
