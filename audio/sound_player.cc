#include "audio/sound_player.h"

#include <sys/prctl.h>

#include <algorithm>

#include "audio/sample_conversion.h"
#include "audio/wave_time.h"

namespace parlavox {
namespace {

constexpr std::chrono::milliseconds kBlockWait{100};
constexpr int kPriorityHighest = 2;

}  // namespace

LSoundPlayer::LSoundPlayer(TaskPoster& poster) : poster_(poster) {}

LSoundPlayer::~LSoundPlayer() {
  StopPlayback();
  Stop();
}

void LSoundPlayer::SetListener(LSoundPlayerListener* listener, uint32_t cookie) {
  listener_ = listener;
  cookie_ = cookie;
}

bool LSoundPlayer::Play(std::shared_ptr<WaveFileReader> reader) {
  StopPlayback();
  if (!reader || !reader->is_valid()) return false;
  reader_ = std::move(reader);
  playing_device_ = ResolveDevice(device_, ListOutputDevices());
  if (!wave_out_.Open(playing_device_, static_cast<uint32_t>(reader_->sample_rate()),
                      reader_->channels(), level_, &block_done_)) {
    reader_.reset();
    return false;
  }
  playing_level_ = level_;
  start_frame_ = reader_->GetPosition();
  frames_per_block_ = std::clamp(reader_->sample_rate() / 10, 20, kMaxBlockFrames);
  channels_ = reader_->channels();
  scratch_.assign(static_cast<size_t>(channels_) * frames_per_block_, 0);
  for (PlayBlock& block : blocks_) {
    block.buffer.samples.assign(scratch_.size(), 0);
    block.buffer.done = true;
    block.reached = kNoPosition;
  }

  state_ = kOpen | kBoostPending;
  events_ = 0;
  next_block_ = 0;
  position_ = reader_->GetPosition();
  Start(kPriorityLowest);

  if (listener_ != nullptr) {
    listener_->OnPlayStarted(cookie_);
    listener_->OnPlayPosition(FramesToTime(position_, rate()), cookie_);
  }
  return true;
}

void LSoundPlayer::StopPlayback() {
  if (state_ == 0) return;
  Stop();  // the thread first: it must not write to a device being closed
  wave_out_.Close();
  scratch_.clear();
  reader_.reset();
  state_ = 0;
  events_ = 0;
  position_ = 0;
  if (listener_ != nullptr) listener_->OnPlayStopped(cookie_);
}

void LSoundPlayer::OnThreadStart() {
  prctl(PR_SET_NAME, "parlavox-feed");  // so that tools can tell the feeding thread apart
}

void LSoundPlayer::MeasureLevels(PlayBlock& block, int frames) {
  if (!metering_) return;
  block.levels.count = static_cast<uint8_t>(channels_);
  for (int c = 0; c < channels_; ++c) {
    block.levels.levels[static_cast<size_t>(c)] =
        MeanSquareLevel(scratch_.data(), frames, channels_, c);
  }
}

int LSoundPlayer::QueuedBlocks() const {
  return static_cast<int>(std::count_if(blocks_.begin(), blocks_.end(),
                                        [](const PlayBlock& b) { return !b.buffer.done; }));
}

void LSoundPlayer::Run() {
  int stall = 0;
  while (!StopRequested()) {
    block_done_.Reset();
    bool wait = false;
    {
      MutexLock lock(player_lock_);
      PlayBlock& block = blocks_[static_cast<size_t>(next_block_)];
      if (wave_out_.failed()) {
        // The server dropped the stream: nothing is fed until it takes a new one.
        if (Reopen()) {
          stall = 0;
          continue;
        }
        block_done_.Reset();  // closing the old stream set it
        if (++stall > kStallPasses) Notify(kFinished);
        wait = true;
      } else if (block.buffer.done) {
        stall = 0;
        if (!FeedBlock(block)) return;
      } else {
        if (state_ & kBoostPending) {
          SetPriority(kPriorityHighest);
          state_ &= static_cast<uint16_t>(~kBoostPending);
        }
        // A buffer not played within a few waits is held back by the server: PipeWire's,
        // drained where playback caught up with a caller, may hold back what came after.
        // Drained again, it plays it.
        if (++stall == kDrainPasses) wave_out_.Drain();
        // A device that has not finished a buffer for 281 waits (one the server
        // dropped and that could not be opened again among them) counts as finished.
        if (stall > kStallPasses) Notify(kFinished);
        wait = true;
      }
    }
    if (wait) block_done_.WaitFor(kBlockWait);
  }
}

bool LSoundPlayer::Reopen() {
  // What the dropped stream played is counted before it goes: a try that fails leaves
  // no stream, and the next try goes on from the same place.
  start_frame_ += static_cast<int64_t>(wave_out_.played_bytes() / (sizeof(int16_t) * channels_));
  wave_out_.Close();
  if (!wave_out_.Open(playing_device_, static_cast<uint32_t>(reader_->sample_rate()), channels_,
                      playing_level_, &block_done_)) {
    return false;
  }
  reader_->Seek(start_frame_);
  for (PlayBlock& block : blocks_) {
    block.buffer.done = true;
    block.reached = kNoPosition;
  }
  next_block_ = 0;
  return true;
}

bool LSoundPlayer::FeedBlock(PlayBlock& block) {
  if (block.reached != kNoPosition) {
    position_ = block.reached;
    uint16_t events = kPositionChanged;
    if (metering_) {
      levels_ = block.levels;
      events |= kLevelsChanged;
    }
    Notify(events);
  }
  int64_t remaining = reader_->GetLength() - reader_->GetPosition();
  bool write = true;
  if (remaining < 16 * int64_t{frames_per_block_}) {
    if (remaining <= 0) {
      block.reached = kNoPosition;
      wave_out_.Drain();  // all there is for now: the server is to play it all
      if (QueuedBlocks() == 0) {
        Notify(kFinished);
        return false;
      }
      write = false;
    } else {
      const int queued = QueuedBlocks();
      if (queued > 3) {
        block.reached = kNoPosition;
        write = false;
      } else if (queued < 2 && remaining > 64) {
        remaining >>= 1;  // a slowly growing file plays in smaller pieces
      }
    }
  }
  if (write) {
    const int frames = static_cast<int>(std::min<int64_t>(remaining, frames_per_block_));
    reader_->Read(scratch_.data(), frames);
    const int64_t count = int64_t{channels_} * frames;
    for (int64_t i = 0; i < count; ++i)
      block.buffer.samples[static_cast<size_t>(i)] = To16(scratch_[static_cast<size_t>(i)]);
    block.buffer.bytes = static_cast<size_t>(count) * sizeof(int16_t);
    wave_out_.Write(&block.buffer);
    block.reached = reader_->GetPosition();
    MeasureLevels(block, frames);
  }
  next_block_ = (next_block_ + 1) % kBlockCount;
  return true;
}

void LSoundPlayer::Notify(uint16_t events) {
  events_ |= events;
  poster_.Post(lifetime_.Bind([this] { OnNotification(); }));
}

void LSoundPlayer::OnNotification() {
  if (state_ == 0) return;
  if (!(events_ & kFinished)) {
    if (events_.fetch_and(static_cast<uint16_t>(~kPositionChanged)) & kPositionChanged) {
      if (listener_ != nullptr) listener_->OnPlayPosition(FramesToTime(position_, rate()), cookie_);
    }
    if (events_.fetch_and(static_cast<uint16_t>(~kLevelsChanged)) & kLevelsChanged) {
      ChannelLevels levels;
      {
        MutexLock lock(player_lock_);
        levels = levels_;
      }
      if (metering_ && listener_ != nullptr) listener_->OnPlayLevels(levels, cookie_);
    }
    return;
  }
  int64_t end;
  {
    MutexLock lock(player_lock_);
    end = reader_->GetLength();
  }
  if (listener_ != nullptr) listener_->OnPlayPosition(FramesToTime(end, rate()), cookie_);
  StopPlayback();
}

}  // namespace parlavox
