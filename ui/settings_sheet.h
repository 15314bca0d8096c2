#ifndef PARLAVOX_UI_SETTINGS_SHEET_H_
#define PARLAVOX_UI_SETTINGS_SHEET_H_

#include <QWidget>

#include "ui/settings_pages.h"

namespace parlavox {

// The "Settings" sheet, modal over `owner`, with the pages "General", "Users" and
// "Keys", starting at General, without an Apply button. Leaving a page saves it, and
// so does OK; Cancel undoes nothing that was saved already. Help opens the current
// page's topic.
void RunSettingsSheet(QWidget* owner, const SettingsContext& context);

}  // namespace parlavox

#endif  // PARLAVOX_UI_SETTINGS_SHEET_H_
