#ifndef PARLAVOX_AUDIO_WAVE_FORMAT_H_
#define PARLAVOX_AUDIO_WAVE_FORMAT_H_

#include <cstdint>
#include <vector>

namespace parlavox {

// Samples pass between audio objects and files as signed 32-bit integers on a 20-bit
// scale: a 16-bit PCM value times 16. At most kMaxBlockFrames frames of interleaved
// samples are converted at once.
inline constexpr int kMaxBlockFrames = 8192;
inline constexpr int32_t kFullScale = 0x7FFF0;      // 16- and 32-bit files
inline constexpr int32_t kFullScale8Bit = 0x3F800;  // 8-bit files sit 6 dB lower

// Format tags of the "fmt " chunk.
inline constexpr uint16_t kFormatPcm = 1;
inline constexpr uint16_t kFormatMsAdpcm = 2;
inline constexpr uint16_t kFormatIeeeFloat = 3;
inline constexpr uint16_t kFormatALaw = 6;
inline constexpr uint16_t kFormatMuLaw = 7;
inline constexpr uint16_t kFormatImaAdpcm = 0x11;
inline constexpr uint16_t kFormatGsm610 = 0x31;

// The fields of a WAVE file's "fmt " chunk.
struct WaveFormat {
  uint16_t format_tag = kFormatPcm;
  uint16_t channels = 1;
  uint32_t sample_rate = 11025;
  uint32_t average_bytes_per_second = 22050;
  uint16_t block_align = 2;
  uint16_t bits_per_sample = 16;
  std::vector<uint8_t> extra;  // the bytes after the size field of a longer chunk
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_WAVE_FORMAT_H_
