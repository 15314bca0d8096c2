#ifndef PARLAVOX_AUDIO_SOUND_PLAYER_H_
#define PARLAVOX_AUDIO_SOUND_PLAYER_H_

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "audio/channel_levels.h"
#include "audio/player.h"
#include "audio/wave_file.h"
#include "audio/wave_out.h"
#include "util/lifetime.h"
#include "util/manual_reset_event.h"
#include "util/mutex.h"
#include "util/task_poster.h"
#include "util/worker_thread.h"

namespace parlavox {

// The Player on the sound server. Its thread keeps a ring of 70 buffers of 100 ms
// filled from the reader: at the lowest priority until the device is busy, then at
// the highest. Near the end of what the reader has so far it trails the data (no
// more than 3 buffers queued, smaller pieces when the queue runs low); playback ends
// when every buffer has played and nothing more comes, or when the device has not
// finished a buffer for 281 waits of 100 ms. A stream the sound server drops (a
// restart) is opened again as soon as the server answers, and playback goes on from
// what had been heard. A message starts after a lead-in of 0.15 s of silence: a
// stream keeps every sample from its first, but a message that is still being spoken
// arrives a piece at a time, and without the lead-in playback starts with next to
// nothing queued and breaks off for a moment each time a piece comes late. The thread
// reports to the owner only through `poster`.
class LSoundPlayer : public WorkerThread, public Player {
 public:
  static constexpr int kBlockCount = 70;

  explicit LSoundPlayer(TaskPoster& poster);
  ~LSoundPlayer() override;

  void SetListener(LSoundPlayerListener* listener, uint32_t cookie) override;
  void set_device(const DeviceChoice& device) override { device_ = device; }
  void set_level(int decibels) override { level_ = decibels; }
  void set_metering(bool enabled) override { metering_ = enabled; }
  bool Play(std::shared_ptr<WaveFileReader> reader) override;
  void StopPlayback() override;
  bool is_open() const override { return state_ != 0; }
  int32_t LeadIn() const override { return -1500; }

 protected:
  void Run() override;
  void OnThreadStart() override;
  void OnStopRequested() override { block_done_.Set(); }

 private:
  // State bits.
  static constexpr uint16_t kOpen = 1, kBoostPending = 16;
  // Notification bits.
  static constexpr uint16_t kPositionChanged = 1, kLevelsChanged = 2, kFinished = 4;
  static constexpr int64_t kNoPosition = INT64_MIN;
  static constexpr int kStallPasses = 280;
  static constexpr int kDrainPasses = 3;

  struct PlayBlock {
    PlayBuffer buffer;
    ChannelLevels levels;
    int64_t reached = kNoPosition;  // reader position at the end of this buffer
  };

  void MeasureLevels(PlayBlock& block, int frames) REQUIRES(player_lock_);
  // Feeds one free block; false when the feeding is over.
  bool FeedBlock(PlayBlock& block) REQUIRES(player_lock_);
  // Opens the device again after the server dropped it, to go on from where playback
  // had got to; false when it can't be opened (yet).
  bool Reopen() REQUIRES(player_lock_);
  int QueuedBlocks() const;
  void Notify(uint16_t events);
  void OnNotification();
  int32_t rate() const { return reader_ ? reader_->sample_rate() : 44100; }

  TaskPoster& poster_;
  Mutex player_lock_;  // between the feeding thread and the owner
  ManualResetEvent block_done_;
  WaveOut wave_out_;
  DeviceChoice device_;
  int level_ = 0;
  std::string playing_device_;  // as Play found them, for the feeding thread
  int playing_level_ = 0;
  int64_t start_frame_ = 0;  // where the device's stream began in the reader
  LSoundPlayerListener* listener_ = nullptr;
  uint32_t cookie_ = 0;
  std::atomic<bool> metering_{false};
  std::atomic<int64_t> position_{0};
  std::atomic<uint16_t> state_{0};
  std::atomic<uint16_t> events_{0};
  std::shared_ptr<WaveFileReader> reader_;
  ChannelLevels levels_ GUARDED_BY(player_lock_);
  std::vector<int32_t> scratch_;
  int frames_per_block_ = 0;
  int channels_ = 1;
  std::array<PlayBlock, kBlockCount> blocks_;
  int next_block_ = 0;
  Lifetime lifetime_;  // last: posted notifications are dropped once the player is gone
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_SOUND_PLAYER_H_
