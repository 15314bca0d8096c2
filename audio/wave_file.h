#ifndef PARLAVOX_AUDIO_WAVE_FILE_H_
#define PARLAVOX_AUDIO_WAVE_FILE_H_

#include <cstdint>
#include <memory>
#include <string>

#include "audio/wave_format.h"
#include "audio/writable_file.h"

namespace parlavox {

// Reads a WAVE file as blocks of internal samples (see wave_format.h), also while
// another process is still writing it. Whatever lies outside the data reads as
// silence. A reader whose file or codec could not be set up is invalid: it reads
// silence and ignores seeks. One reader is not safe to use from two threads at once.
class WaveFileReader {
 public:
  WaveFileReader(const WaveFileReader&) = delete;
  WaveFileReader& operator=(const WaveFileReader&) = delete;
  virtual ~WaveFileReader() = default;

  int32_t sample_rate() const { return sample_rate_; }
  int channels() const { return channels_; }
  int32_t full_scale() const { return full_scale_; }
  bool is_valid() const { return valid_; }

  // Fills exactly channels() x frames samples and advances the position by frames.
  void Read(int32_t* samples, int64_t frames);
  // Positions may be negative; they read as silence until position 0 is reached.
  virtual void Seek(int64_t frame) = 0;
  virtual int64_t GetPosition() const = 0;
  // The frames known so far; for a growing file this grows on later calls.
  virtual int64_t GetLength() = 0;

 protected:
  WaveFileReader(int32_t sample_rate, int channels, int32_t full_scale);
  // Reads at most kMaxBlockFrames frames.
  virtual void ReadBlock(int32_t* samples, int frames) = 0;
  void MarkInvalid() { valid_ = false; }
  // For a block of `frames` frames that ends at `position`: silences the part that lies
  // before the first sample (all of it for an invalid reader), moves `samples` past
  // that part and returns how many frames are left to read.
  int64_t SilenceBeforeStart(int32_t*& samples, int frames, int64_t position) const;

 private:
  int32_t sample_rate_;
  int channels_;
  int32_t full_scale_;
  bool valid_ = true;
};

// Opens a WAVE file: PCM of any width is read directly, other formats through the
// codec. Returns null when the file can't be opened or is not a usable WAVE file;
// a reader that is returned may still be invalid.
std::shared_ptr<WaveFileReader> OpenWaveFileReader(const std::string& path);

// Writes a WAVE file block by block. Each Write reaches the file as one write where it
// holds at most kMaxWriteFrames: on a share far away every write costs a round trip,
// so sound that waited goes on together. A file being written is readable at any moment:
// its header claims 32 seconds more than has been written, and is refreshed every 16
// seconds of audio; Finish writes the exact header. A writer whose file could not be
// created, or take its header, is invalid and only counts frames. One writer is not
// safe to use from two threads at once.
class WaveFileWriter {
 public:
  WaveFileWriter(const WaveFileWriter&) = delete;
  WaveFileWriter& operator=(const WaveFileWriter&) = delete;
  // A writer that was not finished finishes its file here, as well as it can.
  virtual ~WaveFileWriter() = default;

  static constexpr int kMaxWriteFrames = 1 << 20;  // 95 s at 11025 Hz

  bool is_valid() const { return valid_; }
  uint32_t sample_rate() const { return sample_rate_; }
  int channels() const { return channels_; }
  int64_t length() const { return length_; }

  // Appends channels() x frames samples.
  void Write(const int32_t* samples, int64_t frames);
  // Cuts the file back to `frame` when that is not beyond the current length.
  virtual void Truncate(int64_t frame) = 0;
  // Writes the exact header and closes the file; nothing is written after it. Returns
  // whether the whole file made it to the disk.
  virtual bool Finish() = 0;

 protected:
  WaveFileWriter(uint32_t sample_rate, int channels, int64_t length);
  // Writes at most kMaxWriteFrames frames; length() already counts them.
  virtual void WriteBlock(const int32_t* samples, int frames) = 0;
  void MarkInvalid() { valid_ = false; }
  void set_length(int64_t length) { length_ = length; }

 private:
  uint32_t sample_rate_;
  int channels_;
  int64_t length_;
  bool valid_ = true;
};

// A PCM writer of 8 (bits <= 8), 16 (bits <= 16) or 32 bits per sample, starting with
// `start_frame` frames of whatever the file already holds there. An existing file is
// reused, not truncated first.
std::shared_ptr<WaveFileWriter> CreateWaveFileWriter(const std::string& path, uint32_t sample_rate,
                                                     int channels, int bits_per_sample,
                                                     int64_t start_frame);
// The same into a file opened elsewhere (a share's); invalid when `file` is null.
std::shared_ptr<WaveFileWriter> CreateWaveFileWriter(std::unique_ptr<WritableFile> file,
                                                     uint32_t sample_rate, int channels,
                                                     int bits_per_sample, int64_t start_frame);

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_WAVE_FILE_H_
