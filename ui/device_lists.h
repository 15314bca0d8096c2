#ifndef PARLAVOX_UI_DEVICE_LISTS_H_
#define PARLAVOX_UI_DEVICE_LISTS_H_

#include <QComboBox>

#include "audio/mixer.h"
#include "audio/sound_devices.h"

namespace parlavox {

// The drop-down lists of sound devices and record sources, as the desktop names them.

// The output devices, the system's default first, each with its server name as the
// line's data; selects the line of the `chosen` device (see ResolveDevice).
void FillOutputDevices(QComboBox* list, const DeviceChoice& chosen);
// The input devices, likewise.
void FillInputDevices(QComboBox* list, const DeviceChoice& chosen);
// The device of the line selected in a list filled by those.
DeviceChoice SelectedDevice(const QComboBox* list);
// The record sources of the device selected in `devices`: "System Record Mixer" (which
// leaves the levels to the desktop) first, then each source. Keeps the line selected
// before when it was above 0, else selects line 0.
void FillRecordSources(const QComboBox* devices, QComboBox* sources, Mixer& mixer);

// Opens the desktop's sound settings at its input page: pavucontrol where installed,
// else the desktop's own settings; false when no such program was found.
bool OpenRecordMixer();

}  // namespace parlavox

#endif  // PARLAVOX_UI_DEVICE_LISTS_H_
