#ifndef PARLAVOX_AUDIO_CODEC_WAVE_FILE_READER_H_
#define PARLAVOX_AUDIO_CODEC_WAVE_FILE_READER_H_

#include <sndfile.h>

#include <string>
#include <vector>

#include "audio/wave_chunks.h"
#include "audio/wave_file.h"

namespace parlavox {

// Reads WAVE formats other than PCM (IEEE float, A-law, mu-law, IMA and MS ADPCM,
// GSM 6.10, extensible, ...) by decoding them to 16-bit values with libsndfile, which
// reads the file through this object's own descriptor. libsndfile is shown the file as
// a plain WAVE file of the format and data chunks the chunk walk found, so that it takes
// every file the walk takes (other chunks before the format, other top-level chunks
// before the RIFF form). The length is an estimate
// from the compressed size and the average byte rate until the data runs out, when
// it becomes exact. Invalid when libsndfile can't decode the file.
class CodecWaveFileReader : public WaveFileReader {
 public:
  // Takes ownership of `fd`.
  CodecWaveFileReader(int fd, const WaveLayout& layout);
  ~CodecWaveFileReader() override;

  void Seek(int64_t frame) override;
  int64_t GetPosition() const override { return position_; }
  int64_t GetLength() override { return estimated_frames_; }

 protected:
  void ReadBlock(int32_t* samples, int frames) override;

 private:
  // The compressed bytes' worth of frames, by the format's average byte rate.
  int64_t FramesForBytes(int64_t bytes) const;
  int64_t UndecodedBytes() const;
  // (Re)starts libsndfile on the file; when it can't decode it, marks the reader
  // invalid and returns false.
  bool OpenCodec();
  // For codecs that can't seek: decodes and drops everything before `frame`.
  // False when the data ends first.
  bool DecodeFromStartTo(int64_t frame);

  static sf_count_t FileLength(void* self);
  static sf_count_t SeekFile(sf_count_t offset, int whence, void* self);
  static sf_count_t ReadFile(void* buffer, sf_count_t count, void* self);
  static sf_count_t WriteFile(const void* buffer, sf_count_t count, void* self);
  static sf_count_t TellFile(void* self);

  int fd_;
  // What libsndfile sees: this header, then the file's data chunk contents onwards.
  std::string header_;
  int64_t file_offset_ = 0;  // where libsndfile reads next, in what it sees
  int64_t data_start_;
  uint32_t data_size_;
  uint32_t average_bytes_per_second_;
  SNDFILE* sound_ = nullptr;
  bool end_of_data_ = false;
  int64_t position_ = 0;
  int64_t estimated_frames_;
  std::vector<float> decoded_;
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_CODEC_WAVE_FILE_READER_H_
