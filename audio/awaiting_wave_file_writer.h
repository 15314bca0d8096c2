#ifndef PARLAVOX_AUDIO_AWAITING_WAVE_FILE_WRITER_H_
#define PARLAVOX_AUDIO_AWAITING_WAVE_FILE_WRITER_H_

#include <memory>
#include <vector>

#include "audio/wave_file.h"

namespace parlavox {

// A WaveFileWriter for a file that is still being opened, so that recording can start
// before the file is there: what is written is kept in memory until Attach hands over
// the file's writer, which then takes it all and everything after. A Finish before
// that is remembered (and passed on at Attach) unless Resume takes it back, as when
// recording starts again into the same file. A writer dropped unattached writes
// nowhere. Used from one thread.
class AwaitingWaveFileWriter : public WaveFileWriter {
 public:
  AwaitingWaveFileWriter(uint32_t sample_rate, int channels);

  // `file` must have this writer's sample rate and channels. Call once.
  void Attach(std::shared_ptr<WaveFileWriter> file);
  void Resume() { finished_ = false; }

  void Truncate(int64_t frame) override;
  bool Finish() override;

 protected:
  void WriteBlock(const int32_t* samples, int frames) override;

 private:
  std::vector<int32_t> kept_;  // until the file is attached
  std::shared_ptr<WaveFileWriter> file_;
  bool finished_ = false;
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_AWAITING_WAVE_FILE_WRITER_H_
