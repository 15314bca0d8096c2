// The installer's window in-process, on Qt's offscreen platform: its questions and its
// Cancel.

#include "ui/progress_dialog.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

namespace parlavox {
namespace {

// Answers the next question box with `button` once it shows.
void AnswerWith(QMessageBox::StandardButton button) {
  QTimer::singleShot(0, [button] {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    ASSERT_NE(box, nullptr);
    box->button(button)->click();
  });
}

// A question answered Yes goes on and No stops (an uninstall asks so before it removes
// anything); Esc, as Cancel and the close button, cancels the task, which asks between
// its steps.
TEST(ProgressDialogTest, AnswersAreTakenAsGivenAndEscCancelsTheTask) {
  ProgressDialog dialog;
  dialog.show();
  AnswerWith(QMessageBox::Yes);
  EXPECT_TRUE(dialog.Confirm("Uninstall Parlavox", "Remove it?"));
  AnswerWith(QMessageBox::No);
  EXPECT_FALSE(dialog.Confirm("Uninstall Parlavox", "Remove it?"));
  EXPECT_FALSE(dialog.Cancelled());
  QTest::keyClick(&dialog, Qt::Key_Escape);
  EXPECT_TRUE(dialog.Cancelled());
  EXPECT_TRUE(ProgressDialog(/*assume_yes=*/true).Confirm("Uninstall Parlavox", "Remove it?"));
}

}  // namespace
}  // namespace parlavox
