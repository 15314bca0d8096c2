#ifndef PARLAVOX_AUDIO_PCM_WAVE_FILE_READER_H_
#define PARLAVOX_AUDIO_PCM_WAVE_FILE_READER_H_

#include <vector>

#include "audio/wave_chunks.h"
#include "audio/wave_file.h"

namespace parlavox {

// Reads 8-bit (bits <= 8), 16-bit (bits 9 to 16) or 32-bit (more bits; 24-bit files
// included, taken as 4 bytes a sample) PCM. The length follows a file that is still
// growing: the data size from the header, capped by the real file size, is read again
// whenever the position reaches the known end. Known data is read from the file in
// runs of up to 64 KiB, so that reading a whole file takes few system calls.
class PcmWaveFileReader : public WaveFileReader {
 public:
  // Takes ownership of `fd`.
  PcmWaveFileReader(int fd, const WaveLayout& layout);
  ~PcmWaveFileReader() override;

  void Seek(int64_t frame) override;
  int64_t GetPosition() const override { return position_; }
  int64_t GetLength() override;

 protected:
  void ReadBlock(int32_t* samples, int frames) override;

 private:
  int64_t frame_bytes() const { return int64_t{channels()} * bytes_per_sample_; }
  void RefreshLength();
  // The file's bytes from `offset` on, at most `size` of them: fewer at the known end
  // (then `*got` says how many), or on an error.
  const uint8_t* BytesAt(int64_t offset, int64_t size, int64_t* got);

  int fd_;
  int64_t data_start_;
  int bytes_per_sample_;
  int64_t position_ = 0;
  int64_t known_frames_ = 0;
  int64_t read_offset_;         // where the next read starts, like a file pointer
  std::vector<uint8_t> ahead_;  // bytes read from the file at ahead_offset_ on
  int64_t ahead_offset_ = 0;
  int64_t ahead_size_ = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_PCM_WAVE_FILE_READER_H_
