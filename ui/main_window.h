#ifndef PARLAVOX_UI_MAIN_WINDOW_H_
#define PARLAVOX_UI_MAIN_WINDOW_H_

#include <QAction>
#include <QIcon>
#include <QLabel>
#include <QListWidget>
#include <QMainWindow>
#include <QPushButton>
#include <functional>
#include <memory>
#include <optional>

#include "core/hot_keys.h"
#include "core/intercom.h"
#include "core/intercom_view.h"
#include "core/stop_guard.h"
#include "core/window_keys.h"
#include "ui/account_dialog.h"
#include "ui/level_meter.h"
#include "ui/splash_screen.h"
#include "ui/tray_icon.h"

namespace parlavox {

// The intercom's window "Parlavox": the users list with their presence, the "Call"
// and "Reply" buttons (held down to talk), the playback and recording meters and the
// status line, the "Intercom" and "Help" menus, and the tray icon through which the
// program goes on running while the window is hidden. Everything it is asked to do
// goes to the Intercom; everything the Intercom shows comes back through the
// IntercomView operations. It sees every key pressed in it before its controls do.
//
// Closing it asks "Confirm Stop" (StopGuard); where the desktop has no tray, the
// window is minimised instead of hidden, so that it can always be got back.
class MainWindow : public QMainWindow, public IntercomView {
 public:
  // The window of `intercom`, made before the intercom starts; `intercom`, `clock` and
  // `activation` must outlive it. `activation` tells which window a hot-key call took
  // the activation from (may be null); `settings` runs the Settings sequence (the menu
  // item is disabled without it); `give_account` hears an account typed for a server that
  // refused.
  MainWindow(Intercom& intercom, Clock& clock, DesktopActivation* activation,
             std::function<void()> settings, AccountGiver give_account);
  ~MainWindow() override;
  // How the program was started: as usual, "/logon" (with the desktop session) or
  // "/install" (the first start after installing).
  enum class StartedAs { kUsual, kLogon, kInstall };
  // After the intercom has started: the window shows with the splash over it, or,
  // started at logon, goes straight to the tray; after installing the first-run help
  // opens too.
  void Begin(StartedAs started_as);
  // Closes without asking, as the command line's --quit or an installer asks.
  void CloseWithoutAsking();

  void ShowUsers(const UserList& users) override;
  void ShowOnOff(bool on) override;
  void ShowStatus(const std::string& text, bool idle) override;
  void ShowCallButton(CallButton pushed) override;
  void EnablePlaybackMeter(bool enabled) override;
  void ShowPlaybackLevels(const ChannelLevels& levels) override;
  void EnableRecordMeter(bool enabled) override;
  void ShowRecordLevels(const ChannelLevels& levels) override;
  void ShowAlert(const std::string& text, const std::string& caption) override;
  void AskForAccount(const std::string& host, const std::string& refusal) override;
  void ShowMainWindow() override;
  void HideMainWindow() override;
  bool AnswerSecondStart() override;
  void TakeActivationForHotKey() override;
  void GiveActivationBack() override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  void BuildMenus();
  QWidget* BuildFace();
  void OpenHelpAt(int topic);
  StopGuard::Answer AskBeforeStopping();
  // The window goes for good and the event loops end; the session ends the intercom.
  void EndForGood();

  Intercom& intercom_;
  WindowKeys keys_;
  StopGuard stop_guard_;
  LSplashScreen splash_;
  QAction* on_action_ = nullptr;
  QAction* off_action_ = nullptr;
  QAction* settings_action_ = nullptr;
  QListWidget* users_ = nullptr;
  // Made once: a new icon for each line at every change of the list renders and keeps
  // its pictures anew, and the window grew by a megabyte a minute.
  const QIcon user_on_picture_, user_off_picture_;
  QPushButton* call_ = nullptr;
  QPushButton* reply_ = nullptr;
  LevelMeter* playback_meter_ = nullptr;
  LevelMeter* record_meter_ = nullptr;
  QLabel* status_ = nullptr;
  std::unique_ptr<TrayIcon> tray_;
  const std::function<void()> settings_;
  const AccountGiver give_account_;
  DesktopActivation* const activation_;
  std::optional<DesktopActivation::Window> activation_before_hot_key_;
  bool ending_ = false;  // the close is allowed: the window goes for good
};

}  // namespace parlavox

#endif  // PARLAVOX_UI_MAIN_WINDOW_H_
