#include "codec/file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <bit>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

namespace depth_io {
namespace {

/// Repeats a call that a signal interrupted; not for ever, in case the interruption is a fault.
template <typename Call>
auto retry_when_interrupted(Call call) {
  constexpr int kMostTries = 1000;
  auto result = call();
  for (int tries = 1; result < 0 && errno == EINTR && tries < kMostTries; ++tries) result = call();
  return result;
}

/// Opens `path` on a descriptor above the three standard ones: a process that was started with one
/// of them closed must not print into a recording.
int open_above_standard(const char* path, int flags) {
  if (path == nullptr) return -1;
  const int descriptor =
      retry_when_interrupted([&] { return open(path, flags | O_CLOEXEC | O_NOCTTY, 0666); });
  if (descriptor < 0 || descriptor > STDERR_FILENO) return descriptor;
  const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  close(descriptor);
  return moved;
}

/// Size of an open regular file; nothing for anything else and for files that are too large.
std::optional<std::size_t> regular_file_size(int descriptor) {
  struct stat status = {};
  if (descriptor < 0 || fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return {};
  const auto size = static_cast<std::size_t>(status.st_size);
  if (size > kLargestFile) return {};
  return size;
}

/// Closes its descriptor when it goes out of scope.
struct ScopedDescriptor {
  int value;
  ~ScopedDescriptor() {
    if (value >= 0) close(value);
  }
};

/// A name in the same directory that no other process uses, and that is short: the name it stands
/// for may be as long as names can be.
std::string temporary_path_beside(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string directory = slash == std::string::npos ? "" : path.substr(0, slash + 1);
  return directory + ".part-" + std::to_string(getpid());
}

}  // namespace

FileBytes::FileBytes(std::unique_ptr<char[]> owned, const char* first, std::size_t size)
    : owned_(std::move(owned)), first_(first), size_(size) {}

std::span<const unsigned char> FileBytes::bytes() const {
  return {reinterpret_cast<const unsigned char*>(first_), size_};
}

std::optional<FileBytes> read_regular_file(const char* path) { return read_regular_file(path, {}); }

std::optional<FileBytes> read_regular_file(const char* path, std::span<char> room) {
  const ScopedDescriptor file{open_above_standard(path, O_RDONLY | O_NONBLOCK)};
  const auto known_size = regular_file_size(file.value);
  if (!known_size) return {};
  const std::size_t size = *known_size;

  std::unique_ptr<char[]> owned;
  char* bytes = room.data();
  if (size > room.size() || room.empty()) {
    owned.reset(new (std::nothrow) char[size + 1]);
    bytes = owned.get();
  }
  if (bytes == nullptr) return {};
  std::size_t filled = 0;
  while (filled < size) {
    const auto count =
        retry_when_interrupted([&] { return read(file.value, bytes + filled, size - filled); });
    if (count < 0) return {};
    if (count == 0) break;
    filled += static_cast<std::size_t>(count);
  }
  return FileBytes(std::move(owned), bytes, filled);
}

std::FILE* open_regular_file(const char* path) {
  const int descriptor = open_above_standard(path, O_RDONLY | O_NONBLOCK);
  if (descriptor < 0) return nullptr;
  std::FILE* const stream = regular_file_size(descriptor) ? fdopen(descriptor, "r") : nullptr;
  if (stream == nullptr) close(descriptor);
  return stream;
}

bool is_missing(int error) { return error == ENOENT || error == ENOTDIR || error == ELOOP; }

namespace {

/// The decimal digits of a number below 10^8, the first in the lowest byte: all at once, for the
/// label maps of some frames are very long.
std::uint64_t eight_digits(std::uint32_t number) {
  // Two numbers of four digits, each then parted into two of two and these into two of one.
  const std::uint64_t fours = number / 10000U | std::uint64_t{number % 10000U} << 32U;
  const std::uint64_t hundreds = (fours * 10486U >> 20U) & 0x0000007F0000007FU;
  const std::uint64_t twos = hundreds | (fours - 100U * hundreds) << 16U;
  const std::uint64_t tens = (twos * 103U >> 10U) & 0x000F000F000F000FU;
  return tens | (twos - 10U * tens) << 8U;
}

/// A number as text.
struct ShortNumber {
  char digits[3];
  unsigned char length;
};

/// Run lengths and labels are mostly this small.
constexpr std::array<ShortNumber, 1000> kShortNumbers = [] {
  std::array<ShortNumber, 1000> numbers{};
  for (std::size_t number = 0; number < numbers.size(); ++number) {
    ShortNumber& text = numbers[number];
    for (std::size_t unit = number < 10 ? 1 : number < 100 ? 10 : 100; unit > 0; unit /= 10) {
      text.digits[text.length++] = static_cast<char>('0' + number / unit % 10);
    }
  }
  return numbers;
}();

}  // namespace

OutputFile::OutputFile(const char* path)
    : descriptor_(
          open_above_standard(path, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_NONBLOCK)),
      failed_(descriptor_ < 0) {}

OutputFile::~OutputFile() { close(); }

bool OutputFile::write(const char* bytes, std::size_t size) {
  while (size > 0 && !failed_) {
    const auto count = retry_when_interrupted([&] { return ::write(descriptor_, bytes, size); });
    if (count <= 0) {
      failed_ = true;
    } else {
      bytes += count;
      size -= static_cast<std::size_t>(count);
    }
  }
  return !failed_;
}

bool OutputFile::close() {
  if (descriptor_ >= 0 && ::close(descriptor_) != 0) failed_ = true;
  descriptor_ = -1;
  return !failed_;
}

BufferedFile::BufferedFile(const char* path) : file_(path) {}

void BufferedFile::write(std::string_view text) {
  if (text.size() > sizeof buffer_) {
    flush();
    file_.write(text.data(), text.size());
    return;
  }
  make_room(text.size());
  std::memcpy(buffer_ + used_, text.data(), text.size());
  used_ += text.size();
}

void BufferedFile::write_int(int number) {
  make_room(kLongestInt);
  put_int(number);
}

void BufferedFile::write_line(int number) {
  make_room(kLongestInt + 1);
  put_int(number);
  buffer_[used_++] = '\n';
}

void BufferedFile::write_line(int first, int second) {
  make_room(2 * kLongestInt + 2);
  put_int(first);
  buffer_[used_++] = ' ';
  put_int(second);
  buffer_[used_++] = '\n';
}

/// There is room for it.
void BufferedFile::put_int(int number) {
  constexpr int kLeastOfNineDigits = 100000000;
  if (const auto index = static_cast<unsigned>(number); index < kShortNumbers.size()) {
    // Its length goes with it, and is written over.
    std::memcpy(buffer_ + used_, &kShortNumbers[index], sizeof(ShortNumber));
    used_ += kShortNumbers[index].length;
    return;
  }
  if (number >= 0 && number < kLeastOfNineDigits) {
    const std::uint64_t digits = eight_digits(static_cast<std::uint32_t>(number));
    const auto leading_zeros = static_cast<unsigned>(std::countr_zero(digits)) / 8U;
    const std::uint64_t text = (digits | 0x3030303030303030U) >> (8U * leading_zeros);
    std::memcpy(buffer_ + used_, &text, sizeof text);
    used_ += sizeof text - leading_zeros;
    return;
  }
  const auto end = std::to_chars(buffer_ + used_, buffer_ + sizeof buffer_, number);
  used_ = static_cast<std::size_t>(end.ptr - buffer_);
}

void BufferedFile::write_fixed(float number) {
  make_room(kLongestFixed);
  put_fixed(number);
}

void BufferedFile::write_fixed_line(float number) {
  make_room(kLongestFixed + 1);
  put_fixed(number);
  buffer_[used_++] = '\n';
}

/// There is room for it.
void BufferedFile::put_fixed(float number) {
  if (std::isnan(number)) {
    buffer_[used_] = '-';
    used_ += std::signbit(number) ? 1 : 0;
    for (const char letter : {'n', 'a', 'n'}) buffer_[used_++] = letter;
    return;
  }
  const auto end = std::to_chars(buffer_ + used_, buffer_ + sizeof buffer_,
                                 static_cast<double>(number), std::chars_format::fixed, 6);
  used_ = static_cast<std::size_t>(end.ptr - buffer_);
}

bool BufferedFile::close() {
  flush();
  return file_.close();
}

void BufferedFile::flush() {
  file_.write(buffer_, used_);
  used_ = 0;
}

ReplacedFile::ReplacedFile(std::string path)
    : path_(std::move(path)),
      temporary_path_(temporary_path_beside(path_)),
      content_(temporary_path_.c_str()) {}

ReplacedFile::~ReplacedFile() {
  if (!is_finished_) unlink(temporary_path_.c_str());
}

bool ReplacedFile::put_in_place() {
  is_finished_ = true;
  const bool was_begun = content_.is_open();
  const bool is_whole = content_.close();
  if (is_whole && std::rename(temporary_path_.c_str(), path_.c_str()) == 0) return true;
  // A directory of its name stands for a file that could not even be begun.
  was_cut_short_ = was_begun && (!is_whole || errno != EISDIR);
  unlink(temporary_path_.c_str());
  return false;
}

}  // namespace depth_io
