#include "ui/main_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFont>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QMenuBar>
#include <QMessageBox>
#include <QMouseEvent>
#include <QSessionManager>
#include <QStyle>
#include <QTextDocument>
#include <QVBoxLayout>

#include "ui/about_dialog.h"
#include "ui/help.h"
#include "ui/pictures.h"
#include "ui/qt_virtual_keys.h"

namespace parlavox {

MainWindow::MainWindow(Intercom& intercom, Clock& clock, DesktopActivation* activation,
                       std::function<void()> settings, AccountGiver give_account)
    : intercom_(intercom),
      keys_(intercom, clock, [this] { OpenHelpAt(help::kContents); }),
      user_on_picture_(UserPicture(true)),
      user_off_picture_(UserPicture(false)),
      settings_(std::move(settings)),
      give_account_(std::move(give_account)),
      activation_(activation) {
  setWindowTitle("Parlavox");
  setWindowIcon(ProgramIcon());
  BuildMenus();
  setCentralWidget(BuildFace());
  // A small window of fixed size, as a dialog: nothing to gain from resizing it.
  setWindowFlag(Qt::WindowMaximizeButtonHint, false);
  setFixedSize(QSize(380, 260).expandedTo(sizeHint()));
  tray_ = std::make_unique<TrayIcon>(
      TrayIcon::Commands{[this] { ShowMainWindow(); }, [this] { intercom_.TurnOn(); },
                         [this] { intercom_.TurnOff(); }, [this] { close(); }});
  qApp->installEventFilter(this);
  // The desktop session is ending: the window closes without asking.
  connect(qApp, &QGuiApplication::commitDataRequest, this,
          [this](QSessionManager&) { stop_guard_.DontAsk(); });
}

MainWindow::~MainWindow() { qApp->removeEventFilter(this); }

void MainWindow::BuildMenus() {
  QMenu* intercom = menuBar()->addMenu("&Intercom");
  on_action_ = intercom->addAction("&On\tCtrl+O", [this] { intercom_.TurnOn(); });
  off_action_ = intercom->addAction("O&ff\tCtrl+F", [this] { intercom_.TurnOff(); });
  on_action_->setCheckable(true);
  off_action_->setCheckable(true);
  intercom->addSeparator();
  intercom->addAction("Call\tF5", [this] { intercom_.ToggleCallSelected(); });
  intercom->addAction("Reply\tF6", [this] { intercom_.ToggleReply(); });
  intercom->addSeparator();
  settings_action_ = intercom->addAction("Settings...", [this] { settings_(); });
  settings_action_->setEnabled(static_cast<bool>(settings_));
  intercom->addSeparator();
  intercom->addAction("&Close (Run in Background)", [this] { HideMainWindow(); });
  intercom->addAction("E&xit\tAlt+F4", [this] { close(); });

  // The Help menu stands at the right end of the menu bar.
  auto* right = new QMenuBar(menuBar());
  menuBar()->setCornerWidget(right, Qt::TopRightCorner);
  QMenu* help = right->addMenu("&Help");
  help->addAction("&Help Contents\tF1", [this] { OpenHelpAt(help::kContents); });
  help->addSeparator();
  help->addAction("&About", [this] { RunAboutDialog(this); });
}

QWidget* MainWindow::BuildFace() {
  auto* face = new QWidget;
  auto* frame = new QFrame;
  frame->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
  users_ = new QListWidget;
  users_->setSelectionMode(QAbstractItemView::SingleSelection);
  // A name wider than the list ends in "…" rather than scrolling the list sideways.
  users_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  users_->setToolTip("Select person to call (use arrow keys)");
  users_->viewport()->installEventFilter(this);
  auto* users_label = new QLabel("&Users");
  users_label->setBuddy(users_);
  call_ = new QPushButton("Call");
  call_->setToolTip("Call selected user (hold down F5)");
  reply_ = new QPushButton("Reply");
  reply_->setToolTip("Reply to previous caller (hold down F6)");
  for (QPushButton* button : {call_, reply_}) button->setFocusPolicy(Qt::NoFocus);
  // Push-to-talk: a press starts the call, the release ends it.
  connect(call_, &QPushButton::pressed, this, [this] { intercom_.CallSelected(); });
  connect(reply_, &QPushButton::pressed, this, [this] { intercom_.Reply(); });
  for (QPushButton* button : {call_, reply_}) {
    connect(button, &QPushButton::released, this, [this] { intercom_.StopCall(); });
  }
  // The intercom's choice follows the highlight, not the list's current row: a list
  // that gets the focus makes its first row current without highlighting anybody.
  connect(users_, &QListWidget::itemSelectionChanged, this, [this] {
    const QModelIndexList chosen = users_->selectionModel()->selectedRows();
    intercom_.Select(chosen.isEmpty() ? -1 : chosen.first().row());
  });

  playback_meter_ = new LevelMeter(true);
  record_meter_ = new LevelMeter(true);
  playback_meter_->setToolTip("Message playing");
  record_meter_->setToolTip("Your microphone while you talk");
  playback_meter_->setEnabled(false);
  record_meter_->setEnabled(false);

  auto* upper = new QGridLayout(frame);
  upper->addWidget(users_label, 0, 0);
  upper->addWidget(users_, 1, 0, 3, 1);
  upper->addWidget(call_, 1, 1);
  upper->addWidget(reply_, 2, 1);
  upper->setRowStretch(3, 1);
  upper->addWidget(playback_meter_, 4, 0, 1, 2);
  upper->addWidget(record_meter_, 5, 0, 1, 2);
  upper->setColumnStretch(0, 1);

  auto* icon = new QLabel;
  icon->setPixmap(TrayPicture(true).pixmap(16, 16));
  status_ = new QLabel;
  status_->setFrameStyle(QFrame::Panel | QFrame::Sunken);
  status_->setMinimumWidth(1);  // long texts are cut, not widening the window
  auto* lower = new QHBoxLayout;
  lower->addWidget(icon);
  lower->addWidget(status_, 1);

  auto* layout = new QVBoxLayout(face);
  layout->addWidget(frame, 1);
  layout->addLayout(lower);
  return face;
}

void MainWindow::Begin(StartedAs started_as) {
  show();
  splash_.Show(this);
  if (started_as == StartedAs::kLogon) {
    // Started with the desktop session: straight to the tray.
    QMetaObject::invokeMethod(
        this, [this] { HideMainWindow(); }, Qt::QueuedConnection);
  } else if (started_as == StartedAs::kInstall) {
    OpenHelpAt(help::kAfterInstalling);
  }
}

void MainWindow::CloseWithoutAsking() {
  // The loops end also where the window is asking whether to go on in the background,
  // whose close is under way: Qt passes over a second close meanwhile.
  EndForGood();
  close();
}

void MainWindow::EndForGood() {
  ending_ = true;
  splash_.Close();
  QCoreApplication::exit(0);
}

void MainWindow::OpenHelpAt(int topic) {
  OpenHelp(topic, this, [this] { ShowStatus("The help could not be opened", false); });
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
  const QEvent::Type type = event->type();
  if (watched == users_->viewport()) {
    // Holding the mouse on a user selects them and calls; letting go ends that call.
    // Both happen here, in the order of the events, so that a release can never come
    // before the start of its call. A press on blank space calls nobody.
    // The second press of a double click is a press like any other.
    const bool press = type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick;
    if (!press && type != QEvent::MouseButtonRelease) return false;
    auto* mouse = static_cast<QMouseEvent*>(event);
    if (mouse->button() == Qt::LeftButton) {
      if (!press) {
        intercom_.StopCall();
      } else if (const QModelIndex under = users_->indexAt(mouse->position().toPoint());
                 under.isValid()) {
        intercom_.Select(under.row());
        intercom_.CallSelected();
      } else {
        intercom_.Select(-1);  // as in a file manager, blank space chooses nobody
      }
    }
    return false;
  }
  if (type != QEvent::KeyPress && type != QEvent::KeyRelease) return false;
  auto* widget = qobject_cast<QWidget*>(watched);
  if (widget == nullptr || widget->window() != this) return false;
  auto* key = static_cast<QKeyEvent*>(event);
  const std::optional<uint32_t> virtual_key = VirtualKeyOf(*key);
  if (!virtual_key) return false;
  if (type == QEvent::KeyPress) {
    return keys_.OnKeyDown(*virtual_key, key->isAutoRepeat(), key->timestamp());
  }
  return keys_.OnKeyUp(*virtual_key, key->isAutoRepeat(), key->timestamp());
}

StopGuard::Answer MainWindow::AskBeforeStopping() {
  QMessageBox question(QMessageBox::Question, "Confirm Stop",
                       "Do you want Parlavox to continue to operate in the background?",
                       QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel, this);
  question.setDefaultButton(QMessageBox::Yes);
  switch (question.exec()) {
    case QMessageBox::Yes:
      return StopGuard::Answer::kYes;
    case QMessageBox::No:
      return StopGuard::Answer::kNo;
    default:
      return StopGuard::Answer::kCancel;
  }
}

void MainWindow::closeEvent(QCloseEvent* event) {
  if (ending_) return event->accept();
  switch (stop_guard_.OnClose([this] { return AskBeforeStopping(); })) {
    case StopGuard::Outcome::kHide:
      event->ignore();
      HideMainWindow();
      return;
    case StopGuard::Outcome::kStay:
      event->ignore();
      return;
    case StopGuard::Outcome::kEnd:
      event->accept();
      EndForGood();
      return;
  }
}

void MainWindow::ShowUsers(const UserList& users) {
  const QSignalBlocker quiet(users_);
  users_->clear();
  for (const UserListItem& item : users.items()) {
    auto* line = new QListWidgetItem(item.on ? user_on_picture_ : user_off_picture_,
                                     QString::fromStdString(item.name));
    if (!item.reached) {  // greyed and slanted, the last known name kept
      line->setForeground(users_->palette().brush(QPalette::Disabled, QPalette::Text));
      QFont font = line->font();
      font.setItalic(true);
      line->setFont(font);
      line->setToolTip("Not reached: this user's folder can't be read");
    }
    users_->addItem(line);
  }
  users_->setCurrentRow(users.selected());
  if (users.selected() < 0) users_->clearSelection();
}

void MainWindow::ShowOnOff(bool on) {
  on_action_->setChecked(on);
  off_action_->setChecked(!on);
  call_->setEnabled(on);
  reply_->setEnabled(on);
  tray_->ShowOnOff(on);
}

void MainWindow::ShowStatus(const std::string& text, bool idle) {
  status_->setText(QString::fromStdString(text));
  // The line cuts long texts (a folder's path, the command that fixes it); pointing at
  // it shows them whole.
  status_->setToolTip(idle ? QString()
                           : Qt::convertFromPlainText(status_->text(), Qt::WhiteSpaceNormal));
}

void MainWindow::ShowCallButton(CallButton pushed) {
  call_->setDown(pushed == CallButton::kCall);
  reply_->setDown(pushed == CallButton::kReply);
}

void MainWindow::EnablePlaybackMeter(bool enabled) { playback_meter_->setEnabled(enabled); }

void MainWindow::ShowPlaybackLevels(const ChannelLevels& levels) {
  playback_meter_->SetLevels(levels);
}

void MainWindow::EnableRecordMeter(bool enabled) { record_meter_->setEnabled(enabled); }

void MainWindow::ShowRecordLevels(const ChannelLevels& levels) { record_meter_->SetLevels(levels); }

void MainWindow::ShowAlert(const std::string& text, const std::string& caption) {
  QMessageBox alert(QMessageBox::NoIcon, QString::fromStdString(caption),
                    QString::fromStdString(text), QMessageBox::Ok, this);
  alert.exec();
}

void MainWindow::AskForAccount(const std::string& host, const std::string& refusal) {
  // Not modal: the window still takes calls while the person looks for the password.
  (new AccountDialog(this, host, refusal, give_account_))->show();
}

void MainWindow::ShowMainWindow() {
  showNormal();
  raise();
  activateWindow();
  // Qt asks as the program itself, which a window manager may leave waiting, and a
  // window on another workspace then stays out of sight. (Only an X11 window is known to
  // the X server that the activation talks to.)
  if (activation_ != nullptr && QGuiApplication::platformName() == "xcb") {
    activation_->Present(winId());
  }
}

void MainWindow::HideMainWindow() {
  if (QSystemTrayIcon::isSystemTrayAvailable()) {
    hide();
  } else {
    showMinimized();  // without a tray a hidden window could not be got back
  }
}

bool MainWindow::AnswerSecondStart() {
  ShowMainWindow();
  stop_guard_.AskAgain();
  splash_.Show(this);
  return true;
}

void MainWindow::TakeActivationForHotKey() {
  if (!activation_before_hot_key_ && activation_ != nullptr) {
    activation_before_hot_key_ = activation_->ActiveWindow();
  }
  if (isVisible()) activateWindow();
}

void MainWindow::GiveActivationBack() {
  if (activation_before_hot_key_ && activation_ != nullptr) {
    activation_->Activate(*activation_before_hot_key_);
  }
  activation_before_hot_key_.reset();
}

}  // namespace parlavox
