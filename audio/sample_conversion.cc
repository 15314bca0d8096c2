#include "audio/sample_conversion.h"

namespace parlavox {
namespace {

uint32_t Load(const uint8_t* bytes, int size) {
  uint32_t value = 0;
  for (int i = 0; i < size; ++i) value |= uint32_t{bytes[i]} << (8 * i);
  return value;
}

void Store(uint8_t* bytes, int size, uint32_t value) {
  for (int i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(value >> (8 * i));
}

}  // namespace

void DecodePcm(const uint8_t* bytes, int bytes_per_sample, int32_t* samples, int64_t count) {
  switch (bytes_per_sample) {
    case 1:
      for (int64_t i = 0; i < count; ++i) samples[i] = FromUnsigned8(bytes[i]);
      break;
    case 2:
      for (int64_t i = 0; i < count; ++i) {
        samples[i] = From16(static_cast<int16_t>(Load(bytes + 2 * i, 2)));
      }
      break;
    default:
      for (int64_t i = 0; i < count; ++i) {
        samples[i] = From32(static_cast<int32_t>(Load(bytes + 4 * i, 4)));
      }
  }
}

void EncodePcm(const int32_t* samples, int64_t count, int bytes_per_sample, uint8_t* bytes) {
  switch (bytes_per_sample) {
    case 1:
      for (int64_t i = 0; i < count; ++i) bytes[i] = ToUnsigned8(samples[i]);
      break;
    case 2:
      for (int64_t i = 0; i < count; ++i) {
        Store(bytes + 2 * i, 2, static_cast<uint16_t>(To16(samples[i])));
      }
      break;
    default:
      for (int64_t i = 0; i < count; ++i) {
        Store(bytes + 4 * i, 4, static_cast<uint32_t>(To32(samples[i])));
      }
  }
}

}  // namespace parlavox
