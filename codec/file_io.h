#pragma once

#include <cstddef>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// Files, opened so that nothing odd in a recording directory can block, redirect or drown us.
namespace depth_io {

/// No file of a recording comes near this; larger ones are not read.
inline constexpr std::size_t kLargestFile = std::size_t{64} * 1024 * 1024;

/// Files of a frame are mostly smaller than this.
inline constexpr std::size_t kUsualFile = std::size_t{128} * 1024;

/// The whole of a file in memory: its own, or the reader's.
class FileBytes {
 public:
  FileBytes(std::unique_ptr<char[]> owned, const char* first, std::size_t size);

  std::string_view text() const { return {first_, size_}; }
  std::span<const unsigned char> bytes() const;

 private:
  std::unique_ptr<char[]> owned_;
  const char* first_;
  std::size_t size_;
};

/// Reads a regular file of at most `kLargestFile` bytes. Nothing for anything else, and when there
/// is no memory for it: FIFOs and devices are never waited for.
std::optional<FileBytes> read_regular_file(const char* path);

/// The same, into `room` when the file fits: frames are read without going through the heap, which
/// would give its memory back to the system each time.
std::optional<FileBytes> read_regular_file(const char* path, std::span<char> room);

/// Opens a regular file for reading as a stream, under the same rules; null for anything else.
std::FILE* open_regular_file(const char* path);

/// Whether a file could be opened for reading under these rules. Wants no memory.
bool is_regular_file(const char* path);

/// Whether what errno told about an opening means that nothing of that name is there; anything else
/// is a fault, and may pass.
bool is_missing(int error);

/// What becomes of a file that is there already.
enum class Creation {
  kReplace,  ///< its contents go
  kNew       ///< it stays, and nothing is written
};

/// A file being written, without a buffer. Follows no link in the last place of the path, never
/// takes one of the descriptors 0 to 2, and remembers the first error.
class OutputFile {
 public:
  explicit OutputFile(const char* path, Creation creation = Creation::kReplace);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  bool is_open() const { return descriptor_ >= 0; }
  bool write(const char* bytes, std::size_t size);
  /// Closes; true when every write and the closing succeeded.
  bool close();

 private:
  int descriptor_;
  bool failed_;
};

/// A file written through a buffer: a small file goes out in one call. Numbers look the same in
/// every locale.
class BufferedFile {
 public:
  explicit BufferedFile(const char* path, Creation creation = Creation::kReplace);

  bool is_open() const { return file_.is_open(); }
  void write(std::string_view text);
  /// Each number as one byte.
  void write_bytes(std::initializer_list<int> bytes) {
    make_room(bytes.size());
    for (const int byte : bytes) buffer_[used_++] = static_cast<char>(byte);
  }
  /// Room for so many bytes, fewer than the buffer has, to put them there oneself; `use_room_to`
  /// tells where they end.
  char* room_for(std::size_t size) {
    make_room(size);
    return buffer_ + used_;
  }
  void use_room_to(const char* end) { used_ = static_cast<std::size_t>(end - buffer_); }
  void write_int(int number);
  /// A number, or two with a blank between them, and a line end.
  void write_line(int number);
  void write_line(int first, int second);
  /// Six decimals, as "%f"; with a line end.
  void write_fixed(float number);
  void write_fixed_line(float number);
  /// Writes out what is buffered and closes; true when all of it reached the file.
  bool close();

 private:
  void make_room(std::size_t size) {
    if (sizeof buffer_ - used_ < size) flush();
  }
  void flush();

  OutputFile file_;
  std::size_t used_ = 0;
  char buffer_[32 * 1024];
};

/// A file that appears under its name only when all of it has been written: what was there before
/// stays until then.
class ReplacedFile {
 public:
  explicit ReplacedFile(std::string path);
  ~ReplacedFile();
  ReplacedFile(const ReplacedFile&) = delete;
  ReplacedFile& operator=(const ReplacedFile&) = delete;

  BufferedFile& content() { return content_; }
  /// True when the file now stands under its name; otherwise nothing is left behind.
  bool put_in_place();
  /// Whether it could be begun, and not written to its end.
  bool was_cut_short() const { return was_cut_short_; }

 private:
  std::string path_;
  std::string temporary_path_;
  BufferedFile content_;
  bool is_finished_ = false;
  bool was_cut_short_ = false;
};

}  // namespace depth_io
