#include "audio/sound_player.h"

#include <sys/prctl.h>

#include <algorithm>

#include "audio/sample_conversion.h"

namespace parlavox {
namespace {

constexpr std::chrono::milliseconds kBlockWait{100};
constexpr int kPriorityHighest = 2;

}  // namespace

LSoundPlayer::LSoundPlayer(TaskPoster& poster) : poster_(poster) { WakeOnStop(&block_done_); }

LSoundPlayer::~LSoundPlayer() {
  StopPlayback();
  Stop();
}

void LSoundPlayer::SetListener(LSoundPlayerListener* listener, uint32_t cookie) {
  listener_ = listener;
  cookie_ = cookie;
}

int32_t LSoundPlayer::FramesToTime(int64_t frames, int32_t rate) {
  if (rate < 1) return 0;
  return static_cast<int32_t>((frames / rate) * 10000 + ((frames % rate) * 10000) / rate);
}

bool LSoundPlayer::Play(std::shared_ptr<WaveFileReader> reader, uint32_t flags) {
  StopPlayback();
  if (!reader || !reader->is_valid()) return false;
  reader_ = std::move(reader);
  if (!wave_out_.Open(device_, static_cast<uint32_t>(reader_->sample_rate()), reader_->channels(),
                      &block_done_)) {
    reader_.reset();
    return false;
  }
  frames_per_block_ = std::clamp(reader_->sample_rate() / 10, 20, kMaxBlockFrames);
  channels_ = reader_->channels();
  scratch_.assign(static_cast<size_t>(channels_) * frames_per_block_, 0);
  for (PlayBlock& block : blocks_) {
    block.buffer.samples.assign(scratch_.size(), 0);
    block.buffer.done = true;
    block.reached = kNoPosition;
  }

  uint16_t state = kOpen | kBoostPending;
  if (flags & (kOpenPaused | kPreBuffer)) {
    wave_out_.Pause();
    state |= (flags & kOpenPaused) ? kPaused : (kPreBuffering | kNoThrottle);
  }
  state_ = state;
  events_ = 0;
  next_block_ = 0;
  position_ = reader_->GetPosition();
  Start(kPriorityLowest);

  if (listener_ != nullptr) {
    if (flags & kOpenPaused) {
      listener_->OnPlayPaused(cookie_);
    } else {
      listener_->OnPlayStarted(cookie_);
    }
    listener_->OnPlayPosition(FramesToTime(position_, rate()), cookie_);
  }
  return true;
}

void LSoundPlayer::StopPlayback() {
  if (state_ == 0) return;
  Stop();  // the thread first: it must not write to a device being closed
  wave_out_.Reset();
  wave_out_.Close();
  scratch_.clear();
  reader_.reset();
  state_ = 0;
  events_ = 0;
  position_ = 0;
  if (listener_ != nullptr) listener_->OnPlayStopped(cookie_);
}

void LSoundPlayer::Pause() {
  if (!(state_ & kOpen) || (state_ & kPaused)) return;
  wave_out_.Pause();
  state_ |= kPaused;
  if (listener_ != nullptr) listener_->OnPlayPaused(cookie_);
}

void LSoundPlayer::Resume() {
  if (!(state_ & kOpen)) return;
  if (state_ & kHold) {
    wave_out_.BreakLoop();
    SetPriority(kPriorityHighest);
    state_ &= static_cast<uint16_t>(~(kHold | kBoostPending));
  }
  if (state_ & kPaused) {
    wave_out_.Restart();
    state_ &= static_cast<uint16_t>(~kPaused);
  }
  if (listener_ != nullptr) listener_->OnPlayStarted(cookie_);
}

void LSoundPlayer::SeekTo(int64_t frame) {
  if (!(state_ & kOpen)) return;
  {
    std::lock_guard lock(player_lock_);
    wave_out_.Reset();
    for (PlayBlock& block : blocks_) block.reached = kNoPosition;
    reader_->Seek(frame);
    position_ = reader_->GetPosition();
    if (state_ & kPaused) wave_out_.Pause();
    if (state_ & kHold) {
      QueueScrubLoop();
    } else {
      next_block_ = 0;
    }
    SetPriority(kPriorityLowest);
    state_ |= kBoostPending;
    events_ = 0;
  }
  if (listener_ != nullptr) listener_->OnPlayPosition(FramesToTime(position_, rate()), cookie_);
}

void LSoundPlayer::OnThreadStart() {
  prctl(PR_SET_NAME, "parlavox-feed");  // so that tools can tell the feeding thread apart
}

void LSoundPlayer::Replay() {
  if (!(state_ & kOpen)) return;
  if ((state_ & kPaused) && (state_ & kHold)) {
    wave_out_.Restart();
    state_ &= static_cast<uint16_t>(~kPaused);
    return;
  }
  {
    std::lock_guard lock(player_lock_);
    wave_out_.Reset();
    for (PlayBlock& block : blocks_) block.reached = kNoPosition;
    reader_->Seek(position_);
    wave_out_.Restart();  // the state below is not paused
    state_ = kOpen | kHold | kBoostPending;
    events_ = 0;
    QueueScrubLoop();
    SetPriority(kPriorityLowest);
  }
  if (listener_ != nullptr) {
    listener_->OnPlayRestarted(cookie_);
    listener_->OnPlayPosition(FramesToTime(position_, rate()), cookie_);
  }
}

void LSoundPlayer::QueueScrubLoop() {
  PlayBlock& block = blocks_[static_cast<size_t>(next_block_)];
  const int quarter = frames_per_block_ / 4;
  const int64_t at = reader_->GetPosition();
  reader_->Read(scratch_.data(), quarter);
  reader_->Seek(at);  // playback goes on from here once the loop is broken
  const size_t quarter_samples = static_cast<size_t>(quarter) * channels_;
  for (int round = 0; round < 4; ++round) {
    std::transform(scratch_.begin(), scratch_.begin() + static_cast<long>(quarter_samples),
                   block.buffer.samples.begin() + static_cast<long>(round * quarter_samples), To16);
  }
  block.buffer.bytes = 4 * quarter_samples * sizeof(int16_t);
  block.reached = at;
  state_ |= kHold;
  wave_out_.WriteLooped(&block.buffer);
  MeasureLevels(block, quarter);
  levels_ = block.levels;
  Notify(kLevelsChanged);
  next_block_ = (next_block_ + 1) % kBlockCount;
}

std::array<uint8_t, 512> LSoundPlayer::Overview(int64_t first_frame, int64_t frames) {
  constexpr int kPoints = 512;
  std::array<uint8_t, kPoints> points{};
  if (!(state_ & kOpen) || frames <= 0) return points;
  std::lock_guard lock(player_lock_);
  const int64_t resume_at = reader_->GetPosition();
  const int64_t step = std::max<int64_t>(frames / kPoints, 1);
  const int span = static_cast<int>(std::min<int64_t>(step, frames_per_block_));
  for (int p = 0; p < kPoints; ++p) {
    reader_->Seek(first_frame + p * frames / kPoints);
    reader_->Read(scratch_.data(), span);
    int64_t peak = 0;
    for (int64_t i = 0; i < int64_t{span} * channels_; ++i) {
      peak = std::max<int64_t>(peak, std::abs(int64_t{scratch_[static_cast<size_t>(i)]}));
    }
    points[static_cast<size_t>(p)] =
        static_cast<uint8_t>(std::min<int64_t>(peak * 255 / reader_->full_scale(), 255));
  }
  reader_->Seek(resume_at);
  return points;
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
      std::lock_guard lock(player_lock_);
      PlayBlock& block = blocks_[static_cast<size_t>(next_block_)];
      if (block.buffer.done) {
        stall = 0;
        if (!FeedBlock(block)) return;
      } else {
        if (state_ & kBoostPending) {
          SetPriority(kPriorityHighest);
          state_ &= static_cast<uint16_t>(~kBoostPending);
        }
        // A device that fails, or that has not finished a buffer for 281 waits,
        // counts as finished.
        if (wave_out_.failed() || (!(state_ & kHold) && ++stall > kStallPasses)) {
          Notify(kFinished);
        }
        wait = true;
      }
    }
    if (wait) block_done_.WaitFor(kBlockWait);
  }
  wave_out_.Reset();
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
      if (QueuedBlocks() == 0) {
        Notify(kFinished);
        return false;
      }
      write = false;
    } else if (!(state_ & kNoThrottle)) {
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
  if (next_block_ == kRestartBlock && (state_ & kPreBuffering)) {
    wave_out_.Restart();
    state_ &= static_cast<uint16_t>(~kPreBuffering);
  }
  return true;
}

void LSoundPlayer::Notify(uint16_t events) {
  events_ |= events;
  poster_.Post([alive = std::weak_ptr<int>(alive_), this] {
    if (alive.lock()) OnNotification();
  });
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
        std::lock_guard lock(player_lock_);
        levels = levels_;
      }
      if (metering_ && listener_ != nullptr) listener_->OnPlayLevels(levels, cookie_);
    }
    return;
  }
  int64_t end;
  {
    std::lock_guard lock(player_lock_);
    end = reader_->GetLength();
  }
  if (listener_ != nullptr) listener_->OnPlayPosition(FramesToTime(end, rate()), cookie_);
  StopPlayback();
}

}  // namespace parlavox
