#ifndef PARLAVOX_UTIL_FILE_LOCK_H_
#define PARLAVOX_UTIL_FILE_LOCK_H_

#include <string>

namespace parlavox {

// An advisory lock (flock) on a file, held for as long as the object lives. The
// system lets go of it when the process ends, however it ends. Locks taken on one
// file through different opens exclude each other, in one process or in several.
class FileLock {
 public:
  enum class Kind { kShared, kExclusive };
  enum class Wait { kNo, kYes };

  // Opens `path` with `open_flags` (with O_CREAT a missing file is made as other
  // files are, with the permissions the umask leaves) and locks it, waiting for
  // others to let go or not.
  FileLock(const std::string& path, int open_flags, Kind kind, Wait wait);
  FileLock(FileLock&& other) noexcept;
  FileLock& operator=(FileLock&&) = delete;
  FileLock(const FileLock&) = delete;
  ~FileLock();

  bool held() const { return held_; }
  // Whether someone else holds the file: the lock was refused, not merely impossible
  // (as for a file that can't be opened).
  bool refused() const { return refused_; }

 private:
  int fd_;
  bool held_ = false;
  bool refused_ = false;
};

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_FILE_LOCK_H_
