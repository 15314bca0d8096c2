#include "audio/writable_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "util/file_io.h"

namespace parlavox {
namespace {

class DiskFile : public WritableFile {
 public:
  explicit DiskFile(int fd) : fd_(fd), network_(IsOnNetworkFileSystem(fd)) {}
  ~DiskFile() override { Close(); }

  bool WriteAt(const void* data, size_t size, int64_t offset) override {
    return WriteFullyAt(fd_, data, size, static_cast<off_t>(offset));
  }
  // A file that already has the size is left alone: some file systems (smbnetfs) can't
  // cut files at all.
  bool Resize(int64_t size) override {
    struct stat status {};
    if (fstat(fd_, &status) == 0 && status.st_size == size) return true;
    return ftruncate(fd_, static_cast<off_t>(size)) == 0;
  }
  bool SendOn() override { return !network_ || fdatasync(fd_) == 0; }
  bool Close() override {
    if (fd_ < 0) return true;
    const bool closed = close(fd_) == 0;
    fd_ = -1;
    return closed;
  }

 private:
  int fd_;
  bool network_;  // on a network file system, where readers elsewhere need a sync
};

}  // namespace

std::unique_ptr<WritableFile> OpenWritableFile(const std::string& path) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
  if (fd < 0) return nullptr;
  return std::make_unique<DiskFile>(fd);
}

std::unique_ptr<WritableFile> WritableFileOnDescriptor(int fd) {
  return std::make_unique<DiskFile>(fd);
}

}  // namespace parlavox
