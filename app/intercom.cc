#include "app/intercom.h"

#include "app/paths.h"

namespace parlavox {

Intercom::Intercom(const SettingsFile& settings, TaskPoster& poster, IntercomView& view)
    : settings_(settings), view_(view), poller_(settings, poster) {}

Intercom::~Intercom() { poller_.Stop(); }

void Intercom::Start() {
  LoadOwnUserRecord();
  TurnOn();
  StartPresencePoller();
}

void Intercom::LoadOwnUserRecord() {
  own_record_ = LoadOrCreateOwnRecord(settings_.inward_folder());
}

void Intercom::StartPresencePoller() {
  poller_.StartPolling([this] { FillUserList(); });
}

void Intercom::End() {
  own_record_.set_on(false);
  WriteOwnUserRecord();
  poller_.Stop();
}

void Intercom::TurnOn() {
  own_record_.set_on(true);
  ApplyOnOffState();
}

void Intercom::TurnOff() {
  own_record_.set_on(false);
  ApplyOnOffState();
}

void Intercom::ChangeIdentity(const IdentityChange& change) {
  change.ApplyTo(&own_record_);
  WriteOwnUserRecord();
}

void Intercom::ApplyOnOffState() {
  WriteOwnUserRecord();
  view_.ShowOnOff(own_record_.is_on());
}

void Intercom::WriteOwnUserRecord() const {
  WriteUserRecord(own_record_, JoinPath(settings_.inward_folder(), kUserRecordFileName));
}

void Intercom::FillUserList() {
  users_.Refill(settings_);
  view_.ShowUsers(users_);
}

}  // namespace parlavox
