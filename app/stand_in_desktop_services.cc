// A stand-in for a desktop's services, for tests: no real portal backend runs without a
// desktop, nor logind without systemd running the machine. It serves, on the bus it is
// given (DBUS_SESSION_BUS_ADDRESS, which the tests give their copies as the system bus
// too), the portal's global-shortcuts calls as the portal documentation describes them,
// binding every shortcut to its preferred trigger, and what the program uses of
// logind's manager: Inhibit and the PrepareForSleep signal.
//
//   parlavox_stand_in_services <control fifo> [--refuse-bind | --mute | --without-shortcuts]
//
// --mute accepts the portal's calls but never sends their Response, as a portal that
// hangs; --without-shortcuts serves no global shortcuts at all, as a portal whose desktop
// lacks them.
// It prints what it is asked ("session <path>", "bind <id>|<description>|<trigger>",
// "closed", "inhibit <what>|<who>|<mode>") and takes commands on the fifo: "activate <id>",
// "deactivate <id>", "vanish", which leaves the bus, "sleep", which announces the
// machine's sleep and waits, as logind does, for at most 5 s until the inhibitors taken
// are let go (then prints "slept, inhibitors let go" or "slept, inhibitors held"), and
// "wake".

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QSocketNotifier>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include "platform/portal_shortcut_entry.h"

namespace parlavox {
namespace {

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kRoot = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");

void Print(const QString& line) {
  std::printf("%s\n", line.toUtf8().constData());
  std::fflush(stdout);
}

class StandInPortal : public QDBusVirtualObject {
 public:
  enum class Behaviour { kWilling, kRefusingBinds, kMute, kWithoutShortcuts };

  StandInPortal(QDBusConnection bus, Behaviour behaviour)
      : bus_(std::move(bus)), behaviour_(behaviour) {}

  QString introspect(const QString&) const override { return {}; }

  bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override {
    const QString sender = QString(message.service()).mid(1).replace(QLatin1Char('.'), '_');
    const QVariantList arguments = message.arguments();
    if (behaviour_ == Behaviour::kWithoutShortcuts) return false;
    if (message.member() == QStringLiteral("CreateSession")) {
      const QVariantMap options = qdbus_cast<QVariantMap>(arguments.value(0));
      session_ = kRoot + "/session/" + sender + "/" +
                 options.value(QStringLiteral("session_handle_token")).toString();
      Print("session " + session_);
      Answer(message, sender, options, 0, {{QStringLiteral("session_handle"), session_}});
      return true;
    }
    if (message.member() == QStringLiteral("BindShortcuts")) {
      const PortalShortcutEntries shortcuts = qdbus_cast<PortalShortcutEntries>(arguments.value(1));
      PortalShortcutEntries bound;
      for (const PortalShortcutEntry& shortcut : shortcuts) {
        const QString trigger = shortcut.properties.value("preferred_trigger").toString();
        Print("bind " + shortcut.id + "|" + shortcut.properties.value("description").toString() +
              "|" + trigger);
        bound.append({shortcut.id,
                      {{"description", shortcut.properties.value("description")},
                       {"trigger_description", trigger}}});
      }
      const QVariantMap options = qdbus_cast<QVariantMap>(arguments.value(3));
      Answer(message, sender, options, behaviour_ == Behaviour::kRefusingBinds ? 2 : 0,
             {{QStringLiteral("shortcuts"), QVariant::fromValue(bound)}});
      return true;
    }
    if (message.member() == QStringLiteral("Get") && arguments.value(0) == kInterface) {
      bus_.send(message.createReply(QVariant::fromValue(QDBusVariant(uint(1)))));
      return true;
    }
    if (message.member() == QStringLiteral("Close") && message.path() == session_) {
      Print("closed");
      bus_.send(message.createReply());
      return true;
    }
    return false;
  }

  void Signal(const QString& name, const QString& id) {
    QDBusMessage signal = QDBusMessage::createSignal(kRoot, kInterface, name);
    signal << QVariant::fromValue(QDBusObjectPath(session_)) << id << qulonglong(0)
           << QVariantMap();
    bus_.send(signal);
  }

 private:
  // Replies with the request's path, then answers on it with `code` and `results`.
  void Answer(const QDBusMessage& message, const QString& sender, const QVariantMap& options,
              uint code, const QVariantMap& results) {
    const QString request = kRoot + "/request/" + sender + "/" +
                            options.value(QStringLiteral("handle_token")).toString();
    bus_.send(message.createReply(QVariant::fromValue(QDBusObjectPath(request))));
    if (behaviour_ == Behaviour::kMute) return;
    QTimer::singleShot(0, [this, request, code, results] {
      QDBusMessage response = QDBusMessage::createSignal(
          request, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"));
      response << code << results;
      bus_.send(response);
    });
  }

  QDBusConnection bus_;
  Behaviour behaviour_;
  QString session_;
};

// What the program uses of logind's manager.
class StandInLogind : public QDBusVirtualObject {
 public:
  static inline const QString kService = QStringLiteral("org.freedesktop.login1");
  static inline const QString kPath = QStringLiteral("/org/freedesktop/login1");

  explicit StandInLogind(QDBusConnection bus) : bus_(std::move(bus)) {}

  QString introspect(const QString&) const override { return {}; }

  bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override {
    if (message.member() != QStringLiteral("Inhibit")) return false;
    const QVariantList arguments = message.arguments();
    Print("inhibit " + arguments.value(0).toString() + "|" + arguments.value(1).toString() + "|" +
          arguments.value(3).toString());
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    bus_.send(message.createReply(QVariant::fromValue(QDBusUnixFileDescriptor(ends[1]))));
    close(ends[1]);
    held_.push_back(ends[0]);  // it reads as ended once every copy of the other end is shut
    return true;
  }

  void Sleep() {
    Announce(true);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    bool let_go = true;
    for (const int inhibitor : held_) {
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
          deadline - std::chrono::steady_clock::now());
      pollfd ended{inhibitor, POLLIN, 0};
      let_go &= poll(&ended, 1, int(std::max<int64_t>(left.count(), 0))) == 1;
      close(inhibitor);
    }
    held_.clear();
    Print(let_go ? "slept, inhibitors let go" : "slept, inhibitors held");
  }
  void Wake() { Announce(false); }

 private:
  void Announce(bool going) {
    QDBusMessage signal = QDBusMessage::createSignal(
        kPath, QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("PrepareForSleep"));
    signal << going;
    bus_.send(signal);  // sent on the connection's own thread, also while Sleep waits
  }

  QDBusConnection bus_;
  std::vector<int> held_;
};

}  // namespace
}  // namespace parlavox

int main(int argc, char** argv) {
  using namespace parlavox;
  QCoreApplication application(argc, argv);
  if (argc < 2) {
    std::fprintf(stderr,
                 "usage: %s <control fifo> [--refuse-bind | --mute | --without-shortcuts]\n",
                 argv[0]);
    return 2;
  }
  qDBusRegisterMetaType<PortalShortcutEntry>();
  qDBusRegisterMetaType<PortalShortcutEntries>();
  QDBusConnection bus = QDBusConnection::sessionBus();
  const QByteArray option = argc > 2 ? argv[2] : "";
  using Behaviour = StandInPortal::Behaviour;
  StandInPortal portal(bus, option == "--refuse-bind"         ? Behaviour::kRefusingBinds
                            : option == "--mute"              ? Behaviour::kMute
                            : option == "--without-shortcuts" ? Behaviour::kWithoutShortcuts
                                                              : Behaviour::kWilling);
  StandInLogind logind(bus);
  if (!bus.registerVirtualObject(kRoot, &portal, QDBusConnection::SubPath) ||
      !bus.registerService(kService) || !bus.registerVirtualObject(StandInLogind::kPath, &logind) ||
      !bus.registerService(StandInLogind::kService)) {
    std::fprintf(stderr, "stand-in services: can't serve on the session bus\n");
    return 1;
  }

  // Read and write, so that the fifo never reads as ended while the test has it closed.
  const int control = open(argv[1], O_RDWR | O_NONBLOCK | O_CLOEXEC);
  QSocketNotifier notifier(control, QSocketNotifier::Read);
  QByteArray pending;
  QObject::connect(&notifier, &QSocketNotifier::activated, [&] {
    char buffer[256];
    const ssize_t got = read(control, buffer, sizeof buffer);
    if (got > 0) pending.append(buffer, got);
    for (qsizetype end; (end = pending.indexOf('\n')) >= 0; pending.remove(0, end + 1)) {
      const QList<QByteArray> words = pending.left(end).split(' ');
      if (words[0] == "activate") portal.Signal("Activated", QString::fromUtf8(words.value(1)));
      if (words[0] == "deactivate") portal.Signal("Deactivated", QString::fromUtf8(words.value(1)));
      if (words[0] == "sleep") logind.Sleep();
      if (words[0] == "wake") logind.Wake();
      if (words[0] == "vanish") {
        bus.unregisterService(kService);
        QTimer::singleShot(100, [] { QCoreApplication::exit(0); });
      }
    }
  });
  Print("ready");
  return application.exec();
}
