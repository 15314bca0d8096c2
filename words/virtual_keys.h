#ifndef PARLAVOX_WORDS_VIRTUAL_KEYS_H_
#define PARLAVOX_WORDS_VIRTUAL_KEYS_H_

#include <cstdint>

namespace parlavox {

// Keys are named by the virtual-key codes of PC keyboards, as settings.ini stores them
// and as Windows copies of the program read them.
namespace vk {
inline constexpr uint32_t kReturn = 0x0D;
inline constexpr uint32_t kShift = 0x10;
inline constexpr uint32_t kControl = 0x11;
inline constexpr uint32_t kMenu = 0x12;  // Alt
inline constexpr uint32_t kEscape = 0x1B;
inline constexpr uint32_t kF1 = 0x70;
inline constexpr uint32_t kF5 = 0x74;
inline constexpr uint32_t kF6 = 0x75;
}  // namespace vk

// Modifier bits of a hot key, as settings.ini stores them.
namespace modifier {
inline constexpr uint32_t kAlt = 1;
inline constexpr uint32_t kControl = 2;
inline constexpr uint32_t kShift = 4;
}  // namespace modifier

}  // namespace parlavox

#endif  // PARLAVOX_WORDS_VIRTUAL_KEYS_H_
