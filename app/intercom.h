#ifndef PARLAVOX_APP_INTERCOM_H_
#define PARLAVOX_APP_INTERCOM_H_

#include <QTimer>
#include <cstdint>
#include <string>

#include "app/identity.h"
#include "app/inbox_watcher.h"
#include "app/presence_poller.h"
#include "app/process_priority.h"
#include "app/settings_file.h"
#include "app/user_list.h"
#include "app/user_record.h"
#include "audio/sound_player.h"
#include "audio/sound_recorder.h"
#include "audio/task_poster.h"

namespace parlavox {

// What the intercom shows the person. The main window and the headless log both
// implement it; every call comes on the interface thread.
class IntercomView {
 public:
  virtual ~IntercomView() = default;
  virtual void ShowUsers(const UserList& users) = 0;
  virtual void ShowOnOff(bool on) = 0;
  virtual void ShowMainWindow() = 0;
  // The status line's text; `idle` for the rotating texts shown between messages.
  virtual void ShowStatus(const std::string& text, bool idle) = 0;
  // A message that needs acknowledging (a message box in the window).
  virtual void ShowAlert(const std::string& text, const std::string& caption) = 0;
};

// The intercom's logic, independent of any window: the own record and its on/off
// state, presence, the inbox that plays arriving messages one after another, calls
// into other users' inward folders, and the status line. Everything here runs on
// the interface thread (a Qt event loop); workers and audio objects reach it only
// through `poster`.
class Intercom : private LSoundPlayerListener, private LSoundRecorderListener {
 public:
  Intercom(const SettingsFile& settings, TaskPoster& poster, IntercomView& view);
  ~Intercom() override;
  Intercom(const Intercom&) = delete;
  Intercom& operator=(const Intercom&) = delete;

  // Start-up: loads the own record (making one on a first start), turns the intercom
  // on, throws away messages that waited while it was not running, and starts the
  // inbox watcher and the presence poller.
  void Start();
  // Shutdown: publishes the intercom as off and stops workers, playback and calls.
  void End();

  void TurnOn();
  void TurnOff();
  void ShowMainWindow() { view_.ShowMainWindow(); }
  // Changes the own name, id or e-mail and publishes the record at once.
  void ChangeIdentity(const IdentityChange& change);

  // Calls: each starts recording into the callee's inward folder and runs until
  // StopCall. StartCall takes a position in the users list.
  bool StartCall(int index);
  bool CallSelected();
  bool Reply();
  void StopCall();

  // Plays the first waiting message unless one is playing already.
  void PlayNextMessage();

  bool is_on() const { return own_record_.is_on(); }
  bool is_recording() const { return recorder_.state() != LSoundRecorder::kClosed; }
  bool is_playing() const { return player_.is_open(); }
  const UserRecord& own_record() const { return own_record_; }
  const UserList& users() const { return users_; }
  UserList& users() { return users_; }
  int32_t previous_caller() const { return previous_caller_; }
  const std::string& status_text() const { return status_text_; }

 private:
  // Publishes the own record and shows the on/off state.
  void ApplyOnOffState();
  void LoadOwnUserRecord();
  void WriteOwnUserRecord() const;
  void StartPresencePoller();
  void StartInboxWatcher();
  void ClearInbox();
  void FillUserList();
  // Shows a status text and holds the line for 12 s.
  void ShowStatus(const std::string& text);
  void ShowNextIdleText();

  // Shows "<- name" for the previous caller when that caller is in the list.
  void ShowCallerStatus();
  // Goes on with a message whose playback caught up with its caller.
  void ResumeMessage();
  // Deletes the message being played and forgets it.
  void FinishMessage();
  void OnPlayFailed();
  void OnPlayStopped(uint32_t cookie) override;

  const SettingsFile& settings_;
  IntercomView& view_;
  UserRecord own_record_;
  int32_t previous_caller_ = -1;
  std::string playing_path_;
  std::shared_ptr<WaveFileReader> playing_reader_;  // the player's, kept for a resume
  std::shared_ptr<WaveFileReader> resumed_reader_;  // set while waiting to go on
  std::string status_text_;
  size_t idle_text_index_ = 0;
  UserList users_;
  LSoundPlayer player_;
  LSoundRecorder recorder_;
  ProcessPriority priority_;
  InboxWatcher watcher_;
  PresencePoller poller_;
  QTimer status_timer_;        // the idle-text rotation
  QTimer next_message_timer_;  // the pause between two messages
};

}  // namespace parlavox

#endif  // PARLAVOX_APP_INTERCOM_H_
