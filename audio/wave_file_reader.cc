#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "audio/codec_wave_file_reader.h"
#include "audio/pcm_wave_file_reader.h"
#include "audio/wave_chunks.h"
#include "audio/wave_file.h"

namespace parlavox {
namespace {

// Opens a regular file for reading without ever blocking on a pipe or device.
int OpenRegularFile(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return -1;
  struct stat status {};
  if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
    close(fd);
    return -1;
  }
  fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
  posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
  return fd;
}

}  // namespace

WaveFileReader::WaveFileReader(int32_t sample_rate, int channels, int32_t full_scale)
    : sample_rate_(sample_rate), channels_(channels), full_scale_(full_scale) {
  if (sample_rate_ < 1) {
    sample_rate_ = 44100;
    valid_ = false;
  }
  if (channels_ < 1) {
    channels_ = 1;
    valid_ = false;
  }
}

void WaveFileReader::Read(int32_t* samples, int64_t frames) {
  while (frames > 0) {
    const int block = static_cast<int>(std::min<int64_t>(frames, kMaxBlockFrames));
    ReadBlock(samples, block);
    samples += int64_t{block} * channels_;
    frames -= block;
  }
}

int64_t WaveFileReader::SilenceBeforeStart(int32_t*& samples, int frames, int64_t position) const {
  const int64_t lead = valid_ ? std::clamp<int64_t>(frames - position, 0, frames) : frames;
  std::fill_n(samples, lead * channels_, 0);
  samples += lead * channels_;
  return frames - lead;
}

std::shared_ptr<WaveFileReader> OpenWaveFileReader(const std::string& path) {
  const int fd = OpenRegularFile(path);
  if (fd < 0) return nullptr;
  const std::optional<WaveLayout> layout = WalkWaveChunks(fd);
  if (!layout) {
    close(fd);
    return nullptr;
  }
  if (layout->format.format_tag == kFormatPcm) {
    return std::make_shared<PcmWaveFileReader>(fd, *layout);
  }
  return std::make_shared<CodecWaveFileReader>(fd, *layout);
}

}  // namespace parlavox
