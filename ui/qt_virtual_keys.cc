#include "ui/qt_virtual_keys.h"

#include "platform/x11_key_symbols.h"

#include <unordered_map>

namespace parlavox {
namespace {

// Keys whose code does not follow from a range.
const std::unordered_map<int, uint32_t>& NamedKeys() {
  static const std::unordered_map<int, uint32_t> keys = {
      {Qt::Key_Backspace, 0x08},
      {Qt::Key_Tab, 0x09},
      {Qt::Key_Backtab, 0x09},
      {Qt::Key_Return, 0x0D},
      {Qt::Key_Enter, 0x0D},
      {Qt::Key_Shift, 0x10},
      {Qt::Key_Control, 0x11},
      {Qt::Key_Alt, 0x12},
      {Qt::Key_Pause, 0x13},
      {Qt::Key_CapsLock, 0x14},
      {Qt::Key_Escape, 0x1B},
      {Qt::Key_Space, 0x20},
      {Qt::Key_PageUp, 0x21},
      {Qt::Key_PageDown, 0x22},
      {Qt::Key_End, 0x23},
      {Qt::Key_Home, 0x24},
      {Qt::Key_Left, 0x25},
      {Qt::Key_Up, 0x26},
      {Qt::Key_Right, 0x27},
      {Qt::Key_Down, 0x28},
      {Qt::Key_Print, 0x2C},
      {Qt::Key_Insert, 0x2D},
      {Qt::Key_Delete, 0x2E},
      {Qt::Key_Meta, 0x5B},
      {Qt::Key_Super_L, 0x5B},
      {Qt::Key_Super_R, 0x5C},
      {Qt::Key_Menu, 0x5D},
      {Qt::Key_NumLock, 0x90},
      {Qt::Key_ScrollLock, 0x91},
      // Punctuation, unshifted and shifted, where a US keyboard has it.
      {Qt::Key_Semicolon, 0xBA},
      {Qt::Key_Colon, 0xBA},
      {Qt::Key_Equal, 0xBB},
      {Qt::Key_Plus, 0xBB},
      {Qt::Key_Comma, 0xBC},
      {Qt::Key_Less, 0xBC},
      {Qt::Key_Minus, 0xBD},
      {Qt::Key_Underscore, 0xBD},
      {Qt::Key_Period, 0xBE},
      {Qt::Key_Greater, 0xBE},
      {Qt::Key_Slash, 0xBF},
      {Qt::Key_Question, 0xBF},
      {Qt::Key_QuoteLeft, 0xC0},
      {Qt::Key_AsciiTilde, 0xC0},
      {Qt::Key_BracketLeft, 0xDB},
      {Qt::Key_BraceLeft, 0xDB},
      {Qt::Key_Backslash, 0xDC},
      {Qt::Key_Bar, 0xDC},
      {Qt::Key_BracketRight, 0xDD},
      {Qt::Key_BraceRight, 0xDD},
      {Qt::Key_Apostrophe, 0xDE},
      {Qt::Key_QuoteDbl, 0xDE},
      // Shifted digits.
      {Qt::Key_ParenRight, '0'},
      {Qt::Key_Exclam, '1'},
      {Qt::Key_At, '2'},
      {Qt::Key_NumberSign, '3'},
      {Qt::Key_Dollar, '4'},
      {Qt::Key_Percent, '5'},
      {Qt::Key_AsciiCircum, '6'},
      {Qt::Key_Ampersand, '7'},
      {Qt::Key_Asterisk, '8'},
      {Qt::Key_ParenLeft, '9'},
  };
  return keys;
}

// The keypad's own codes, for keys that carry the keypad modifier.
std::optional<uint32_t> KeypadKey(int key) {
  if (key >= Qt::Key_0 && key <= Qt::Key_9) return 0x60 + static_cast<uint32_t>(key - Qt::Key_0);
  switch (key) {
    case Qt::Key_Asterisk:
      return 0x6A;
    case Qt::Key_Plus:
      return 0x6B;
    case Qt::Key_Minus:
      return 0x6D;
    case Qt::Key_Period:
    case Qt::Key_Comma:
      return 0x6E;
    case Qt::Key_Slash:
      return 0x6F;
    default:
      return std::nullopt;
  }
}

}  // namespace

std::optional<uint32_t> VirtualKeyOf(const QKeyEvent& event) {
  const int key = event.key();
  if (event.modifiers() & Qt::KeypadModifier) {
    if (const std::optional<uint32_t> keypad = KeypadKey(key)) return keypad;
  }
  if (key >= Qt::Key_A && key <= Qt::Key_Z) return 'A' + static_cast<uint32_t>(key - Qt::Key_A);
  if (key >= Qt::Key_0 && key <= Qt::Key_9) return '0' + static_cast<uint32_t>(key - Qt::Key_0);
  if (key >= Qt::Key_F1 && key <= Qt::Key_F24)
    return 0x70 + static_cast<uint32_t>(key - Qt::Key_F1);
  const auto named = NamedKeys().find(key);
  if (named != NamedKeys().end()) return named->second;
  // A key the toolkit has no name for, such as F9 with Ctrl and Alt where the keyboard
  // map makes that a console switch: the X server's own symbol tells.
  return VirtualKeyOfSymbol(event.nativeVirtualKey());
}

}  // namespace parlavox
