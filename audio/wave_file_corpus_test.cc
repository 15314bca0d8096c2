// Replays every input the fuzzer was seeded with or ever crashed on.

#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "audio/wave_file_fuzz.h"

namespace parlavox {
namespace {

TEST(WaveFileCorpusTest, EveryKnownInputReadsWithoutFault) {
  int inputs = 0;
  for (const auto& entry : std::filesystem::directory_iterator(PARLAVOX_WAVE_CORPUS)) {
    std::ifstream in(entry.path(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), {}};
    SCOPED_TRACE(entry.path().string());
    ExerciseWaveReader(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    ++inputs;
  }
  EXPECT_GE(inputs, 10);
}

}  // namespace
}  // namespace parlavox
