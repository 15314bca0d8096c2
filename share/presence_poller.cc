#include "share/presence_poller.h"

#include <pthread.h>
#include <sys/prctl.h>

#include <map>
#include <thread>
#include <vector>

#include "words/share_name.h"
#include "words/user_record.h"

namespace parlavox {

namespace {

// How often a pass that gives way to messages looks whether they still move.
constexpr std::chrono::milliseconds kGiveWayInterval{100};

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
                               std::chrono::milliseconds longest_wait)
    : users_(users),
      poster_(poster),
      read_(std::move(read)),
      messages_moving_(std::move(messages_moving)),
      interval_(interval),
      longest_wait_(longest_wait) {}

PresencePoller::~PresencePoller() { Stop(); }

void PresencePoller::StartPolling(std::function<void(const std::set<int>&)> changed,
                                  std::function<void(const std::string&)> trouble) {
  Stop();
  changed_ = std::move(changed);
  trouble_ = std::move(trouble);
  Start(kPriorityLowest);
}

void PresencePoller::OnThreadStart() { prctl(PR_SET_NAME, "parlavox-poll"); }

bool PresencePoller::ReadGivingWay(UserRecord* record, const std::string& folder,
                                   std::string* trouble,
                                   std::chrono::steady_clock::time_point give_way_until) {
  const std::string server = ServerOf(folder);
  if (server.empty()) return read_(record, folder, trouble);
  bool quick = false;
  {
    MutexLock lock(read_times_mutex_);
    const auto known = read_times_.find(server);
    quick = known != read_times_.end() && known->second <= kQuickRead;
  }
  if (!quick && messages_moving_) {
    while (messages_moving_() && std::chrono::steady_clock::now() < give_way_until &&
           !WaitForStop(kGiveWayInterval)) {
    }
  }
  const auto began = std::chrono::steady_clock::now();
  const bool read = read_(record, folder, trouble);
  MutexLock lock(read_times_mutex_);
  read_times_[server] = std::chrono::steady_clock::now() - began;
  return read;
}

void PresencePoller::Run() {
  // Set before each pass starts its readers, which only read it.
  std::chrono::steady_clock::time_point give_way_until;
  const RecordReader read = [&](UserRecord* record, const std::string& folder,
                                std::string* trouble) {
    return ReadGivingWay(record, folder, trouble, give_way_until);
  };
  bool first = true;  // the owner always hears of the first pass
  std::set<std::string> said;
  std::set<int> unreached_before;
  do {
    std::set<std::string> troubles;
    std::set<int> unreached;
    give_way_until = std::chrono::steady_clock::now() + longest_wait_;
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
