#ifndef PARLAVOX_UI_QT_VIRTUAL_KEYS_H_
#define PARLAVOX_UI_QT_VIRTUAL_KEYS_H_

#include <QKeyEvent>
#include <cstdint>
#include <optional>

namespace parlavox {

// The virtual-key code of the PC keyboard key that made `event`: letters, digits,
// F1 to F24, the keypad, arrows, editing keys, punctuation (as a US keyboard has it,
// whether shifted or not) and the modifiers. nullopt for a key a PC keyboard lacks.
// Keys the toolkit does not know are looked up by their X key symbol.
std::optional<uint32_t> VirtualKeyOf(const QKeyEvent& event);

}  // namespace parlavox

#endif  // PARLAVOX_UI_QT_VIRTUAL_KEYS_H_
