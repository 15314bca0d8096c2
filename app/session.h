#ifndef PARLAVOX_APP_SESSION_H_
#define PARLAVOX_APP_SESSION_H_

#include <signal.h>

#include <QCoreApplication>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "audio/background_mixer.h"
#include "audio/mixer_control.h"
#include "audio/sound_player.h"
#include "audio/sound_recorder.h"
#include "control/control_channel.h"
#include "core/hot_key_binder.h"
#include "core/intercom.h"
#include "platform/dbus_shortcuts_portal.h"
#include "platform/inbox_watcher.h"
#include "platform/logind_sleep.h"
#include "platform/nice_process_priority.h"
#include "platform/portal_hot_keys.h"
#include "platform/qt_clock.h"
#include "platform/qt_task_poster.h"
#include "platform/saved_accounts.h"
#include "platform/user_share.h"
#include "platform/x11_hot_keys.h"
#include "settings/key_assignments.h"
#include "settings/settings_file.h"
#include "share/background_share_access.h"
#include "share/disk_inbox_folder.h"
#include "share/folder_access.h"
#include "share/presence_poller.h"
#include "share/share_inbox_watcher.h"
#include "util/serial_worker.h"

namespace parlavox {

// One running intercom with every platform piece it uses: the sound server, the
// files, the workers, the machine's sleep and the control socket, on the event loop of
// `application`, shown on `view`. The caller holds the running copy's claim.
class Session {
 public:
  // `quit` ends the program as a "quit" request from the command line asks: without
  // asking anything.
  Session(QCoreApplication& application, SettingsFile& settings, IntercomView& view,
          std::vector<std::string> idle_texts, std::function<void()> quit);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session();

  Intercom& intercom() { return intercom_; }
  Clock& clock() { return clock_; }
  // Runs `sheet`, the settings sheet, as the Settings command does: the hot keys are
  // let go and the intercom rests while it is open, and all is taken up anew after,
  // unless the program is ending meanwhile. An inward folder moved to one that keeps
  // colleagues out is said with the fix.
  void RunSettings(const std::function<void()>& sheet);

  // An account the person typed for `host` after it refused: used from the next poll on
  // for as long as the program runs, and, with `remember`, saved in the desktop's secret
  // store (the status line says when that fails).
  void GiveAccount(const std::string& host, const Credentials& account, bool remember);
  // The accounts given so far, for other connections of the program to use too.
  const GivenAccounts& given_accounts() const { return given_accounts_; }

  // Which window of the desktop is active, where that can be known; else null.
  DesktopActivation* activation() { return x11_hot_keys_.get(); }
  // Where the hot keys are bound once the session runs; null without hot keys.
  const HotKeySystem* hot_key_system() const { return hot_key_system_; }

  // Starts the intercom, then `started` (when given), answers the control socket, and
  // runs the event loop until something ends it: a "quit" request, a window that
  // closes, or one of `termination`'s signals (blocked in every thread beforehand).
  // Then ends the intercom as closing it does: the record is published off and
  // everything stops.
  int Run(const sigset_t& termination, const std::function<void()>& started = {});
  // Ends the intercom as Run does after its loop, but leaves the hot keys and the
  // portal alone: for an exit() from within the loop, as where the display went away.
  void EndWithoutDisplay();

 private:
  // Binds the hot keys the way this desktop offers them, or says why there are none.
  void StartHotKeys();
  // Says on the status line when the inward folder keeps colleagues out, with the fix.
  void SayWhereColleaguesAreKeptOut();
  void StopWorkers();

  QCoreApplication& application_;
  SettingsFile& settings_;
  QtTaskPoster poster_;
  QtClock clock_;
  SerialWorker share_worker_{"parlavox-share"};
  SerialWorker mixer_worker_{"parlavox-mixer"};
  SerialWorker secrets_worker_{"parlavox-secret"};
  MixerControl mixer_control_;
  BackgroundMixer mixer_{mixer_control_, mixer_worker_};
  LSoundPlayer player_{poster_};
  LSoundRecorder recorder_{poster_};
  NiceProcessPriority priority_;
  GivenAccounts given_accounts_;
  SmbConnections smb_{CredentialsFile::ForUser(FindSavedSmbAccount, &given_accounts_)};
  SharedFolderGuard guard_{
      smb_, [](const std::string& folder) { return SambaShareOf(folder, RunProgram); }};
  DiskInboxFolder inbox_folder_{settings_, clock_, &guard_};
  FolderRecordStore records_{smb_};
  BackgroundShareAccess share_{share_worker_, poster_, smb_};
  UsersCache users_{settings_};
  InboxWatcher local_watcher_{poster_};
  ShareInboxWatcher watcher_{local_watcher_, smb_, poster_};
  PresencePoller poller_{
      users_, poster_,
      [this](UserRecord* record, const std::string& folder, std::string* trouble) {
        return ReadRecordInFolder(smb_, record, folder, trouble, /*background=*/true);
      },
      [] { return SmbConnection::MessageMovedWithin(std::chrono::seconds(1)); }};
  Intercom intercom_;
  KeyAssignments keys_{settings_, users_};
  std::unique_ptr<X11HotKeys> x11_hot_keys_;
  std::unique_ptr<DBusShortcutsPortal> shortcuts_portal_;
  std::unique_ptr<PortalHotKeys> portal_hot_keys_;
  HotKeySystem* hot_key_system_ = nullptr;
  std::optional<HotKeyBinder> hot_keys_;
  std::optional<LogindSleep> sleep_;
  std::function<void()> quit_;
  bool ending_ = false;  // asked to end; the loop has yet to stop
  ControlServer control_;
};

}  // namespace parlavox

#endif  // PARLAVOX_APP_SESSION_H_
