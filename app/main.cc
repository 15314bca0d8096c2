// parlavox: the intercom, with its window or without one, and the command-line control
// of a running copy.

#include <signal.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <chrono>
#include <cstdio>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "app/session.h"
#include "audio/mixer_control.h"
#include "control/control_channel.h"
#include "control/control_client.h"
#include "control/control_protocol.h"
#include "control/control_requests.h"
#include "platform/announced_servers.h"
#include "platform/autostart_entry.h"
#include "platform/desktop_entry.h"
#include "platform/headless_view.h"
#include "platform/saved_accounts.h"
#include "platform/service.h"
#include "platform/user_share.h"
#include "settings/startup.h"
#include "setup/role_marker.h"
#include "share/find_users.h"
#include "share/netbios.h"
#include "ui/main_window.h"
#include "ui/settings_sheet.h"
#include "ui/setup_main.h"
#include "util/paths.h"

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

// The file servers that "Find on network…" offers: those that announce themselves over
// DNS-SD and those that answer for their NetBIOS names (Windows machines that share
// folders, Samba servers), both asked at once.
std::vector<std::string> ServersOnTheNetwork() {
  auto answering = std::async(std::launch::async,
                              [] { return FindNetbiosFileServers(LocalNetbiosBroadcasts(), 1s); });
  std::vector<std::string> servers = AnnouncedSmbServers(RunProgram);
  for (const std::string& name : answering.get()) servers.push_back("\\\\" + name);
  return servers;
}

// How the intercom was asked to start, read once from the command line: whether it
// shows its window (there is a display, and it was not started "/service" or with an
// option of another kind) and how the window begins.
struct Start {
  bool windowed = false;
  MainWindow::StartedAs started_as = MainWindow::StartedAs::kUsual;
};

Start ReadStart(int argc, char** argv) {
  Start start;
  start.windowed = HasDisplay();
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "/logon") {
      start.started_as = MainWindow::StartedAs::kLogon;
    } else if (argument == "/install") {
      start.started_as = MainWindow::StartedAs::kInstall;
    } else {
      start.windowed = false;
    }
  }
  return start;
}

// Runs the intercom unless a copy runs already, which is then asked to show itself.
int RunIntercom(QCoreApplication& application, const sigset_t& termination, const Start& start) {
  const bool windowed = start.windowed;
  const std::string socket_path = ControlSocketPath();
  std::optional<FileLock> claim(ClaimRunningCopy(socket_path));
  if (!claim->held()) {
    // One that is still starting gets a moment to open its socket.
    std::optional<std::string> answer;
    for (int attempt = 0; attempt < 5 && !answer; ++attempt) {
      if (attempt > 0) std::this_thread::sleep_for(1s);
      answer = SendControlRequest(socket_path, "show", 5s);
    }
    const bool headless = answer == "ok " + std::string(kNoWindowAnswer);
    if (answer == "ok" || (headless && !windowed)) return 0;
    if (!headless) {
      std::fprintf(stderr, "parlavox: another copy is running but does not answer\n");
      return 1;
    }
    // The running copy has no window (a service, say) and a person asks for one: this
    // start takes over, so that there is still one intercom, now with its window.
    std::fprintf(stderr, "parlavox: taking over from the copy running without a window\n");
    SendControlRequest(socket_path, "quit", 5s);
    for (int attempt = 0; attempt < 50 && !claim->held(); ++attempt) {
      std::this_thread::sleep_for(200ms);
      claim.reset();
      claim.emplace(ClaimRunningCopy(socket_path));
    }
    if (!claim->held()) {
      std::fprintf(stderr, "parlavox: the copy running without a window did not end\n");
      return 1;
    }
  }

  SettingsFile settings = LocateSettings(FolderStore::FromEnvironment());
  std::fprintf(stderr, "parlavox: running %s; inward folder %s, settings %s\n",
               windowed ? "with a window" : "without a window", settings.inward_folder().c_str(),
               settings.settings_path().c_str());
  HeadlessView log(/*beside_window=*/windowed);
  if (!windowed) {
    Session session(application, settings, log, IdleTexts(), [] { QCoreApplication::exit(0); });
    session.Run(termination);
  } else {
    QApplication::setQuitOnLastWindowClosed(false);  // a hidden window keeps running
    // The window shows the session's intercom and outlives it, so that the session's
    // end can still show on it; it is made once the session is.
    std::optional<MainWindow> window;
    FanOutView views({&log});
    Session session(application, settings, views, IdleTexts(),
                    [&window] { window->CloseWithoutAsking(); });
    // What the settings sheet works on.
    MixerControl mixer;
    PersonsStartAtLogin login = PersonsStartAtLogin::ForUser();
    FolderStore folders = FolderStore::FromEnvironment();
    UsersCache users(settings);
    KeyAssignments keys(settings, users);
    SmbConnections finder_smb(
        CredentialsFile::ForUser(FindSavedSmbAccount, &session.given_accounts()));
    const AccountGiver give_account = [&](const std::string& host, const Credentials& account,
                                          bool remember) {
      session.GiveAccount(host, account, remember);
    };
    const SettingsContext context{
        settings,
        folders,
        users,
        keys,
        mixer,
        login,
        [&](int index) {
          const HotKeySystem* hot_keys = session.hot_key_system();
          return hot_keys ? hot_keys->DesktopBinding(index) : "";
        },
        [](const std::string& folder, bool let_guests_through) {
          return ShareInwardFolder(folder, RunProgram, let_guests_through);
        },
        [&](const std::string& where) { return FindUsers(finder_smb, where); },
        ServersOnTheNetwork,
        give_account,
        [&] { return session.intercom().Snapshot().own; },
        [&](const IdentityChange& change) { session.intercom().ChangeIdentity(change); }};
    window.emplace(
        session.intercom(), session.clock(), session.activation(),
        [&] { session.RunSettings([&] { RunSettingsSheet(&*window, context); }); }, give_account);
    views.Add(&*window);
    session.Run(termination, [&] { window->Begin(start.started_as); });
  }
  std::fprintf(stderr, "parlavox: stopped\n");
  return 0;
}

// Prints the colleagues found in `folder` as a JSON array of {folder, name, id, on}; 1
// where the server kept the look from happening, which is said.
int PrintUsersFound(const std::string& folder) {
  SmbConnections smb(CredentialsFile::ForUser(FindSavedSmbAccount));
  QJsonArray users;
  const FoundUsers found = FindUsers(smb, folder);
  if (!found.trouble.empty()) std::fprintf(stderr, "parlavox: %s\n", found.trouble.c_str());
  for (const FoundUser& user : found.users) {
    users.append(QJsonObject{{"folder", QString::fromStdString(user.folder)},
                             {"name", QString::fromStdString(user.record.Name())},
                             {"id", user.record.id},
                             {"on", user.record.is_on()}});
  }
  std::printf("%s", QJsonDocument(users).toJson().constData());
  return found.trouble.empty() ? 0 : 1;
}

}  // namespace
}  // namespace parlavox

int main(int argc, char** argv) {
  using namespace parlavox;
  DeleteForeignShortcuts(
      QStandardPaths::writableLocation(QStandardPaths::DesktopLocation).toStdString());
  MakeProgramFolderCurrent();
  // The same file is also the install package and the uninstaller.
  const std::string own_file = RunningProgramPath();
  const Role role = RoleOf(own_file, ReadRoleMarker(own_file));
  if (role != Role::kProgram) return RunSetupRole(role, argc, argv);

  // Before any thread starts, so that every thread inherits the blocked mask.
  const sigset_t termination = TerminationSignals();
  pthread_sigmask(SIG_BLOCK, &termination, nullptr);

  const Start start = ReadStart(argc, argv);
  const std::unique_ptr<QCoreApplication> application =
      start.windowed ? std::make_unique<QApplication>(argc, argv)
                     : std::make_unique<QCoreApplication>(argc, argv);
  QCoreApplication::setApplicationName("parlavox");
  QCoreApplication::setApplicationVersion(PARLAVOX_VERSION);

  QCommandLineParser parser;
  parser.setApplicationDescription(
      "Parlavox, a push-to-talk intercom over shared folders.\n"
      "Without options it starts the intercom with its window; \"/service\", or no\n"
      "display, runs it without one; \"/logon\" starts it in the tray. The other options\n"
      "control the copy that is running.");
  parser.addHelpOption();
  parser.addVersionOption();
  for (const ControlOption& option : ControlOptions()) {
    parser.addOption(option.value_name
                         ? QCommandLineOption(option.name, option.description, option.value_name)
                         : QCommandLineOption(option.name, option.description));
  }
  const QCommandLineOption register_service(
      "register-service", "Run the intercom as a service of your systemd, with every login.");
  parser.addOption(register_service);
  const QCommandLineOption find_users(
      "find-users",
      "Print, as JSON, the colleagues whose inward folders are FOLDER or a folder in it "
      "(\\\\host\\share, smb://host/share or a local folder; a server alone, \\\\host or "
      "smb://host, is looked for in each of its shares).",
      "FOLDER");
  parser.addOption(find_users);
  const QCommandLineOption share_inward(
      "share-inward",
      "Share your inward folder on the network (a Samba user share that guests may "
      "write to) and print the names colleagues add you by.");
  parser.addOption(share_inward);
  const QCommandLineOption unshare_inward("unshare-inward",
                                          "Stop sharing your inward folder on the network.");
  parser.addOption(unshare_inward);
  parser.addPositionalArgument("/service", "Run without a window (also without a display).",
                               "[/service | /logon | /install]");
  parser.process(*application);

  if (parser.isSet(register_service)) {
    const std::string left = ServiceUnit::ForUser().Register(RunningProgramPath());
    if (!left.empty()) std::fprintf(stderr, "parlavox: %s\n", left.c_str());
    return left.empty() ? 0 : 1;
  }

  if (parser.isSet(find_users)) return PrintUsersFound(parser.value(find_users).toStdString());
  if (parser.isSet(share_inward) || parser.isSet(unshare_inward)) {
    const std::string inward = LocateSettings(FolderStore::FromEnvironment()).inward_folder();
    const UserShareOutcome outcome = parser.isSet(share_inward)
                                         ? ShareInwardFolder(inward, RunProgram)
                                         : UnshareInwardFolder(inward, RunProgram);
    std::fprintf(outcome.done ? stdout : stderr, "%s%s\n",
                 outcome.done ? "" : "parlavox: ", outcome.text.c_str());
    return outcome.done ? 0 : 1;
  }

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
  if (requested.size() == 1) {
    SmbConnections smb(CredentialsFile::ForUser(FindSavedSmbAccount));
    FolderRecordStore records(smb);
    return RunControlOption(requested[0].first, requested[0].second, records);
  }
  return RunIntercom(*application, termination, start);
}
