#ifndef PARLAVOX_WORDS_USER_RECORD_H_
#define PARLAVOX_WORDS_USER_RECORD_H_

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace parlavox {

// Name of the record file in every inward folder.
inline constexpr std::string_view kUserRecordFileName = "ParlavoxUserData";
inline constexpr size_t kUserRecordSize = 128;

// What one person publishes about their intercom, stored as exactly 128 bytes,
// little-endian: flags (bit 0: on), id, a 60-byte name and a 60-byte e-mail text,
// each zero-terminated. Flag bits other than bit 0 are carried as they were read.
// The default record is all zeros: off, id 0, empty name and e-mail.
struct UserRecord {
  static constexpr uint32_t kOnFlag = 1;
  static constexpr size_t kTextSize = 60;

  uint32_t flags = 0;
  int32_t id = 0;
  std::array<char, kTextSize> name{};
  std::array<char, kTextSize> email{};

  bool is_on() const { return (flags & kOnFlag) != 0; }
  void set_on(bool on) { flags = on ? (flags | kOnFlag) : (flags & ~kOnFlag); }

  // The texts as UTF-8, read and written as record_text.h says; at most 59 bytes are
  // stored.
  std::string Name() const;
  std::string Email() const;
  void SetName(std::string_view text);
  void SetEmail(std::string_view text);

  std::array<uint8_t, kUserRecordSize> ToBytes() const;
  static UserRecord FromBytes(const std::array<uint8_t, kUserRecordSize>& bytes);
};

// Puts the bytes read of a record file (`read`, at most 128 are taken) over `record`:
// they replace the record's, so a short file leaves the rest of the record as it was;
// the last byte of the name and of the e-mail are forced to zero.
void TakeRecordBytes(UserRecord* record, std::string_view read);

// Reads the record file at `path` over `record` (TakeRecordBytes). Returns false only
// when the file can't be opened as a regular file.
bool ReadUserRecord(UserRecord* record, const std::string& path);

// Writes the record's 128 bytes to `path`, replacing the file atomically where the
// file system allows and in place where it does not. Returns false on failure.
bool WriteUserRecord(const UserRecord& record, const std::string& path);

}  // namespace parlavox

#endif  // PARLAVOX_WORDS_USER_RECORD_H_
