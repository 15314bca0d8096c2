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
// last read held Samba's library longer than kQuickRead (a server behind a slow link)
// is not read again until `longest_skip` after that read: the pass takes what that
// read found, as the sound would have to wait for the far server otherwise.
class PresencePoller : public WorkerThread, public PresencePolling {
 public:
  static constexpr std::chrono::milliseconds kPollInterval{5000};
  static constexpr std::chrono::milliseconds kLongestSkip{30000};
  // A read that holds the sound up by no more than a recording buffer's worth.
  static constexpr std::chrono::milliseconds kQuickRead{40};

  PresencePoller(UsersCache& users, TaskPoster& poster, RecordReader read,
                 std::function<bool()> messages_moving,
                 std::chrono::milliseconds interval = kPollInterval,
                 std::chrono::milliseconds longest_skip = kLongestSkip);
  ~PresencePoller() override;

  void StartPolling(std::function<void(const std::set<int>&)> changed,
                    std::function<void(const std::string&)> trouble) override;
  void AskToStop() override { RequestStop(); }
  void StopPolling() override { Stop(); }

 protected:
  void Run() override;
  void OnThreadStart() override;

 private:
  // Reads as `read_` does, or, where sound moves and the folder is on a slow share read
  // lately, gives what that read found.
  bool ReadOrRecall(UserRecord* record, const std::string& folder, std::string* trouble)
      EXCLUDES(last_reads_mutex_);

  UsersCache& users_;
  TaskPoster& poster_;
  const RecordReader read_;
  const std::function<bool()> messages_moving_;
  const std::chrono::milliseconds interval_;
  const std::chrono::milliseconds longest_skip_;
  std::function<void(const std::set<int>&)> changed_;
  std::function<void(const std::string&)> trouble_;
  struct LastRead {
    std::chrono::steady_clock::time_point at;
    bool read = false;
    UserRecord record;
    std::string trouble;
    std::chrono::steady_clock::duration held_library{};
  };
  // The last read of each share's record, by folder. Each server's users are read on a
  // thread of their own.
  Mutex last_reads_mutex_;
  std::map<std::string, LastRead> last_reads_ GUARDED_BY(last_reads_mutex_);
};

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_PRESENCE_POLLER_H_
