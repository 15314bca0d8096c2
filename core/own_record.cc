#include "core/own_record.h"

#include "util/paths.h"

namespace parlavox {

void OwnRecord::Load() {
  if (loaded_) {
    ReadUserRecord(&record_, JoinPath(settings_.inward_folder(), kUserRecordFileName));
    return;
  }
  record_ = LoadOrCreateOwnRecord(settings_.inward_folder());
  loaded_ = true;
}

bool OwnRecord::Publish() {
  return WriteUserRecord(record_, JoinPath(settings_.inward_folder(), kUserRecordFileName));
}

}  // namespace parlavox
