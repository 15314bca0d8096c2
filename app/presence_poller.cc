#include "app/presence_poller.h"

#include "app/paths.h"
#include "app/user_record.h"

namespace parlavox {

bool RefreshPresence(const SettingsFile& settings) {
  bool changed = false;
  const int32_t count = settings.ReadCount(kUsersSection, "folder");
  for (int i = 0; i < count; ++i) {
    const std::string folder = settings.ReadText(kUsersSection, ListKey("folder", i));
    const std::string on_key = ListKey("on", i);
    UserRecord record;
    if (ReadUserRecord(&record, JoinPath(folder, kUserRecordFileName))) {
      if (settings.ReadBool(kUsersSection, on_key, false) != record.is_on()) {
        settings.WriteBool(kUsersSection, on_key, record.is_on());
        changed = true;
      }
      settings.WriteInt(kUsersSection, ListKey("id", i), record.id);
      const std::string name_key = ListKey("name", i);
      if (settings.ReadText(kUsersSection, name_key) != record.Name()) {
        settings.WriteText(kUsersSection, name_key, record.Name());
        changed = true;
      }
    } else if (settings.ReadBool(kUsersSection, on_key, false)) {
      settings.WriteBool(kUsersSection, on_key, false);
      changed = true;
    }
  }
  return changed;
}

PresencePoller::PresencePoller(const SettingsFile& settings, TaskPoster& poster)
    : settings_(settings), poster_(poster) {}

PresencePoller::~PresencePoller() { Stop(); }

void PresencePoller::StartPolling(std::function<void()> on_changed) {
  Stop();
  on_changed_ = std::move(on_changed);
  Start(kPriorityLowest);
}

void PresencePoller::Run() {
  bool changed = true;  // the owner always hears of the first pass
  do {
    if (RefreshPresence(settings_)) changed = true;
    if (changed && on_changed_) poster_.Post(on_changed_);
    changed = false;
  } while (!WaitForStop(kPollInterval));
}

}  // namespace parlavox
