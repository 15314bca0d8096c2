#include "audio/sound_recorder.h"

#include <algorithm>

#include "audio/sample_conversion.h"
#include "audio/wave_time.h"

namespace parlavox {
namespace {

constexpr int32_t kKeptQuietTail = 4500;  // 0.45 s after the last loud buffer
constexpr int32_t kStopTail = 500;        // 50 ms

}  // namespace

void LSoundRecorder::SetListener(LSoundRecorderListener* listener, uint32_t cookie) {
  listener_ = listener;
  cookie_ = cookie;
}

int32_t LSoundRecorder::TimeOfLength() const {
  if (!writer_) return 0;
  return FramesToTime(writer_->length(), static_cast<int32_t>(writer_->sample_rate()));
}

int64_t LSoundRecorder::FramesOfTime(int32_t time) const {
  return TimeToFrames(time, static_cast<int32_t>(writer_->sample_rate()));
}

bool LSoundRecorder::StartRecording(std::shared_ptr<WaveFileWriter> writer, int32_t max_time,
                                    int threshold, int32_t hang_time, uint32_t flags) {
  if (state_ != kClosed) StopRecording();
  if (!writer || !writer->is_valid()) return false;
  const uint32_t rate = writer->sample_rate();
  const int channels = writer->channels();
  frames_per_buffer_ = std::clamp(static_cast<int>(rate / 25), 20, kMaxBlockFrames);
  if (!OpenDevice(rate, channels, !(flags & kOpenStopped))) return false;
  const size_t samples = static_cast<size_t>(channels) * frames_per_buffer_;
  scratch_.assign(samples, 0);
  hold_buffer_.assign(samples, 0);
  hold_valid_ = false;

  state_ = (flags & kStartWriting) ? kWriting : kWaiting;
  writer_ = std::move(writer);
  max_time_ = max_time;
  threshold_ = threshold;
  low_threshold_ = std::clamp(threshold - 5, -127, 127);
  hang_time_ = hang_time;
  last_loud_time_ = TimeOfLength();
  if (listener_ != nullptr) {
    if (state_ == kWriting) {
      listener_->OnRecordStarted(cookie_);
    } else {
      listener_->OnRecordWaiting(cookie_);
    }
    listener_->OnRecordPosition(last_loud_time_, cookie_);
  }
  return true;
}

bool LSoundRecorder::OpenDevice(uint32_t rate, int channels, bool started) {
  if (!wave_in_.Open(ResolveDevice(device_, ListInputDevices()), rate, channels, frames_per_buffer_,
                     level_,
                     {[this](RecordBuffer* buffer) { OnBuffer(buffer); }, [this] { OnLost(); }})) {
    return false;
  }
  const size_t samples = static_cast<size_t>(channels) * frames_per_buffer_;
  for (RecordBuffer& buffer : buffers_) {
    buffer.samples.assign(samples, 0);
    wave_in_.AddBuffer(&buffer);
  }
  if (started) wave_in_.Start();
  return true;
}

void LSoundRecorder::OnLost() {
  if (state_ == kClosed) return;
  if (OpenDevice(writer_->sample_rate(), writer_->channels(), /*started=*/true)) return;
  StopRecording();
  if (listener_ != nullptr) listener_->OnRecordLost(cookie_);
}

void LSoundRecorder::StopRecording() {
  if (state_ == kClosed) return;
  wave_in_.Close();
  last_loud_time_ += kStopTail;
  if (writer_ && last_loud_time_ < TimeOfLength()) writer_->Truncate(FramesOfTime(last_loud_time_));
  hold_buffer_.clear();
  scratch_.clear();
  writer_->Finish();
  writer_.reset();
  state_ = kClosed;
  if (listener_ != nullptr) listener_->OnRecordStopped(cookie_);
}

int8_t LSoundRecorder::BufferLevel(int frames) {
  const int channels = writer_->channels();
  levels_.count = static_cast<uint8_t>(channels);
  for (int c = 0; c < channels; ++c) {
    levels_.levels[static_cast<size_t>(c)] = PeakLevel(scratch_.data(), frames, channels, c);
  }
  if (channels == 1) return levels_.levels[0];
  return std::max(levels_.levels[0], levels_.levels[1]);
}

void LSoundRecorder::OnBuffer(RecordBuffer* buffer) {
  if (state_ == kClosed) return;
  std::transform(buffer->samples.begin(), buffer->samples.end(), scratch_.begin(), From16);
  wave_in_.AddBuffer(buffer);  // back to the device before the data is used

  const int level = BufferLevel(frames_per_buffer_);
  if (state_ == kWaiting) {
    if (level < threshold_) {
      hold_buffer_ = scratch_;
      hold_valid_ = true;
      if (listener_ != nullptr) listener_->OnRecordLevels(levels_, cookie_);
      return;
    }
    const int half = frames_per_buffer_ >> 1;
    const ChannelLevels whole = levels_;
    const bool began_before = BufferLevel(half) >= threshold_ && hold_valid_;
    levels_ = whole;
    if (began_before) {  // the sound began in the held buffer: write its second half first
      writer_->Write(hold_buffer_.data() + static_cast<size_t>(half) * writer_->channels(),
                     frames_per_buffer_ - half);
    }
    writer_->Write(scratch_.data(), frames_per_buffer_);
    state_ = kWriting;
    if (listener_ != nullptr) {
      listener_->OnRecordStarted(cookie_);
      listener_->OnRecordPosition(TimeOfLength(), cookie_);
    }
    return;
  }

  writer_->Write(scratch_.data(), frames_per_buffer_);
  const int32_t time = TimeOfLength();
  if (level < low_threshold_ && time - last_loud_time_ > hang_time_) {
    writer_->Truncate(FramesOfTime(last_loud_time_ + kKeptQuietTail));
    state_ = kWaiting;
    hold_buffer_ = scratch_;
    hold_valid_ = true;
    if (listener_ != nullptr) {
      listener_->OnRecordWaiting(cookie_);
      listener_->OnRecordPosition(time, cookie_);
    }
    return;
  }
  if (level >= low_threshold_) last_loud_time_ = time;
  if (listener_ != nullptr) {
    listener_->OnRecordPosition(time, cookie_);
    listener_->OnRecordLevels(levels_, cookie_);
  }
  if (max_time_ > 0 && time > max_time_) StopRecording();
}

}  // namespace parlavox
