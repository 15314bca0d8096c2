#include "audio/channel_levels.h"

#include <algorithm>
#include <cmath>

namespace parlavox {
namespace {

// Rounds half away from the reference and clamps to the level range.
int8_t ToLevel(double decibels, bool at_or_above_reference) {
  const double rounded = decibels + (at_or_above_reference ? 0.5 : -0.5);
  return static_cast<int8_t>(std::clamp(std::trunc(rounded), -127.0, 127.0));
}

}  // namespace

int8_t MeanSquareLevel(const int32_t* samples, int frames, int channels, int channel) {
  constexpr uint32_t kReference = 8388626;
  if (frames <= 0) return -127;
  // The squares are summed in two 32-bit halves, as the level has always been taken.
  uint32_t high = 0, low = 0;
  for (int i = 0; i < frames; ++i) {
    const int32_t v = samples[static_cast<int64_t>(i) * channels + channel] >> 5;
    const uint32_t square = static_cast<uint32_t>(v) * static_cast<uint32_t>(v);
    high += square >> 13;
    low += square & 8191;
  }
  const uint32_t total = high + (low >> 13);
  const uint32_t n = static_cast<uint32_t>(frames);
  const uint32_t mean = (total / n) * 8192 + ((total % n) * 8192) / n;
  if (mean == 0) return -127;
  return ToLevel(10 * std::log10(static_cast<double>(mean) / kReference), mean >= kReference);
}

int8_t PeakLevel(const int32_t* samples, int frames, int channels, int channel) {
  int64_t largest = 0, smallest = 0;
  for (int i = 0; i < frames; ++i) {
    const int32_t s = samples[static_cast<int64_t>(i) * channels + channel];
    largest = std::max<int64_t>(largest, s);
    smallest = std::min<int64_t>(smallest, s);
  }
  const int64_t peak = std::max(largest, -smallest);
  if (peak == 0) return -127;
  return ToLevel(20 * std::log10(static_cast<double>(peak) / 131072.0), peak >= 131072);
}

}  // namespace parlavox
