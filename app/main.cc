// parlavox: the intercom, and the command-line control of a running copy.

#include <signal.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "app/control_channel.h"
#include "app/control_client.h"
#include "app/control_protocol.h"
#include "app/headless_view.h"
#include "app/session.h"
#include "app/startup.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

// SIGINT, SIGTERM and SIGHUP (the terminal closing) end the intercom as a normal
// close does. They are blocked in every thread and read from a descriptor by the
// event loop.
sigset_t TerminationSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  sigaddset(&set, SIGTERM);
  sigaddset(&set, SIGHUP);
  return set;
}

std::vector<std::string> IdleTexts() {
  return {"Parlavox " PARLAVOX_VERSION, "Hold F5 to talk to the selected user",
          "F6 replies to your last caller"};
}

int RunIntercom(QCoreApplication& application, const sigset_t& termination) {
  const std::string socket_path = ControlSocketPath();
  const FileLock claim = ClaimRunningCopy(socket_path);
  if (!claim.held()) {
    // A copy runs already: it shows itself. One that is still starting gets a moment
    // to open its socket.
    std::optional<std::string> answer;
    for (int attempt = 0; attempt < 5 && !answer; ++attempt) {
      if (attempt > 0) std::this_thread::sleep_for(1s);
      answer = SendControlRequest(socket_path, "show", 5s);
    }
    if (answer == "ok") return 0;
    std::fprintf(stderr, "parlavox: another copy is running but does not answer\n");
    return 1;
  }

  const SettingsFile settings = LocateSettings(FolderStore::FromEnvironment());
  std::fprintf(stderr, "parlavox: running without a window; inward folder %s, settings %s\n",
               settings.inward_folder().c_str(), settings.settings_path().c_str());
  HeadlessView view;
  Session session(application, settings, view, IdleTexts());
  session.Run(termination);
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
  MakeProgramFolderCurrent();

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
  for (const ControlOption& option : ControlOptions()) {
    parser.addOption(option.value_name
                         ? QCommandLineOption(option.name, option.description, option.value_name)
                         : QCommandLineOption(option.name, option.description));
  }
  parser.addPositionalArgument("/service", "Run without a window (also without a display).",
                               "[/service | /logon]");
  parser.process(application);

  std::vector<std::pair<std::string, std::string>> requested;
  for (const ControlOption& option : ControlOptions()) {
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
