#include "words/decibels.h"

#include <algorithm>

namespace parlavox {

std::string FormatDecibels(int level) {
  if (level <= kSilence) return "--dB";
  return std::to_string(level) + "dB";
}

Decibels ParseDecibels(std::string_view text) {
  // Anything beyond this is clamped to 127 at the end anyway; capping early keeps
  // long digit runs from overflowing.
  constexpr int kCap = 10000;
  int value = 0;
  bool negative = false;
  for (const char c : text) {
    if (c == '-') {
      if (negative) value = 127;
      negative = true;
    } else if (c >= '0' && c <= '9') {
      value = std::min(value * 10 + (c - '0'), kCap);
    }
  }
  if (negative) value = -value;
  return static_cast<Decibels>(std::clamp(value, -127, 127));
}

}  // namespace parlavox
