#include <algorithm>

#include "audio/pcm_wave_file_writer.h"
#include "audio/wave_file.h"

namespace parlavox {

WaveFileWriter::WaveFileWriter(uint32_t sample_rate, int channels, int64_t length)
    : sample_rate_(sample_rate), channels_(channels), length_(length) {
  if (channels_ < 1) {
    channels_ = 1;
    valid_ = false;
  }
}

void WaveFileWriter::Write(const int32_t* samples, int64_t frames) {
  while (frames > 0) {
    const int block = static_cast<int>(std::min<int64_t>(frames, kMaxWriteFrames));
    length_ += block;
    WriteBlock(samples, block);
    samples += int64_t{block} * channels_;
    frames -= block;
  }
}

std::shared_ptr<WaveFileWriter> CreateWaveFileWriter(const std::string& path, uint32_t sample_rate,
                                                     int channels, int bits_per_sample,
                                                     int64_t start_frame) {
  return CreateWaveFileWriter(OpenWritableFile(path), sample_rate, channels, bits_per_sample,
                              start_frame);
}

std::shared_ptr<WaveFileWriter> CreateWaveFileWriter(std::unique_ptr<WritableFile> file,
                                                     uint32_t sample_rate, int channels,
                                                     int bits_per_sample, int64_t start_frame) {
  return std::make_shared<PcmWaveFileWriter>(std::move(file), sample_rate, channels,
                                             bits_per_sample, start_frame);
}

}  // namespace parlavox
