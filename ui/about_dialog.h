#ifndef PARLAVOX_UI_ABOUT_DIALOG_H_
#define PARLAVOX_UI_ABOUT_DIALOG_H_

#include <QWidget>

namespace parlavox {

// The Help menu's About dialog: the program's picture and name, and OK. Modal over
// `owner`.
void RunAboutDialog(QWidget* owner);

}  // namespace parlavox

#endif  // PARLAVOX_UI_ABOUT_DIALOG_H_
