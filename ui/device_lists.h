#ifndef PARLAVOX_UI_DEVICE_LISTS_H_
#define PARLAVOX_UI_DEVICE_LISTS_H_

#include <QComboBox>
#include <functional>
#include <optional>
#include <vector>

#include "audio/mixer.h"
#include "audio/sound_devices.h"

namespace parlavox {

// A drop-down list of sound devices as the desktop names them, the system's default
// first, each with its server name as the line's data. A chosen device that is not
// there now (unplugged, or the sound server away) shows as the default, which plays
// meanwhile, and stays the choice until the person picks a line: settings opened while a
// headset is unplugged do not forget it.
class DeviceList : public QComboBox {
 public:
  DeviceList();
  // Lists `devices` and selects the line of the `chosen` device (see ResolveDevice).
  void Fill(const std::vector<SoundDevice>& devices, const DeviceChoice& chosen);
  // The device chosen: the selected line's, or the one kept while it is not there.
  DeviceChoice Selected() const;

 private:
  std::optional<DeviceChoice> missing_;
};

// The record sources of the device selected in `devices`: "System Record Mixer" (which
// leaves the levels to the desktop) first, then each source. Keeps the line selected
// before when it was above 0, else selects line 0.
void FillRecordSources(const QComboBox* devices, QComboBox* sources, Mixer& mixer);

// Opens the desktop's sound settings at its input page: pavucontrol where installed,
// else the desktop's own settings, trying them from `first` on. `none_opened` is called
// when none was found or each failed soon after it started (as StartAndWatch tells,
// on this thread and only while `context` lives).
void OpenRecordMixer(QObject* context, std::function<void()> none_opened, size_t first = 0);

}  // namespace parlavox

#endif  // PARLAVOX_UI_DEVICE_LISTS_H_
