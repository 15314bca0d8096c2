#ifndef PARLAVOX_AUDIO_WAVE_TIME_H_
#define PARLAVOX_AUDIO_WAVE_TIME_H_

#include <cstdint>

namespace parlavox {

// Times between audio objects and their owners are counts of 1/10000 s. Both
// conversions split whole seconds from the rest so that nothing overflows, and
// truncate toward zero.

// `frames` at `rate` frames a second as a time; 0 when the rate is below 1.
inline int32_t FramesToTime(int64_t frames, int32_t rate) {
  if (rate < 1) return 0;
  return static_cast<int32_t>((frames / rate) * 10000 + ((frames % rate) * 10000) / rate);
}

// A time as a number of frames at `rate`.
inline int64_t TimeToFrames(int32_t time, int32_t rate) {
  return int64_t{time / 10000} * rate + (int64_t{time % 10000} * rate) / 10000;
}

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_WAVE_TIME_H_
