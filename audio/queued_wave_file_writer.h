#ifndef PARLAVOX_AUDIO_QUEUED_WAVE_FILE_WRITER_H_
#define PARLAVOX_AUDIO_QUEUED_WAVE_FILE_WRITER_H_

#include <functional>
#include <memory>

#include "audio/wave_file.h"
#include "util/task_poster.h"

namespace parlavox {

// A WaveFileWriter that hands every write, cut and the finish to another writer on
// another thread, so that its owner never waits for the file: a file on a slow or
// hung share then holds up that thread only. Its own calls return at once; the
// length counts what was handed over. Finish returns true once the finish is handed
// over; `finished` hears, on the other thread, whether the file made it.
class QueuedWaveFileWriter : public WaveFileWriter {
 public:
  // `target` is used only on `worker`'s thread from now on.
  QueuedWaveFileWriter(std::shared_ptr<WaveFileWriter> target, TaskPoster& worker,
                       std::function<void(bool whole)> finished);
  ~QueuedWaveFileWriter() override;

  void Truncate(int64_t frame) override;
  bool Finish() override;

 protected:
  void WriteBlock(const int32_t* samples, int frames) override;

 private:
  std::shared_ptr<WaveFileWriter> target_;
  TaskPoster& worker_;
  std::function<void(bool)> finished_;
  bool finish_handed_over_ = false;
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_QUEUED_WAVE_FILE_WRITER_H_
