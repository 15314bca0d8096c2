#ifndef PARLAVOX_SHARE_DISK_INBOX_FOLDER_H_
#define PARLAVOX_SHARE_DISK_INBOX_FOLDER_H_

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "core/inbox_folder.h"
#include "settings/settings_file.h"
#include "share/message_file.h"
#include "share/shared_folder_guard.h"
#include "util/clock.h"

namespace parlavox {

// The InboxFolder on the file system: the inward folder that `settings` names at the
// time of each call, or the local copy of one on a server (LocalInwardFolder). Still-coming
// messages are told apart by MessageArrivals on `clock`; a held message is locked shared
// (LockMessage), which a caller's exclusive lock keeps off while it writes, and held
// through `guard` too where one is given (it outlives this).
class DiskInboxFolder : public InboxFolder {
 public:
  DiskInboxFolder(const SettingsFile& settings, const Clock& clock,
                  SharedFolderGuard* guard = nullptr)
      : settings_(settings), clock_(clock), guard_(guard) {}

  void Clear() override;
  std::vector<std::string> Messages() override;
  bool all_held() const override { return all_held_; }
  std::shared_ptr<WaveFileReader> Open(const std::string& name) override;
  bool IsStillComing(const std::string& name) override;
  bool Remove(const std::string& name) override;
  void Release() override;

 private:
  // Where the messages are played from (LocalInwardFolder), and one of them.
  std::string Folder() const;
  std::string PathOf(const std::string& name) const;
  // Deletes a message; when that fails, remembers it as played as it stands now.
  bool Delete(const std::string& name);
  // Holds a message unless it is held already; false while its caller holds it or has
  // yet to write to it.
  bool Hold(const std::string& name);
  // Has the guard hold what is held here.
  void TellGuard();

  const SettingsFile& settings_;
  const Clock& clock_;
  MessageArrivals arrivals_;
  std::map<std::string, MessageLook> undeletable_;  // played, as they were then
  std::map<std::string, FileLock> held_;  // tried, by name; not held while a caller writes
  bool all_held_ = true;
  SharedFolderGuard* const guard_;
};

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_DISK_INBOX_FOLDER_H_
