#include "codec/file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
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

/// A name in the same directory that no other thread or process uses, and that is short: the name
/// it stands for may be as long as names can be.
std::string temporary_path_beside(const std::string& path) {
  static std::atomic<unsigned> files{0};
  const std::size_t slash = path.rfind('/');
  const std::string directory = slash == std::string::npos ? "" : path.substr(0, slash + 1);
  return directory + ".part-" + std::to_string(getpid()) + "-" + std::to_string(files++);
}

/// The same, without what a process of the same number may have left when it was killed.
std::string free_temporary_path_beside(const std::string& path) {
  std::string temporary_path = temporary_path_beside(path);
  unlink(temporary_path.c_str());
  return temporary_path;
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

bool is_regular_file(const char* path) {
  const ScopedDescriptor file{open_above_standard(path, O_RDONLY | O_NONBLOCK)};
  return regular_file_size(file.value).has_value();
}

bool is_missing(int error) { return error == ENOENT || error == ENOTDIR || error == ELOOP; }

namespace {

/// A number as text.
struct ShortNumber {
  char digits[3];
  unsigned char length;
};

/// Numbers below 1000, of so many digits at least.
constexpr std::array<ShortNumber, 1000> short_numbers(unsigned least_digits) {
  std::array<ShortNumber, 1000> numbers{};
  for (unsigned number = 0; number < numbers.size(); ++number) {
    ShortNumber& text = numbers[number];
    for (unsigned digits = 3, unit = 100; digits > 0; --digits, unit /= 10) {
      if (digits > least_digits && number < unit) continue;
      text.digits[text.length++] = static_cast<char>('0' + number / unit % 10);
    }
  }
  return numbers;
}

/// Run lengths and labels are mostly this small.
constexpr auto kShortNumbers = short_numbers(1);
constexpr auto kThreeDigits = short_numbers(3);

/// Returns where the text ends; the byte behind it is spoiled.
char* put_short(char* to, const ShortNumber& number) {
  std::memcpy(to, &number, sizeof number);
  return to + number.length;
}

constexpr std::size_t kLongestInt = 11;
constexpr std::size_t kLongestFixed = 64;

/// There is room for `kLongestInt`; returns where the text ends.
char* put_int(char* to, int number) {
  constexpr unsigned kThousand = kShortNumbers.size();
  if (const auto small = static_cast<unsigned>(number); small < kThousand) {
    return put_short(to, kShortNumbers[small]);
  } else if (small < kThousand * kThousand) {
    return put_short(put_short(to, kShortNumbers[small / kThousand]),
                     kThreeDigits[small % kThousand]);
  }
  return std::to_chars(to, to + kLongestInt, number).ptr;
}

/// There is room for `kLongestFixed`; returns where the text ends.
char* put_fixed(char* to, float number) {
  if (std::isnan(number)) {
    *to = '-';
    to += std::signbit(number) ? 1 : 0;
    std::memcpy(to, "nan", 3);
    return to + 3;
  }
  return std::to_chars(to, to + kLongestFixed, static_cast<double>(number),
                       std::chars_format::fixed, 6)
      .ptr;
}

}  // namespace

OutputFile::OutputFile(const char* path, Creation creation)
    : descriptor_(open_above_standard(path, O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK |
                                                (creation == Creation::kNew ? O_EXCL : O_TRUNC))),
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

BufferedFile::BufferedFile(const char* path, Creation creation) : file_(path, creation) {}

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

void BufferedFile::write_int(int number) { use_room_to(put_int(room_for(kLongestInt), number)); }

void BufferedFile::write_line(int number) {
  char* end = put_int(room_for(kLongestInt + 1), number);
  *end++ = '\n';
  use_room_to(end);
}

void BufferedFile::write_line(int first, int second) {
  char* end = put_int(room_for(2 * kLongestInt + 2), first);
  *end++ = ' ';
  end = put_int(end, second);
  *end++ = '\n';
  use_room_to(end);
}

void BufferedFile::write_fixed(float number) {
  use_room_to(put_fixed(room_for(kLongestFixed), number));
}

void BufferedFile::write_fixed_line(float number) {
  char* end = put_fixed(room_for(kLongestFixed + 1), number);
  *end++ = '\n';
  use_room_to(end);
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
      temporary_path_(free_temporary_path_beside(path_)),
      content_(temporary_path_.c_str(), Creation::kNew) {}

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
