#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// What a directory of recorded frames holds.
namespace depth_io {

/// Bytes of an entry with its NUL; longer names are no frames of a recording.
inline constexpr int kEntrySize = 30;

struct FolderContent {
  /// Directory entries of any kind, without "." and "..".
  int files = 0;
  bool has_frames = false;
  /// Entries of the first frames that were asked for, their label maps' names without the last ten
  /// characters, in directory order.
  std::vector<std::string> entries;
  bool has_more = false;  ///< than so many
};

/// Which entries of a directory are kept. It may hold more names than there is memory for.
struct EntryChoice {
  std::size_t most;                  ///< the first so many
  std::size_t longest = kEntrySize;  ///< of at most so many characters
};

enum class Links { kFollow, kRefuse };

/// Reads a directory; nothing when it cannot be opened as one.
std::optional<FolderContent> scan_folder(const std::string& path, Links links,
                                         const EntryChoice& choice);

/// Names in a directory, without "." and "..", in directory order; nothing when it is none. One
/// that cannot be read is told, and gives nothing, too: half of its names could pass for all of
/// them.
std::optional<std::vector<std::string>> list_names(const std::string& path, Links links);

/// Seconds since 1970 of the moment that an entry begins with; nothing when that cannot be parsed.
std::optional<double> entry_time(const std::string& entry);

}  // namespace depth_io
