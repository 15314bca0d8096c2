#include "ui/device_lists.h"

#include <QProcess>
#include <QStandardPaths>

#include "audio/sound_devices.h"

namespace parlavox {
namespace {

void Fill(QComboBox* list, const std::vector<SoundDevice>& devices, int selection) {
  list->clear();
  for (const SoundDevice& device : devices)
    list->addItem(QString::fromStdString(device.description));
  list->setCurrentIndex(selection < list->count() ? selection : -1);
}

}  // namespace

void FillOutputDevices(QComboBox* list, int selection) {
  Fill(list, ListOutputDevices(), selection);
}

void FillInputDevices(QComboBox* list, int selection) { Fill(list, ListInputDevices(), selection); }

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
  const QList<QStringList> mixers = {{"pavucontrol", "--tab=4"},
                                     {"gnome-control-center", "sound"},
                                     {"systemsettings", "kcm_pulseaudio"},
                                     {"xfce4-pulseaudio-plugin"}};
  for (QStringList command : mixers) {
    const QString program = QStandardPaths::findExecutable(command.takeFirst());
    if (!program.isEmpty() && QProcess::startDetached(program, command)) return true;
  }
  return false;
}

}  // namespace parlavox
