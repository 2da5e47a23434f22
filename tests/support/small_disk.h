#pragma once

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstring>
#include <string>

namespace depth_io::test {

inline bool write_setting(const char* path, const std::string& text) {
  const int file = open(path, O_WRONLY | O_CLOEXEC);
  if (file < 0) return false;
  const bool good = write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  close(file);
  return good;
}

/// Gives this process file systems of its own, in which it may mount; also without being the
/// superuser, where the system lets users be theirs.
inline bool enter_own_file_systems() {
  const std::string user = "0 " + std::to_string(geteuid()) + " 1";
  const std::string group = "0 " + std::to_string(getegid()) + " 1";
  if (unshare(CLONE_NEWNS) != 0) {
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    if (!write_setting("/proc/self/uid_map", user)) return false;
    if (!write_setting("/proc/self/setgroups", "deny")) return false;
    if (!write_setting("/proc/self/gid_map", group)) return false;
  }
  // What is mounted here is not seen outside.
  return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

/// Mounts an empty file system with the given room ("size=2m", "nr_inodes=40") for this process,
/// which ends with it: call it in a child. False where that is not allowed.
inline bool mount_small_disk(const std::string& directory, const std::string& room) {
  return enter_own_file_systems() &&
         mount("tmpfs", directory.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, room.c_str()) == 0;
}

/// Makes what is mounted there read-only, for everybody.
inline bool make_read_only(const std::string& directory) {
  return mount("none", directory.c_str(), nullptr, MS_REMOUNT | MS_RDONLY | MS_NOSUID | MS_NODEV,
               nullptr) == 0;
}

}  // namespace depth_io::test
