#ifndef PARLAVOX_APP_INTERCOM_H_
#define PARLAVOX_APP_INTERCOM_H_

#include <cstdint>
#include <string>

#include "app/identity.h"
#include "app/presence_poller.h"
#include "app/settings_file.h"
#include "app/user_list.h"
#include "app/user_record.h"
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
};

// The intercom's logic, independent of any window: the own record and its on/off
// state, the presence poller and the users list. Everything here runs on the
// interface thread; the poller reaches it only through `poster`.
class Intercom {
 public:
  Intercom(const SettingsFile& settings, TaskPoster& poster, IntercomView& view);
  ~Intercom();
  Intercom(const Intercom&) = delete;
  Intercom& operator=(const Intercom&) = delete;

  // Start-up: loads the own record (making one on a first start), turns the
  // intercom on and starts the presence poller.
  void Start();
  // Shutdown: publishes the intercom as off and stops the poller.
  void End();

  void TurnOn();
  void TurnOff();
  void ShowMainWindow() { view_.ShowMainWindow(); }
  // Changes the own name, id or e-mail and publishes the record at once.
  void ChangeIdentity(const IdentityChange& change);

  bool is_on() const { return own_record_.is_on(); }
  const UserRecord& own_record() const { return own_record_; }
  const UserList& users() const { return users_; }
  int32_t previous_caller() const { return previous_caller_; }
  const std::string& status_text() const { return status_text_; }

 private:
  // Publishes the own record and shows the on/off state.
  void ApplyOnOffState();
  void LoadOwnUserRecord();
  void StartPresencePoller();
  void WriteOwnUserRecord() const;
  void FillUserList();

  const SettingsFile& settings_;
  IntercomView& view_;
  UserRecord own_record_;
  int32_t previous_caller_ = -1;
  std::string status_text_;
  UserList users_;
  PresencePoller poller_;
};

}  // namespace parlavox

#endif  // PARLAVOX_APP_INTERCOM_H_
