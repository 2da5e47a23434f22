#include "tools/system/files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <utility>

#include "tools/system/failure.h"

namespace depth_io::tools {
namespace {

/// A descriptor that closes itself.
class Descriptor {
 public:
  explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
  ~Descriptor() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return descriptor_; }
  bool is_open() const { return descriptor_ >= 0; }
  /// False when closing tells of a failed write.
  bool close() {
    const int result = ::close(descriptor_);
    descriptor_ = -1;
    return result == 0;
  }

 private:
  int descriptor_;
};

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};

/// Size of a regular file; none for anything else.
std::optional<std::uintmax_t> regular_size(const Descriptor& file) {
  struct stat status = {};
  if (!file.is_open() || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  return static_cast<std::uintmax_t>(status.st_size);
}

/// Repeats a call that a signal interrupted; not for ever, in case the interruption is a fault.
template <typename Call>
ssize_t retry_when_interrupted(const Call& call) {
  constexpr int kMostTries = 1000;
  ssize_t result = call();
  for (int tries = 1; result < 0 && errno == EINTR && tries < kMostTries; ++tries) result = call();
  return result;
}

/// Reads so many bytes, or those that there are; none after an error.
std::optional<std::string> read_bytes(const Descriptor& file, std::size_t size) {
  std::string bytes(size, '\0');
  std::size_t filled = 0;
  while (filled < bytes.size()) {
    const ssize_t count = retry_when_interrupted(
        [&] { return ::read(file.get(), bytes.data() + filled, bytes.size() - filled); });
    if (count < 0) return {};
    if (count == 0) break;
    filled += static_cast<std::size_t>(count);
  }
  bytes.resize(filled);
  return bytes;
}

bool write_all(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written =
        retry_when_interrupted([&] { return ::write(descriptor, bytes.data(), bytes.size()); });
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

}  // namespace

std::optional<std::string> read_regular_file(const std::string& path, std::size_t size_limit) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  const std::optional<std::uintmax_t> size = regular_size(file);
  if (!size || *size > size_limit) return {};
  return read_bytes(file, static_cast<std::size_t>(*size));
}

std::optional<std::string> read_start_of_file(const std::string& path, std::size_t size) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!regular_size(file)) return {};
  return read_bytes(file, size);
}

std::optional<std::string> read_end_of_file(const std::string& path, std::size_t size) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  const std::optional<std::uintmax_t> all = regular_size(file);
  if (!all) return {};
  const auto begin = static_cast<off_t>(*all - std::min<std::uintmax_t>(*all, size));
  if (::lseek(file.get(), begin, SEEK_SET) < 0) return {};
  return read_bytes(file, size);
}

void check_replaceable(const std::string& path) {
  struct stat status = {};
  if (::lstat(path.c_str(), &status) != 0) return;
  if (S_ISREG(status.st_mode) || S_ISLNK(status.st_mode)) return;
  throw Failure("'" + path + "' exists and is no regular file");
}

void write_file_atomically(const std::string& path, std::string_view bytes) {
  check_replaceable(path);
  const std::string temporary = path + ".part";
  const auto fail = [&](const char* what) {
    const std::string reason = std::strerror(errno);
    ::unlink(temporary.c_str());
    throw Failure(std::string(what) + " '" + path + "': " + reason);
  };
  ::unlink(temporary.c_str());
  Descriptor file(
      ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666));
  if (!file.is_open()) fail("cannot create");
  if (!write_all(file.get(), bytes)) fail("cannot write");
  if (!file.close()) fail("cannot write");
  if (::rename(temporary.c_str(), path.c_str()) != 0) fail("cannot replace");
}

std::optional<std::uintmax_t> regular_file_size(const std::string& path) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  return static_cast<std::uintmax_t>(status.st_size);
}

std::optional<std::vector<std::string>> sorted_names(const std::string& directory) {
  // The standard library's iterator crashes when memory runs out within it.
  const std::unique_ptr<DIR, CloseDirectory> folder(opendir(directory.c_str()));
  if (folder == nullptr) return {};
  std::vector<std::string> names;
  errno = 0;
  while (const dirent* const entry = readdir(folder.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
    errno = 0;
  }
  if (errno != 0) return {};
  std::sort(names.begin(), names.end());
  return names;
}

std::vector<std::string> listed_names(const std::string& directory) {
  auto names = sorted_names(directory);
  if (names) return std::move(*names);
  const std::string reason = std::strerror(errno);
  throw Failure("cannot list '" + directory + "': " + reason);
}

void make_directories(const std::string& path) {
  std::error_code error;
  std::filesystem::create_directories(path, error);
  if (error || !std::filesystem::is_directory(path, error)) {
    throw Failure("cannot make the directory '" + path + "'" +
                  (error ? ": " + error.message() : std::string()));
  }
}

}  // namespace depth_io::tools
