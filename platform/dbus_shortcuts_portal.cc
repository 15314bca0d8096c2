#include "platform/dbus_shortcuts_portal.h"

#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include "platform/portal_shortcut_entry.h"

namespace parlavox {
namespace {

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString kRequestInterface = QStringLiteral("org.freedesktop.portal.Request");
const QString kSessionInterface = QStringLiteral("org.freedesktop.portal.Session");

QString PathOrText(const QVariant& value) {
  if (value.userType() == qMetaTypeId<QDBusObjectPath>()) {
    return value.value<QDBusObjectPath>().path();
  }
  return value.toString();
}

}  // namespace

bool DBusShortcutsPortal::Offered() {
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return false;
  // Asks for the interface's version: a portal without the interface (its backend
  // lacks global shortcuts) answers with an error. The portal may have to be started
  // first, hence the wait, which only a hung portal uses up.
  constexpr int kOfferWaitMs = 2000;
  QDBusMessage ask = QDBusMessage::createMethodCall(
      kService, kPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
  ask << kInterface << QStringLiteral("version");
  const QDBusMessage answer = bus.call(ask, QDBus::Block, kOfferWaitMs);
  return answer.type() == QDBusMessage::ReplyMessage;
}

DBusShortcutsPortal::DBusShortcutsPortal()
    : bus_(QDBusConnection::sessionBus()),
      watcher_(kService, bus_, QDBusServiceWatcher::WatchForUnregistration) {
  qDBusRegisterMetaType<PortalShortcutEntry>();
  qDBusRegisterMetaType<PortalShortcutEntries>();
  answer_timer_.setSingleShot(true);
  connect(&answer_timer_, &QTimer::timeout, this,
          [this] { Fail(QStringLiteral("the desktop portal did not answer")); });
  connect(&watcher_, &QDBusServiceWatcher::serviceUnregistered, this,
          [this] { Fail(QStringLiteral("the desktop portal has gone")); });
}

DBusShortcutsPortal::~DBusShortcutsPortal() { Close(); }

void DBusShortcutsPortal::Open() {
  if (!bus_.isConnected()) return Fail(QStringLiteral("there is no session bus"));
  bus_.connect(kService, kPath, kInterface, QStringLiteral("Activated"), this,
               SLOT(OnActivated(QDBusMessage)));
  bus_.connect(kService, kPath, kInterface, QStringLiteral("Deactivated"), this,
               SLOT(OnDeactivated(QDBusMessage)));
  Request(Pending::kSession, QStringLiteral("CreateSession"), {},
          {{QStringLiteral("session_handle_token"), QStringLiteral("parlavox")}});
  answer_timer_.start(kAnswerTimeMs);
}

void DBusShortcutsPortal::Bind(const std::vector<PortalShortcut>& shortcuts) {
  if (failed_) return;
  if (session_.isEmpty() || pending_ != Pending::kNone) {
    waiting_list_ = shortcuts;
    return;
  }
  PortalShortcutEntries entries;
  for (const PortalShortcut& shortcut : shortcuts) {
    entries.append({QString::fromStdString(shortcut.id),
                    {{QStringLiteral("description"), QString::fromStdString(shortcut.description)},
                     {QStringLiteral("preferred_trigger"),
                      QString::fromStdString(shortcut.preferred_trigger)}}});
  }
  Request(Pending::kBind, QStringLiteral("BindShortcuts"),
          {QVariant::fromValue(QDBusObjectPath(session_)), QVariant::fromValue(entries), QString()},
          {});
}

void DBusShortcutsPortal::Close() {
  answer_timer_.stop();
  if (session_.isEmpty() || !bus_.isConnected()) return;
  // Waits a little, so that the desktop hears of it before the program ends.
  constexpr int kCloseWaitMs = 1000;
  bus_.call(QDBusMessage::createMethodCall(kService, session_, kSessionInterface,
                                           QStringLiteral("Close")),
            QDBus::Block, kCloseWaitMs);
  session_.clear();
}

void DBusShortcutsPortal::Request(Pending kind, const QString& method, QVariantList arguments,
                                  QVariantMap options) {
  // The Response comes on an object whose path the token makes known in advance, so
  // it is listened for before the call goes out.
  const QString token = QStringLiteral("parlavox%1").arg(++next_token_);
  options.insert(QStringLiteral("handle_token"), token);
  QString sender = bus_.baseService().mid(1);
  sender.replace(QLatin1Char('.'), QLatin1Char('_'));
  request_path_ =
      QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token);
  bus_.connect(kService, request_path_, kRequestInterface, QStringLiteral("Response"), this,
               SLOT(OnResponse(QDBusMessage)));
  pending_ = kind;

  QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kInterface, method);
  arguments.append(options);
  call.setArguments(arguments);
  auto* reply = new QDBusPendingCallWatcher(bus_.asyncCall(call, kAnswerTimeMs), this);
  connect(reply, &QDBusPendingCallWatcher::finished, this,
          [this, method](QDBusPendingCallWatcher* w) {
            w->deleteLater();
            const QDBusPendingReply<QDBusObjectPath> answer = *w;
            if (answer.isError()) {
              return Fail(QStringLiteral("the desktop portal refused %1 (%2)")
                              .arg(method, answer.error().message()));
            }
            // A portal may answer on another path than the one the token names.
            const QString path = answer.value().path();
            if (path != request_path_ && pending_ != Pending::kNone) {
              bus_.disconnect(kService, request_path_, kRequestInterface,
                              QStringLiteral("Response"), this, SLOT(OnResponse(QDBusMessage)));
              request_path_ = path;
              bus_.connect(kService, request_path_, kRequestInterface, QStringLiteral("Response"),
                           this, SLOT(OnResponse(QDBusMessage)));
            }
          });
}

void DBusShortcutsPortal::OnResponse(const QDBusMessage& message) {
  if (message.path() != request_path_ || message.arguments().size() < 2) return;
  bus_.disconnect(kService, request_path_, kRequestInterface, QStringLiteral("Response"), this,
                  SLOT(OnResponse(QDBusMessage)));
  answer_timer_.stop();
  const Pending answered = std::exchange(pending_, Pending::kNone);
  const uint code = message.arguments().at(0).toUInt();
  const QVariantMap results = qdbus_cast<QVariantMap>(message.arguments().at(1));
  if (code != 0) {
    return Fail(answered == Pending::kSession
                    ? QStringLiteral("the desktop refused a shortcuts session")
                    : QStringLiteral("the desktop did not bind the shortcuts"));
  }
  if (answered == Pending::kSession) {
    session_ = PathOrText(results.value(QStringLiteral("session_handle")));
  } else if (events_.bound) {
    std::vector<BoundShortcut> bound;
    for (const PortalShortcutEntry& entry :
         qdbus_cast<PortalShortcutEntries>(results.value(QStringLiteral("shortcuts")))) {
      bound.push_back(
          {entry.id.toStdString(),
           entry.properties.value(QStringLiteral("trigger_description")).toString().toStdString()});
    }
    events_.bound(bound);
  }
  if (waiting_list_) Bind(*std::exchange(waiting_list_, std::nullopt));
}

void DBusShortcutsPortal::OnActivated(const QDBusMessage& message) {
  const std::optional<std::string> id = ShortcutOfMine(message);
  if (id && events_.activated) events_.activated(*id);
}

void DBusShortcutsPortal::OnDeactivated(const QDBusMessage& message) {
  const std::optional<std::string> id = ShortcutOfMine(message);
  if (id && events_.deactivated) events_.deactivated(*id);
}

std::optional<std::string> DBusShortcutsPortal::ShortcutOfMine(const QDBusMessage& message) const {
  // (o session_handle, s shortcut_id, t timestamp, a{sv} options)
  const QVariantList arguments = message.arguments();
  if (arguments.size() < 2 || session_.isEmpty() ||
      qdbus_cast<QDBusObjectPath>(arguments.at(0)).path() != session_) {
    return std::nullopt;
  }
  return arguments.at(1).toString().toStdString();
}

void DBusShortcutsPortal::Fail(const QString& reason) {
  if (failed_) return;
  failed_ = true;
  answer_timer_.stop();
  pending_ = Pending::kNone;
  if (events_.failed) events_.failed(reason.toStdString());
}

}  // namespace parlavox
