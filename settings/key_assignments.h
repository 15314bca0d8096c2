#ifndef PARLAVOX_SETTINGS_KEY_ASSIGNMENTS_H_
#define PARLAVOX_SETTINGS_KEY_ASSIGNMENTS_H_

#include <cstdint>
#include <string>

#include "settings/settings_file.h"
#include "settings/users_cache.h"

namespace parlavox {

// The hot-key assignments of the "keys" section: entry i is a key ("key%d", default 13),
// its modifiers ("mod%d", default 0) and a command ("command%d", default 0), counted by
// "keycount". An entry's place is also its hot key's identifier. Every call goes
// through the profile file, so it sees what any thread or process wrote.
class KeyAssignments {
 public:
  KeyAssignments(SettingsFile& settings, const UsersCache& users)
      : settings_(settings), users_(users) {}

  int Count() const;
  void SetCount(int count);
  uint32_t Key(int index) const;
  uint32_t Modifiers(int index) const;
  int32_t Command(int index) const;
  void SetKey(int index, uint32_t virtual_key, uint32_t modifiers);
  void SetCommand(int index, int32_t command);

  // Removes entry `index`: the later entries' "key%dmod", "key%d" and "command%d" move
  // down one place; "mod%d" stays where it is, so that they take over the modifiers
  // of their new places. Nothing happens without entries.
  void Remove(int index);

  // "Ctrl+Alt+F9" for entry `index`.
  std::string KeyText(int index) const;
  // What a command does, as the Keys page shows it: the fixed texts of commands 1 to
  // 6, "Call: " and the user's name (or "Pending Connection") for 32 + n, else "".
  std::string CommandText(int32_t command) const;
  // Entry `index` as the Keys page lists it: "Ctrl+Alt+F9  Call: Ben", followed by
  // "  (desktop: Ctrl+Alt+F10)" where the desktop bound other keys than these.
  std::string Line(int index, const std::string& desktop_binding) const;

 private:
  SettingsFile& settings_;
  const UsersCache& users_;
};

}  // namespace parlavox

#endif  // PARLAVOX_SETTINGS_KEY_ASSIGNMENTS_H_
