#pragma once

#include <string>

namespace depth_io::tools {

/// Keeps a directory for one process: as long as this object lives, no other process gets a lock
/// of the same directory. The system releases it also when the process is killed, and nothing is
/// left behind.
class DirectoryLock {
 public:
  /// Throws `Failure` when another process has it, or the directory cannot be opened.
  /// `who` works there then: "another ... is at work".
  explicit DirectoryLock(const std::string& directory, const char* who = "recorder");
  ~DirectoryLock();
  DirectoryLock(const DirectoryLock&) = delete;
  DirectoryLock& operator=(const DirectoryLock&) = delete;

 private:
  int descriptor_;
};

}  // namespace depth_io::tools
