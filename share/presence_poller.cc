#include "share/presence_poller.h"

#include <sys/prctl.h>

#include "words/user_record.h"

namespace parlavox {

bool RefreshPresence(UsersCache& users, const RecordReader& read) {
  bool changed = false;
  const int count = users.Count();
  for (int i = 0; i < count; ++i) {
    UserRecord record;
    if (read(&record, users.Folder(i))) {
      if (users.IsOn(i) != record.is_on()) {
        users.SetOn(i, record.is_on());
        changed = true;
      }
      users.SetId(i, record.id);
      if (users.Name(i).value_or("") != record.Name()) {
        users.SetName(i, record.Name());
        changed = true;
      }
    } else if (users.IsOn(i)) {
      users.SetOn(i, false);
      changed = true;
    }
  }
  return changed;
}

PresencePoller::PresencePoller(UsersCache& users, TaskPoster& poster, RecordReader read)
    : users_(users), poster_(poster), read_(std::move(read)) {}

PresencePoller::~PresencePoller() { Stop(); }

void PresencePoller::StartPolling(std::function<void()> changed) {
  Stop();
  changed_ = std::move(changed);
  Start(kPriorityLowest);
}

void PresencePoller::OnThreadStart() { prctl(PR_SET_NAME, "parlavox-poll"); }

void PresencePoller::Run() {
  bool changed = true;  // the owner always hears of the first pass
  do {
    if (RefreshPresence(users_, read_)) changed = true;
    if (changed && changed_) poster_.Post(changed_);
    changed = false;
  } while (!WaitForStop(kPollInterval));
}

}  // namespace parlavox
