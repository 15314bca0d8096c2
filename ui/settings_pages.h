#ifndef PARLAVOX_UI_SETTINGS_PAGES_H_
#define PARLAVOX_UI_SETTINGS_PAGES_H_

#include <QWidget>
#include <functional>
#include <string>

#include "audio/mixer.h"
#include "platform/user_share.h"
#include "settings/folder_store.h"
#include "settings/key_assignments.h"
#include "settings/settings_file.h"
#include "settings/start_at_login.h"
#include "settings/users_cache.h"
#include "ui/find_colleagues_dialog.h"
#include "words/identity.h"

namespace parlavox {

// What the settings sheet works on.
struct SettingsContext {
  SettingsFile& settings;
  FolderStore& folders;
  UsersCache& users;
  KeyAssignments& keys;
  Mixer& mixer;
  StartAtLogin& login;
  // The keys the desktop bound for hot key i, where it chooses them itself ("" else).
  std::function<std::string(int)> desktop_binding;
  // Shares a folder on the network for colleagues to write to, first letting guests
  // through the folders above it where asked.
  std::function<UserShareOutcome(const std::string& folder, bool let_guests_through)> share_folder;
  // The colleagues in a server's shares or a folder, the servers to look in, and where
  // a server refused, the account the person gives for it.
  ColleagueFinder find_colleagues;
  ServerFinder announced_servers;
  AccountGiver give_account;
  // The own record as it stands, and a change of it, which the intercom publishes at
  // once.
  std::function<UserRecord()> own_record;
  std::function<void(const IdentityChange&)> change_identity;
};

// A page of the settings sheet: filled when it is first shown, saved when it is left
// (also by OK), with a help topic of its own.
class SettingsPage : public QWidget {
 public:
  virtual void Fill() = 0;
  virtual void Save() {}
  virtual int help_topic() const = 0;
};

// "General": the sound devices and levels, the inward folder and its sharing, the name
// colleagues see, start at login.
SettingsPage* NewGeneralPage(const SettingsContext& context);
// "Users": the other users' inward folders, also found on the network; every change is
// written at once.
SettingsPage* NewUsersPage(const SettingsContext& context);
// "Keys": the system-wide hot keys; every change is written at once.
SettingsPage* NewKeysPage(const SettingsContext& context);

}  // namespace parlavox

#endif  // PARLAVOX_UI_SETTINGS_PAGES_H_
