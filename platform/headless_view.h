#ifndef PARLAVOX_PLATFORM_HEADLESS_VIEW_H_
#define PARLAVOX_PLATFORM_HEADLESS_VIEW_H_

#include <string>

#include "core/intercom_view.h"

namespace parlavox {

// Shows the intercom as lines on standard error, for running without a window (and
// beside one, as a log): who the person is (when that changes), the on/off state, each
// change of the users list, status texts (not the idle texts between them), alerts, and
// another start asking for the window.
class HeadlessView : public IntercomView {
 public:
  // `beside_window`: a window shows the intercom too, and this view is its log.
  explicit HeadlessView(bool beside_window = false) : beside_window_(beside_window) {}

  void ShowUsers(const UserList& users) override;
  void ShowOnOff(bool on) override;
  void ShowStatus(const std::string& text, bool idle) override;
  void ShowIdentity(const UserRecord& own) override;
  void ShowAlert(const std::string& text, const std::string& caption) override;
  bool AnswerSecondStart() override;

 private:
  const bool beside_window_;
  std::string last_users_line_;
  std::string last_identity_line_;
};

// One line that lists the users as "name (on)" or "name (off)".
std::string DescribeUsers(const UserList& users);

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_HEADLESS_VIEW_H_
