#ifndef PARLAVOX_AUDIO_BACKGROUND_MIXER_H_
#define PARLAVOX_AUDIO_BACKGROUND_MIXER_H_

#include "audio/mixer.h"
#include "util/task_poster.h"

namespace parlavox {

// A Mixer whose changes are made by another thread, so that the owner never waits for
// the sound server while a call starts: SelectRecordSource returns 0 at once and takes
// effect shortly after, in the order asked for. The lists are asked of `mixer` directly.
class BackgroundMixer : public Mixer {
 public:
  // `worker` runs the changes on `mixer`; both outlive this object.
  BackgroundMixer(Mixer& mixer, TaskPoster& worker) : mixer_(mixer), worker_(worker) {}

  int GetRecordSourceCount(int device) override { return mixer_.GetRecordSourceCount(device); }
  std::string GetRecordSourceName(int device, int source) override {
    return mixer_.GetRecordSourceName(device, source);
  }
  int SelectRecordSource(const DeviceChoice& device, int source) override {
    worker_.Post([this, device, source] { mixer_.SelectRecordSource(device, source); });
    return 0;
  }

 private:
  Mixer& mixer_;
  TaskPoster& worker_;
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_BACKGROUND_MIXER_H_
