#ifndef PARLAVOX_AUDIO_PCM_WAVE_FILE_WRITER_H_
#define PARLAVOX_AUDIO_PCM_WAVE_FILE_WRITER_H_

#include <string>
#include <vector>

#include "audio/wave_file.h"
#include "audio/writable_file.h"

namespace parlavox {

// Writes 8-, 16- or 32-bit PCM behind the 46-byte header (an 18-byte "fmt " chunk).
// While the file grows the header claims 32 seconds beyond the written end and is
// rewritten after every 16 seconds of audio; others may read the file meanwhile. Each
// header written is sent on at once (WritableFile::SendOn), so that readers on other
// machines see a valid header. A file that sound did not reach to its end (a full disk)
// is finished claiming, and as long as, the sound that reached it, so that readers take
// it as whole rather than wait for the rest.
class PcmWaveFileWriter : public WaveFileWriter {
 public:
  static constexpr int kHeaderSize = 46;

  // Writes into `file` (null: an invalid writer that only counts).
  PcmWaveFileWriter(std::unique_ptr<WritableFile> file, uint32_t sample_rate, int channels,
                    int bits_per_sample, int64_t start_frame);
  ~PcmWaveFileWriter() override;

  void Truncate(int64_t frame) override;
  bool Finish() override;

 protected:
  void WriteBlock(const int32_t* samples, int frames) override;

 private:
  int64_t frame_bytes() const { return int64_t{channels()} * bytes_per_sample_; }
  // Writes the header at the file's start; a provisional one claims 32 s more.
  // False when it could not be written.
  bool WriteHeader(bool provisional);

  int bytes_per_sample_;
  std::unique_ptr<WritableFile> file_;
  int64_t refresh_countdown_ = 0;
  std::vector<uint8_t> buffer_;
  bool written_ = true;         // every write so far succeeded
  int64_t reached_frames_ = 0;  // the end of the last block that reached the file
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_PCM_WAVE_FILE_WRITER_H_
