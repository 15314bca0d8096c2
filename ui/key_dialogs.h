#ifndef PARLAVOX_UI_KEY_DIALOGS_H_
#define PARLAVOX_UI_KEY_DIALOGS_H_

#include <QWidget>

#include "settings/key_assignments.h"

namespace parlavox {

// "Press Key": waits for a key or key combination and writes it for assignment
// `index` as soon as it is pressed (before the dialog ends). Enter does nothing,
// Shift, Ctrl and Alt alone are waited past, Esc cancels.
void RunPressKeyDialog(QWidget* owner, KeyAssignments& keys, int index);

// "Select Command": the key of assignment `index`, which "Change Key" can press anew,
// and the command to give it: the six fixed commands, then "Call: " each user. OK
// writes the command (-1 when none is chosen); Cancel writes nothing. True for OK.
bool RunSelectCommandDialog(QWidget* owner, KeyAssignments& keys, const UsersCache& users,
                            int index);

}  // namespace parlavox

#endif  // PARLAVOX_UI_KEY_DIALOGS_H_
