#include "catalogue/catalogue.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "catalogue/folder_scan.h"
#include "catalogue/memory_guard.h"
#include "catalogue/recording_list.h"
#include "codec/console.h"
#include "codec/file_io.h"
#include "codec/text_parser.h"

using depth_io::count_or_report;
using depth_io::FolderContent;
using depth_io::Links;
using depth_io::print;
using depth_io::print_line;
using depth_io::print_line_and_wait;
using depth_io::wait_for_key;

namespace {

/// The times of all entries; false when one of them has none.
bool find_times(const std::vector<std::string>& entries, double* times) {
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const auto time = depth_io::entry_time(entries[i]);
    if (!time) {
      print_line_and_wait("faield");
      return false;
    }
    times[i] = *time;
  }
  return true;
}

void tell_if_cut(const FolderContent& content) {
  if (content.has_more) print_line("Cound not insert string, full array");
}

/// The longest entry that fits the rows of a caller's table; all have the same length.
std::size_t longest_in(const depth_io_ClassBufferChar1D& table) {
  constexpr std::size_t kAny = depth_io::kEntrySize;
  return table.N1D < 1 ? kAny : static_cast<std::size_t>(std::max(table.arr1D[0].N - 1, 0));
}

/// Kept: a file that cannot be created is not told; one that ends in the middle is.
void put_in_place(depth_io::ReplacedFile& file, const std::string& path) {
  file.put_in_place();
  if (file.was_cut_short()) print("ERROR failed to write '%s'\n", path.c_str());
}

depth_io::ReplacedFile announce_and_open(const std::string& path) {
  print("(ListEntriesInDir) opening for writing %s\n", path.c_str());
  return depth_io::ReplacedFile(path);
}

void write_numbered(depth_io::BufferedFile& file, const char* before, std::size_t number,
                    const std::string& entry) {
  file.write(before);
  file.write_int(static_cast<int>(number));
  file.write(" ");
  file.write(entry);
  file.write("\n");
}

/// Lists one sub-directory's frames in time order, inside and beside it; false when a time is
/// missing or memory is short.
bool write_sub_directory_files(const std::string& directory, const std::string& name,
                               FolderContent& content) {
  std::vector<std::string>& entries = content.entries;
  const int count = static_cast<int>(entries.size());
  std::vector<double> times(entries.size());
  std::vector<int> order(entries.size());
  if (!find_times(entries, times.data())) return false;
  if (!BubbleSort(count, times.data(), order.data(), count)) return false;
  const auto by_time = [&](std::size_t i) -> const std::string& {
    return entries[static_cast<std::size_t>(order[i])];
  };

  const std::string list_path = directory + "/" + name + "/list.txt";
  depth_io::ReplacedFile list = announce_and_open(list_path);
  for (std::size_t i = 0; i < entries.size(); ++i)
    write_numbered(list.content(), "", i, by_time(i));
  put_in_place(list, list_path);

  const std::string info_path = directory + "/info" + name + ".txt";
  depth_io::ReplacedFile info = announce_and_open(info_path);
  write_numbered(info.content(), "start ", 0, by_time(0));
  write_numbered(info.content(), "end ", entries.size() - 1, by_time(entries.size() - 1));
  put_in_place(info, info_path);

  // Only a directory comes here; the flag is part of the line.
  print("'%s' subdir %d nbfiles %d (%s)\n", name.c_str(), 1, content.files, info_path.c_str());
  return true;
}

void write_recording_info(const std::string& directory, int sub_directories) {
  const std::string path = directory + "/info.txt";
  depth_io::ReplacedFile info = announce_and_open(path);
  info.content().write("nb_sub_dir ");
  info.content().write_int(sub_directories);
  info.content().write("\n");
  put_in_place(info, path);
  print("nb_sub_dir %d\n", sub_directories);
}

}  // namespace

int depth_io::list_recording(const std::string& directory, std::size_t most_listed) {
  const auto names = depth_io::list_names(directory, Links::kFollow);
  if (!names) return 0;
  int sub_directories = 0;
  for (const std::string& name : *names) {
    auto content = depth_io::scan_folder(directory + "/" + name, Links::kRefuse, {most_listed});
    if (!content || content->entries.empty()) continue;
    tell_if_cut(*content);
    ++sub_directories;
    if (!write_sub_directory_files(directory, name, *content)) return 0;
  }
  write_recording_info(directory, sub_directories);
  return sub_directories;
}

namespace {

/// The caller's tables of a directory's frames.
struct FrameTables {
  depth_io_ClassBufferChar1D& sorted_stamps;
  depth_io_ClassBufferChar1D& stamps;
  depth_io_ClassBufferDOUBLE& times;
  depth_io_ClassBufferINT& order;
};

int list_frames(const char* dirname, FrameTables& tables) {
  const int rows =
      std::min({tables.sorted_stamps.N1D, tables.stamps.N1D, tables.times.N, tables.order.N});
  auto content = depth_io::scan_folder(
      dirname, Links::kFollow,
      {.most = static_cast<std::size_t>(std::max(rows, 0)),
       .longest = std::min(longest_in(tables.stamps), longest_in(tables.sorted_stamps))});
  if (!content || !content->has_frames) return 0;
  tell_if_cut(*content);
  std::vector<std::string>& entries = content->entries;

  const int count = static_cast<int>(entries.size());
  for (std::string& entry : entries) tables.stamps.Insert(entry.data());
  if (!find_times(entries, tables.times.buffer)) return 0;
  if (!BubbleSort(count, tables.times.buffer, tables.order.buffer, count)) return 0;
  for (int i = 0; i < count; ++i) {
    tables.sorted_stamps.Insert(entries[static_cast<std::size_t>(tables.order.buffer[i])].data());
  }
  print("nbfiles %d nbframes %d (%s)\n", content->files, count, dirname);
  return count;
}

int read_recording_info(const std::string& directory) {
  const std::string path = directory + "/info.txt";
  print("opening for reading nb sub directories '%s'\n", path.c_str());
  const auto file = depth_io::read_regular_file(path.c_str());
  if (!file) {
    print_line_and_wait("FAILED - run 'ListEntriesInDir(directory)' before");
    return 0;
  }
  depth_io::TextParser parser(file->text());
  if (parser.word() != "nb_sub_dir") {
    print_line_and_wait("ERROR - failed to read 'nb_sub_dir'");
    return 0;
  }
  const int count = parser.integer().value_or(0);
  print(" => %d sub directories\n", count);
  return count;
}

}  // namespace

int ListEntriesInDir(const char* dirname) {
  print_line(
      " - INFO - listing sub folders and creating info.txt for each of them and a list.txt for "
      "their content");
  if (dirname == nullptr) return 0;
  return count_or_report([&] { return depth_io::list_recording(dirname, depth_io::kMostListed); });
}

int ListEntriesInSubDir(const char* dirname, depth_io_ClassBufferChar1D& SortedStamps,
                        depth_io_ClassBufferChar1D& TimeStamps,
                        depth_io_ClassBufferDOUBLE& UnixTimes,
                        depth_io_ClassBufferINT& SortedIndex) {
  SortedStamps.ResetCounter();
  TimeStamps.ResetCounter();
  if (dirname == nullptr) return 0;
  FrameTables tables{SortedStamps, TimeStamps, UnixTimes, SortedIndex};
  return count_or_report([&] { return list_frames(dirname, tables); });
}

int ReadInfoNbSubDir(char* dirname) {
  return count_or_report([&] { return read_recording_info(dirname == nullptr ? "" : dirname); });
}

int countEntriesInDir_main(int argc, char** argv) {
  if (argc != 2) std::exit(1);
  print("entries in %s: %d\n", argv[1], ListEntriesInDir(argv[1]));
  return 0;
}
