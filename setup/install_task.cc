#include "setup/install_task.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "platform/autostart_entry.h"
#include "platform/desktop_entry.h"
#include "setup/package.h"
#include "setup/registered_folder.h"
#include "setup/role_marker.h"

namespace parlavox {
namespace {

// Shows the extraction in the view.
class ViewProgress : public ExtractionProgress {
 public:
  explicit ViewProgress(SetupView& view) : view_(view) {}
  void Extracting(std::string_view file_name) override { view_.SetStatus(file_name); }
  void Percent(int percent) override { view_.SetProgress(percent); }
  bool Cancelled() override { return view_.Cancelled(); }

 private:
  SetupView& view_;
};

DesktopEntry ProgramEntry(const InstallPlaces& places) {
  DesktopEntry entry;
  entry.name = "Parlavox";
  entry.comment = "Push-to-talk intercom over shared folders";
  entry.command = {places.program()};
  entry.extra_lines = {"Categories=Network;Telephony;"};
  return entry;
}

}  // namespace

void PrepareSetup(const InstallPlaces& places, FolderStore& folders) {
  RegisterFolder(folders, places.folder_scope, "ProgramFiles", places.program_folder,
                 FolderAccess::kOwner);
  RegisterFolder(folders, places.folder_scope, "DataFiles", places.data_folder,
                 places.shared_data ? FolderAccess::kEveryone : FolderAccess::kOwner);
}

bool InstallTask::Run(SetupView& view) {
  view.SetTitle("Installing Parlavox");
  view.SetStatus("Licence terms");
  if (!view.AcceptTerms(texts_.terms)) {
    view.SetStatus("The terms were not accepted: nothing was installed");
    return false;
  }
  if (agreed_) agreed_();
  if (places_.folder_scope == FolderScope::kCurrentUser) {
    RegisterFolder(folders_, places_.folder_scope, "Incoming", places_.inward_folder,
                   FolderAccess::kEveryoneSticky);
  }
  if (view.Cancelled()) return false;

  ViewProgress progress(view);
  switch (ExtractPayload(package_, places_.program_folder, kPayload, progress)) {
    case Extraction::kDone:
      break;
    case Extraction::kCorrupt:
      view.ShowError(kInstallErrorCaption, kCorruptPackageText);
      return false;
    case Extraction::kCancelled:
      view.SetStatus("Cancelled: the installation is incomplete");
      return false;
    case Extraction::kUnreadable:
      view.SetStatus("The installation file can't be read");
      return false;
  }
  view.SetStatus("Finalizing");
  Finish();
  view.SetProgress(100);
  return true;
}

void InstallTask::Finish() {
  std::error_code error;
  std::filesystem::remove(places_.uninstaller(), error);  // it may be running
  std::filesystem::copy_file(places_.program(), places_.uninstaller(), error);
  AppendRoleMarker(places_.program(), kInstalledProgramMarker);
  AppendRoleMarker(places_.uninstaller(), kUninstallerMarker);

  std::filesystem::create_directories(places_.icon_folder, error);
  std::ofstream(places_.icon(), std::ios::trunc) << texts_.icon_svg;
  WriteDesktopEntry(places_.menu_entry(), ProgramEntry(places_), /*launchable=*/false);
  if (!places_.desktop_folder.empty() && std::filesystem::is_directory(places_.desktop_folder)) {
    WriteDesktopEntry(places_.desktop_shortcut(), ProgramEntry(places_), /*launchable=*/true);
  }
  AutostartEntry(places_.autostart_folder).Enable(places_.program());
  if (!std::filesystem::exists(places_.uninstall_entry(), error)) {
    DesktopEntry uninstall;
    uninstall.name = "Parlavox Uninstall";
    uninstall.comment = "Remove Parlavox from this computer";
    uninstall.command = {places_.uninstaller()};
    uninstall.extra_lines = {"Categories=Network;Telephony;"};
    WriteDesktopEntry(places_.uninstall_entry(), uninstall, /*launchable=*/false);
  }
  DesktopEntry help;
  help.name = "Parlavox Help";
  help.comment = "How to use the Parlavox intercom";
  help.command = {"xdg-open", places_.help()};
  help.icon = "help-browser";
  help.extra_lines = {"Categories=Network;Telephony;"};
  WriteDesktopEntry(places_.help_entry(), help, /*launchable=*/false);

  // An intercom is a person's: root's own, serving every user's, would take their calls.
  const bool for_everybody_as_root =
      places_.folder_scope == FolderScope::kMachine && geteuid() == 0;
  if (!for_everybody_as_root) launcher_.Start(places_.program(), {"/install"});
}

}  // namespace parlavox
