#ifndef PARLAVOX_SHARE_PRESENCE_POLLER_H_
#define PARLAVOX_SHARE_PRESENCE_POLLER_H_

#include <chrono>
#include <functional>
#include <map>
#include <set>
#include <string>

#include "core/workers.h"
#include "settings/users_cache.h"
#include "util/mutex.h"
#include "util/task_poster.h"
#include "util/worker_thread.h"
#include "words/user_record.h"

namespace parlavox {

// `read` reads the record in a user's folder as ReadUserRecord does. Where the folder's
// server can't be reached or refuses the account, it also sets `trouble` to a sentence
// that says so and names the server.
using RecordReader =
    std::function<bool(UserRecord* record, const std::string& folder, std::string* trouble)>;

// Reads the record of every listed user and copies what it says into the users
// cache: the on/off state and the name when they differ, the id always. A user whose
// record can't be read is set off and keeps the last known name and id. Each server's
// users are read on a thread of their own (those on the file system on the caller's),
// so that a slow server delays nobody else, and once a server is in trouble its other
// users are not tried in the same pass. Returns whether a name or an on/off state
// changed; `troubles` gets every different trouble of the pass, `unreached` the places
// of the users whose records could not be read. Once `stopping` says so, no more records
// are read and the pass ends without changing the cache (a pass over many users on a
// server far away can take longer than a stop waits).
bool RefreshPresence(UsersCache& users, const RecordReader& read,
                     std::set<std::string>* troubles = nullptr, std::set<int>* unreached = nullptr,
                     const std::function<bool()>& stopping = nullptr);

// A worker that refreshes presence every `interval` (5 s unless a test says otherwise)
// at the lowest priority and posts
// `changed` to the owner, and `trouble` with each trouble of a pass that the pass
// before did not have (so that each is said once while it lasts). While
// `messages_moving` says so (a call or a message heard through Samba, whose every
// operation waits for the one before, on whatever server), a record on a share whose
// last read took longer than kQuickRead is not read: the pass waits, as the sound
// would have to wait for a far server otherwise, but for at most `longest_wait` from
// its start, so that presence on such shares is still refreshed during a long call.
class PresencePoller : public WorkerThread, public PresencePolling {
 public:
  static constexpr std::chrono::milliseconds kPollInterval{5000};
  static constexpr std::chrono::milliseconds kLongestWait{15000};
  // A read that holds the sound up by no more than a recording buffer's worth.
  static constexpr std::chrono::milliseconds kQuickRead{40};

  PresencePoller(UsersCache& users, TaskPoster& poster, RecordReader read,
                 std::function<bool()> messages_moving,
                 std::chrono::milliseconds interval = kPollInterval,
                 std::chrono::milliseconds longest_wait = kLongestWait);
  ~PresencePoller() override;

  void StartPolling(std::function<void(const std::set<int>&)> changed,
                    std::function<void(const std::string&)> trouble) override;
  void AskToStop() override { RequestStop(); }
  void StopPolling() override { Stop(); }

 protected:
  void Run() override;
  void OnThreadStart() override;

 private:
  // Reads as `read_` does, first giving way to moving messages (until `give_way_until`)
  // where the folder lies on a server that was not read quickly last time.
  bool ReadGivingWay(UserRecord* record, const std::string& folder, std::string* trouble,
                     std::chrono::steady_clock::time_point give_way_until)
      EXCLUDES(read_times_mutex_);

  UsersCache& users_;
  TaskPoster& poster_;
  const RecordReader read_;
  const std::function<bool()> messages_moving_;
  const std::chrono::milliseconds interval_;
  const std::chrono::milliseconds longest_wait_;
  std::function<void(const std::set<int>&)> changed_;
  std::function<void(const std::string&)> trouble_;
  // How long the last read on each server took ("" for the file system is not kept).
  // Each server's users are read on a thread of their own.
  Mutex read_times_mutex_;
  std::map<std::string, std::chrono::steady_clock::duration> read_times_
      GUARDED_BY(read_times_mutex_);
};

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_PRESENCE_POLLER_H_
