#include "app/session.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <cstdio>

#include "app/control_requests.h"

namespace parlavox {

Session::Session(QCoreApplication& application, SettingsFile& settings, IntercomView& view,
                 std::vector<std::string> idle_texts, std::function<void()> quit)
    : application_(application),
      settings_(settings),
      intercom_(
          settings,
          {clock_, player_, recorder_, mixer_, priority_, inbox_folder_, share_, watcher_, poller_},
          view, std::move(idle_texts)),
      x11_hot_keys_(X11HotKeys::Connect()),
      quit_(std::move(quit)),
      control_([this](std::string_view request, ControlServer::Reply reply) {
        // The asker hears its answer before the copy goes.
        AnswerControlRequest(
            request, intercom_,
            [this] { QMetaObject::invokeMethod(&application_, quit_, Qt::QueuedConnection); },
            std::move(reply));
      }) {}

Session::~Session() {
  // The workers run tasks that use what is declared after them.
  share_worker_.Stop();
  mixer_worker_.Stop();
}

void Session::RunSettings(const std::function<void()>& sheet) {
  if (hot_keys_) hot_keys_->Unregister();
  intercom_.BeginSettings();
  sheet();
  intercom_.EndSettings();
  if (hot_keys_) hot_keys_->Register();
}

int Session::Run(const sigset_t& termination, const std::function<void()>& started) {
  share_worker_.Start(0);
  mixer_worker_.Start(0);
  const std::string socket_path = ControlSocketPath();
  if (!control_.Listen(socket_path)) {
    std::fprintf(stderr, "parlavox: can't listen on %s; command-line control is off\n",
                 socket_path.c_str());
  }

  const int signal_fd = signalfd(-1, &termination, SFD_CLOEXEC | SFD_NONBLOCK);
  QSocketNotifier signal_notifier(signal_fd, QSocketNotifier::Read);
  QObject::connect(&signal_notifier, &QSocketNotifier::activated, [signal_fd] {
    signalfd_siginfo info;
    while (read(signal_fd, &info, sizeof info) == sizeof info) {
    }
    // exit, not quit: quit would first ask the windows whether they may close.
    QCoreApplication::exit(0);
  });

  intercom_.Start();
  // Hot keys where the desktop lets a program have them.
  if (x11_hot_keys_) {
    hot_keys_.emplace(*x11_hot_keys_, keys_, intercom_);
    hot_keys_->Register();
  } else {
    intercom_.ShowStatus("No hot keys: there is no X11 display");
  }
  if (started) started();
  const int result = application_.exec();
  intercom_.End();
  if (hot_keys_) hot_keys_->Unregister();
  close(signal_fd);
  // What is still on its way to a share (the end of a message) gets there first.
  share_worker_.Stop();
  mixer_worker_.Stop();
  return result;
}

}  // namespace parlavox
