#include "catalogue/folder_scan.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string_view>
#include <utility>

#include "codec/console.h"
#include "codec/file_io.h"
#include "codec/frame_names.h"
#include "codec/timestamps.h"

namespace depth_io {
namespace {

/// "-depth.rle": what follows the stamp text of a frame recorded with the stem "depth".
constexpr std::size_t kCutLength = 10;

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};

std::unique_ptr<DIR, CloseDirectory> open_directory(const std::string& path, Links links) {
  const int no_follow = links == Links::kRefuse ? O_NOFOLLOW : 0;
  const int descriptor = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | no_follow);
  if (descriptor < 0) return nullptr;
  DIR* const directory = fdopendir(descriptor);
  if (directory == nullptr) {
    const int error = errno;
    close(descriptor);
    errno = error;
  }
  return std::unique_ptr<DIR, CloseDirectory>(directory);
}

void report_unread(const std::string& path) {
  print("ERROR failed to read the directory '%s'\n", path.c_str());
}

/// Blanks and control characters would break the lines of a catalogue file.
bool is_plain_text(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte > ' ' && byte != 0x7F;
  });
}

/// The entry of a label map's name; empty for any other name.
std::string_view entry_of(std::string_view name) {
  if (name.size() <= kCutLength || !name.ends_with(kLabelMapEnding)) return {};
  const std::string_view entry = name.substr(0, name.size() - kCutLength);
  return entry.size() < kEntrySize && is_plain_text(name) ? entry : std::string_view{};
}

/// Calls `visit` for each name but "." and ".."; false when the directory cannot be opened or read.
template <typename Visit>
bool visit_names(const std::string& path, Links links, const Visit& visit) {
  const auto directory = open_directory(path, links);
  if (directory == nullptr) {
    if (!is_missing(errno)) report_unread(path);
    return false;
  }
  for (;;) {
    errno = 0;
    const dirent* const entry = readdir(directory.get());
    if (entry == nullptr) break;
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") visit(name);
  }
  if (errno == 0) return true;
  report_unread(path);
  return false;
}

}  // namespace

std::optional<std::vector<std::string>> list_names(const std::string& path, Links links) {
  std::vector<std::string> names;
  const auto take = [&](std::string_view name) { names.emplace_back(name); };
  if (!visit_names(path, links, take)) return {};
  return names;
}

std::optional<FolderContent> scan_folder(const std::string& path, Links links,
                                         const EntryChoice& choice) {
  FolderContent content;
  const auto take = [&](std::string_view name) {
    ++content.files;
    const std::string_view entry = entry_of(name);
    if (entry.empty()) return;
    content.has_frames = true;
    if (entry.size() > choice.longest) return;
    if (content.entries.size() < choice.most) {
      content.entries.emplace_back(entry);
    } else {
      content.has_more = true;
    }
  };
  if (!visit_names(path, links, take)) return {};
  return content;
}

std::optional<double> entry_time(const std::string& entry) {
  std::string text = entry;
  Moment moment;
  if (!parse_stamp(text.data(), moment)) return {};
  double unix_time = 0.0;
  to_unix_time(unix_time, moment, false);
  return unix_time;
}

}  // namespace depth_io
