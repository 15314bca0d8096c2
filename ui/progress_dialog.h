#ifndef PARLAVOX_UI_PROGRESS_DIALOG_H_
#define PARLAVOX_UI_PROGRESS_DIALOG_H_

#include <QDialog>
#include <QLabel>
#include <QProgressBar>

#include "setup/setup_view.h"

namespace parlavox {

// Installing and uninstalling on a desktop: a small window with the program's icon,
// the task's title, the product's name and version, a progress bar, the step as a
// status line and "Cancel"; the terms and questions are dialogs over it. The task runs
// on the window's thread and gives the window its turn whenever it asks for Cancel.
class ProgressDialog : public QDialog, public SetupView {
 public:
  // `assume_yes`: the terms count as accepted and questions as answered yes, unasked.
  explicit ProgressDialog(bool assume_yes = false);

  void SetTitle(std::string_view title) override;
  void SetStatus(std::string_view status) override;
  void SetProgress(int percent) override;
  bool Cancelled() override;
  bool AcceptTerms(std::string_view terms) override;
  bool Confirm(std::string_view caption, std::string_view question) override;
  void ShowError(std::string_view caption, std::string_view text) override;

 protected:
  void reject() override;  // Cancel, Esc and the window's close button

 private:
  QLabel* title_;
  QProgressBar* bar_;
  QLabel* status_;
  const bool assume_yes_;
  bool cancelled_ = false;
};

}  // namespace parlavox

#endif  // PARLAVOX_UI_PROGRESS_DIALOG_H_
