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
      last_asked_(now_()) {
  if (!target_->is_valid()) MarkInvalid();
}

void WatchedMessageWriter::WriteBlock(const int32_t* samples, int frames) {
  const TimePoint began = now_();
  target_->Write(samples, frames);
  if (!taken_away_) return;
  const TimePoint written = now_();
  if (!asked_) asking_time_ = kWritesPerCheck * (written - began);
  if (written - last_asked_ <
      std::max<TimePoint::duration>(kCheckInterval, kWritingPerCheck * asking_time_)) {
    return;
  }
  const bool gone = gone_();
  last_asked_ = now_();
  asking_time_ = last_asked_ - written;
  asked_ = true;
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
