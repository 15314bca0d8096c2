#ifndef PARLAVOX_UI_TRAY_ICON_H_
#define PARLAVOX_UI_TRAY_ICON_H_

#include <QAction>
#include <QMenu>
#include <QSystemTrayIcon>
#include <functional>

namespace parlavox {

// The program's icon in the desktop's tray, with the tip "Parlavox": its picture
// shows whether the intercom is on. A left click brings the window up; a right click
// shows its menu: "Open Parlavox" (the default, in bold), "&On" and "O&ff" (checked
// as the intercom is), and "E&xit".
class TrayIcon {
 public:
  struct Commands {
    std::function<void()> open, turn_on, turn_off, exit;
  };

  explicit TrayIcon(Commands commands);

  void ShowOnOff(bool on);

 private:
  Commands commands_;
  QMenu menu_;
  QAction* on_;
  QAction* off_;
  QSystemTrayIcon icon_;
};

}  // namespace parlavox

#endif  // PARLAVOX_UI_TRAY_ICON_H_
