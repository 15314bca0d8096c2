#ifndef PARLAVOX_APP_PRESENCE_POLLER_H_
#define PARLAVOX_APP_PRESENCE_POLLER_H_

#include <chrono>
#include <functional>

#include "app/settings_file.h"
#include "audio/task_poster.h"
#include "audio/worker_thread.h"

namespace parlavox {

// Reads the record of every listed user and copies what it says into the "users"
// cache of settings.ini: "on%d" and "name%d" when they differ, "id%d" always. A user
// whose record can't be read is set off and keeps the last known name and id.
// Returns whether "on%d" or "name%d" changed.
bool RefreshPresence(const SettingsFile& settings);

// A worker that refreshes presence every 5 s and posts `on_changed` to the owner
// after the first pass and after every pass that changed the cache.
class PresencePoller : public WorkerThread {
 public:
  static constexpr std::chrono::milliseconds kPollInterval{5000};

  PresencePoller(const SettingsFile& settings, TaskPoster& poster);
  ~PresencePoller() override;

  // Stops a running poller, then starts it anew at the lowest priority.
  void StartPolling(std::function<void()> on_changed);

 protected:
  void Run() override;

 private:
  const SettingsFile& settings_;
  TaskPoster& poster_;
  std::function<void()> on_changed_;
};

}  // namespace parlavox

#endif  // PARLAVOX_APP_PRESENCE_POLLER_H_
