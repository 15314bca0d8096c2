#include "audio/codec_wave_file_writer.h"

#include <optional>

#include "audio/sample_conversion.h"

namespace parlavox {
namespace {

std::optional<int> LibsndfileSubtype(const WaveFormat& format) {
  switch (format.format_tag) {
    case kFormatIeeeFloat:
      return format.bits_per_sample == 64 ? SF_FORMAT_DOUBLE : SF_FORMAT_FLOAT;
    case kFormatALaw:
      return SF_FORMAT_ALAW;
    case kFormatMuLaw:
      return SF_FORMAT_ULAW;
    case kFormatImaAdpcm:
      return SF_FORMAT_IMA_ADPCM;
    case kFormatMsAdpcm:
      return SF_FORMAT_MS_ADPCM;
    case kFormatGsm610:
      return SF_FORMAT_GSM610;
    default:
      return std::nullopt;
  }
}

int ChannelsOf(const WaveFormat& format) { return format.channels == 0 ? 1 : format.channels; }

}  // namespace

CodecWaveFileWriter::CodecWaveFileWriter(const std::string& path, const WaveFormat& format)
    : WaveFileWriter(format.sample_rate, ChannelsOf(format), 0),
      buffer_(static_cast<size_t>(kMaxBlockFrames) * ChannelsOf(format)),
      float_buffer_(format.format_tag == kFormatIeeeFloat ? buffer_.size() : 0) {
  const std::optional<int> subtype = LibsndfileSubtype(format);
  SF_INFO info{};
  info.samplerate = static_cast<int>(format.sample_rate);
  info.channels = channels();
  info.format = SF_FORMAT_WAV | subtype.value_or(0);
  if (subtype && sf_format_check(&info)) sound_ = sf_open(path.c_str(), SFM_WRITE, &info);
  if (sound_ == nullptr) MarkInvalid();
  floating_ = format.format_tag == kFormatIeeeFloat;
}

CodecWaveFileWriter::~CodecWaveFileWriter() {
  if (sound_ != nullptr) sf_close(sound_);
}

void CodecWaveFileWriter::WriteBlock(const int32_t* samples, int frames) {
  if (!is_valid()) return;
  const int64_t count = int64_t{frames} * channels();
  if (floating_) {
    // Float files hold 16-bit full scale as 1.0.
    for (int64_t i = 0; i < count; ++i) float_buffer_[i] = To16(samples[i]) / 32768.0f;
    sf_writef_float(sound_, float_buffer_.data(), frames);
  } else {
    for (int64_t i = 0; i < count; ++i) buffer_[i] = To16(samples[i]);
    sf_writef_short(sound_, buffer_.data(), frames);
  }
}

}  // namespace parlavox
