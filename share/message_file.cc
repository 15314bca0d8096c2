#include "share/message_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "audio/wave_chunks.h"

namespace parlavox {

std::optional<MessageLook> LookAtMessage(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  struct stat status {};
  std::optional<MessageLook> look;
  if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode)) {
    const std::optional<WaveLayout> layout = WalkWaveChunks(fd);
    look = MessageLook{status.st_size,
                       int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec,
                       layout.has_value(),
                       layout && layout->data_start + int64_t{layout->data_size} <= status.st_size};
  }
  close(fd);
  return look;
}

bool MessageArrivals::IsStillComing(const std::string& name, const std::optional<MessageLook>& look,
                                    Clock::TimePoint now) {
  if (!look) {
    Forget(name);
    return false;
  }
  const auto [seen, first] = seen_.try_emplace(name, Seen{*look, now, now});
  if (!first && seen->second.look != *look) {
    seen->second.look = *look;
    seen->second.changed = now;
  }
  if (look->complete) return false;
  const auto quiet = now - seen->second.changed;
  if (look->has_header) return quiet < kStalledCallerTime;
  return quiet < kMessageSettleTime && now - seen->second.first_seen < kHeaderWaitLimit;
}

FileLock LockMessage(const std::string& path, FileLock::Kind kind) {
  // Not through a link, which anybody who may write into the folder can put there (and
  // which would make a file where it points).
  return FileLock(
      path,
      (kind == FileLock::Kind::kShared ? O_RDONLY : O_WRONLY | O_CREAT) | O_NOFOLLOW | O_NONBLOCK,
      kind, FileLock::Wait::kNo);
}

MessageForCall OpenMessageForCall(const std::string& path) {
  // A mounted share says busy where the callee's copy holds the message on the server.
  // smbnetfs holds a file for a moment after it was closed, and a second call right
  // after the first was heard has been refused as busy there: a share that says busy is
  // asked again for up to a second before the call is refused.
  //
  // Anybody who may write into the folder may put something else under the message's
  // name: a link is not followed (it would have this user write over a file of theirs
  // elsewhere), and what is not a plain file is no message (a FIFO would hold the call
  // for good), so the open does not wait.
  constexpr int kFlags = O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  int fd = open(path.c_str(), kFlags, 0666);
  for (int tries = 0; fd < 0 && (errno == EBUSY || errno == ETXTBSY) && tries < 50; ++tries) {
    usleep(20000);
    fd = open(path.c_str(), kFlags, 0666);
  }
  if (fd < 0) return {.still_playing = errno == EBUSY || errno == ETXTBSY};
  if (struct stat status{}; fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
    close(fd);
    return {};
  }
  fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
  if (flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    close(fd);
    return {.still_playing = true};
  }
  struct stat status {};
  const bool empty = fstat(fd, &status) == 0 && status.st_size == 0;
  if (!empty && ftruncate(fd, 0) != 0) {
    close(fd);
    // The callee's copy may be looking at the old message just now, and some file
    // systems won't delete a file that is open: a few tries.
    for (int tries = 0; unlink(path.c_str()) != 0 && errno == EBUSY && tries < 10; ++tries) {
      usleep(20000);
    }
    fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);  // never a link
    if (fd < 0) return {};
  }
  flock(fd, LOCK_UN);
  return {.fd = fd};
}

}  // namespace parlavox
