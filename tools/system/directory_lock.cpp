#include "tools/system/directory_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "tools/system/failure.h"

namespace depth_io::tools {

DirectoryLock::DirectoryLock(const std::string& directory, const char* who)
    : descriptor_(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  if (descriptor_ < 0) {
    throw Failure("cannot open the directory '" + directory + "': " + std::strerror(errno));
  }
  int result = 0;
  do {
    result = ::flock(descriptor_, LOCK_EX | LOCK_NB);
  } while (result != 0 && errno == EINTR);
  if (result == 0) return;
  const int reason = errno;
  ::close(descriptor_);
  if (reason == EWOULDBLOCK) {
    throw Failure("another " + std::string(who) + " is at work in '" + directory + "'");
  }
  throw Failure("cannot lock the directory '" + directory + "': " + std::strerror(reason));
}

DirectoryLock::~DirectoryLock() { ::close(descriptor_); }

}  // namespace depth_io::tools
