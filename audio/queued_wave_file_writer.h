#ifndef PARLAVOX_AUDIO_QUEUED_WAVE_FILE_WRITER_H_
#define PARLAVOX_AUDIO_QUEUED_WAVE_FILE_WRITER_H_

#include <functional>
#include <memory>
#include <vector>

#include "audio/wave_file.h"
#include "util/mutex.h"
#include "util/task_poster.h"

namespace parlavox {

// A WaveFileWriter that hands every write, cut and the finish to another writer on
// another thread, so that its owner never waits for the file: a file on a slow or
// hung share then holds up that thread only. Blocks written while the other thread is
// still busy with an earlier write wait together and go on as one write, so that a
// file whose every write takes a round trip to a server keeps up with the sound however
// long the round trip. Its own calls return at once; the length counts what was handed
// over. Finish returns true once the finish is handed over; `finished` hears, on the
// other thread, whether the file made it.
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
  // Samples handed over for one write that the other thread has not taken yet.
  struct Waiting {
    Mutex mutex;
    std::vector<int32_t> samples GUARDED_BY(mutex);
    bool taken GUARDED_BY(mutex) = false;
  };

  std::shared_ptr<WaveFileWriter> target_;
  TaskPoster& worker_;
  std::function<void(bool)> finished_;
  // The write that later blocks may still join; a cut or the finish closes it, so that
  // what follows them is written after them.
  std::shared_ptr<Waiting> waiting_;
  bool finish_handed_over_ = false;
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_QUEUED_WAVE_FILE_WRITER_H_
