#include "core/own_record.h"

namespace parlavox {

void OwnRecord::Load() {
  if (loaded_) {
    store_.Read(&record_, settings_.inward_folder());
    return;
  }
  record_ = UserRecord();
  if (!store_.Read(&record_, settings_.inward_folder())) record_ = NewOwnRecord();
  loaded_ = true;
}

bool OwnRecord::Publish() { return store_.Write(record_, settings_.inward_folder()); }

}  // namespace parlavox
