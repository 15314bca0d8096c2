#include "app/disk_inbox_folder.h"

#include <strings.h>

#include <filesystem>

#include "app/paths.h"

namespace parlavox {
namespace {

bool IsMessage(const std::filesystem::directory_entry& entry) {
  const std::string name = entry.path().filename().string();
  std::error_code error;
  return name.size() >= 4 && strcasecmp(name.c_str() + name.size() - 4, ".wav") == 0 &&
         entry.is_regular_file(error);
}

// Calls `use` with each message of `folder`, in the folder's own order, until it
// returns false.
template <typename Use>
void ForEachMessage(const std::string& folder, Use use) {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    if (IsMessage(entry) && !use(entry)) return;
  }
}

}  // namespace

std::string DiskInboxFolder::PathOf(const std::string& name) const {
  return JoinPath(settings_.inward_folder(), name);
}

void DiskInboxFolder::Clear() {
  ForEachMessage(settings_.inward_folder(), [](const std::filesystem::directory_entry& entry) {
    std::error_code error;
    std::filesystem::remove(entry.path(), error);
    return true;
  });
}

std::optional<std::string> DiskInboxFolder::FirstMessage() {
  std::optional<std::string> first;
  ForEachMessage(settings_.inward_folder(), [&](const std::filesystem::directory_entry& entry) {
    first = entry.path().filename().string();
    return false;
  });
  return first;
}

std::shared_ptr<WaveFileReader> DiskInboxFolder::Open(const std::string& name) {
  const std::string path = PathOf(name);
  hold_.reset();
  hold_.emplace(LockMessage(path, FileLock::Kind::kShared));
  return OpenWaveFileReader(path);
}

bool DiskInboxFolder::IsStillComing(const std::string& name) {
  return arrivals_.IsStillComing(name, LookAtMessage(PathOf(name)), clock_.Now());
}

void DiskInboxFolder::Remove(const std::string& name) {
  std::error_code error;
  std::filesystem::remove(PathOf(name), error);
  hold_.reset();
  arrivals_.Forget(name);
}

}  // namespace parlavox
