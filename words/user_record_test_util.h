#ifndef PARLAVOX_WORDS_USER_RECORD_TEST_UTIL_H_
#define PARLAVOX_WORDS_USER_RECORD_TEST_UTIL_H_

#include <filesystem>
#include <string>

#include "words/user_record.h"

namespace parlavox {

// A record as another person's copy publishes it.
inline UserRecord MakeUserRecord(const std::string& name, int32_t id, bool on) {
  UserRecord record;
  record.SetName(name);
  record.id = id;
  record.set_on(on);
  return record;
}

// Writes the record of another person, as their copy would, into their inward folder.
inline bool PublishUser(const std::string& folder, const std::string& name, int32_t id, bool on) {
  std::filesystem::create_directories(folder);
  return WriteUserRecord(MakeUserRecord(name, id, on),
                         folder + "/" + std::string(kUserRecordFileName));
}

}  // namespace parlavox

#endif  // PARLAVOX_WORDS_USER_RECORD_TEST_UTIL_H_
