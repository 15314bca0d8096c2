#include "app/message_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>

#include "audio/wave_chunks.h"

namespace parlavox {

bool IsMessageStillComing(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  struct stat status {};
  bool coming = false;
  if (fstat(fd, &status) == 0) {
    const auto changed = std::chrono::seconds(status.st_mtim.tv_sec) +
                         std::chrono::nanoseconds(status.st_mtim.tv_nsec);
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    if (now - changed < kMessageSettleTime) {
      const std::optional<WaveLayout> layout = WalkWaveChunks(fd);
      coming = !layout || layout->data_start + int64_t{layout->data_size} > status.st_size;
    }
  }
  close(fd);
  return coming;
}

}  // namespace parlavox
