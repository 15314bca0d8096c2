#ifndef PARLAVOX_SHARE_MESSAGE_FILE_H_
#define PARLAVOX_SHARE_MESSAGE_FILE_H_

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "util/clock.h"
#include "util/file_lock.h"

namespace parlavox {

// How long a message file that may still be in the writing is left alone after its last
// change. The caller's copy creates the file, then writes its header, then the sound as
// its microphone delivers it, and writes the exact header when the call ends. A file
// without a header yet is given a short while (and never more than kHeaderWaitLimit
// from when it was first seen, so that junk that keeps changing is not waited for
// forever); one with the provisional header of a call in progress is given much
// longer, as a caller on a network share can stall for seconds and then go on.
constexpr std::chrono::seconds kMessageSettleTime{2};
constexpr std::chrono::seconds kHeaderWaitLimit{10};
constexpr std::chrono::seconds kStalledCallerTime{20};

// What one look at a message file finds.
struct MessageLook {
  int64_t size = 0;
  int64_t modified_ns = 0;  // the file's time stamp, as the writer's machine set it
  bool has_header = false;  // a RIFF/WAVE header with its "fmt " and "data" chunks
  bool complete = false;    // its header claims no more sound than the file holds

  bool operator==(const MessageLook&) const = default;
};

// Looks at the message at `path`; nullopt when it is gone or not a regular file.
std::optional<MessageLook> LookAtMessage(const std::string& path);

// Tells whether the caller's copy is still writing a message, judged only by what
// this copy saw itself: a message is coming while it is not complete and it changed
// (in size or time stamp) within the time its state allows (above), timed with this
// machine's monotonic clock. Time stamps are only compared with each other, never with this
// machine's clock: the writer may be another machine whose clock runs differently. A message seen
// for the first time counts as changed just then. A caller that died mid-call leaves an incomplete
// file that stops changing; after kStalledCallerTime it counts as complete.
class MessageArrivals {
 public:
  bool IsStillComing(const std::string& name, const std::optional<MessageLook>& look,
                     Clock::TimePoint now);
  void Forget(const std::string& name) { seen_.erase(name); }

 private:
  struct Seen {
    MessageLook look;
    Clock::TimePoint changed;
    Clock::TimePoint first_seen;
  };
  std::map<std::string, Seen> seen_;
};

// A message file is locked shared by the callee while it plays the message; a
// caller's copy must lock it exclusively before it cuts the file for a new call, so
// that a second call can't cut a message that is still being heard. The exclusive
// lock creates a missing file. Neither waits.
FileLock LockMessage(const std::string& path, FileLock::Kind kind);

// What opening a message file for a new call gave.
struct MessageForCall {
  bool still_playing = false;  // the callee holds it
  int fd = -1;                 // open for writing and cut empty; -1 when it can't be
};

// Opens the message at `path` for a new call, on one descriptor: locked exclusively
// (LockMessage's rule) while it is cut empty, and let go of then, as a cut message may be
// played as soon as it grows. Where the file system can't cut files (smbnetfs), the
// message is made afresh instead. The caller owns the descriptor.
MessageForCall OpenMessageForCall(const std::string& path);

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_MESSAGE_FILE_H_
