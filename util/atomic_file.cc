#include "util/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "util/file_io.h"

namespace parlavox {
namespace {

// Creates a fresh file beside `path` that no one else uses; -1 when that fails.
int CreateSiblingTemporary(const std::string& path, std::string* temporary) {
  static std::atomic<unsigned> counter{0};
  for (int attempt = 0; attempt < 100; ++attempt) {
    *temporary = path + ".tmp" + std::to_string(getpid()) + "." + std::to_string(counter++);
    const int fd = open(temporary->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  return -1;
}

}  // namespace

std::optional<std::string> ReadWholeFile(const std::string& path) {
  // Without blocking: a FIFO or a device under the name must not hold the program up.
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return std::nullopt;
  struct stat status {};
  std::optional<std::string> contents;
  if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode)) contents = ReadWholeDescriptor(fd);
  close(fd);
  return contents;
}

std::optional<std::string> ReadWholeDescriptor(int fd) {
  std::string contents;
  constexpr size_t kChunk = 65536;
  for (;;) {
    const size_t had = contents.size();
    contents.resize(had + kChunk);
    const ssize_t got = ReadFully(fd, contents.data() + had, kChunk);
    if (got < 0) return std::nullopt;
    contents.resize(had + static_cast<size_t>(got));
    if (static_cast<size_t>(got) < kChunk) break;
  }
  return contents;
}

bool ReplaceFile(const std::string& path, std::string_view contents) {
  std::string temporary;
  const int fd = CreateSiblingTemporary(path, &temporary);
  if (fd < 0) return false;
  struct stat old_file {};
  if (stat(path.c_str(), &old_file) == 0) fchmod(fd, old_file.st_mode & 07777);
  const bool written = WriteFully(fd, contents.data(), contents.size());
  const bool closed = close(fd) == 0;
  if (written && closed && rename(temporary.c_str(), path.c_str()) == 0) return true;
  unlink(temporary.c_str());
  return false;
}

}  // namespace parlavox
