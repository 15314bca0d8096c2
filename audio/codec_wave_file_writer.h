#ifndef PARLAVOX_AUDIO_CODEC_WAVE_FILE_WRITER_H_
#define PARLAVOX_AUDIO_CODEC_WAVE_FILE_WRITER_H_

#include <sndfile.h>

#include <string>
#include <vector>

#include "audio/wave_file.h"

namespace parlavox {

// Writes a WAVE file in a format other than PCM (IEEE float, A-law, mu-law, IMA and
// MS ADPCM, GSM 6.10), encoding 16-bit PCM with libsndfile, which also lays out the
// header (with a "fact" chunk where the format wants one). The file is created anew
// and shared with no one until the writer is destroyed. Invalid when libsndfile can't
// write the format with these channels and this rate. Truncate does nothing.
class CodecWaveFileWriter : public WaveFileWriter {
 public:
  CodecWaveFileWriter(const std::string& path, const WaveFormat& format);
  ~CodecWaveFileWriter() override;

  void Truncate(int64_t) override {}

 protected:
  void WriteBlock(const int32_t* samples, int frames) override;

 private:
  SNDFILE* sound_ = nullptr;
  bool floating_ = false;
  std::vector<int16_t> buffer_;
  std::vector<float> float_buffer_;
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_CODEC_WAVE_FILE_WRITER_H_
