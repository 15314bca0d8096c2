#include "share/watched_message_writer.h"

#include <sys/stat.h>

namespace parlavox {

WatchedMessageWriter::WatchedMessageWriter(std::shared_ptr<WaveFileWriter> target, std::string path,
                                           std::function<void()> taken_away)
    : WaveFileWriter(target->sample_rate(), target->channels(), target->length()),
      target_(std::move(target)),
      path_(std::move(path)),
      taken_away_(std::move(taken_away)),
      next_check_(std::chrono::steady_clock::now() + kCheckInterval) {
  if (!target_->is_valid()) MarkInvalid();
  struct stat status {};
  if (stat(path_.c_str(), &status) != 0) {
    taken_away_ = nullptr;  // nothing to watch
    return;
  }
  device_ = status.st_dev;
  inode_ = status.st_ino;
}

void WatchedMessageWriter::WriteBlock(const int32_t* samples, int frames) {
  target_->Write(samples, frames);
  if (!taken_away_ || std::chrono::steady_clock::now() < next_check_) return;
  next_check_ = std::chrono::steady_clock::now() + kCheckInterval;
  struct stat status {};
  if (stat(path_.c_str(), &status) != 0 || status.st_dev != device_ || status.st_ino != inode_) {
    std::function<void()> report = std::move(taken_away_);
    taken_away_ = nullptr;
    report();
  }
}

}  // namespace parlavox
