#ifndef PARLAVOX_CORE_OWN_RECORD_H_
#define PARLAVOX_CORE_OWN_RECORD_H_

#include <vector>

#include "core/record_store.h"
#include "settings/settings_file.h"
#include "words/identity.h"
#include "words/user_record.h"

namespace parlavox {

// The person's own record, which others read to see whether this intercom is on and
// who its person is. It lives in the own inward folder (the one `settings` names at
// the time of each call), where it is the only copy of the name, id and e-mail; it is
// read and written through `store`, which outlives this object.
class OwnRecord {
 public:
  OwnRecord(const SettingsFile& settings, RecordStore& store)
      : settings_(settings), store_(store) {}

  // Reads the record from the inward folder over the one held; a short file changes
  // only what it holds. When there is none, the record held stays, except on the
  // first load ever, where a new one is made: off, a random id and the account's
  // name. Nothing is written.
  //
  // Such a new record stands in only until the folder can be read or has been written:
  // an inward folder on a server that is away at the start (a laptop's network comes up
  // after the login) still holds the person's record, which Publish then takes, with
  // the changes made meanwhile, rather than write the stand-in over it.
  void Load();
  // Writes the record as it stands; false when it could not be written.
  bool Publish();

  bool is_on() const { return record_.is_on(); }
  void set_on(bool on) { record_.set_on(on); }
  // Changes the name, id or e-mail; Publish makes it known.
  void Change(const IdentityChange& change);

  const UserRecord& record() const { return record_; }

 private:
  // Reads the folder's record over the one held, the changes made to a stand-in on top;
  // false when there is none to read.
  bool ReadFolder();

  const SettingsFile& settings_;
  RecordStore& store_;
  UserRecord record_;
  bool loaded_ = false;
  bool stand_in_ = false;
  std::vector<IdentityChange> changes_to_stand_in_;
};

}  // namespace parlavox

#endif  // PARLAVOX_CORE_OWN_RECORD_H_
