#include "audio/wave_chunks.h"

#include <array>
#include <cstring>

#include "util/file_io.h"
#include "util/little_endian.h"

namespace parlavox {
namespace {

constexpr uint32_t kMinFormatSize = 14;
constexpr uint32_t kMaxFormatSize = 8192;
constexpr uint32_t kMaxChannels = 255;
constexpr uint32_t kMaxSampleRate = 192000;

bool IsId(const uint8_t* bytes, const char (&id)[5]) { return std::memcmp(bytes, id, 4) == 0; }
uint64_t RoundedUpToEven(uint32_t size) { return (uint64_t{size} + 1) & ~uint64_t{1}; }

// Reads exactly `size` bytes at `offset`; false on a short read.
bool ReadExactly(int fd, int64_t offset, uint8_t* buffer, size_t size) {
  return ReadFullyAt(fd, buffer, size, static_cast<off_t>(offset)) == static_cast<ssize_t>(size);
}

// Walks chunk headers from *offset until one named `id`; leaves *offset on that
// chunk's contents and returns its size.
std::optional<uint32_t> FindChunk(int fd, int64_t* offset, const char (&id)[5]) {
  for (;;) {
    std::array<uint8_t, 8> header;
    if (!ReadExactly(fd, *offset, header.data(), header.size())) return std::nullopt;
    *offset += 8;
    const uint32_t size = GetLittleEndian32(&header[4]);
    if (IsId(header.data(), id)) return size;
    if (size < 1) return std::nullopt;
    *offset += static_cast<int64_t>(RoundedUpToEven(size));
  }
}

WaveFormat ParseFormat(const uint8_t* bytes, uint32_t size) {
  WaveFormat format;
  format.format_tag = GetLittleEndian16(bytes);
  format.channels = GetLittleEndian16(bytes + 2);
  format.sample_rate = GetLittleEndian32(bytes + 4);
  format.average_bytes_per_second = GetLittleEndian32(bytes + 8);
  format.block_align = GetLittleEndian16(bytes + 12);
  format.bits_per_sample = size >= 16 ? GetLittleEndian16(bytes + 14) : 0;
  if (size > 18) format.extra.assign(bytes + 18, bytes + size);
  return format;
}

}  // namespace

std::optional<WaveLayout> WalkWaveChunks(int fd) {
  int64_t offset = 0;
  for (;;) {
    std::array<uint8_t, 12> header;
    if (!ReadExactly(fd, offset, header.data(), header.size())) return std::nullopt;
    if (IsId(header.data(), "RIFF") && IsId(&header[8], "WAVE")) break;
    const uint64_t size = RoundedUpToEven(GetLittleEndian32(&header[4]));
    if (size < 5) return std::nullopt;
    offset += static_cast<int64_t>(8 + size);  // the form type is inside the size
  }
  offset += 12;

  const std::optional<uint32_t> format_size = FindChunk(fd, &offset, "fmt ");
  if (!format_size || *format_size < kMinFormatSize || *format_size > kMaxFormatSize) {
    return std::nullopt;
  }
  std::array<uint8_t, kMaxFormatSize> format_bytes;
  if (!ReadExactly(fd, offset, format_bytes.data(), *format_size)) return std::nullopt;
  offset += *format_size;  // the walk goes on right after the format, as written

  WaveLayout layout;
  layout.format = ParseFormat(format_bytes.data(), *format_size);
  layout.format_start = offset - *format_size;
  layout.format_size = *format_size;
  const std::optional<uint32_t> data_size = FindChunk(fd, &offset, "data");
  if (!data_size) return std::nullopt;
  layout.data_start = offset;
  layout.data_size = *data_size;

  const WaveFormat& format = layout.format;
  if (format.channels < 1 || format.channels > kMaxChannels || format.sample_rate < 1 ||
      format.sample_rate > kMaxSampleRate) {
    return std::nullopt;
  }
  return layout;
}

}  // namespace parlavox
