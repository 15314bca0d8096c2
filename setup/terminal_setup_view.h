#ifndef PARLAVOX_SETUP_TERMINAL_SETUP_VIEW_H_
#define PARLAVOX_SETUP_TERMINAL_SETUP_VIEW_H_

#include <signal.h>

#include <cstdio>
#include <string>

#include "setup/setup_view.h"

namespace parlavox {

// Installing and uninstalling without a desktop: steps and progress on `out`
// (standard error), questions answered on `in` (standard input) or, with
// `assume_yes`, answered yes without asking. Ctrl+C (SIGINT) cancels while it lives.
class TerminalSetupView : public SetupView {
 public:
  TerminalSetupView(bool assume_yes, FILE* in, FILE* out);
  ~TerminalSetupView() override;
  TerminalSetupView(const TerminalSetupView&) = delete;
  TerminalSetupView& operator=(const TerminalSetupView&) = delete;

  void SetTitle(std::string_view title) override;
  void SetStatus(std::string_view status) override;
  void SetProgress(int percent) override;
  bool Cancelled() override;
  bool AcceptTerms(std::string_view terms) override;
  bool Confirm(std::string_view caption, std::string_view question) override;
  void ShowError(std::string_view caption, std::string_view text) override;

 private:
  bool AskYes(std::string_view question);

  const bool assume_yes_;
  FILE* const in_;
  FILE* const out_;
  int shown_tenth_ = -1;
  struct sigaction previous_interrupt_ {};
};

}  // namespace parlavox

#endif  // PARLAVOX_SETUP_TERMINAL_SETUP_VIEW_H_
