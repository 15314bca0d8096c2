#ifndef PARLAVOX_APP_MESSAGE_FILE_H_
#define PARLAVOX_APP_MESSAGE_FILE_H_

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "util/clock.h"

namespace parlavox {

// How long a message file that may still be in the writing is left alone after its last
// change. The caller's copy creates the file, then writes its header, then the sound as
// its microphone delivers it, and writes the exact header when the call ends.
constexpr std::chrono::seconds kMessageSettleTime{2};

// What one look at a message file finds.
struct MessageLook {
  int64_t size = 0;
  int64_t modified_ns = 0;  // the file's time stamp, as the writer's machine set it
  bool complete = false;    // its header claims no more sound than the file holds

  bool operator==(const MessageLook&) const = default;
};

// Looks at the message at `path`; nullopt when it is gone or not a regular file.
std::optional<MessageLook> LookAtMessage(const std::string& path);

// Tells whether the caller's copy is still writing a message, judged only by what
// this copy saw itself: a message is coming while it is not complete and it changed
// (in size or time stamp) within the settle time, timed with this machine's monotonic
// clock. Time stamps are only compared with each other, never with this machine's
// clock: the writer may be another machine whose clock runs differently. A message
// seen for the first time counts as changed just then. A caller that died mid-call
// leaves an incomplete file that stops changing; after the settle time it counts as
// complete.
class MessageArrivals {
 public:
  bool IsStillComing(const std::string& name, const std::optional<MessageLook>& look,
                     Clock::TimePoint now);
  void Forget(const std::string& name) { seen_.erase(name); }

 private:
  struct Seen {
    MessageLook look;
    Clock::TimePoint changed;
  };
  std::map<std::string, Seen> seen_;
};

// An advisory lock on a message file. The callee holds it shared while it plays the
// message; a caller's copy must get it exclusively before it cuts the file for a new
// call, so that a second call can't cut a message that is still being heard.
class MessageLock {
 public:
  enum class Kind { kShared, kExclusive };

  // Tries to lock the file at `path` without waiting; the exclusive kind creates a
  // missing file.
  MessageLock(const std::string& path, Kind kind);
  MessageLock(const MessageLock&) = delete;
  MessageLock& operator=(const MessageLock&) = delete;
  ~MessageLock();

  bool held() const { return held_; }
  // Whether someone else holds the file: the lock was refused, not merely impossible.
  bool refused() const { return refused_; }

 private:
  int fd_;
  bool held_ = false;
  bool refused_ = false;
};

}  // namespace parlavox

#endif  // PARLAVOX_APP_MESSAGE_FILE_H_
