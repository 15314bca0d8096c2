#ifndef PARLAVOX_SHARE_WATCHED_MESSAGE_WRITER_H_
#define PARLAVOX_SHARE_WATCHED_MESSAGE_WRITER_H_

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "audio/wave_file.h"

namespace parlavox {

// A message writer that notices when its file is taken from the callee's folder while
// the call goes on (the callee's copy took it for finished, or somebody deleted it): it
// asks `gone` after a write, and calls `taken_away` once when it says so; a null `gone`
// watches nothing. The sound waits behind the asking, which on a server far away takes
// three round trips, and the callee, who hears a message as it grows, then hears a
// break: so it asks at most once a second and for at most a thirtieth of the time,
// reckoning the asking, until it has asked once, at three times the last write (a
// round trip).
// Everything else goes to `target`. `now` tells the time. Used on one thread only.
class WatchedMessageWriter : public WaveFileWriter {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::seconds kCheckInterval{1};
  static constexpr int kWritingPerCheck = 30;  // times as long as the asking takes
  static constexpr int kWritesPerCheck = 3;

  WatchedMessageWriter(std::shared_ptr<WaveFileWriter> target, std::function<bool()> gone,
                       std::function<void()> taken_away, std::function<TimePoint()> now);

  void Truncate(int64_t frame) override { target_->Truncate(frame); }
  bool Finish() override { return target_->Finish(); }

 protected:
  void WriteBlock(const int32_t* samples, int frames) override;

 private:
  std::shared_ptr<WaveFileWriter> target_;
  std::function<bool()> gone_;
  std::function<void()> taken_away_;
  std::function<TimePoint()> now_;
  TimePoint last_asked_;  // or made
  TimePoint::duration asking_time_{};
  bool asked_ = false;
};

// Whether the file now at `path` on the file system is gone: there is none there, or
// another one; null where there is none now.
std::function<bool()> FileGoneCheck(const std::string& path);

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_WATCHED_MESSAGE_WRITER_H_
