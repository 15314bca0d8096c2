#ifndef PARLAVOX_PLATFORM_LOGIND_SLEEP_H_
#define PARLAVOX_PLATFORM_LOGIND_SLEEP_H_

#include <QDBusConnection>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <functional>

namespace parlavox {

// The machine's sleep as systemd-logind announces it on the system bus
// (org.freedesktop.login1.Manager's PrepareForSleep): `going` runs before the machine
// sleeps, which waits for it (a delay inhibitor, held from the start and let go once
// `going` returns; logind waits 5 s at most), and `woke` runs after it woke. Where
// there is no system bus or no logind, neither runs. Use on the event loop's thread.
class LogindSleep : public QObject {
  Q_OBJECT

 public:
  LogindSleep(std::function<void()> going, std::function<void()> woke);

 private Q_SLOTS:
  void OnPrepareForSleep(bool going);

 private:
  // Asks logind to wait for `going` before the next sleep.
  void HoldSleepBack();

  QDBusConnection bus_;
  const std::function<void()> going_, woke_;
  QDBusUnixFileDescriptor inhibitor_;  // logind waits while it is open
};

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_LOGIND_SLEEP_H_
