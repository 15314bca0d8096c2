#ifndef PARLAVOX_PLATFORM_PORTAL_SHORTCUT_ENTRY_H_
#define PARLAVOX_PLATFORM_PORTAL_SHORTCUT_ENTRY_H_

#include <QDBusArgument>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

namespace parlavox {

// One shortcut as it travels between a program and the desktop portal: its id and its
// properties ("description", "preferred_trigger", "trigger_description"), (sa{sv}).
struct PortalShortcutEntry {
  QString id;
  QVariantMap properties;
};
using PortalShortcutEntries = QList<PortalShortcutEntry>;

inline QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcutEntry& entry) {
  argument.beginStructure();
  argument << entry.id << entry.properties;
  argument.endStructure();
  return argument;
}

inline const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcutEntry& entry) {
  argument.beginStructure();
  argument >> entry.id >> entry.properties;
  argument.endStructure();
  return argument;
}

}  // namespace parlavox

Q_DECLARE_METATYPE(parlavox::PortalShortcutEntry)
Q_DECLARE_METATYPE(parlavox::PortalShortcutEntries)

#endif  // PARLAVOX_PLATFORM_PORTAL_SHORTCUT_ENTRY_H_
