#ifndef PARLAVOX_SETTINGS_START_AT_LOGIN_H_
#define PARLAVOX_SETTINGS_START_AT_LOGIN_H_

namespace parlavox {

// Whether the program starts, in the tray, when the person logs in.
class StartAtLogin {
 public:
  virtual ~StartAtLogin() = default;
  virtual bool IsOn() const = 0;
  // On: the running program starts at login, with "/logon". Off: nothing starts it.
  virtual void Set(bool on) = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_SETTINGS_START_AT_LOGIN_H_
