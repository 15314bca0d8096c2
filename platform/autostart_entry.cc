#include "platform/autostart_entry.h"

#include "platform/desktop_entry.h"
#include "util/paths.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace parlavox {
AutostartEntry AutostartEntry::ForUser() { return AutostartEntry(XdgConfigHome() + "/autostart"); }

bool AutostartEntry::IsOn() const {
  std::error_code error;
  return std::filesystem::exists(path(), error);
}

void AutostartEntry::Set(bool on) {
  if (on) {
    Enable(RunningProgramPath());
  } else {
    Disable();
  }
}

bool AutostartEntry::Enable(const std::string& program) {
  DesktopEntry entry;
  entry.name = "Parlavox";
  entry.comment = "Push-to-talk intercom, started in the tray";
  entry.command = {program, "/logon"};
  entry.extra_lines = {"X-GNOME-Autostart-enabled=true"};
  return WriteDesktopEntry(path(), entry, /*launchable=*/false);
}

bool AutostartEntry::Hide() {
  DesktopEntry entry;
  entry.name = "Parlavox";
  entry.comment = "Not started at login";
  entry.command = {RunningProgramPath(), "/logon"};
  entry.extra_lines = {"Hidden=true"};
  return WriteDesktopEntry(path(), entry, /*launchable=*/false);
}

bool AutostartEntry::Starts() const {
  std::ifstream file(path());
  if (!file) return false;
  for (std::string line; std::getline(file, line);) {
    if (line == "Hidden=true") return false;
  }
  return true;
}

void AutostartEntry::Disable() {
  std::error_code error;
  std::filesystem::remove(path(), error);
}

PersonsStartAtLogin PersonsStartAtLogin::ForUser() {
  return PersonsStartAtLogin(AutostartEntry::ForUser(),
                             AutostartEntry(XdgConfigDirsFirst() + "/autostart"));
}

bool PersonsStartAtLogin::IsOn() const { return own_.IsOn() ? own_.Starts() : machine_.Starts(); }

void PersonsStartAtLogin::Set(bool on) {
  if (on) {
    own_.Enable(RunningProgramPath());
  } else if (machine_.Starts()) {
    own_.Hide();
  } else {
    own_.Disable();
  }
}

}  // namespace parlavox
