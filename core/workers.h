#ifndef PARLAVOX_CORE_WORKERS_H_
#define PARLAVOX_CORE_WORKERS_H_

#include <functional>
#include <set>
#include <string>

namespace parlavox {

// The intercom's two background workers as the intercom drives them. Each reports to
// the owner's thread only, through the task it was started with.

// Wakes the owner whenever a file in the inward folder is created, deleted or renamed.
class InboxWatching {
 public:
  virtual ~InboxWatching() = default;
  // Stops a watch that runs (waiting for it), then watches `folder` and calls
  // `changed` after every change. The folder counts as usable at the start; `usable`
  // hears whenever that changes: it can't be watched (missing, not a folder, gone),
  // or it is back.
  virtual void StartWatching(const std::string& folder, std::function<void()> changed,
                             std::function<void(bool usable)> usable) = 0;
  // Asks the watch to end without waiting for it.
  virtual void AskToStop() = 0;
  virtual void StopWatching() = 0;
};

// Keeps the users cache up to date with the other users' records.
class PresencePolling {
 public:
  virtual ~PresencePolling() = default;
  // Stops a poll that runs (waiting for it), then polls and calls `changed` with the
  // users whose folders could not be read (by their places in the users section) after
  // the first pass and after every pass that changed a name, an on/off state or who
  // could not be reached, and `trouble` once with each new sentence on a server that
  // can't be reached or refuses.
  virtual void StartPolling(std::function<void(const std::set<int>& unreached)> changed,
                            std::function<void(const std::string&)> trouble) = 0;
  virtual void AskToStop() = 0;
  virtual void StopPolling() = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_CORE_WORKERS_H_
