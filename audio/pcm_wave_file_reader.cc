#include "audio/pcm_wave_file_reader.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "audio/sample_conversion.h"
#include "util/file_io.h"
#include "util/little_endian.h"

namespace parlavox {
namespace {

int BytesPerSample(uint16_t bits) { return bits <= 8 ? 1 : bits <= 16 ? 2 : 4; }

}  // namespace

PcmWaveFileReader::PcmWaveFileReader(int fd, const WaveLayout& layout)
    : WaveFileReader(static_cast<int32_t>(layout.format.sample_rate), layout.format.channels,
                     layout.format.bits_per_sample <= 8 ? kFullScale8Bit : kFullScale),
      fd_(fd),
      data_start_(layout.data_start),
      bytes_per_sample_(BytesPerSample(layout.format.bits_per_sample)),
      read_offset_(layout.data_start),
      buffer_(static_cast<size_t>(frame_bytes()) * kMaxBlockFrames) {
  RefreshLength();
}

PcmWaveFileReader::~PcmWaveFileReader() { close(fd_); }

void PcmWaveFileReader::RefreshLength() {
  uint8_t size_field[4];
  if (pread(fd_, size_field, 4, static_cast<off_t>(data_start_ - 4)) != 4) return;
  struct stat status {};
  if (fstat(fd_, &status) != 0) return;
  const int64_t claimed = GetLittleEndian32(size_field);
  const int64_t present = std::max<int64_t>(status.st_size - data_start_, 0);
  known_frames_ = std::min(claimed, present) / frame_bytes();
}

int64_t PcmWaveFileReader::GetLength() {
  if (known_frames_ <= position_) RefreshLength();
  return known_frames_;
}

void PcmWaveFileReader::Seek(int64_t frame) {
  if (!is_valid()) return;
  position_ = frame;
  if (frame < 1) {
    read_offset_ = data_start_;
    return;
  }
  if (frame > known_frames_) RefreshLength();
  read_offset_ = data_start_ + std::min(frame, known_frames_) * frame_bytes();
}

void PcmWaveFileReader::ReadBlock(int32_t* samples, int frames) {
  const int channels = this->channels();
  int32_t* const block_end = samples + int64_t{frames} * channels;
  position_ += frames;
  int64_t wanted = SilenceBeforeStart(samples, frames, position_);
  if (wanted == 0) return;
  if (position_ > known_frames_) {
    RefreshLength();
    if (position_ > known_frames_)
      wanted = std::max<int64_t>(wanted - (position_ - known_frames_), 0);
  }

  const int64_t got_bytes = std::max<ssize_t>(
      ReadFullyAt(fd_, buffer_.data(), static_cast<size_t>(wanted * frame_bytes()),
                  static_cast<off_t>(read_offset_)),
      0);
  // Only whole frames count; a frame still being written is read again next time.
  const int64_t got_frames = got_bytes / frame_bytes();
  read_offset_ += got_frames * frame_bytes();
  const int64_t got_samples = got_frames * channels;
  DecodePcm(buffer_.data(), bytes_per_sample_, samples, got_samples);
  std::fill(samples + got_samples, block_end, 0);
}

}  // namespace parlavox
