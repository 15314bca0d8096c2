#include "share/watched_message_writer.h"

#include <sys/stat.h>

#include <algorithm>

namespace parlavox {

WatchedMessageWriter::WatchedMessageWriter(std::shared_ptr<WaveFileWriter> target,
                                           std::function<bool()> gone,
                                           std::function<void()> taken_away,
                                           std::function<TimePoint()> now)
    : WaveFileWriter(target->sample_rate(), target->channels(), target->length()),
      target_(std::move(target)),
      gone_(std::move(gone)),
      taken_away_(gone_ ? std::move(taken_away) : nullptr),
      now_(std::move(now)),
      next_check_(now_() + kCheckInterval) {
  if (!target_->is_valid()) MarkInvalid();
}

void WatchedMessageWriter::WriteBlock(const int32_t* samples, int frames) {
  target_->Write(samples, frames);
  if (!taken_away_) return;
  const TimePoint asked = now_();
  if (asked < next_check_) return;
  const bool gone = gone_();
  const TimePoint answered = now_();
  next_check_ = answered + std::max<TimePoint::duration>(kCheckInterval,
                                                         kWritingPerCheck * (answered - asked));
  if (gone) {
    std::function<void()> report = std::move(taken_away_);
    taken_away_ = nullptr;
    report();
  }
}

std::function<bool()> FileGoneCheck(const std::string& path) {
  struct stat first {};
  if (stat(path.c_str(), &first) != 0) return nullptr;
  return [path, device = first.st_dev, inode = first.st_ino] {
    struct stat now {};
    return stat(path.c_str(), &now) != 0 || now.st_dev != device || now.st_ino != inode;
  };
}

}  // namespace parlavox
