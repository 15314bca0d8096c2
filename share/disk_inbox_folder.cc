#include "share/disk_inbox_folder.h"

#include <strings.h>

#include <algorithm>
#include <filesystem>

#include "share/inward_mirror.h"
#include "util/paths.h"

namespace parlavox {
namespace {

bool IsMessage(const std::filesystem::directory_entry& entry) {
  const std::string name = entry.path().filename().string();
  std::error_code error;
  return name.size() >= 4 && strcasecmp(name.c_str() + name.size() - 4, ".wav") == 0 &&
         entry.is_regular_file(error);
}

// Calls `use` with each message of `folder`, in the folder's own order.
template <typename Use>
void ForEachMessage(const std::string& folder, Use use) {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    if (IsMessage(entry)) use(entry);
  }
}

}  // namespace

std::string DiskInboxFolder::Folder() const { return LocalInwardFolder(settings_.inward_folder()); }

std::string DiskInboxFolder::PathOf(const std::string& name) const {
  return JoinPath(Folder(), name);
}

bool DiskInboxFolder::Delete(const std::string& name) {
  const std::string path = PathOf(name);
  std::error_code error;
  if (std::filesystem::remove(path, error) || !error) return true;
  if (const std::optional<MessageLook> look = LookAtMessage(path)) undeletable_[name] = *look;
  return false;
}

void DiskInboxFolder::Clear() {
  for (const std::string& name : Messages()) Remove(name);
}

std::vector<std::string> DiskInboxFolder::Messages() {
  std::vector<std::string> names;
  std::map<std::string, MessageLook> still_undeletable;
  ForEachMessage(Folder(), [&](const std::filesystem::directory_entry& entry) {
    std::string name = entry.path().filename().string();
    if (const auto played = undeletable_.find(name); played != undeletable_.end()) {
      if (LookAtMessage(entry.path()) == played->second) {
        // Played already: deleted now if the file system has let go of it since
        // (smbnetfs holds a file for a moment after its writer closed it).
        std::error_code error;
        if (!std::filesystem::remove(entry.path(), error)) still_undeletable.insert(*played);
        return;
      }
    }
    names.push_back(std::move(name));
  });
  undeletable_ = std::move(still_undeletable);
  std::erase_if(held_, [&](const auto& held) {
    return std::find(names.begin(), names.end(), held.first) == names.end();
  });
  all_held_ = true;
  for (const std::string& name : names) all_held_ = Hold(name) && all_held_;
  TellGuard();
  return names;
}

bool DiskInboxFolder::Hold(const std::string& name) {
  auto held = held_.find(name);
  if (held == held_.end() || held->second.refused()) {
    if (held != held_.end()) held_.erase(held);
    // An empty file is a call's message about to be locked by its caller, who would take
    // a hold of ours for the previous message and give up: it is held once it has its
    // header.
    std::error_code error;
    if (std::filesystem::file_size(PathOf(name), error) == 0 && !error) return false;
    held = held_.emplace(name, LockMessage(PathOf(name), FileLock::Kind::kShared)).first;
  }
  return !held->second.refused();
}

void DiskInboxFolder::TellGuard() {
  if (guard_ == nullptr) return;
  std::vector<std::string> names;
  for (const auto& held : held_) names.push_back(held.first);
  guard_->Hold(Folder(), names);
}

std::shared_ptr<WaveFileReader> DiskInboxFolder::Open(const std::string& name) {
  Hold(name);
  TellGuard();
  return OpenWaveFileReader(PathOf(name));
}

void DiskInboxFolder::Release() {
  held_.clear();
  if (guard_ != nullptr) guard_->Release();
}

bool DiskInboxFolder::IsStillComing(const std::string& name) {
  return arrivals_.IsStillComing(name, LookAtMessage(PathOf(name)), clock_.Now());
}

bool DiskInboxFolder::Remove(const std::string& name) {
  held_.erase(name);  // closed first: some file systems (smbnetfs) keep open files
  TellGuard();
  arrivals_.Forget(name);
  return Delete(name);
}

}  // namespace parlavox
