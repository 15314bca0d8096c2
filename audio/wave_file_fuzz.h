#ifndef PARLAVOX_AUDIO_WAVE_FILE_FUZZ_H_
#define PARLAVOX_AUDIO_WAVE_FILE_FUZZ_H_

#include <cstddef>
#include <cstdint>

namespace parlavox {

// Opens `size` bytes as a WAVE file and works the reader as the player does: length,
// reads, seeks before, inside and beyond the data, reads again. Used by the fuzzer
// and by the test that replays its corpus; any crash, leak or hang is a fault.
void ExerciseWaveReader(const uint8_t* data, size_t size);

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_WAVE_FILE_FUZZ_H_
