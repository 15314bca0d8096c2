#ifndef PARLAVOX_AUDIO_SOUND_PLAYER_H_
#define PARLAVOX_AUDIO_SOUND_PLAYER_H_

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "audio/channel_levels.h"
#include "audio/manual_reset_event.h"
#include "audio/task_poster.h"
#include "audio/wave_file.h"
#include "audio/wave_out.h"
#include "audio/worker_thread.h"

namespace parlavox {

// What the player tells its owner, always on the owner's thread, with the owner's
// cookie. Times are in 1/10000 s.
class LSoundPlayerListener {
 public:
  virtual ~LSoundPlayerListener() = default;
  virtual void OnPlayStarted(uint32_t /*cookie*/) {}
  virtual void OnPlayStopped(uint32_t /*cookie*/) {}
  virtual void OnPlayRestarted(uint32_t /*cookie*/) {}
  virtual void OnPlayPaused(uint32_t /*cookie*/) {}
  virtual void OnPlayPosition(int32_t /*time*/, uint32_t /*cookie*/) {}
  virtual void OnPlayLevels(const ChannelLevels& /*levels*/, uint32_t /*cookie*/) {}
};

// Plays a WaveFileReader on an output device, also while the file still grows. Its
// thread keeps a ring of 70 buffers of 100 ms filled from the reader: at the lowest
// priority until the device is busy, then at the highest. Near the end of what the
// reader has so far it trails the data (no more than 3 buffers queued, smaller
// pieces when the queue runs low); playback ends when every buffer has played and
// nothing more comes, or when the device has not finished a buffer for 281 waits of
// 100 ms, or when the sound server drops the stream. Public operations are called
// from the owner's thread, the one whose loop `poster` posts to.
class LSoundPlayer : public WorkerThread {
 public:
  static constexpr int kBlockCount = 70;
  static constexpr uint32_t kOpenPaused = 1;
  static constexpr uint32_t kPreBuffer = 2;

  explicit LSoundPlayer(TaskPoster& poster);
  ~LSoundPlayer() override;

  // -1 and 0 are the system's default output; see sound_devices.h.
  void set_device(int device) { device_ = device; }
  void SetListener(LSoundPlayerListener* listener, uint32_t cookie);
  void set_metering(bool enabled) { metering_ = enabled; }

  // Stops what plays, then plays `reader` from its position. flags: kOpenPaused, or
  // kPreBuffer (open paused, start once 42 buffers are queued). False when the reader
  // is missing or invalid or the device can't be opened.
  bool Play(std::shared_ptr<WaveFileReader> reader, uint32_t flags);
  void StopPlayback();
  void Pause();
  void Resume();
  void SeekTo(int64_t frame);
  // For a player screen: plays a quarter block at the current position over and
  // over (the scrub loop) until Resume lets playback go on from that position.
  void Replay();
  // For a player screen: the peaks of `frames` frames from `first_frame` as 512
  // points of 0 (silence) to 255 (full scale); playback is not disturbed. All zero
  // when nothing is open.
  std::array<uint8_t, 512> Overview(int64_t first_frame, int64_t frames);

  bool is_open() const { return state_ != 0; }
  bool is_paused() const { return (state_ & kPaused) != 0; }

  // p frames at rate r as a time in 1/10000 s.
  static int32_t FramesToTime(int64_t frames, int32_t rate);

 protected:
  void Run() override;
  void OnThreadStart() override;

 private:
  // State bits.
  static constexpr uint16_t kOpen = 1, kPaused = 2, kHold = 4, kPreBuffering = 8,
                            kBoostPending = 16, kNoThrottle = 32;
  // Notification bits.
  static constexpr uint16_t kPositionChanged = 1, kLevelsChanged = 2, kFinished = 4;
  static constexpr int64_t kNoPosition = INT64_MIN;
  static constexpr int kRestartBlock = 42;
  static constexpr int kStallPasses = 280;

  struct PlayBlock {
    PlayBuffer buffer;
    ChannelLevels levels;
    int64_t reached = kNoPosition;  // reader position at the end of this buffer
  };

  // Queues the scrub loop at the reader's position; the player lock is held.
  void QueueScrubLoop();
  void MeasureLevels(PlayBlock& block, int frames);
  // Feeds one free block; false when the feeding is over.
  bool FeedBlock(PlayBlock& block);
  int QueuedBlocks() const;
  void Notify(uint16_t events);
  void OnNotification();
  int32_t rate() const { return reader_ ? reader_->sample_rate() : 44100; }

  TaskPoster& poster_;
  std::shared_ptr<int> alive_ = std::make_shared<int>(0);  // watched by posted notifications
  std::mutex player_lock_;
  ManualResetEvent block_done_;
  WaveOut wave_out_;
  int device_ = 0;
  LSoundPlayerListener* listener_ = nullptr;
  uint32_t cookie_ = 0;
  std::atomic<bool> metering_{false};
  std::atomic<int64_t> position_{0};
  std::atomic<uint16_t> state_{0};
  std::atomic<uint16_t> events_{0};
  std::shared_ptr<WaveFileReader> reader_;
  ChannelLevels levels_;
  std::vector<int32_t> scratch_;
  int frames_per_block_ = 0;
  int channels_ = 1;
  std::array<PlayBlock, kBlockCount> blocks_;
  int next_block_ = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_SOUND_PLAYER_H_
