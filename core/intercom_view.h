#ifndef PARLAVOX_CORE_INTERCOM_VIEW_H_
#define PARLAVOX_CORE_INTERCOM_VIEW_H_

#include <string>
#include <vector>

#include "audio/channel_levels.h"
#include "core/user_list.h"
#include "words/user_record.h"

namespace parlavox {

// Which button looks pushed while a call runs.
enum class CallButton { kNone, kCall, kReply };

// What the intercom shows the person. The main window and the log on standard error
// both implement it; each shows what it can and leaves the rest (every operation
// does nothing unless overridden). Every call comes on the interface thread.
class IntercomView {
 public:
  virtual ~IntercomView() = default;

  // The users list was rebuilt, or its selection changed.
  virtual void ShowUsers(const UserList& /*users*/) {}
  virtual void ShowOnOff(bool /*on*/) {}
  // The status line's text; `idle` for the rotating texts shown between status texts.
  virtual void ShowStatus(const std::string& /*text*/, bool /*idle*/) {}
  virtual void ShowCallButton(CallButton /*pushed*/) {}
  // The playback meter is enabled while a message plays, the record meter while a
  // call records; each shows the levels of what it measures.
  virtual void EnablePlaybackMeter(bool /*enabled*/) {}
  virtual void ShowPlaybackLevels(const ChannelLevels& /*levels*/) {}
  virtual void EnableRecordMeter(bool /*enabled*/) {}
  virtual void ShowRecordLevels(const ChannelLevels& /*levels*/) {}
  // The own name, id and e-mail, as others see them.
  virtual void ShowIdentity(const UserRecord& /*own*/) {}
  // A message the person has to acknowledge.
  virtual void ShowAlert(const std::string& /*text*/, const std::string& /*caption*/) {}
  // Server `host` refused the account it was given (`refusal` says so): the person may
  // give another, without holding up the intercom.
  virtual void AskForAccount(const std::string& /*host*/, const std::string& /*refusal*/) {}
  // Brings the main window up and to the front; hides it (the tray icon stays).
  virtual void ShowMainWindow() {}
  virtual void HideMainWindow() {}
  // Another start of the program asked for the window: it comes up, closing it asks
  // before stopping again, and the splash shows. True when a window came up.
  virtual bool AnswerSecondStart() {
    ShowMainWindow();
    return false;
  }
  // A call started by a hot key begins: the window takes the activation, remembering
  // which window had it unless it remembers one already. When the call ends, that
  // window gets the activation back and is forgotten.
  virtual void TakeActivationForHotKey() {}
  virtual void GiveActivationBack() {}
};

// Shows everything on several views at once, in the order they were added.
class FanOutView : public IntercomView {
 public:
  explicit FanOutView(std::vector<IntercomView*> views) : views_(std::move(views)) {}
  // Shows on `view` too from now on; it must outlive this object's use.
  void Add(IntercomView* view) { views_.push_back(view); }

  void ShowUsers(const UserList& users) override { Each(&IntercomView::ShowUsers, users); }
  void ShowOnOff(bool on) override { Each(&IntercomView::ShowOnOff, on); }
  void ShowStatus(const std::string& text, bool idle) override {
    Each(&IntercomView::ShowStatus, text, idle);
  }
  void ShowCallButton(CallButton pushed) override { Each(&IntercomView::ShowCallButton, pushed); }
  void EnablePlaybackMeter(bool enabled) override {
    Each(&IntercomView::EnablePlaybackMeter, enabled);
  }
  void ShowPlaybackLevels(const ChannelLevels& levels) override {
    Each(&IntercomView::ShowPlaybackLevels, levels);
  }
  void EnableRecordMeter(bool enabled) override { Each(&IntercomView::EnableRecordMeter, enabled); }
  void ShowRecordLevels(const ChannelLevels& levels) override {
    Each(&IntercomView::ShowRecordLevels, levels);
  }
  void ShowIdentity(const UserRecord& own) override { Each(&IntercomView::ShowIdentity, own); }
  void ShowAlert(const std::string& text, const std::string& caption) override {
    Each(&IntercomView::ShowAlert, text, caption);
  }
  void AskForAccount(const std::string& host, const std::string& refusal) override {
    Each(&IntercomView::AskForAccount, host, refusal);
  }
  void ShowMainWindow() override { Each(&IntercomView::ShowMainWindow); }
  void HideMainWindow() override { Each(&IntercomView::HideMainWindow); }
  bool AnswerSecondStart() override {
    bool shown = false;
    for (IntercomView* view : views_) shown = view->AnswerSecondStart() || shown;
    return shown;
  }
  void TakeActivationForHotKey() override { Each(&IntercomView::TakeActivationForHotKey); }
  void GiveActivationBack() override { Each(&IntercomView::GiveActivationBack); }

 private:
  template <typename... Parameters, typename... Arguments>
  void Each(void (IntercomView::*show)(Parameters...), const Arguments&... arguments) {
    for (IntercomView* view : views_) (view->*show)(arguments...);
  }

  std::vector<IntercomView*> views_;
};

}  // namespace parlavox

#endif  // PARLAVOX_CORE_INTERCOM_VIEW_H_
