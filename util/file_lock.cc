#include "util/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

namespace parlavox {

FileLock::FileLock(const std::string& path, int open_flags, Kind kind, Wait wait)
    : fd_(open(path.c_str(), open_flags | O_CLOEXEC, 0666)) {
  if (fd_ < 0) return;
  const int operation =
      (kind == Kind::kShared ? LOCK_SH : LOCK_EX) | (wait == Wait::kNo ? LOCK_NB : 0);
  int result;
  while ((result = flock(fd_, operation)) != 0 && errno == EINTR) {
  }
  held_ = result == 0;
  refused_ = result != 0 && errno == EWOULDBLOCK;
}

FileLock::FileLock(FileLock&& other) noexcept
    : fd_(other.fd_), held_(other.held_), refused_(other.refused_) {
  other.fd_ = -1;
  other.held_ = false;
}

FileLock::~FileLock() {
  if (fd_ >= 0) close(fd_);  // closing lets go of the lock
}

}  // namespace parlavox
