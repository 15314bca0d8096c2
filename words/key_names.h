#ifndef PARLAVOX_WORDS_KEY_NAMES_H_
#define PARLAVOX_WORDS_KEY_NAMES_H_

#include <cstdint>
#include <string>

namespace parlavox {

// The name a key has on a PC keyboard ("F9", "Enter", "Space", "Num 5", "Page Up",
// "A", ";"); empty for a key that has none.
std::string KeyName(uint32_t virtual_key);

// How a hot key is shown: "Ctrl+", "Alt+" and "Shift+" as `modifiers` has them (bits
// 2, 1 and 4), always in this order, then the key's name: "Ctrl+Alt+F9".
std::string KeyText(uint32_t modifiers, uint32_t virtual_key);

}  // namespace parlavox

#endif  // PARLAVOX_WORDS_KEY_NAMES_H_
