#ifndef PARLAVOX_PLATFORM_DBUS_SHORTCUTS_PORTAL_H_
#define PARLAVOX_PLATFORM_DBUS_SHORTCUTS_PORTAL_H_

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QTimer>
#include <QVariantMap>
#include <functional>
#include <optional>

#include "platform/shortcuts_portal.h"

namespace parlavox {

// The global shortcuts of the desktop portal (org.freedesktop.portal.GlobalShortcuts)
// on the session bus, as Wayland desktops serve them. Requests answer through their
// Request objects' Response signal; a portal that does not answer a call, or the
// session's creation, within 5 s counts as failed, as does one that leaves the bus.
// Binding may wait for the person to confirm the desktop's own dialog, so it has no
// time limit.
class DBusShortcutsPortal : public QObject, public ShortcutsPortal {
  Q_OBJECT

 public:
  static constexpr int kAnswerTimeMs = 5000;

  // Whether the session bus carries a portal that offers global shortcuts; waits up
  // to 2 s for its answer.
  static bool Offered();

  DBusShortcutsPortal();
  ~DBusShortcutsPortal() override;

  void SetEvents(Events events) override { events_ = std::move(events); }
  void Open() override;
  void Bind(const std::vector<PortalShortcut>& shortcuts) override;
  void Close() override;

 private Q_SLOTS:
  void OnResponse(const QDBusMessage& message);
  void OnActivated(const QDBusMessage& message);
  void OnDeactivated(const QDBusMessage& message);

 private:
  enum class Pending { kNone, kSession, kBind };

  // Calls a GlobalShortcuts method that answers through the Response of a Request
  // object; only one such call is under way at a time.
  void Request(Pending kind, const QString& method, QVariantList arguments, QVariantMap options);
  // The shortcut an Activated or Deactivated signal names, when it is of this session.
  std::optional<std::string> ShortcutOfMine(const QDBusMessage& message) const;
  void Fail(const QString& reason);

  QDBusConnection bus_;
  QDBusServiceWatcher watcher_;
  QTimer answer_timer_;
  Events events_;
  QString session_;
  QString request_path_;
  Pending pending_ = Pending::kNone;
  std::optional<std::vector<PortalShortcut>> waiting_list_;
  int next_token_ = 0;
  bool failed_ = false;
};

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_DBUS_SHORTCUTS_PORTAL_H_
