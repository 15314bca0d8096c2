#ifndef PARLAVOX_SHARE_PRESENCE_POLLER_H_
#define PARLAVOX_SHARE_PRESENCE_POLLER_H_

#include <chrono>
#include <functional>
#include <string>

#include "core/workers.h"
#include "settings/users_cache.h"
#include "util/task_poster.h"
#include "util/worker_thread.h"
#include "words/user_record.h"

namespace parlavox {

// Reads the record of every listed user and copies what it says into the users
// cache: the on/off state and the name when they differ, the id always. A user whose
// record can't be read is set off and keeps the last known name and id. Returns
// whether a name or an on/off state changed.
// `read` reads the record in a user's folder as ReadUserRecord does.
using RecordReader = std::function<bool(UserRecord* record, const std::string& folder)>;
bool RefreshPresence(UsersCache& users, const RecordReader& read);

// A worker that refreshes presence every 5 s at the lowest priority and posts
// `changed` to the owner.
class PresencePoller : public WorkerThread, public PresencePolling {
 public:
  static constexpr std::chrono::milliseconds kPollInterval{5000};

  PresencePoller(UsersCache& users, TaskPoster& poster, RecordReader read);
  ~PresencePoller() override;

  void StartPolling(std::function<void()> changed) override;
  void AskToStop() override { RequestStop(); }
  void StopPolling() override { Stop(); }

 protected:
  void Run() override;
  void OnThreadStart() override;

 private:
  UsersCache& users_;
  TaskPoster& poster_;
  const RecordReader read_;
  std::function<void()> changed_;
};

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_PRESENCE_POLLER_H_
