#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// What the fuzz targets share.
namespace depth_io::fuzz {

/// Takes an input apart. What is missing at its end reads as 0 or as an empty text.
class Input {
 public:
  Input(const std::uint8_t* bytes, std::size_t size)
      : rest_(reinterpret_cast<const char*>(bytes), size) {}

  bool empty() const { return rest_.empty(); }
  std::uint8_t byte();
  bool flag() { return (byte() & 1) != 0; }
  /// A number of 0 .. `count` - 1.
  int below(int count) { return byte() % count; }
  /// Four bytes, the low one first.
  int integer();
  /// The float of four bytes, whatever it is.
  float real();
  /// Up to `size` bytes.
  std::string_view take(std::size_t size);
  /// A length of one byte, and so many bytes.
  std::string_view short_part() { return take(byte()); }
  /// A length of two bytes, the low one first, and so many bytes.
  std::string_view part();
  std::string_view rest() { return take(rest_.size()); }

 private:
  std::string_view rest_;
};

/// A directory of this process alone, in memory where the machine has that; removed at the end.
class ScratchDirectory {
 public:
  ScratchDirectory();
  ~ScratchDirectory();
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  /// Removes all that is in it.
  void clear() const;
  const std::string& path() const { return path_; }
  std::string file(std::string_view name) const { return path_ + "/" + std::string(name); }

 private:
  std::string path_;
};

void write_file(const std::string& path, std::string_view bytes);

/// Lines that the library has printed so far; nothing of it is shown.
std::size_t printed_lines();

/// Ends the process, as a finding, when a promise of the library does not hold.
void require(bool holds, const char* promise);

}  // namespace depth_io::fuzz

/// Called once before the first input: silences the library.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
/// One input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);
