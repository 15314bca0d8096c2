#ifndef PARLAVOX_WORDS_HOT_KEY_COMMANDS_H_
#define PARLAVOX_WORDS_HOT_KEY_COMMANDS_H_

#include <cstdint>

namespace parlavox {

// What a hot key does: the numbers the "keys" section keeps under "command%d", the same
// on every platform. A number from kCallUser on calls the user at that place less
// kCallUser in the users list.
namespace hot_key_command {

inline constexpr int32_t kOpen = 1;          // "Open Parlavox"
inline constexpr int32_t kClose = 2;         // "Close Parlavox"
inline constexpr int32_t kCallSelected = 3;  // "Call selected user"
inline constexpr int32_t kReply = 4;         // "Reply to previous caller"
inline constexpr int32_t kTurnOn = 5;        // "Turn Parlavox On"
inline constexpr int32_t kTurnOff = 6;       // "Turn Parlavox Off"
inline constexpr int32_t kLastFixed = kTurnOff;
inline constexpr int32_t kCallUser = 32;  // + the user's place: "Call: " the user

// The text of a fixed command (kOpen to kLastFixed); "" for any other number.
const char* FixedText(int32_t command);

}  // namespace hot_key_command
}  // namespace parlavox

#endif  // PARLAVOX_WORDS_HOT_KEY_COMMANDS_H_
