#ifndef PARLAVOX_AUDIO_CHANNEL_LEVELS_H_
#define PARLAVOX_AUDIO_CHANNEL_LEVELS_H_

#include <array>
#include <cstdint>

namespace parlavox {

// Per-channel levels in whole decibels, -127 (silence) to +127; only the first
// `count` entries mean anything.
struct ChannelLevels {
  uint8_t count = 0;
  std::array<int8_t, 256> levels{};
};

// The player's level of one channel of `frames` interleaved internal samples: the
// mean square, relative to a square wave at a quarter of 16-bit full scale, so that a
// full-scale 16-bit square wave reads +15.
int8_t MeanSquareLevel(const int32_t* samples, int frames, int channels, int channel);

// The recorder's level of one channel: the peak, where 0 dB is a quarter of full
// scale and a full-scale peak reads +12.
int8_t PeakLevel(const int32_t* samples, int frames, int channels, int channel);

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_CHANNEL_LEVELS_H_
