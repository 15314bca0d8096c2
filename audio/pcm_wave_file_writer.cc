#include "audio/pcm_wave_file_writer.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "audio/sample_conversion.h"

namespace parlavox {
namespace {

constexpr int64_t kProvisionalSeconds = 32;
constexpr int64_t kRefreshSeconds = 16;

void Put16(uint8_t* bytes, uint32_t value) {
  bytes[0] = static_cast<uint8_t>(value);
  bytes[1] = static_cast<uint8_t>(value >> 8);
}
void Put32(uint8_t* bytes, uint32_t value) {
  Put16(bytes, value & 0xFFFF);
  Put16(bytes + 2, value >> 16);
}

bool WriteAll(int fd, const uint8_t* data, size_t size, off_t offset) {
  while (size > 0) {
    const ssize_t written = pwrite(fd, data, size, offset);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    data += written;
    size -= static_cast<size_t>(written);
    offset += written;
  }
  return true;
}

}  // namespace

PcmWaveFileWriter::PcmWaveFileWriter(const std::string& path, uint32_t sample_rate, int channels,
                                     int bits_per_sample, int64_t start_frame)
    : WaveFileWriter(sample_rate, channels, std::max<int64_t>(start_frame, 0)),
      bytes_per_sample_(bits_per_sample <= 8    ? 1
                        : bits_per_sample <= 16 ? 2
                                                : 4),
      buffer_(static_cast<size_t>(frame_bytes()) * kMaxBlockFrames) {
  fd_ = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
  if (fd_ < 0) {
    MarkInvalid();
    return;
  }
  WriteHeader(true);
  if (ftruncate(fd_, kHeaderSize + length() * frame_bytes()) != 0) MarkInvalid();
}

PcmWaveFileWriter::~PcmWaveFileWriter() {
  if (fd_ < 0) return;
  WriteHeader(false);
  close(fd_);
}

void PcmWaveFileWriter::WriteHeader(bool provisional) {
  const int64_t frames =
      provisional ? int64_t{sample_rate()} * kProvisionalSeconds + length() : length();
  // The size fields are 32 bits; a size beyond them wraps, as it does in the format.
  const auto data_size = static_cast<uint32_t>(frames * frame_bytes());
  std::array<uint8_t, kHeaderSize> header{};
  std::memcpy(&header[0], "RIFF", 4);
  Put32(&header[4], data_size + 38);
  std::memcpy(&header[8], "WAVEfmt ", 8);
  Put32(&header[16], 18);
  Put16(&header[20], kFormatPcm);
  Put16(&header[22], static_cast<uint32_t>(channels()));
  Put32(&header[24], sample_rate());
  Put32(&header[28], static_cast<uint32_t>(sample_rate() * frame_bytes()));
  Put16(&header[32], static_cast<uint32_t>(frame_bytes()));
  Put16(&header[34], static_cast<uint32_t>(bytes_per_sample_ * 8));
  Put16(&header[36], 0);
  std::memcpy(&header[38], "data", 4);
  Put32(&header[42], data_size);
  WriteAll(fd_, header.data(), header.size(), 0);
  fdatasync(fd_);
  refresh_countdown_ = int64_t{sample_rate()} * kRefreshSeconds;
}

void PcmWaveFileWriter::WriteBlock(const int32_t* samples, int frames) {
  const int64_t count = int64_t{frames} * channels();
  if (is_valid()) {
    EncodePcm(samples, count, bytes_per_sample_, buffer_.data());
    const int64_t end = kHeaderSize + length() * frame_bytes();
    const int64_t block_bytes = count * bytes_per_sample_;
    WriteAll(fd_, buffer_.data(), static_cast<size_t>(block_bytes),
             static_cast<off_t>(end - block_bytes));
  }
  refresh_countdown_ -= frames;
  if (refresh_countdown_ < 0 && is_valid()) WriteHeader(true);
}

void PcmWaveFileWriter::Truncate(int64_t frame) {
  if (frame > length()) return;
  set_length(std::max<int64_t>(frame, 0));
  if (!is_valid()) return;
  WriteHeader(true);
  ftruncate(fd_, kHeaderSize + length() * frame_bytes());
}

}  // namespace parlavox
