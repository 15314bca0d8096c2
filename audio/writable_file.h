#ifndef PARLAVOX_AUDIO_WRITABLE_FILE_H_
#define PARLAVOX_AUDIO_WRITABLE_FILE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace parlavox {

// A file that a writer fills at given places: on a disk, or on a server behind a share.
// Used from one thread at a time.
class WritableFile {
 public:
  virtual ~WritableFile() = default;
  virtual bool WriteAt(const void* data, size_t size, int64_t offset) = 0;
  // Makes the file `size` bytes long.
  virtual bool Resize(int64_t size) = 0;
  // Makes what was written so far visible to readers elsewhere (a network file
  // system's server); nothing where readers see it anyway.
  virtual bool SendOn() = 0;
  // False when something written did not make it.
  virtual bool Close() = 0;
};

// The file at `path` on the file system, opened for writing and made when missing;
// null when it can't be.
std::unique_ptr<WritableFile> OpenWritableFile(const std::string& path);
// The file open for writing on `fd`, which it takes over.
std::unique_ptr<WritableFile> WritableFileOnDescriptor(int fd);

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_WRITABLE_FILE_H_
