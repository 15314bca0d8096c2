#include "audio/queued_wave_file_writer.h"

#include <vector>

namespace parlavox {

QueuedWaveFileWriter::QueuedWaveFileWriter(std::shared_ptr<WaveFileWriter> target,
                                           TaskPoster& worker,
                                           std::function<void(bool whole)> finished)
    : WaveFileWriter(target->sample_rate(), target->channels(), target->length()),
      target_(std::move(target)),
      worker_(worker),
      finished_(std::move(finished)) {
  if (!target_->is_valid()) MarkInvalid();
}

QueuedWaveFileWriter::~QueuedWaveFileWriter() { Finish(); }

void QueuedWaveFileWriter::WriteBlock(const int32_t* samples, int frames) {
  if (finish_handed_over_) return;
  std::vector<int32_t> copy(samples, samples + int64_t{frames} * channels());
  worker_.Post(
      [target = target_, copy = std::move(copy), frames] { target->Write(copy.data(), frames); });
}

void QueuedWaveFileWriter::Truncate(int64_t frame) {
  if (frame > length() || finish_handed_over_) return;
  set_length(std::max<int64_t>(frame, 0));
  worker_.Post([target = target_, frame] { target->Truncate(frame); });
}

bool QueuedWaveFileWriter::Finish() {
  if (finish_handed_over_) return false;
  finish_handed_over_ = true;
  MarkInvalid();  // nothing more goes into the file
  worker_.Post([target = target_, finished = finished_] {
    const bool whole = target->Finish();
    if (finished) finished(whole);
  });
  return true;
}

}  // namespace parlavox
