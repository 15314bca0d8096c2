#include "audio/sample_conversion.h"

#include <bit>
#include <cstring>

namespace parlavox {
namespace {

// One little-endian sample of type T at `bytes`. On a little-endian machine this is a
// plain load, and the loops below become vector code.
template <typename T>
T Load(const uint8_t* bytes) {
  T value;
  if constexpr (std::endian::native == std::endian::little) {
    std::memcpy(&value, bytes, sizeof value);
  } else {
    std::make_unsigned_t<T> bits = 0;
    for (size_t i = 0; i < sizeof value; ++i) bits |= std::make_unsigned_t<T>(bytes[i]) << (8 * i);
    value = static_cast<T>(bits);
  }
  return value;
}

template <typename T>
void Store(uint8_t* bytes, T value) {
  if constexpr (std::endian::native == std::endian::little) {
    std::memcpy(bytes, &value, sizeof value);
  } else {
    const auto bits = static_cast<std::make_unsigned_t<T>>(value);
    for (size_t i = 0; i < sizeof value; ++i) bytes[i] = static_cast<uint8_t>(bits >> (8 * i));
  }
}

}  // namespace

void DecodePcm(const uint8_t* bytes, int bytes_per_sample, int32_t* samples, int64_t count) {
  switch (bytes_per_sample) {
    case 1:
      for (int64_t i = 0; i < count; ++i) samples[i] = FromUnsigned8(bytes[i]);
      break;
    case 2:
      for (int64_t i = 0; i < count; ++i) samples[i] = From16(Load<int16_t>(bytes + 2 * i));
      break;
    default:
      for (int64_t i = 0; i < count; ++i) samples[i] = From32(Load<int32_t>(bytes + 4 * i));
  }
}

void EncodePcm(const int32_t* samples, int64_t count, int bytes_per_sample, uint8_t* bytes) {
  switch (bytes_per_sample) {
    case 1:
      for (int64_t i = 0; i < count; ++i) bytes[i] = ToUnsigned8(samples[i]);
      break;
    case 2:
      for (int64_t i = 0; i < count; ++i) Store<int16_t>(bytes + 2 * i, To16(samples[i]));
      break;
    default:
      for (int64_t i = 0; i < count; ++i) Store<int32_t>(bytes + 4 * i, To32(samples[i]));
  }
}

}  // namespace parlavox
