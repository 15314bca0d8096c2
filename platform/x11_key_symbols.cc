#include "platform/x11_key_symbols.h"

#include <X11/keysym.h>

#include <map>
#include <utility>

namespace parlavox {
namespace {

// Keys that no range covers, as (virtual key, key symbol).
constexpr std::pair<uint32_t, unsigned long> kNamedKeys[] = {
    {0x08, XK_BackSpace},    {0x09, XK_Tab},        {0x0D, XK_Return},      {0x10, XK_Shift_L},
    {0x11, XK_Control_L},    {0x12, XK_Alt_L},      {0x13, XK_Pause},       {0x14, XK_Caps_Lock},
    {0x1B, XK_Escape},       {0x20, XK_space},      {0x21, XK_Prior},       {0x22, XK_Next},
    {0x23, XK_End},          {0x24, XK_Home},       {0x25, XK_Left},        {0x26, XK_Up},
    {0x27, XK_Right},        {0x28, XK_Down},       {0x2C, XK_Print},       {0x2D, XK_Insert},
    {0x2E, XK_Delete},       {0x5B, XK_Super_L},    {0x5C, XK_Super_R},     {0x5D, XK_Menu},
    {0x6A, XK_KP_Multiply},  {0x6B, XK_KP_Add},     {0x6D, XK_KP_Subtract}, {0x6E, XK_KP_Decimal},
    {0x6F, XK_KP_Divide},    {0x90, XK_Num_Lock},   {0x91, XK_Scroll_Lock}, {0xBA, XK_semicolon},
    {0xBB, XK_equal},        {0xBC, XK_comma},      {0xBD, XK_minus},       {0xBE, XK_period},
    {0xBF, XK_slash},        {0xC0, XK_grave},      {0xDB, XK_bracketleft}, {0xDC, XK_backslash},
    {0xDD, XK_bracketright}, {0xDE, XK_apostrophe},
};

// Runs of codes that follow each other in both worlds: (first virtual key, last, first
// key symbol).
struct Run {
  uint32_t first, last;
  unsigned long symbol;
};
constexpr Run kRuns[] = {
    {'A', 'Z', XK_a},
    {'0', '9', XK_0},
    {0x60, 0x69, XK_KP_0},
    {0x70, 0x87, XK_F1},
};

}  // namespace

std::optional<unsigned long> KeySymbolOf(uint32_t virtual_key) {
  for (const Run& run : kRuns) {
    if (virtual_key >= run.first && virtual_key <= run.last) {
      return run.symbol + (virtual_key - run.first);
    }
  }
  for (const auto& [key, symbol] : kNamedKeys) {
    if (key == virtual_key) return symbol;
  }
  return std::nullopt;
}

std::optional<uint32_t> VirtualKeyOfSymbol(unsigned long key_symbol) {
  if (key_symbol >= XK_A && key_symbol <= XK_Z) key_symbol += XK_a - XK_A;  // either case
  // With Ctrl and Alt, the keyboard map turns F1 to F12 into "switch to console n".
  constexpr unsigned long kSwitchToConsole1 = 0x1008FE01;
  if (key_symbol >= kSwitchToConsole1 && key_symbol < kSwitchToConsole1 + 12) {
    return 0x70 + static_cast<uint32_t>(key_symbol - kSwitchToConsole1);
  }
  for (const Run& run : kRuns) {
    if (key_symbol >= run.symbol && key_symbol <= run.symbol + (run.last - run.first)) {
      return run.first + static_cast<uint32_t>(key_symbol - run.symbol);
    }
  }
  for (const auto& [key, symbol] : kNamedKeys) {
    if (symbol == key_symbol) return key;
  }
  return std::nullopt;
}

}  // namespace parlavox
