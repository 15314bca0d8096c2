// parlavox: the intercom, and the command-line control of a running copy.

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QSocketNotifier>
#include <cstdio>

#include "app/control_channel.h"
#include "app/control_requests.h"
#include "app/headless_view.h"
#include "app/identity.h"
#include "app/intercom.h"
#include "app/paths.h"
#include "app/qt_task_poster.h"
#include "app/startup.h"

namespace parlavox {
namespace {

// Options that control a running copy: each becomes one request line.
struct ControlOption {
  const char* name;
  const char* value_name;  // nullptr for options without a value
  const char* description;
};

constexpr ControlOption kControlOptions[] = {
    {"status", nullptr, "Print the running copy's state as JSON."},
    {"call", "position", "Start talking to the user at this place in the list (0 first)."},
    {"reply", nullptr, "Start talking to whoever called last."},
    {"hangup", nullptr, "Stop talking."},
    {"on", nullptr, "Turn the running copy's intercom on."},
    {"off", nullptr, "Turn the running copy's intercom off."},
    {"show", nullptr, "Ask the running copy to show its window."},
    {"quit", nullptr, "Close the running copy without asking."},
    {"set-name", "text", "Set the name others see for you."},
    {"set-id", "number", "Set your user id (1 to 2147483647)."},
    {"set-email", "text", "Set your e-mail text."},
};

// Requests that change the own record still work without a running copy.
bool ChangesIdentity(const std::string& option) { return option.starts_with("set-"); }

int ChangeIdentityDirectly(const std::string& option, const std::string& value) {
  const SettingsFile settings = LocateSettings(FolderStore::FromEnvironment());
  UserRecord record = LoadOrCreateOwnRecord(settings.inward_folder());
  IdentityChange change;
  if (option == "set-name") change.name = value;
  if (option == "set-email") change.email = value;
  if (option == "set-id") change.id = ParseUserId(value);
  change.ApplyTo(&record);
  const std::string path = JoinPath(settings.inward_folder(), kUserRecordFileName);
  if (!WriteUserRecord(record, path)) {
    std::fprintf(stderr, "parlavox: could not write %s\n", path.c_str());
    return 1;
  }
  return 0;
}

int RunControlOption(const std::string& option, const std::string& value) {
  if (option == "set-id" && !ParseUserId(value)) {
    std::fprintf(stderr, "parlavox: the id must be a whole number from 1 to 2147483647\n");
    return 2;
  }
  if (option == "call" && !ParseListIndex(value)) {
    std::fprintf(stderr, "parlavox: the user's position must be a whole number from 0\n");
    return 2;
  }
  const std::string request =
      value.empty() && !ChangesIdentity(option) ? option : option + " " + value;
  const std::optional<std::string> answer = SendControlRequest(ControlSocketPath(), request);
  if (!answer) {
    if (ChangesIdentity(option)) return ChangeIdentityDirectly(option, value);
    std::fprintf(stderr, "parlavox: no running copy\n");
    return 1;
  }
  if (answer->starts_with("ok")) {
    if (answer->size() > 3) std::printf("%s\n", answer->c_str() + 3);
    return 0;
  }
  std::fprintf(stderr, "parlavox: %s\n", answer->c_str() + std::min<size_t>(answer->size(), 6));
  return 1;
}

// SIGINT and SIGTERM end the intercom as a normal close does. They are blocked in
// every thread and read from a descriptor by the event loop.
sigset_t TerminationSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  sigaddset(&set, SIGTERM);
  return set;
}

int RunIntercom(QCoreApplication& application, const sigset_t& termination) {
  const std::string socket_path = ControlSocketPath();
  if (SendControlRequest(socket_path, "show")) return 0;  // a copy runs already

  const SettingsFile settings = LocateSettings(FolderStore::FromEnvironment());
  QtTaskPoster poster(&application);
  HeadlessView view;
  Intercom intercom(settings, poster, view);

  ControlServer control([&](std::string_view request) {
    return AnswerControlRequest(request, intercom, [&] {
      QMetaObject::invokeMethod(&application, &QCoreApplication::quit, Qt::QueuedConnection);
    });
  });
  if (!control.Listen(socket_path)) {
    std::fprintf(stderr, "parlavox: can't listen on %s; command-line control is off\n",
                 socket_path.c_str());
  }

  const int signal_fd = signalfd(-1, &termination, SFD_CLOEXEC | SFD_NONBLOCK);
  QSocketNotifier signal_notifier(signal_fd, QSocketNotifier::Read);
  QObject::connect(&signal_notifier, &QSocketNotifier::activated, [&] {
    signalfd_siginfo info;
    while (read(signal_fd, &info, sizeof info) == sizeof info) {
    }
    QCoreApplication::quit();
  });

  std::fprintf(stderr, "parlavox: running without a window; inward folder %s, settings %s\n",
               settings.inward_folder().c_str(), settings.settings_path().c_str());
  intercom.Start();
  std::fprintf(stderr, "parlavox: you are \"%s\", id %d\n", intercom.own_record().Name().c_str(),
               intercom.own_record().id);
  application.exec();
  intercom.End();
  close(signal_fd);
  std::fprintf(stderr, "parlavox: stopped\n");
  return 0;
}

}  // namespace
}  // namespace parlavox

int main(int argc, char** argv) {
  using namespace parlavox;
  // Before any thread starts, so that every thread inherits the blocked mask.
  const sigset_t termination = TerminationSignals();
  pthread_sigmask(SIG_BLOCK, &termination, nullptr);

  QCoreApplication application(argc, argv);
  QCoreApplication::setApplicationName("parlavox");
  QCoreApplication::setApplicationVersion(PARLAVOX_VERSION);

  QCommandLineParser parser;
  parser.setApplicationDescription(
      "Parlavox, a push-to-talk intercom over shared folders.\n"
      "Without options it starts the intercom; \"/service\" runs it without a window.\n"
      "The other options control the copy that is running.");
  parser.addHelpOption();
  parser.addVersionOption();
  for (const ControlOption& option : kControlOptions) {
    parser.addOption(option.value_name
                         ? QCommandLineOption(option.name, option.description, option.value_name)
                         : QCommandLineOption(option.name, option.description));
  }
  parser.addPositionalArgument("/service", "Run without a window (also without a display).",
                               "[/service | /logon]");
  parser.process(application);

  std::vector<std::pair<std::string, std::string>> requested;
  for (const ControlOption& option : kControlOptions) {
    if (!parser.isSet(option.name)) continue;
    requested.emplace_back(option.name,
                           option.value_name ? parser.value(option.name).toStdString() : "");
  }
  if (requested.size() > 1) {
    std::fprintf(stderr, "parlavox: give one control option at a time\n");
    return 2;
  }
  if (requested.size() == 1) return RunControlOption(requested[0].first, requested[0].second);
  return RunIntercom(application, termination);
}
