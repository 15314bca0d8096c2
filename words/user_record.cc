#include "words/user_record.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "util/atomic_file.h"
#include "util/file_io.h"
#include "util/little_endian.h"
#include "words/record_text.h"

namespace parlavox {
namespace {

constexpr size_t kFlagsOffset = 0;
constexpr size_t kIdOffset = 4;
constexpr size_t kNameOffset = 8;
constexpr size_t kEmailOffset = kNameOffset + UserRecord::kTextSize;

using RecordBytes = std::array<uint8_t, kUserRecordSize>;

std::string TextOf(const std::array<char, UserRecord::kTextSize>& field) {
  return RecordTextToUtf8(std::string_view(field.data(), strnlen(field.data(), field.size())));
}

void SetText(std::array<char, UserRecord::kTextSize>& field, std::string_view text) {
  const std::string bytes = Utf8ToRecordText(text, field.size() - 1);
  field.fill('\0');
  std::memcpy(field.data(), bytes.data(), bytes.size());
}

}  // namespace

std::string UserRecord::Name() const { return TextOf(name); }
std::string UserRecord::Email() const { return TextOf(email); }
void UserRecord::SetName(std::string_view text) { SetText(name, text); }
void UserRecord::SetEmail(std::string_view text) { SetText(email, text); }

RecordBytes UserRecord::ToBytes() const {
  RecordBytes bytes{};
  PutLittleEndian32(&bytes[kFlagsOffset], flags);
  PutLittleEndian32(&bytes[kIdOffset], static_cast<uint32_t>(id));
  std::memcpy(bytes.data() + kNameOffset, name.data(), kTextSize);
  std::memcpy(bytes.data() + kEmailOffset, email.data(), kTextSize);
  return bytes;
}

UserRecord UserRecord::FromBytes(const RecordBytes& bytes) {
  UserRecord record;
  record.flags = GetLittleEndian32(&bytes[kFlagsOffset]);
  record.id = static_cast<int32_t>(GetLittleEndian32(&bytes[kIdOffset]));
  std::memcpy(record.name.data(), bytes.data() + kNameOffset, kTextSize);
  std::memcpy(record.email.data(), bytes.data() + kEmailOffset, kTextSize);
  return record;
}

void TakeRecordBytes(UserRecord* record, std::string_view read) {
  RecordBytes bytes = record->ToBytes();
  std::copy_n(read.begin(), std::min(read.size(), bytes.size()), bytes.begin());
  *record = UserRecord::FromBytes(bytes);
  record->name.back() = '\0';
  record->email.back() = '\0';
}

bool ReadUserRecord(UserRecord* record, const std::string& path) {
  // Non-blocking, so that a pipe planted under the record's name can't stall us.
  const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return false;
  struct stat status {};
  if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
    close(fd);
    return false;
  }
  char bytes[kUserRecordSize];
  const ssize_t got = ReadFully(fd, bytes, sizeof bytes);
  close(fd);
  TakeRecordBytes(record, std::string_view(bytes, got > 0 ? static_cast<size_t>(got) : 0));
  return true;
}

bool WriteUserRecord(const UserRecord& record, const std::string& path) {
  const RecordBytes bytes = record.ToBytes();
  const std::string_view contents(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (ReplaceFile(path, contents)) return true;
  // Some network file systems refuse to rename over a file that another machine
  // holds open; write it in place then. Not through a link: where the rename was refused
  // because another user put one there (a shared folder), it would cut a file of ours.
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0666);
  if (fd < 0) return false;
  const bool written = WriteFully(fd, bytes.data(), bytes.size());
  return close(fd) == 0 && written;
}

}  // namespace parlavox
