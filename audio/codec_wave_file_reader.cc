#include "audio/codec_wave_file_reader.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>

#include "audio/sample_conversion.h"
#include "util/file_io.h"
#include "util/little_endian.h"

namespace parlavox {
namespace {

// libsndfile hands every format over as floats where 1.0 is 16-bit full scale; for
// integer codecs this gives their 16-bit values back exactly.
int16_t To16BitValue(float value) {
  return static_cast<int16_t>(std::clamp(std::lround(value * 32768.0f), -32768L, 32767L));
}

// A plain WAVE header: RIFF form, the file's own format chunk, the data chunk's header.
std::string PlainHeader(int fd, const WaveLayout& layout) {
  std::string format(layout.format_size, '\0');
  if (ReadFullyAt(fd, format.data(), format.size(), static_cast<off_t>(layout.format_start)) !=
      static_cast<ssize_t>(format.size())) {
    return "";
  }
  if (format.size() % 2 != 0) format += '\0';  // the pad byte
  std::string header = "RIFF";
  AppendLittleEndian32(
      &header, static_cast<uint32_t>(4 + 8 + format.size() + 8 + uint64_t{layout.data_size}));
  header += "WAVEfmt ";
  AppendLittleEndian32(&header, layout.format_size);
  header += format;
  header += "data";
  AppendLittleEndian32(&header, layout.data_size);
  return header;
}

}  // namespace

CodecWaveFileReader::CodecWaveFileReader(int fd, const WaveLayout& layout)
    : WaveFileReader(static_cast<int32_t>(layout.format.sample_rate), layout.format.channels,
                     kFullScale),
      fd_(fd),
      header_(PlainHeader(fd, layout)),
      data_start_(layout.data_start),
      data_size_(layout.data_size),
      average_bytes_per_second_(layout.format.average_bytes_per_second),
      estimated_frames_(FramesForBytes(layout.data_size)),
      decoded_(static_cast<size_t>(kMaxBlockFrames) * layout.format.channels) {
  OpenCodec();
}

bool CodecWaveFileReader::OpenCodec() {
  if (sound_ != nullptr) sf_close(sound_);
  file_offset_ = 0;
  SF_VIRTUAL_IO io{&FileLength, &SeekFile, &ReadFile, &WriteFile, &TellFile};
  SF_INFO info{};
  sound_ = sf_open_virtual(&io, SFM_READ, &info, this);
  if (sound_ != nullptr && info.channels == channels()) return true;
  MarkInvalid();
  return false;
}

CodecWaveFileReader::~CodecWaveFileReader() {
  if (sound_ != nullptr) sf_close(sound_);
  close(fd_);
}

int64_t CodecWaveFileReader::FramesForBytes(int64_t bytes) const {
  const int64_t rate = sample_rate(), average = average_bytes_per_second_;
  if (average == 0) return bytes;
  return bytes / average * rate + bytes % average * rate / average;
}

int64_t CodecWaveFileReader::UndecodedBytes() const {
  return std::max<int64_t>(static_cast<int64_t>(header_.size()) + data_size_ - file_offset_, 0);
}

void CodecWaveFileReader::ReadBlock(int32_t* samples, int frames) {
  const int channels = this->channels();
  int32_t* const block_end = samples + int64_t{frames} * channels;
  position_ += frames;
  int64_t wanted = SilenceBeforeStart(samples, frames, position_);
  if (wanted == 0) return;
  int64_t got = 0;
  if (!end_of_data_) {
    got = std::max<sf_count_t>(sf_readf_float(sound_, decoded_.data(), wanted), 0);
    for (int64_t i = 0; i < got * channels; ++i) samples[i] = From16(To16BitValue(decoded_[i]));
    estimated_frames_ = position_ - (wanted - got) + FramesForBytes(UndecodedBytes());
    if (got < wanted) {
      end_of_data_ = true;
      estimated_frames_ = position_ - (wanted - got);
    }
  }
  std::fill(samples + got * channels, block_end, 0);
}

void CodecWaveFileReader::Seek(int64_t frame) {
  if (!is_valid()) return;
  end_of_data_ = false;
  if (frame <= 0) {
    if (sf_seek(sound_, 0, SEEK_SET) < 0) OpenCodec();
  } else if (frame >= estimated_frames_ ||
             (sf_seek(sound_, frame, SEEK_SET) < 0 && !DecodeFromStartTo(frame))) {
    sf_seek(sound_, 0, SEEK_END);
    end_of_data_ = true;
  }
  position_ = frame;
}

bool CodecWaveFileReader::DecodeFromStartTo(int64_t frame) {
  // Some decoders can't even go back to the start once they reached the end.
  if (sf_seek(sound_, 0, SEEK_SET) < 0 && !OpenCodec()) return false;
  while (frame > 0) {
    const sf_count_t wanted = std::min<int64_t>(frame, kMaxBlockFrames);
    if (sf_readf_float(sound_, decoded_.data(), wanted) != wanted) return false;
    frame -= wanted;
  }
  return true;
}

sf_count_t CodecWaveFileReader::FileLength(void* self) {
  auto* reader = static_cast<CodecWaveFileReader*>(self);
  struct stat status {};
  if (fstat(reader->fd_, &status) != 0) return 0;
  return static_cast<sf_count_t>(reader->header_.size()) +
         std::max<int64_t>(status.st_size - reader->data_start_, 0);
}

sf_count_t CodecWaveFileReader::SeekFile(sf_count_t offset, int whence, void* self) {
  auto* reader = static_cast<CodecWaveFileReader*>(self);
  switch (whence) {
    case SEEK_SET:
      reader->file_offset_ = offset;
      break;
    case SEEK_CUR:
      reader->file_offset_ += offset;
      break;
    case SEEK_END:
      reader->file_offset_ = FileLength(self) + offset;
      break;
  }
  reader->file_offset_ = std::max<int64_t>(reader->file_offset_, 0);
  return reader->file_offset_;
}

sf_count_t CodecWaveFileReader::ReadFile(void* buffer, sf_count_t count, void* self) {
  auto* reader = static_cast<CodecWaveFileReader*>(self);
  auto* into = static_cast<char*>(buffer);
  sf_count_t done = 0;
  const auto header_size = static_cast<int64_t>(reader->header_.size());
  if (reader->file_offset_ < header_size && count > 0) {
    const int64_t from_header = std::min<int64_t>(header_size - reader->file_offset_, count);
    std::copy_n(reader->header_.data() + reader->file_offset_, from_header, into);
    reader->file_offset_ += from_header;
    done = from_header;
  }
  if (done == count) return done;
  const ssize_t got = ReadFullyAt(
      reader->fd_, into + done, static_cast<size_t>(std::max<sf_count_t>(count - done, 0)),
      static_cast<off_t>(reader->data_start_ + reader->file_offset_ - header_size));
  if (got > 0) {
    reader->file_offset_ += got;
    done += got;
  }
  return done;
}

sf_count_t CodecWaveFileReader::WriteFile(const void*, sf_count_t, void*) { return 0; }

sf_count_t CodecWaveFileReader::TellFile(void* self) {
  return static_cast<CodecWaveFileReader*>(self)->file_offset_;
}

}  // namespace parlavox
