#include "ui/device_lists.h"

#include <algorithm>

#include "audio/sound_devices.h"
#include "util/programs.h"

namespace parlavox {

DeviceList::DeviceList() {
  connect(this, &QComboBox::activated, this, [this] { missing_.reset(); });
}

void DeviceList::Fill(const std::vector<SoundDevice>& devices, const DeviceChoice& chosen) {
  clear();
  missing_.reset();
  for (const SoundDevice& device : devices) {
    addItem(QString::fromStdString(device.description), QString::fromStdString(device.server_name));
  }
  if (chosen.position < 0 && chosen.name.empty()) return setCurrentIndex(-1);
  const std::string device = ResolveDevice(chosen, devices);
  setCurrentIndex(std::max(0, findData(QString::fromStdString(device))));
  if (device.empty() && (chosen.position > 0 || !chosen.name.empty())) missing_ = chosen;
}

DeviceChoice DeviceList::Selected() const {
  if (missing_) return *missing_;
  const int line = currentIndex();
  // The default line keeps no name: it follows whatever the desktop's default is.
  return {line, line > 0 ? currentData().toString().toStdString() : ""};
}

void FillRecordSources(const QComboBox* devices, QComboBox* sources, Mixer& mixer) {
  const int remembered = sources->currentIndex();
  const int device = devices->currentIndex();
  sources->clear();
  const int count = mixer.GetRecordSourceCount(device);
  for (int source = -1; source < count; ++source) {
    sources->addItem(QString::fromStdString(mixer.GetRecordSourceName(device, source)));
  }
  sources->setCurrentIndex(remembered > 0 && remembered < sources->count() ? remembered : 0);
}

bool OpenRecordMixer() {
  // The desktops' own sound settings, where pavucontrol is missing.
  const std::vector<std::string> mixers[] = {{"pavucontrol", "--tab=4"},
                                             {"gnome-control-center", "sound"},
                                             {"systemsettings", "kcm_pulseaudio"},
                                             {"xfce4-pulseaudio-plugin"}};
  return std::ranges::any_of(mixers, StartProgram);
}

}  // namespace parlavox
