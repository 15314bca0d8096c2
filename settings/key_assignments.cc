#include "settings/key_assignments.h"

#include "words/hot_key_commands.h"

#include "words/key_names.h"
#include "words/virtual_keys.h"

namespace parlavox {
namespace {

using keys_key::kCommand;
using keys_key::kKey;
using keys_key::kModifiers;

}  // namespace

int KeyAssignments::Count() const { return settings_.ReadCount(kKeysSection, kKey); }

void KeyAssignments::SetCount(int count) { settings_.WriteCount(kKeysSection, kKey, count); }

uint32_t KeyAssignments::Key(int index) const {
  return static_cast<uint32_t>(settings_.ReadInt(kKeysSection, ListKey(kKey, index), vk::kReturn));
}

uint32_t KeyAssignments::Modifiers(int index) const {
  return static_cast<uint32_t>(settings_.ReadInt(kKeysSection, ListKey(kModifiers, index), 0));
}

int32_t KeyAssignments::Command(int index) const {
  return settings_.ReadInt(kKeysSection, ListKey(kCommand, index), 0);
}

void KeyAssignments::SetKey(int index, uint32_t virtual_key, uint32_t modifiers) {
  settings_.WriteInt(kKeysSection, ListKey(kKey, index), static_cast<int32_t>(virtual_key));
  settings_.WriteInt(kKeysSection, ListKey(kModifiers, index), static_cast<int32_t>(modifiers));
}

void KeyAssignments::SetCommand(int index, int32_t command) {
  settings_.WriteInt(kKeysSection, ListKey(kCommand, index), command);
}

void KeyAssignments::Remove(int index) {
  const int count = Count();
  if (index < 0 || count < 1) return;
  for (int i = index; i <= count - 2; ++i) {
    settings_.MoveEntry(kKeysSection, kKey, kModifiers, i + 1, i);  // "key%dmod", as it always was
    settings_.MoveEntry(kKeysSection, kKey, "", i + 1, i);
    settings_.MoveEntry(kKeysSection, kCommand, "", i + 1, i);
  }
  SetCount(count - 1);
}

std::string KeyAssignments::KeyText(int index) const {
  return parlavox::KeyText(Modifiers(index), Key(index));
}

std::string KeyAssignments::CommandText(int32_t command) const {
  if (command >= hot_key_command::kCallUser) {
    return "Call: " + users_.DisplayName(command - hot_key_command::kCallUser);
  }
  return hot_key_command::FixedText(command);
}

std::string KeyAssignments::Line(int index, const std::string& desktop_binding) const {
  const std::string key = KeyText(index);
  std::string line = key + "  " + CommandText(Command(index));
  if (!desktop_binding.empty() && desktop_binding != key) {
    line += "  (desktop: " + desktop_binding + ")";
  }
  return line;
}

}  // namespace parlavox
