#include "setup/uninstall_task.h"

#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "platform/autostart_entry.h"
#include "platform/user_share.h"
#include "setup/registered_folder.h"

namespace parlavox {

bool UninstallTask::Run(SetupView& view, bool second_stage,
                        const std::vector<std::string>& passed_on) {
  if (!second_stage) return HandOver(passed_on);  // the copy says what it does
  view.SetTitle("Uninstalling Parlavox");
  if (view.Cancelled()) return false;
  std::this_thread::sleep_for(std::chrono::milliseconds(150));
  if (!view.Confirm("Uninstall Parlavox",
                    "Are you sure you want to remove Parlavox from this computer?")) {
    view.SetStatus("Nothing was removed");
    return false;
  }
  if (agreed_) agreed_();
  view.SetStatus("Removing Parlavox");
  Remove(view);
  // The hand-over copy that runs this goes too (a running file may be deleted here).
  const std::filesystem::path own_folder = std::filesystem::path(own_file_).parent_path();
  if (own_folder.filename().string().starts_with("parlavox-uninstall.")) {
    std::error_code error;
    std::filesystem::remove_all(own_folder, error);
  }
  view.SetProgress(100);
  return true;
}

bool UninstallTask::HandOver(const std::vector<std::string>& passed_on) {
  std::string folder = temporary_folder_ + "/parlavox-uninstall.XXXXXX";
  if (mkdtemp(folder.data()) == nullptr) return false;
  const std::string copy = folder + "/parlavox-uninstall";
  std::error_code error;
  if (!std::filesystem::copy_file(own_file_, copy, error)) return false;
  std::vector<std::string> arguments = {"/uninstall"};
  arguments.insert(arguments.end(), passed_on.begin(), passed_on.end());
  launcher_.Replace(copy, arguments);
  return false;  // only when the copy could not be run
}

void UninstallTask::Remove(SetupView& view) {
  AutostartEntry(places_.autostart_folder).Disable();
  // The person's inward folder may be shared on the network: the share goes too.
  if (places_.folder_scope == FolderScope::kCurrentUser) {
    UnshareInwardFolder(places_.inward_folder, RunProgram);
  }
  std::error_code error;
  if (!places_.desktop_folder.empty()) std::filesystem::remove(places_.desktop_shortcut(), error);
  std::filesystem::remove(places_.uninstall_entry(), error);
  std::filesystem::remove(places_.menu_entry(), error);
  std::filesystem::remove(places_.help_entry(), error);
  std::filesystem::remove(places_.icon(), error);
  const std::pair<const char*, const std::string*> stored[] = {
      {"Incoming", &places_.inward_folder},
      {"DataFiles", &places_.data_folder},
      {"ProgramFiles", &places_.program_folder}};
  for (const auto& [name, installed] : stored) {
    const std::string left = DeleteRegisteredFolder(
        folders_, places_.folder_scope, name,
        name == std::string_view("Incoming") ? FolderContents::kMessages : FolderContents::kAll,
        *installed);
    if (!left.empty()) view.SetStatus(left);
  }
}

}  // namespace parlavox
