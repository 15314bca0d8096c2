#ifndef PARLAVOX_PLATFORM_X11_KEY_SYMBOLS_H_
#define PARLAVOX_PLATFORM_X11_KEY_SYMBOLS_H_

#include <cstdint>
#include <optional>

namespace parlavox {

// Between the virtual-key codes of PC keyboards and the X server's key symbols, for
// every key a person can assign: letters, digits, F1 to F24, the keypad, arrows,
// editing keys, punctuation (where a US keyboard has it) and the modifiers.

// nullopt for a key without a symbol here.
std::optional<unsigned long> KeySymbolOf(uint32_t virtual_key);
// nullopt for a symbol without a virtual key. The symbols that Ctrl+Alt+F1 to F12 make
// on X servers that switch consoles with them count as F1 to F12.
std::optional<uint32_t> VirtualKeyOfSymbol(unsigned long key_symbol);

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_X11_KEY_SYMBOLS_H_
