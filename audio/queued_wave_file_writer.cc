#include "audio/queued_wave_file_writer.h"

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
  const int32_t* end = samples + int64_t{frames} * channels();
  if (waiting_) {
    MutexLock lock(waiting_->mutex);
    if (!waiting_->taken) {
      waiting_->samples.insert(waiting_->samples.end(), samples, end);
      return;
    }
  }
  waiting_ = std::make_shared<Waiting>();
  {
    MutexLock lock(waiting_->mutex);
    waiting_->samples.assign(samples, end);
  }
  worker_.Post([target = target_, waiting = waiting_] {
    std::vector<int32_t> taken;
    {
      MutexLock lock(waiting->mutex);
      waiting->taken = true;
      taken.swap(waiting->samples);
    }
    target->Write(taken.data(), static_cast<int64_t>(taken.size()) / target->channels());
  });
}

void QueuedWaveFileWriter::Truncate(int64_t frame) {
  if (frame > length() || finish_handed_over_) return;
  set_length(std::max<int64_t>(frame, 0));
  waiting_.reset();
  worker_.Post([target = target_, frame] { target->Truncate(frame); });
}

bool QueuedWaveFileWriter::Finish() {
  if (finish_handed_over_) return false;
  finish_handed_over_ = true;
  MarkInvalid();  // nothing more goes into the file
  waiting_.reset();
  worker_.Post([target = target_, finished = finished_] {
    const bool whole = target->Finish();
    if (finished) finished(whole);
  });
  return true;
}

}  // namespace parlavox
