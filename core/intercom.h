#ifndef PARLAVOX_CORE_INTERCOM_H_
#define PARLAVOX_CORE_INTERCOM_H_

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "audio/mixer.h"
#include "audio/player.h"
#include "audio/recorder.h"
#include "core/calls.h"
#include "core/inbox.h"
#include "core/inbox_folder.h"
#include "core/intercom_view.h"
#include "core/own_record.h"
#include "core/process_priority.h"
#include "core/push_to_talk_hold.h"
#include "core/record_store.h"
#include "core/share_access.h"
#include "core/status_line.h"
#include "core/user_list.h"
#include "core/workers.h"
#include "settings/settings_file.h"
#include "settings/users_cache.h"
#include "util/clock.h"
#include "util/lifetime.h"
#include "words/identity.h"

namespace parlavox {

// The platform pieces the intercom works with; all outlive it.
struct IntercomParts {
  Clock& clock;
  Player& player;
  Recorder& recorder;
  Mixer& mixer;
  ProcessPriority& priority;
  InboxFolder& inbox_folder;
  RecordStore& records;
  ShareAccess& share;
  InboxWatching& watcher;
  PresencePolling& poller;
};

// Everything the intercom would tell about itself, at one moment.
struct IntercomSnapshot {
  bool on = false;
  bool recording = false;
  bool playing = false;
  std::string status;
  int32_t previous_caller = -1;
  UserRecord own;
  std::vector<UserListItem> users;
  int selected = -1;
};

// The intercom, whichever way it is shown: the own record and its on/off state, the
// users list with presence, the inbox, calls and the status line, wired together and
// shown on a view. Everything here runs on the interface thread; workers and audio
// objects reach it only through posted tasks.
class Intercom {
 public:
  using CallDone = Calls::Done;

  // `idle_texts` take turns on the status line between status texts.
  Intercom(SettingsFile& settings, IntercomParts parts, IntercomView& view,
           std::vector<std::string> idle_texts);
  Intercom(const Intercom&) = delete;
  Intercom& operator=(const Intercom&) = delete;
  ~Intercom();

  // Start-up: loads the own record (making one on a first start), turns the intercom
  // on, throws away messages that waited while it was not running, and starts the
  // inbox watcher and the presence poller.
  void Start();
  // Shutdown: publishes the intercom as off and stops workers, playback and calls.
  void End();

  // While the settings sheet is open, what is asked is taken up when it closes.
  void TurnOn() { Turn(true); }
  void TurnOff() { Turn(false); }
  // Changes the own name, id or e-mail and publishes the record at once.
  void ChangeIdentity(const IdentityChange& change);

  // The users list position the window has selected (-1 for none).
  void Select(int position);
  // Another start of the program asks for this one's window; true when one came up.
  bool AnswerSecondStart() { return view_.AnswerSecondStart(); }

  // Calls: each records into the callee's inward folder until StopCall. StartCall takes
  // a place in the users list; `done` hears whether the call started or why not.
  void StartCall(int index, CallDone done = {});
  void CallSelected(CallDone done = {});
  // Calls whoever sent the last message; when they are not listed (or nobody called
  // yet), the selected user.
  void Reply(CallDone done = {});
  void StopCall();
  // What the menu's "Call" and "Reply" do: end the call that runs, or else start one.
  void ToggleCallSelected();
  void ToggleReply();

  // A hot key fired with `command` (words/hot_key_commands.h): it brings the window up,
  // hides it, calls the selected user, replies, turns the intercom on or off, or calls
  // a user of the list; other numbers do nothing. A call lasts while the hot key
  // keeps firing (PushToTalkHold); meanwhile the window holds the activation.
  void HotKey(int32_t command);

  // The settings sheet opens: the workers are asked to stop, and others see this user
  // off while it is open.
  void BeginSettings();
  // The sheet closed: the own record is read again from the inward folder (which may
  // have changed) and published with the on/off state it had before; messages that
  // arrived meanwhile are thrown away; the workers watch and poll anew.
  void EndSettings();

  // The machine goes to sleep: a call that runs ends, and others see this user off while
  // it sleeps (callers are told so, rather than leave messages heard only on waking).
  void GoToSleep();
  // It woke: the record is published with the on/off state it had before, and again
  // every kPublishAgainAfter until it is written (an inward folder on a server is out of
  // reach until the network is back).
  void WakeUp();
  static constexpr std::chrono::seconds kPublishAgainAfter{5};

  // Shows a status text of the program's own on the status line.
  void ShowStatus(const std::string& text) { status_.ShowStatus(text); }

  IntercomSnapshot Snapshot() const;
  const UserList& users() const { return users_; }
  const StatusLine& status_line() const { return status_; }

 private:
  // Turns the intercom on or off, or, while the settings sheet is open, sets what it
  // is to be once the sheet closes.
  void Turn(bool on);
  // Publishes the own record and shows the on/off state.
  void ApplyOnOffState();
  // Publishes the own record as it stands then, now and after each failure.
  void PublishUntilWritten();
  // Throws away what waits in the inward folder and starts the workers on it.
  void StartWorkers();
  // The watcher found the inward folder gone (nobody can call) or back.
  void OnInwardFolder(bool usable);
  void OnServerTrouble(const std::string& trouble);
  void FillUserList();
  // Runs a call start and shows the pushed look of `button` when it started.
  void StartCallWith(int index, CallButton button, CallDone done);

  SettingsFile& settings_;
  IntercomParts parts_;
  IntercomView& view_;
  UsersCache users_cache_;
  OwnRecord own_;
  UserList users_;
  std::set<int> unreached_;                  // the users whose folders the last poll could not read
  std::set<std::string> asked_for_account_;  // servers the person was asked about
  StatusLine status_;
  Inbox inbox_;
  Calls calls_;
  PushToTalkHold hold_;
  std::optional<bool> on_before_settings_;  // while the settings sheet is open
  std::optional<bool> on_before_sleep_;     // while the machine sleeps
  std::unique_ptr<Timer> publish_again_;
  Lifetime lifetime_;
};

}  // namespace parlavox

#endif  // PARLAVOX_CORE_INTERCOM_H_
