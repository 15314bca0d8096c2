#include "audio/pcm_wave_file_writer.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "audio/sample_conversion.h"
#include "util/little_endian.h"

namespace parlavox {
namespace {

constexpr int64_t kProvisionalSeconds = 32;
constexpr int64_t kRefreshSeconds = 16;

}  // namespace

PcmWaveFileWriter::PcmWaveFileWriter(std::unique_ptr<WritableFile> file, uint32_t sample_rate,
                                     int channels, int bits_per_sample, int64_t start_frame)
    : WaveFileWriter(sample_rate, channels, std::max<int64_t>(start_frame, 0)),
      bytes_per_sample_(bits_per_sample <= 8    ? 1
                        : bits_per_sample <= 16 ? 2
                                                : 4),
      file_(std::move(file)),
      buffer_(static_cast<size_t>(frame_bytes()) * kMaxBlockFrames) {
  if (!file_) {
    MarkInvalid();
    return;
  }
  reached_frames_ = length();
  // A file that can't take its header (a full disk) can't be heard either.
  if (!WriteHeader(true) || !file_->Resize(kHeaderSize + length() * frame_bytes())) MarkInvalid();
}

PcmWaveFileWriter::~PcmWaveFileWriter() { Finish(); }

bool PcmWaveFileWriter::Finish() {
  if (!file_) return false;
  if (!written_) {
    // Made as long as claimed: sound gathered for a write that failed may have been
    // counted as reached, and a write that failed may have left part of itself.
    set_length(std::min(length(), reached_frames_));
    file_->Resize(kHeaderSize + length() * frame_bytes());
  }
  const bool header = WriteHeader(false);
  const bool closed = file_->Close();
  file_.reset();
  MarkInvalid();  // nothing more goes into the file
  return written_ && header && closed;
}

bool PcmWaveFileWriter::WriteHeader(bool provisional) {
  const int64_t frames =
      provisional ? int64_t{sample_rate()} * kProvisionalSeconds + length() : length();
  // The size fields are 32 bits; a size beyond them wraps, as it does in the format.
  const auto data_size = static_cast<uint32_t>(frames * frame_bytes());
  std::array<uint8_t, kHeaderSize> header{};
  std::memcpy(&header[0], "RIFF", 4);
  PutLittleEndian32(&header[4], data_size + 38);
  std::memcpy(&header[8], "WAVEfmt ", 8);
  PutLittleEndian32(&header[16], 18);
  PutLittleEndian16(&header[20], kFormatPcm);
  PutLittleEndian16(&header[22], static_cast<uint32_t>(channels()));
  PutLittleEndian32(&header[24], sample_rate());
  PutLittleEndian32(&header[28], static_cast<uint32_t>(sample_rate() * frame_bytes()));
  PutLittleEndian16(&header[32], static_cast<uint32_t>(frame_bytes()));
  PutLittleEndian16(&header[34], static_cast<uint32_t>(bytes_per_sample_ * 8));
  PutLittleEndian16(&header[36], 0);
  std::memcpy(&header[38], "data", 4);
  PutLittleEndian32(&header[42], data_size);
  const bool written = file_->WriteAt(header.data(), header.size(), 0);
  const bool synced = file_->SendOn();
  refresh_countdown_ = int64_t{sample_rate()} * kRefreshSeconds;
  return written && synced;
}

void PcmWaveFileWriter::WriteBlock(const int32_t* samples, int frames) {
  const int64_t count = int64_t{frames} * channels();
  if (is_valid()) {
    const int64_t block_bytes = count * bytes_per_sample_;
    if (buffer_.size() < static_cast<size_t>(block_bytes)) buffer_.resize(block_bytes);
    EncodePcm(samples, count, bytes_per_sample_, buffer_.data());
    const int64_t end = kHeaderSize + length() * frame_bytes();
    if (file_->WriteAt(buffer_.data(), static_cast<size_t>(block_bytes), end - block_bytes)) {
      reached_frames_ = std::max(reached_frames_, length());
    } else {
      written_ = false;
    }
  }
  refresh_countdown_ -= frames;
  if (refresh_countdown_ < 0 && is_valid()) written_ &= WriteHeader(true);
}

void PcmWaveFileWriter::Truncate(int64_t frame) {
  if (frame > length()) return;
  set_length(std::max<int64_t>(frame, 0));
  reached_frames_ = std::min(reached_frames_, length());
  if (!is_valid()) return;
  written_ &= WriteHeader(true);
  written_ &= file_->Resize(kHeaderSize + length() * frame_bytes());
}

}  // namespace parlavox
