#ifndef PARLAVOX_AUDIO_WAVE_CHUNKS_H_
#define PARLAVOX_AUDIO_WAVE_CHUNKS_H_

#include <cstdint>
#include <optional>

#include "audio/wave_format.h"

namespace parlavox {

// Where a WAVE file's samples are, as found by walking its RIFF chunks.
struct WaveLayout {
  WaveFormat format;
  int64_t format_start = 0;  // file offset of the "fmt " chunk's contents
  uint32_t format_size = 0;
  int64_t data_start = 0;  // file offset of the first sample byte
  uint32_t data_size = 0;  // as the "data" chunk's header claims it
};

// Walks the chunks of the open file `fd`: steps over leading top-level chunks that
// are not RIFF/WAVE, finds "fmt " (14 to 8192 bytes) and then "data", skipping every
// other chunk with its pad byte; a chunk of size 0 on the way ends the walk. Checks
// 1 to 255 channels and a rate of 1 to 192000 Hz. nullopt when the file is not
// usable. Reads the file with pread only; reads at most 8192 bytes of format.
std::optional<WaveLayout> WalkWaveChunks(int fd);

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_WAVE_CHUNKS_H_
