#include "platform/inbox_watcher.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "util/file_io.h"

namespace parlavox {

std::set<std::string> ListFolder(const std::string& folder) {
  std::set<std::string> entries;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    struct stat status {};
    std::string line = entry.path().filename().string();
    if (stat(entry.path().c_str(), &status) == 0) {
      line += " " + std::to_string(status.st_size) + " " + std::to_string(status.st_mtim.tv_sec) +
              "." + std::to_string(status.st_mtim.tv_nsec);
    }
    entries.insert(std::move(line));
  }
  return entries;
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

void InboxWatcher::StartWatching(const std::string& folder, std::function<void()> changed,
                                 std::function<void(bool usable)> usable) {
  Stop();
  uint64_t stale;
  while (wake_fd_ >= 0 && read(wake_fd_, &stale, sizeof stale) > 0) {
  }
  folder_ = folder;
  changed_ = std::move(changed);
  usable_ = std::move(usable);
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
  int watch = -1;
  bool usable = true;  // as the owner takes it to be at the start
  bool poll_listing = false;
  std::set<std::string> listing;
  auto next_look = std::chrono::steady_clock::now();
  alignas(inotify_event) char events[4096];
  while (!StopRequested()) {
    bool changed = false;
    if (watch < 0) {
      watch = inotify_add_watch(fd, folder_.c_str(),
                                IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO |
                                    IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR);
      if ((watch >= 0) != usable) {
        usable = watch >= 0;
        poster_.Post([report = usable_, usable] {
          if (report) report(usable);
        });
        changed = usable;  // what arrived meanwhile waits to be played
      }
      if (watch >= 0) {
        poll_listing = listing_poll_ == ListingPoll::kAlways || IsOnNetworkFileSystem(folder_);
        listing = poll_listing ? lister_(folder_) : std::set<std::string>();
      }
      next_look = std::chrono::steady_clock::now() + kListingInterval;
    }
    int timeout = changed ? 0 : -1;  // nothing to look at: sleep until something happens
    if (!changed && (watch < 0 || poll_listing)) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(
          next_look - std::chrono::steady_clock::now());
      timeout = static_cast<int>(std::max<int64_t>(left.count(), 0));
    }
    pollfd waiting[] = {{fd, POLLIN, 0}, {wake_fd_, POLLIN, 0}};
    if (poll(waiting, 2, timeout) > 0 && (waiting[0].revents & POLLIN)) {
      ssize_t length;
      while ((length = read(fd, events, sizeof events)) > 0) {
        for (ssize_t at = 0; at < length;) {
          const auto* event = reinterpret_cast<const inotify_event*>(events + at);
          at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
          if (event->mask & (IN_IGNORED | IN_DELETE_SELF | IN_MOVE_SELF)) {
            if (event->wd != watch) continue;
            // The folder went (removed, renamed, its share unmounted): watch for its
            // return by its name.
            inotify_rm_watch(fd, watch);
            watch = -1;
          } else {
            changed = true;
          }
        }
      }
    }
    if (watch >= 0 && poll_listing && std::chrono::steady_clock::now() >= next_look) {
      std::set<std::string> now = lister_(folder_);
      changed = changed || now != listing;
      listing = std::move(now);
      next_look = std::chrono::steady_clock::now() + kListingInterval;
    }
    if (changed && !StopRequested()) poster_.Post(changed_);
  }
  close(fd);
}

}  // namespace parlavox
