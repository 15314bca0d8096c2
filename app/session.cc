#include "app/session.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "control/control_requests.h"
#include "platform/hot_key_route.h"
#include "settings/startup.h"

namespace parlavox {
namespace {

// The session whose event loop runs, and the thread that runs it, for an exit() that
// ends the program from within the loop.
std::thread::id event_loop_thread;
std::atomic<Session*> running_session{nullptr};

void EndTheRunningSession() {
  Session* session = running_session.load();
  if (session != nullptr && std::this_thread::get_id() == event_loop_thread) {
    session->EndWithoutDisplay();
  }
}

}  // namespace

Session::Session(QCoreApplication& application, SettingsFile& settings, IntercomView& view,
                 std::vector<std::string> idle_texts, std::function<void()> quit)
    : application_(application),
      settings_(settings),
      intercom_(settings,
                {clock_, player_, recorder_, mixer_, priority_, inbox_folder_, records_, share_,
                 watcher_, poller_},
                view, std::move(idle_texts)),
      x11_hot_keys_(X11HotKeys::Connect()),
      quit_(std::move(quit)),
      control_([this](std::string_view request, ControlServer::Reply reply) {
        // The asker hears its answer before the copy goes.
        AnswerControlRequest(
            request, intercom_,
            [this] {
              ending_ = true;
              QMetaObject::invokeMethod(&application_, quit_, Qt::QueuedConnection);
            },
            std::move(reply));
      }) {}

Session::~Session() {
  // The workers run tasks that use what is declared after them.
  StopWorkers();
}

void Session::RunSettings(const std::function<void()>& sheet) {
  const std::string inward_folder = settings_.inward_folder();
  if (hot_keys_) hot_keys_->Unregister();
  intercom_.BeginSettings();
  sheet();
  // A sheet closed because the program ends leaves the intercom resting until it ends:
  // started again, it would show the person on for a moment and wait for its workers.
  if (ending_) return;
  intercom_.EndSettings();
  if (hot_keys_) hot_keys_->Register();
  if (settings_.inward_folder() != inward_folder) SayWhereColleaguesAreKeptOut();
}

void Session::GiveAccount(const std::string& host, const Credentials& account, bool remember) {
  given_accounts_.Give(host, account);
  if (!remember) return;
  // The store may ask the person to unlock it: that waits on a thread of its own.
  secrets_worker_.Post([this, host, account] {
    if (SaveSmbAccount(host, account)) return;
    poster_.Post([this, host] {
      intercom_.ShowStatus("The password for " + host +
                           " could not be saved: the desktop's password store did not take it");
    });
  });
}

void Session::SayWhereColleaguesAreKeptOut() {
  if (const std::string note = InwardFolderAccessNote(settings_.inward_folder()); !note.empty()) {
    intercom_.ShowStatus(note);
  }
}

int Session::Run(const sigset_t& termination, const std::function<void()>& started) {
  share_worker_.Start(0);
  mixer_worker_.Start(0);
  secrets_worker_.Start(0);
  const std::string socket_path = ControlSocketPath();
  if (!control_.Listen(socket_path)) {
    std::fprintf(stderr, "parlavox: can't listen on %s; command-line control is off\n",
                 socket_path.c_str());
  }

  const int signal_fd = signalfd(-1, &termination, SFD_CLOEXEC | SFD_NONBLOCK);
  QSocketNotifier signal_notifier(signal_fd, QSocketNotifier::Read);
  QObject::connect(&signal_notifier, &QSocketNotifier::activated, [this, signal_fd] {
    signalfd_siginfo info;
    while (read(signal_fd, &info, sizeof info) == sizeof info) {
    }
    ending_ = true;
    // exit, not quit: quit would first ask the windows whether they may close.
    QCoreApplication::exit(0);
  });

  intercom_.Start();
  sleep_.emplace([this] { intercom_.GoToSleep(); }, [this] { intercom_.WakeUp(); });
  StartHotKeys();
  SayWhereColleaguesAreKeptOut();
  if (started) started();
  // Qt's and Xlib's connections to the X server end the program with exit() when the
  // server goes away (a remote desktop closed, a display server that crashed), which
  // no signal announces: the intercom is ended then as after the loop.
  static const bool ended_at_exit [[maybe_unused]] = std::atexit(EndTheRunningSession) == 0;
  running_session = this;
  event_loop_thread = std::this_thread::get_id();
  const int result = application_.exec();
  running_session = nullptr;
  sleep_.reset();
  intercom_.End();
  if (hot_keys_) hot_keys_->Unregister();
  portal_hot_keys_.reset();  // closes the desktop's shortcuts session
  close(signal_fd);
  StopWorkers();
  return result;
}

void Session::EndWithoutDisplay() {
  running_session = nullptr;
  // The hot keys and the portal go with the display's session: asking them would wait.
  intercom_.End();
  StopWorkers();
}

void Session::StopWorkers() {
  // What is still on its way to a share (the end of a message) gets there first.
  share_worker_.Stop();
  mixer_worker_.Stop();
  secrets_worker_.Stop();
}

void Session::StartHotKeys() {
  const bool wayland = IsWaylandSession();
  const HotKeyChoice choice = ChooseHotKeyRoute({
      .wayland = wayland,
      .x11_display = x11_hot_keys_ != nullptr,
      .shortcuts_portal = wayland && DBusShortcutsPortal::Offered(),
  });
  if (!choice.note.empty()) intercom_.ShowStatus(choice.note);
  switch (choice.route) {
    case HotKeyRoute::kPortal:
      shortcuts_portal_ = std::make_unique<DBusShortcutsPortal>();
      portal_hot_keys_ = std::make_unique<PortalHotKeys>(
          *shortcuts_portal_, clock_,
          [this](const std::string& reason) { intercom_.ShowStatus("No hot keys: " + reason); });
      hot_key_system_ = portal_hot_keys_.get();
      break;
    case HotKeyRoute::kX11:
      hot_key_system_ = x11_hot_keys_.get();
      break;
    case HotKeyRoute::kNone:
      return;
  }
  hot_keys_.emplace(*hot_key_system_, keys_, intercom_);
  hot_keys_->Register();
}

}  // namespace parlavox
