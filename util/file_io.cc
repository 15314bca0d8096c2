#include "util/file_io.h"

#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>

namespace parlavox {
namespace {

// Repeats `step(done)`, which moves some bytes and returns how many (0 at the end, -1
// on an error), until `size` bytes have moved.
template <typename Step>
ssize_t Repeat(size_t size, Step step) {
  size_t done = 0;
  while (done < size) {
    const ssize_t moved = step(done);
    if (moved < 0 && errno == EINTR) continue;
    if (moved < 0) return -1;
    if (moved == 0) break;
    done += static_cast<size_t>(moved);
  }
  return static_cast<ssize_t>(done);
}

bool IsNetworkFileSystemType(const struct statfs& info) {
  switch (static_cast<uint32_t>(info.f_type)) {
    case 0x6969:      // NFS
    case 0x517B:      // SMB
    case 0xFF534D42:  // CIFS
    case 0xFE534D42:  // SMB2
    case 0x65735546:  // FUSE (sshfs and friends)
    case 0x01021997:  // 9P
      return true;
    default:
      return false;
  }
}

}  // namespace

bool IsOnNetworkFileSystem(const std::string& path) {
  struct statfs info {};
  return statfs(path.c_str(), &info) == 0 && IsNetworkFileSystemType(info);
}

bool IsOnNetworkFileSystem(int fd) {
  struct statfs info {};
  return fstatfs(fd, &info) == 0 && IsNetworkFileSystemType(info);
}

bool WriteFully(int fd, const void* data, size_t size) {
  const auto* bytes = static_cast<const char*>(data);
  return Repeat(size, [&](size_t done) { return write(fd, bytes + done, size - done); }) ==
         static_cast<ssize_t>(size);
}

bool WriteFullyAt(int fd, const void* data, size_t size, off_t offset) {
  const auto* bytes = static_cast<const char*>(data);
  return Repeat(size, [&](size_t done) {
           return pwrite(fd, bytes + done, size - done, offset + static_cast<off_t>(done));
         }) == static_cast<ssize_t>(size);
}

ssize_t ReadFully(int fd, void* data, size_t size) {
  auto* bytes = static_cast<char*>(data);
  return Repeat(size, [&](size_t done) { return read(fd, bytes + done, size - done); });
}

ssize_t ReadFullyAt(int fd, void* data, size_t size, off_t offset) {
  auto* bytes = static_cast<char*>(data);
  return Repeat(size, [&](size_t done) {
    return pread(fd, bytes + done, size - done, offset + static_cast<off_t>(done));
  });
}

}  // namespace parlavox
