#include "app/inbox_watcher.h"

#include <poll.h>
#include <sys/inotify.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <filesystem>
#include <set>

namespace parlavox {
namespace {

// How long a wait lasts before the stop request is looked at.
constexpr int kStopCheckMs = 100;

std::set<std::string> Listing(const std::string& folder) {
  std::set<std::string> names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    names.insert(entry.path().filename().string());
  }
  return names;
}

}  // namespace

bool IsOnNetworkFileSystem(const std::string& folder) {
  struct statfs info {};
  if (statfs(folder.c_str(), &info) != 0) return false;
  switch (static_cast<uint32_t>(info.f_type)) {
    case 0x6969:      // NFS
    case 0x517B:      // SMB
    case 0xFF534D42:  // CIFS
    case 0xFE534D42:  // SMB2
    case 0x65735546:  // FUSE (sshfs and friends)
    case 0x01021997:  // 9P
      return true;
    default:
      return false;
  }
}

InboxWatcher::~InboxWatcher() { Stop(); }

void InboxWatcher::StartWatching(const std::string& folder, std::function<void()> on_changed) {
  Stop();
  folder_ = folder;
  on_changed_ = std::move(on_changed);
  Start(kPriorityLowest);
}

void InboxWatcher::Run() {
  const int fd = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
  if (fd < 0) return;
  if (inotify_add_watch(fd, folder_.c_str(),
                        IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ONLYDIR) < 0) {
    close(fd);
    return;
  }
  const bool poll_listing = IsOnNetworkFileSystem(folder_);
  std::set<std::string> listing = poll_listing ? Listing(folder_) : std::set<std::string>();
  auto next_poll = std::chrono::steady_clock::now() + kPollInterval;
  alignas(inotify_event) char events[4096];
  while (!StopRequested()) {
    pollfd waiting{fd, POLLIN, 0};
    bool changed = false;
    if (poll(&waiting, 1, kStopCheckMs) > 0) {
      while (read(fd, events, sizeof events) > 0) changed = true;
    }
    if (poll_listing && std::chrono::steady_clock::now() >= next_poll) {
      std::set<std::string> now = Listing(folder_);
      changed = changed || now != listing;
      listing = std::move(now);
      next_poll += kPollInterval;
    }
    if (changed && !StopRequested()) poster_.Post(on_changed_);
  }
  close(fd);
}

}  // namespace parlavox
