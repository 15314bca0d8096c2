#include "audio/wave_file_fuzz.h"

#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "audio/wave_file.h"

namespace parlavox {
namespace {

constexpr int kBlockFrames = 1024;
constexpr int kMaxBlocks = 64;

// Seek targets around what the reader says, picked by the input's last byte.
int64_t SeekTarget(uint8_t choice, int64_t length) {
  switch (choice % 6) {
    case 0:
      return -1653;
    case 1:
      return 0;
    case 2:
      return length / 2;
    case 3:
      return length - 1;
    case 4:
      return length + 100;
    default:
      return int64_t{1} << 40;
  }
}

}  // namespace

void ExerciseWaveReader(const uint8_t* data, size_t size) {
  const int fd = memfd_create("wave", MFD_CLOEXEC);
  if (fd < 0) return;
  for (size_t done = 0; done < size;) {
    const ssize_t written = write(fd, data + done, size - done);
    if (written <= 0) break;
    done += static_cast<size_t>(written);
  }
  std::shared_ptr<WaveFileReader> reader =
      OpenWaveFileReader("/proc/self/fd/" + std::to_string(fd));
  close(fd);
  if (!reader) return;

  static std::vector<int32_t> block(size_t{255} * kBlockFrames);
  int64_t length = reader->GetLength();
  for (int i = 0; i < kMaxBlocks && reader->GetPosition() <= length; ++i) {
    reader->Read(block.data(), kBlockFrames);
    length = reader->GetLength();
  }
  const uint8_t choice = size > 0 ? data[size - 1] : 0;
  for (int round = 0; round < 3; ++round) {
    reader->Seek(SeekTarget(static_cast<uint8_t>(choice + round), length));
    reader->Read(block.data(), kBlockFrames);
    length = reader->GetLength();
  }
}

}  // namespace parlavox
