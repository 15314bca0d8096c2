#include "share/presence_poller.h"

#include <pthread.h>
#include <sys/prctl.h>

#include <map>
#include <thread>
#include <vector>

#include "share/smb_connection.h"
#include "words/share_name.h"
#include "words/user_record.h"

namespace parlavox {

namespace {

// The server a folder lies on, "" for the file system.
std::string ServerOf(const std::string& folder) {
  const std::optional<ShareLocation> share = ParseShareName(folder);
  return share ? share->host + ":" + std::to_string(share->port) : "";
}

}  // namespace

bool RefreshPresence(UsersCache& users, const RecordReader& read, std::set<std::string>* troubles,
                     std::set<int>* unreached, const std::function<bool()>& stopping) {
  const int count = users.Count();
  std::vector<std::string> folders;
  std::map<std::string, std::vector<int>> servers;  // server -> its users
  for (int i = 0; i < count; ++i) {
    folders.push_back(users.Folder(i));
    servers[ServerOf(folders.back())].push_back(i);
  }
  std::vector<UserRecord> records(folders.size());
  std::vector<char> read_ok(folders.size(), 0);
  std::vector<std::string> server_troubles(servers.size());
  const auto read_server = [&](const std::vector<int>& members, std::string* trouble) {
    for (const int i : members) {
      if (stopping && stopping()) return;
      read_ok[i] = read(&records[i], folders[i], trouble);
      if (!read_ok[i] && !trouble->empty()) return;  // the others would fare no better
    }
  };
  {
    std::vector<std::jthread> reading;
    size_t n = 0;
    for (const auto& [server, members] : servers) {
      if (server.empty()) continue;
      reading.emplace_back(read_server, std::cref(members), &server_troubles[n++]);
    }
    if (const auto local = servers.find(""); local != servers.end()) {
      read_server(local->second, &server_troubles[n]);
    }
    // The readers use this pass's state. A stop that waited too long ends this thread
    // by force, but not while it waits for them: at the next point where it may.
    int cancel_state = 0;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state);
    for (std::jthread& reader : reading) reader.join();
    pthread_setcancelstate(cancel_state, nullptr);
  }
  if (stopping && stopping()) return false;
  if (troubles != nullptr) {
    for (const std::string& trouble : server_troubles) {
      if (!trouble.empty()) troubles->insert(trouble);
    }
  }

  bool changed = false;
  for (int i = 0; i < count; ++i) {
    const UserRecord& record = records[i];
    if (read_ok[i]) {
      if (users.IsOn(i) != record.is_on()) {
        users.SetOn(i, record.is_on());
        changed = true;
      }
      users.SetId(i, record.id);
      if (users.Name(i).value_or("") != record.Name()) {
        users.SetName(i, record.Name());
        changed = true;
      }
    } else {
      if (unreached != nullptr) unreached->insert(i);
      if (users.IsOn(i)) {
        users.SetOn(i, false);
        changed = true;
      }
    }
  }
  return changed;
}

PresencePoller::PresencePoller(UsersCache& users, TaskPoster& poster, RecordReader read,
                               std::function<bool()> messages_moving,
                               std::chrono::milliseconds interval,
                               std::chrono::milliseconds longest_skip)
    : users_(users),
      poster_(poster),
      read_(std::move(read)),
      messages_moving_(std::move(messages_moving)),
      interval_(interval),
      longest_skip_(longest_skip) {}

PresencePoller::~PresencePoller() { Stop(); }

void PresencePoller::StartPolling(std::function<void(const std::set<int>&)> changed,
                                  std::function<void(const std::string&)> trouble) {
  Stop();
  changed_ = std::move(changed);
  trouble_ = std::move(trouble);
  Start(kPriorityLowest);
}

void PresencePoller::OnThreadStart() { prctl(PR_SET_NAME, "parlavox-poll"); }

bool PresencePoller::ReadOrRecall(UserRecord* record, const std::string& folder,
                                  std::string* trouble) {
  if (ServerOf(folder).empty()) return read_(record, folder, trouble);
  LastRead now{std::chrono::steady_clock::now()};
  if (messages_moving_ && messages_moving_()) {
    MutexLock lock(last_reads_mutex_);
    const auto last = last_reads_.find(folder);
    if (last != last_reads_.end() && last->second.held_library > kQuickRead &&
        now.at - last->second.at < longest_skip_) {
      *record = last->second.record;
      *trouble = last->second.trouble;
      return last->second.read;
    }
  }
  const auto held_before = SmbConnection::Turn::HeldByThisThread();
  now.read = read_(record, folder, trouble);
  now.held_library = SmbConnection::Turn::HeldByThisThread() - held_before;
  now.record = *record;
  now.trouble = *trouble;
  MutexLock lock(last_reads_mutex_);
  last_reads_[folder] = now;
  return now.read;
}

void PresencePoller::Run() {
  const RecordReader read = [this](UserRecord* record, const std::string& folder,
                                   std::string* trouble) {
    return ReadOrRecall(record, folder, trouble);
  };
  bool first = true;  // the owner always hears of the first pass
  std::set<std::string> said;
  std::set<int> unreached_before;
  do {
    std::set<std::string> troubles;
    std::set<int> unreached;
    const bool changed =
        RefreshPresence(users_, read, &troubles, &unreached, [this] { return StopRequested(); });
    if (StopRequested()) break;
    if ((first || changed || unreached != unreached_before) && changed_) {
      poster_.Post([tell = changed_, unreached] { tell(unreached); });
    }
    first = false;
    unreached_before = std::move(unreached);
    for (const std::string& trouble : troubles) {
      if (!said.contains(trouble) && trouble_)
        poster_.Post([tell = trouble_, trouble] { tell(trouble); });
    }
    said = std::move(troubles);
  } while (!WaitForStop(interval_));
}

}  // namespace parlavox
