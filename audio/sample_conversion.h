#ifndef PARLAVOX_AUDIO_SAMPLE_CONVERSION_H_
#define PARLAVOX_AUDIO_SAMPLE_CONVERSION_H_

#include <cstddef>
#include <cstdint>

namespace parlavox {

// Conversions between file samples and the internal 20-bit scale. Nothing clips:
// values out of range wrap, as the shifts do. The 8-bit mapping sits one bit lower
// than the 16-bit one in both directions, so that 8-bit files stay level-compatible
// with each other.

inline int32_t FromUnsigned8(uint8_t byte) {
  return static_cast<int32_t>(static_cast<int8_t>(byte ^ 0x80)) * 2048;
}
inline uint8_t ToUnsigned8(int32_t sample) {
  return static_cast<uint8_t>((static_cast<int32_t>(static_cast<uint32_t>(sample) + 1024u) >> 11) +
                              128);
}

inline int32_t From16(int16_t value) { return int32_t{value} * 16; }
inline int16_t To16(int32_t sample) {
  return static_cast<int16_t>(static_cast<int32_t>(static_cast<uint32_t>(sample) + 8u) >> 4);
}

inline int32_t From32(int32_t value) {
  return static_cast<int32_t>(static_cast<uint32_t>(value) + 2048u) >> 12;
}
inline int32_t To32(int32_t sample) {
  return static_cast<int32_t>(static_cast<uint32_t>(sample) << 12);
}

// Little-endian PCM bytes of 1, 2 or 4 bytes a sample to and from internal samples.
void DecodePcm(const uint8_t* bytes, int bytes_per_sample, int32_t* samples, int64_t count);
void EncodePcm(const int32_t* samples, int64_t count, int bytes_per_sample, uint8_t* bytes);

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_SAMPLE_CONVERSION_H_
