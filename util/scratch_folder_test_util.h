#ifndef PARLAVOX_UTIL_SCRATCH_FOLDER_TEST_UTIL_H_
#define PARLAVOX_UTIL_SCRATCH_FOLDER_TEST_UTIL_H_

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "util/atomic_file.h"
#include "util/little_endian.h"

namespace parlavox {

// A fresh folder under the system's temporary folder, removed with everything in it
// when the object goes.
class ScratchFolder {
 public:
  ScratchFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "parlavox-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::string& path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

inline void WriteFileText(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

// The whole file, read in large pieces (a package of tens of megabytes among them);
// "" when it can't be read.
inline std::string FileText(const std::string& path) { return ReadWholeFile(path).value_or(""); }

// The samples of a raw file of signed 16-bit samples, least significant byte first
// (what parec and sox write as raw).
inline std::vector<int16_t> RawSamples(const std::string& path) {
  const std::string bytes = FileText(path);
  std::vector<int16_t> samples(bytes.size() / 2);
  for (size_t i = 0; i < samples.size(); ++i) {
    samples[i] = int16_t(GetLittleEndian16(reinterpret_cast<const uint8_t*>(&bytes[2 * i])));
  }
  return samples;
}

// How many files this process has open: a file that code leaves open shows as one more.
inline long OpenFileCount() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

// Whether the file's owner may run it.
inline bool IsExecutable(const std::string& path) {
  return (std::filesystem::status(path).permissions() & std::filesystem::perms::owner_exec) !=
         std::filesystem::perms::none;
}

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_SCRATCH_FOLDER_TEST_UTIL_H_
