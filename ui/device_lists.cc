#include "ui/device_lists.h"

#include <iterator>

#include "audio/sound_devices.h"
#include "ui/watched_start.h"

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

void OpenRecordMixer(QObject* context, std::function<void()> none_opened, size_t first) {
  // The desktops' own sound settings, where pavucontrol is missing.
  static const std::vector<std::string> kMixers[] = {{"pavucontrol", "--tab=4"},
                                                     {"gnome-control-center", "sound"},
                                                     {"systemsettings", "kcm_pulseaudio"},
                                                     {"xfce4-pulseaudio-plugin"}};
  for (size_t next = first; next < std::size(kMixers); ++next) {
    // One that fails soon hands on to the next.
    if (StartAndWatch(kMixers[next], context,
                      [=] { OpenRecordMixer(context, none_opened, next + 1); })) {
      return;
    }
  }
  none_opened();
}

}  // namespace parlavox
