#ifndef PARLAVOX_WORDS_DECIBELS_H_
#define PARLAVOX_WORDS_DECIBELS_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace parlavox {

// A level in whole decibels; kSilence stands for minus infinity.
using Decibels = int8_t;
inline constexpr Decibels kSilence = -127;

// "%ddB" for levels above kSilence, "--dB" for kSilence and below.
std::string FormatDecibels(int level);

// Reads any text as a level, permissively: digits accumulate, a "-" makes the value
// negative and a second "-" turns it into silence, everything else is skipped; the
// result is clamped to -127..127. "--dB" is -127, "1-2" is -12, "500dB" is 127.
Decibels ParseDecibels(std::string_view text);

}  // namespace parlavox

#endif  // PARLAVOX_WORDS_DECIBELS_H_
