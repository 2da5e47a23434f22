#include "tools/verify/quarantine.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>
#include <vector>

#include "codec/frame_names.h"
#include "tools/system/failure.h"
#include "tools/system/files.h"

namespace depth_io::tools {
namespace {

namespace fs = std::filesystem;

bool exists(const std::string& path) {
  struct stat status = {};
  return ::lstat(path.c_str(), &status) == 0;
}

/// Forces a file or directory to the disk.
bool make_durable(const std::string& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool is_durable = ::fsync(descriptor) == 0;
  return ::close(descriptor) == 0 && is_durable;
}

/// Copies a file to another file system, and takes the original away when the copy is safe.
std::string move_by_copy(const std::string& from, const std::string& to) {
  std::error_code error;
  if (!fs::is_regular_file(fs::symlink_status(from, error))) {
    return "'" + from + "' is no regular file and cannot be moved to another file system";
  }
  const auto failed = [&](const std::string& reason) {
    return "cannot copy '" + from + "' to '" + to + "': " + reason;
  };
  const auto time = fs::last_write_time(from, error);
  fs::copy_file(from, to, fs::copy_options::none, error);
  if (error) {
    // What another one put there is not ours to take away.
    const std::string reason = error.message();
    if (error != std::errc::file_exists) fs::remove(to, error);
    return failed(reason);
  }
  fs::last_write_time(to, time, error);
  if (!make_durable(to)) {
    const std::string reason = std::strerror(errno);
    fs::remove(to, error);
    return failed(reason);
  }
  if (::unlink(from.c_str()) != 0) {
    const std::string reason = std::strerror(errno);
    fs::remove(to, error);
    return "cannot move '" + from + "': " + reason;
  }
  return {};
}

/// Never replaces what is at `to`.
std::string move_file(const std::string& from, const std::string& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return {};
  const int reason = errno;
  // Some file systems cannot rename without replacing.
  if (reason == EXDEV || reason == EINVAL || reason == ENOSYS) return move_by_copy(from, to);
  return "cannot move '" + from + "' to '" + to + "': " + std::strerror(reason);
}

std::vector<std::string> files_of(const std::string& directory, const RecordedFrame& frame) {
  std::vector<std::string> files;
  const auto add = [&](std::string file) {
    if (exists(directory + "/" + file)) files.push_back(std::move(file));
  };
  for (const char* const ending : {kLabelMapEnding, kReferenceEnding, kJpegEnding, kErrorEnding}) {
    add(frame.depth_name() + ending);
  }
  add(frame.colour_name() + kJpegEnding);
  return files;
}

}  // namespace

Quarantine::Quarantine(const std::string& recording, std::string directory)
    : recording_(recording), directory_(std::move(directory)) {
  make_directories(directory_);
  std::error_code error;
  if (fs::equivalent(recording_, directory_, error)) {
    throw UsageFailure("--quarantine must not be the recording itself");
  }
  lock_ = std::make_unique<DirectoryLock>(recording_);
}

std::string Quarantine::take(const RecordedFrame& frame) {
  const std::vector<std::string> files = files_of(recording_, frame);
  for (const std::string& file : files) {
    const std::string target = directory_ + "/" + file;
    if (exists(target)) return "stays where it is: there is a '" + target + "' already";
  }
  try {
    make_directories(directory_ + "/" + frame.folder);
  } catch (const Failure& failure) {
    return failure.what();
  }
  std::vector<std::string> moved;
  for (const std::string& file : files) {
    std::string fault = move_file(recording_ + "/" + file, directory_ + "/" + file);
    if (fault.empty()) {
      moved.push_back(file);
      continue;
    }
    for (const std::string& back : moved) {
      const std::string lost = move_file(directory_ + "/" + back, recording_ + "/" + back);
      if (!lost.empty()) fault += "; " + lost;
    }
    return fault;
  }
  return {};
}

}  // namespace depth_io::tools
