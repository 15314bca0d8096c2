#include "platform/logind_sleep.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace parlavox {
namespace {

const QString kService = QStringLiteral("org.freedesktop.login1");
const QString kPath = QStringLiteral("/org/freedesktop/login1");
const QString kManager = QStringLiteral("org.freedesktop.login1.Manager");

}  // namespace

LogindSleep::LogindSleep(std::function<void()> going, std::function<void()> woke)
    : bus_(QDBusConnection::systemBus()), going_(std::move(going)), woke_(std::move(woke)) {
  if (!bus_.isConnected()) return;
  bus_.connect(kService, kPath, kManager, QStringLiteral("PrepareForSleep"), this,
               SLOT(OnPrepareForSleep(bool)));
  HoldSleepBack();
}

void LogindSleep::HoldSleepBack() {
  QDBusMessage inhibit =
      QDBusMessage::createMethodCall(kService, kPath, kManager, QStringLiteral("Inhibit"));
  inhibit << QStringLiteral("sleep") << QStringLiteral("Parlavox")
          << QStringLiteral("Telling colleagues that the intercom is off")
          << QStringLiteral("delay");
  // Asked without waiting: a logind that is slow to answer holds nothing up.
  auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(inhibit), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this,
          [this](QDBusPendingCallWatcher* answered) {
            const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *answered;
            if (reply.isValid()) inhibitor_ = reply.value();
            answered->deleteLater();
          });
}

void LogindSleep::OnPrepareForSleep(bool going) {
  if (going) {
    going_();
    inhibitor_ = QDBusUnixFileDescriptor();  // closes it: the machine may sleep now
  } else {
    woke_();
    HoldSleepBack();
  }
}

}  // namespace parlavox
