#include "words/key_names.h"

#include <map>

#include "words/virtual_keys.h"

namespace parlavox {
namespace {

const std::map<uint32_t, const char*>& NamedKeys() {
  static const std::map<uint32_t, const char*> names = {
      {0x08, "Backspace"},
      {0x09, "Tab"},
      {0x0D, "Enter"},
      {0x10, "Shift"},
      {0x11, "Ctrl"},
      {0x12, "Alt"},
      {0x13, "Pause"},
      {0x14, "Caps Lock"},
      {0x1B, "Esc"},
      {0x20, "Space"},
      {0x21, "Page Up"},
      {0x22, "Page Down"},
      {0x23, "End"},
      {0x24, "Home"},
      {0x25, "Left"},
      {0x26, "Up"},
      {0x27, "Right"},
      {0x28, "Down"},
      {0x2C, "Print Screen"},
      {0x2D, "Insert"},
      {0x2E, "Delete"},
      {0x5B, "Left Windows"},
      {0x5C, "Right Windows"},
      {0x5D, "Application"},
      {0x6A, "Num *"},
      {0x6B, "Num +"},
      {0x6D, "Num -"},
      {0x6E, "Num ."},
      {0x6F, "Num /"},
      {0x90, "Num Lock"},
      {0x91, "Scroll Lock"},
      {0xBA, ";"},
      {0xBB, "="},
      {0xBC, ","},
      {0xBD, "-"},
      {0xBE, "."},
      {0xBF, "/"},
      {0xC0, "`"},
      {0xDB, "["},
      {0xDC, "\\"},
      {0xDD, "]"},
      {0xDE, "'"},
  };
  return names;
}

}  // namespace

std::string KeyName(uint32_t virtual_key) {
  if ((virtual_key >= 'A' && virtual_key <= 'Z') || (virtual_key >= '0' && virtual_key <= '9')) {
    return std::string(1, static_cast<char>(virtual_key));
  }
  if (virtual_key >= 0x60 && virtual_key <= 0x69)
    return "Num " + std::to_string(virtual_key - 0x60);
  if (virtual_key >= 0x70 && virtual_key <= 0x87) return "F" + std::to_string(virtual_key - 0x6F);
  const auto named = NamedKeys().find(virtual_key);
  return named == NamedKeys().end() ? "" : named->second;
}

std::string KeyText(uint32_t modifiers, uint32_t virtual_key) {
  std::string text;
  if (modifiers & modifier::kControl) text += "Ctrl+";
  if (modifiers & modifier::kAlt) text += "Alt+";
  if (modifiers & modifier::kShift) text += "Shift+";
  return text + KeyName(virtual_key);
}

}  // namespace parlavox
