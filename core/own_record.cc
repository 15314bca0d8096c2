#include "core/own_record.h"

namespace parlavox {

void OwnRecord::Load() {
  if (!loaded_) record_ = UserRecord();
  if (!ReadFolder() && !loaded_) {
    record_ = NewOwnRecord();
    stand_in_ = true;
  }
  loaded_ = true;
}

bool OwnRecord::Publish() {
  if (stand_in_) {
    const bool on = record_.is_on();
    if (ReadFolder()) record_.set_on(on);
  }
  if (!store_.Write(record_, settings_.inward_folder())) return false;
  stand_in_ = false;
  changes_to_stand_in_.clear();
  return true;
}

void OwnRecord::Change(const IdentityChange& change) {
  change.ApplyTo(&record_);
  if (stand_in_) changes_to_stand_in_.push_back(change);
}

bool OwnRecord::ReadFolder() {
  if (!store_.Read(&record_, settings_.inward_folder())) return false;
  for (const IdentityChange& change : changes_to_stand_in_) change.ApplyTo(&record_);
  changes_to_stand_in_.clear();
  stand_in_ = false;
  return true;
}

}  // namespace parlavox
