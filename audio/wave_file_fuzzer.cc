// libFuzzer entry: every input is a candidate WAVE file for the reader.

#include "audio/wave_file_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  parlavox::ExerciseWaveReader(data, size);
  return 0;
}
