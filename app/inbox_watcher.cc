#include "app/inbox_watcher.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <filesystem>

#include "util/file_io.h"

namespace parlavox {

std::set<std::string> ListFolder(const std::string& folder) {
  std::set<std::string> names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    names.insert(entry.path().filename().string());
  }
  return names;
}

InboxWatcher::InboxWatcher(TaskPoster& poster, ListingPoll listing_poll, Lister lister)
    : poster_(poster),
      listing_poll_(listing_poll),
      lister_(std::move(lister)),
      wake_fd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

InboxWatcher::~InboxWatcher() {
  Stop();
  if (wake_fd_ >= 0) close(wake_fd_);
}

void InboxWatcher::StartWatching(const std::string& folder, std::function<void()> changed) {
  Stop();
  uint64_t stale;
  while (wake_fd_ >= 0 && read(wake_fd_, &stale, sizeof stale) > 0) {
  }
  folder_ = folder;
  changed_ = std::move(changed);
  Start(kPriorityLowest);
}

void InboxWatcher::OnThreadStart() { prctl(PR_SET_NAME, "parlavox-watch"); }

void InboxWatcher::OnStopRequested() {
  const uint64_t one = 1;
  if (wake_fd_ >= 0 && write(wake_fd_, &one, sizeof one) < 0) {
    // The counter is full, so the descriptor is readable already.
  }
}

void InboxWatcher::Run() {
  const int fd = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
  if (fd < 0) return;
  if (inotify_add_watch(fd, folder_.c_str(),
                        IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ONLYDIR) < 0) {
    close(fd);
    return;
  }
  const bool poll_listing = listing_poll_ == ListingPoll::kAlways || IsOnNetworkFileSystem(folder_);
  std::set<std::string> listing = poll_listing ? lister_(folder_) : std::set<std::string>();
  auto next_listing = std::chrono::steady_clock::now() + kListingInterval;
  alignas(inotify_event) char events[4096];
  while (!StopRequested()) {
    int timeout = -1;  // no listing to take: sleep until something happens
    if (poll_listing) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(
          next_listing - std::chrono::steady_clock::now());
      timeout = static_cast<int>(std::max<int64_t>(left.count(), 0));
    }
    pollfd waiting[] = {{fd, POLLIN, 0}, {wake_fd_, POLLIN, 0}};
    bool changed = false;
    if (poll(waiting, 2, timeout) > 0 && (waiting[0].revents & POLLIN)) {
      while (read(fd, events, sizeof events) > 0) changed = true;
    }
    if (poll_listing && std::chrono::steady_clock::now() >= next_listing) {
      std::set<std::string> now = lister_(folder_);
      changed = changed || now != listing;
      listing = std::move(now);
      next_listing = std::chrono::steady_clock::now() + kListingInterval;
    }
    if (changed && !StopRequested()) poster_.Post(changed_);
  }
  close(fd);
}

}  // namespace parlavox
