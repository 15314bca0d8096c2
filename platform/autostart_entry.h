#ifndef PARLAVOX_PLATFORM_AUTOSTART_ENTRY_H_
#define PARLAVOX_PLATFORM_AUTOSTART_ENTRY_H_

#include <string>

#include "settings/start_at_login.h"

namespace parlavox {

// Start at login through an XDG autostart entry, "parlavox.desktop" in `folder`
// ($XDG_CONFIG_HOME/autostart for a person, /etc/xdg/autostart for everyone). It is on
// when the entry exists, whatever it starts.
class AutostartEntry : public StartAtLogin {
 public:
  explicit AutostartEntry(std::string folder) : folder_(std::move(folder)) {}
  // The person's own: $XDG_CONFIG_HOME/autostart (default ~/.config/autostart).
  static AutostartEntry ForUser();

  bool IsOn() const override;
  void Set(bool on) override;
  // Writes the entry for `program`, started with "/logon"; false when it can't.
  bool Enable(const std::string& program);
  // Removes the entry; nothing when there is none.
  void Disable();

  // Writes an entry that keeps a machine-wide one of the same name from starting.
  bool Hide();
  // Whether the entry exists and is not hidden.
  bool Starts() const;

  std::string path() const { return folder_ + "/parlavox.desktop"; }

 private:
  std::string folder_;
};

// What happens when the person logs in: their own autostart entry decides when there is
// one (it overrides a machine-wide entry of the same name), else the machine's. Turned
// off while the machine's entry would start the program, the person's own entry hides
// it; turned on, the person gets an entry of their own.
class PersonsStartAtLogin : public StartAtLogin {
 public:
  PersonsStartAtLogin(AutostartEntry own, AutostartEntry machine)
      : own_(std::move(own)), machine_(std::move(machine)) {}
  // The person's own folder and the first of $XDG_CONFIG_DIRS (default /etc/xdg).
  static PersonsStartAtLogin ForUser();

  bool IsOn() const override;
  void Set(bool on) override;

 private:
  AutostartEntry own_;
  AutostartEntry machine_;
};

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_AUTOSTART_ENTRY_H_
