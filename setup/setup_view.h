#ifndef PARLAVOX_SETUP_SETUP_VIEW_H_
#define PARLAVOX_SETUP_SETUP_VIEW_H_

#include <string_view>

namespace parlavox {

// What installing and uninstalling show the person and ask them: a progress dialog on
// a desktop, the terminal without one.
class SetupView {
 public:
  virtual ~SetupView() = default;

  // The task's title ("Installing Parlavox") and the step it is at.
  virtual void SetTitle(std::string_view title) = 0;
  virtual void SetStatus(std::string_view status) = 0;
  // 0 to 100.
  virtual void SetProgress(int percent) = 0;
  // Whether the person asked to stop; also gives the view its turn to react.
  virtual bool Cancelled() = 0;

  // Shows the licence `terms`; true when the person accepts them.
  virtual bool AcceptTerms(std::string_view terms) = 0;
  // A yes-or-no question; true for yes.
  virtual bool Confirm(std::string_view caption, std::string_view question) = 0;
  virtual void ShowError(std::string_view caption, std::string_view text) = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_SETUP_SETUP_VIEW_H_
