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

constexpr size_t kReadAhead = 262144;

int BytesPerSample(uint16_t bits) { return bits <= 8 ? 1 : bits <= 16 ? 2 : 4; }

}  // namespace

PcmWaveFileReader::PcmWaveFileReader(int fd, const WaveLayout& layout)
    : WaveFileReader(static_cast<int32_t>(layout.format.sample_rate), layout.format.channels,
                     layout.format.bits_per_sample <= 8 ? kFullScale8Bit : kFullScale),
      fd_(fd),
      data_start_(layout.data_start),
      bytes_per_sample_(BytesPerSample(layout.format.bits_per_sample)),
      read_offset_(layout.data_start),
      ahead_(std::max<size_t>(kReadAhead, static_cast<size_t>(frame_bytes()) * kMaxBlockFrames)) {
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

const uint8_t* PcmWaveFileReader::BytesAt(int64_t offset, int64_t size, int64_t* got) {
  if (offset < ahead_offset_ || offset + size > ahead_offset_ + ahead_size_) {
    // Read on as far as the known data goes, but never past it: a growing file's end
    // is still being written.
    const int64_t known_end = data_start_ + known_frames_ * frame_bytes();
    const int64_t run =
        std::clamp<int64_t>(known_end - offset, size, static_cast<int64_t>(ahead_.size()));
    ahead_offset_ = offset;
    ahead_size_ = std::max<ssize_t>(
        ReadFullyAt(fd_, ahead_.data(), static_cast<size_t>(run), static_cast<off_t>(offset)), 0);
  }
  *got = std::clamp<int64_t>(ahead_offset_ + ahead_size_ - offset, 0, size);
  return ahead_.data() + (offset - ahead_offset_);
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

  int64_t got_bytes = 0;
  const uint8_t* bytes = BytesAt(read_offset_, wanted * frame_bytes(), &got_bytes);
  // Only whole frames count; a frame still being written is read again next time.
  const int64_t got_frames = got_bytes / frame_bytes();
  read_offset_ += got_frames * frame_bytes();
  const int64_t got_samples = got_frames * channels;
  DecodePcm(bytes, bytes_per_sample_, samples, got_samples);
  std::fill(samples + got_samples, block_end, 0);
}

}  // namespace parlavox
