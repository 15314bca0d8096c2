#include "app/message_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <optional>

#include "audio/wave_chunks.h"

namespace parlavox {

std::chrono::nanoseconds FileAge(const std::string& path) {
  std::error_code error;
  const auto written = std::filesystem::last_write_time(path, error);
  if (error) return std::chrono::nanoseconds::max();
  return std::filesystem::file_time_type::clock::now() - written;
}

bool IsMessageStillComing(const std::string& path) {
  if (FileAge(path) >= kMessageSettleTime) return false;
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  struct stat status {};
  const std::optional<WaveLayout> layout = WalkWaveChunks(fd);
  const bool complete = fstat(fd, &status) == 0 && layout &&
                        layout->data_start + int64_t{layout->data_size} <= status.st_size;
  close(fd);
  return !complete;
}

}  // namespace parlavox
