#include "ui/setup_main.h"

#include <QApplication>
#include <QMessageBox>
#include <cstdio>
#include <string>
#include <vector>

#include "setup/setup_roles.h"
#include "setup/terminal_setup_view.h"
#include "ui/progress_dialog.h"
#include "util/paths.h"

namespace parlavox {

int RunSetupRole(Role role, int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  const SetupOptions options = ParseSetupOptions(arguments);
  const std::string own_file = RunningProgramPath();
  if (!HasDisplay()) {
    if (role == Role::kCorruptPackage) {
      std::fprintf(stderr, "%.*s: %.*s\n", static_cast<int>(kInstallErrorCaption.size()),
                   kInstallErrorCaption.data(), static_cast<int>(kCorruptPackageText.size()),
                   kCorruptPackageText.data());
      return 1;
    }
    TerminalSetupView view(options.assume_yes, stdin, stderr);
    return RunSetupTask(role, options, own_file, view) ? 0 : 1;
  }

  QApplication application(argc, argv);
  if (role == Role::kCorruptPackage) {
    QMessageBox::warning(
        nullptr,
        QString::fromUtf8(kInstallErrorCaption.data(), qsizetype(kInstallErrorCaption.size())),
        QString::fromUtf8(kCorruptPackageText.data(), qsizetype(kCorruptPackageText.size())));
    return 1;
  }
  ProgressDialog dialog(options.assume_yes);
  dialog.show();
  return RunSetupTask(role, options, own_file, dialog) ? 0 : 1;
}

}  // namespace parlavox
