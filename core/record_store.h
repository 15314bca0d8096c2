#ifndef PARLAVOX_CORE_RECORD_STORE_H_
#define PARLAVOX_CORE_RECORD_STORE_H_

#include <string>

#include "words/user_record.h"

namespace parlavox {

// Reads and writes the record file of an inward folder, wherever the folder is: on
// this machine, on a mounted share or on a server reached directly.
class RecordStore {
 public:
  virtual ~RecordStore() = default;
  // As ReadUserRecord: the bytes read replace the record's; false when there is no
  // record that can be read.
  virtual bool Read(UserRecord* record, const std::string& folder) = 0;
  // As WriteUserRecord; false when it could not be written.
  virtual bool Write(const UserRecord& record, const std::string& folder) = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_CORE_RECORD_STORE_H_
