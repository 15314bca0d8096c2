#ifndef PARLAVOX_UTIL_LITTLE_ENDIAN_H_
#define PARLAVOX_UTIL_LITTLE_ENDIAN_H_

#include <cstdint>
#include <string>

namespace parlavox {

// Unsigned integers stored least significant byte first, as every file format of the
// program stores them, whatever the machine's own byte order.

inline void PutLittleEndian16(uint8_t* bytes, uint16_t value) {
  bytes[0] = static_cast<uint8_t>(value);
  bytes[1] = static_cast<uint8_t>(value >> 8);
}

inline void PutLittleEndian32(uint8_t* bytes, uint32_t value) {
  PutLittleEndian16(bytes, static_cast<uint16_t>(value));
  PutLittleEndian16(bytes + 2, static_cast<uint16_t>(value >> 16));
}

inline void AppendLittleEndian32(std::string* bytes, uint32_t value) {
  uint8_t field[4];
  PutLittleEndian32(field, value);
  bytes->append(reinterpret_cast<const char*>(field), 4);
}

inline uint16_t GetLittleEndian16(const uint8_t* bytes) {
  return static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
}

inline uint32_t GetLittleEndian32(const uint8_t* bytes) {
  return uint32_t{GetLittleEndian16(bytes)} | uint32_t{GetLittleEndian16(bytes + 2)} << 16;
}

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_LITTLE_ENDIAN_H_
