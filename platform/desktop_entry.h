#ifndef PARLAVOX_PLATFORM_DESKTOP_ENTRY_H_
#define PARLAVOX_PLATFORM_DESKTOP_ENTRY_H_

#include <string>
#include <vector>

namespace parlavox {

// A freedesktop.org desktop entry of type Application: what menus, desktops and the
// autostart list show and start.
struct DesktopEntry {
  std::string name;
  std::string comment;
  // The program and its arguments; each is quoted as the Exec key wants.
  std::vector<std::string> command;
  std::string icon = "parlavox";
  // Further "Key=value" lines.
  std::vector<std::string> extra_lines;
};

// Writes `entry` to `path`, creating its folder; `launchable` also makes the file
// executable, which desktops ask of a shortcut before they start it. False when the
// file can't be written.
bool WriteDesktopEntry(const std::string& path, const DesktopEntry& entry, bool launchable);

// Removes the stale shortcuts of earlier Parlavox versions from `folder`: every
// "*.desktop" file whose path, in upper case, contains one of their names.
void DeleteForeignShortcuts(const std::string& folder);

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_DESKTOP_ENTRY_H_
