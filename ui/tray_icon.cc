#include "ui/tray_icon.h"

#include "ui/pictures.h"

namespace parlavox {

TrayIcon::TrayIcon(Commands commands) : commands_(std::move(commands)) {
  QAction* open = menu_.addAction("Open Parlavox", [this] { commands_.open(); });
  menu_.setDefaultAction(open);
  menu_.addSeparator();
  on_ = menu_.addAction("&On", [this] { commands_.turn_on(); });
  off_ = menu_.addAction("O&ff", [this] { commands_.turn_off(); });
  on_->setCheckable(true);
  off_->setCheckable(true);
  menu_.addSeparator();
  menu_.addAction("E&xit", [this] { commands_.exit(); });

  icon_.setToolTip("Parlavox");
  icon_.setContextMenu(&menu_);
  QObject::connect(&icon_, &QSystemTrayIcon::activated,
                   [this](QSystemTrayIcon::ActivationReason reason) {
                     if (reason == QSystemTrayIcon::Trigger) commands_.open();
                   });
  ShowOnOff(true);
  icon_.show();
}

void TrayIcon::ShowOnOff(bool on) {
  icon_.setIcon(TrayPicture(on));
  on_->setChecked(on);
  off_->setChecked(!on);
}

}  // namespace parlavox
