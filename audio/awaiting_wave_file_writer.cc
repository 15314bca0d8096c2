#include "audio/awaiting_wave_file_writer.h"

#include <algorithm>

namespace parlavox {

AwaitingWaveFileWriter::AwaitingWaveFileWriter(uint32_t sample_rate, int channels)
    : WaveFileWriter(sample_rate, channels, 0) {}

void AwaitingWaveFileWriter::Attach(std::shared_ptr<WaveFileWriter> file) {
  file_ = std::move(file);
  file_->Write(kept_.data(), static_cast<int64_t>(kept_.size()) / channels());
  kept_ = {};
  if (finished_) file_->Finish();
}

void AwaitingWaveFileWriter::WriteBlock(const int32_t* samples, int frames) {
  if (file_) return file_->Write(samples, frames);
  kept_.insert(kept_.end(), samples, samples + int64_t{frames} * channels());
}

void AwaitingWaveFileWriter::Truncate(int64_t frame) {
  frame = std::max<int64_t>(frame, 0);
  if (frame >= length()) return;
  set_length(frame);
  if (file_) return file_->Truncate(frame);
  kept_.resize(static_cast<size_t>(frame * channels()));
}

bool AwaitingWaveFileWriter::Finish() {
  finished_ = true;
  return file_ ? file_->Finish() : true;
}

}  // namespace parlavox
