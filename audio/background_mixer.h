#ifndef PARLAVOX_AUDIO_BACKGROUND_MIXER_H_
#define PARLAVOX_AUDIO_BACKGROUND_MIXER_H_

#include "audio/mixer.h"
#include "util/task_poster.h"

namespace parlavox {

// A Mixer whose changes are made by another thread, so that the owner never waits for
// the sound server while a call or a message starts: SelectRecordSource and
// SetOutputVolume return at once (the first with 0) and take effect shortly after,
// in the order they were asked for. The lists are asked of `mixer` directly.
class BackgroundMixer : public Mixer {
 public:
  // `worker` runs the changes on `mixer`; both outlive this object.
  BackgroundMixer(Mixer& mixer, TaskPoster& worker) : mixer_(mixer), worker_(worker) {}

  int GetRecordSourceCount(int device) override { return mixer_.GetRecordSourceCount(device); }
  std::string GetRecordSourceName(int device, int source) override {
    return mixer_.GetRecordSourceName(device, source);
  }
  int SelectRecordSource(int device, int source, int decibels) override {
    worker_.Post(
        [this, device, source, decibels] { mixer_.SelectRecordSource(device, source, decibels); });
    return 0;
  }
  void SetOutputVolume(int device, int master_decibels, int wave_offset_decibels) override {
    worker_.Post([this, device, master_decibels, wave_offset_decibels] {
      mixer_.SetOutputVolume(device, master_decibels, wave_offset_decibels);
    });
  }

 private:
  Mixer& mixer_;
  TaskPoster& worker_;
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_BACKGROUND_MIXER_H_
