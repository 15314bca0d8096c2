#include "core/intercom.h"

#include <utility>

#include "words/hot_key_commands.h"
#include "words/server_trouble.h"

namespace parlavox {

Intercom::Intercom(SettingsFile& settings, IntercomParts parts, IntercomView& view,
                   std::vector<std::string> idle_texts)
    : settings_(settings),
      parts_(parts),
      view_(view),
      users_cache_(settings),
      own_(settings, parts.records),
      status_(parts.clock, std::move(idle_texts),
              [this](const std::string& text, bool idle) { view_.ShowStatus(text, idle); }),
      inbox_(parts.inbox_folder, parts.player, settings, users_cache_, parts.share, parts.clock,
             status_, view),
      calls_(settings, users_cache_, own_, parts.recorder, parts.mixer, parts.priority, parts.share,
             status_, view),
      hold_(parts.clock,
            [this] {
              StopCall();
              view_.GiveActivationBack();
            }),
      publish_again_(parts.clock.NewTimer([this] { PublishUntilWritten(); })) {}

Intercom::~Intercom() {
  parts_.poller.StopPolling();
  parts_.watcher.StopWatching();
}

void Intercom::Start() {
  own_.Load();
  view_.ShowIdentity(own_.record());
  own_.set_on(true);
  ApplyOnOffState();
  StartWorkers();
  status_.Start();
}

void Intercom::StartWorkers() {
  inbox_.Clear();
  parts_.watcher.StartWatching(settings_.inward_folder(),
                               lifetime_.Bind([this] { inbox_.PlayNext(); }),
                               lifetime_.Bind([this](bool usable) { OnInwardFolder(usable); }));
  parts_.poller.StartPolling(
      lifetime_.Bind([this](const std::set<int>& unreached) {
        unreached_ = unreached;
        FillUserList();
      }),
      lifetime_.Bind([this](const std::string& trouble) { OnServerTrouble(trouble); }));
}

void Intercom::OnServerTrouble(const std::string& trouble) {
  status_.ShowStatus(trouble);
  // Asked once a run for each server: a person who said no is not asked at every poll.
  if (const std::optional<std::string> host = RefusingServer(trouble);
      host && asked_for_account_.insert(*host).second) {
    view_.AskForAccount(*host, trouble);
  }
}

void Intercom::OnInwardFolder(bool usable) {
  if (!usable) {
    status_.ShowStatus("Nobody can call you: your inward folder " + settings_.inward_folder() +
                       " is missing or can't be used");
    return;
  }
  // A folder made again (a share mounted again, a folder restored) has lost the
  // record that tells others this intercom is on; one that was away since the start
  // holds the person's own record, which replaces the stand-in.
  ApplyOnOffState();
  view_.ShowIdentity(own_.record());
  status_.ShowStatus("Your inward folder is back: others can call you again");
}

void Intercom::BeginSettings() {
  parts_.watcher.AskToStop();
  parts_.poller.AskToStop();
  on_before_settings_ = own_.is_on();
  own_.set_on(false);
  own_.Publish();
}

void Intercom::EndSettings() {
  unreached_.clear();  // the list may have changed: the first poll tells again
  own_.Load();
  view_.ShowIdentity(own_.record());
  own_.set_on(std::exchange(on_before_settings_, std::nullopt).value_or(own_.is_on()));
  ApplyOnOffState();
  StartWorkers();
}

void Intercom::GoToSleep() {
  if (on_before_sleep_) return;
  StopCall();
  publish_again_->Stop();
  on_before_sleep_ = own_.is_on();
  own_.set_on(false);
  own_.Publish();
}

void Intercom::WakeUp() {
  if (!on_before_sleep_) return;
  own_.set_on(*std::exchange(on_before_sleep_, std::nullopt));
  PublishUntilWritten();
}

void Intercom::PublishUntilWritten() {
  if (!own_.Publish()) publish_again_->Start(kPublishAgainAfter);
}

void Intercom::End() {
  parts_.watcher.AskToStop();  // its threads may take a moment to end: they start now
  publish_again_->Stop();
  own_.set_on(false);
  own_.Publish();
  parts_.watcher.StopWatching();
  parts_.poller.StopPolling();
  inbox_.Stop();
  calls_.Stop();
  status_.Stop();
}

void Intercom::Turn(bool on) {
  if (on_before_settings_) {
    on_before_settings_ = on;
    return;
  }
  own_.set_on(on);
  ApplyOnOffState();
}

void Intercom::ChangeIdentity(const IdentityChange& change) {
  own_.Change(change);
  own_.Publish();
  view_.ShowIdentity(own_.record());
}

void Intercom::ApplyOnOffState() {
  own_.Publish();
  view_.ShowOnOff(own_.is_on());
}

void Intercom::FillUserList() {
  users_.Refill(users_cache_, unreached_);
  view_.ShowUsers(users_);
}

void Intercom::Select(int position) {
  users_.Select(position);
  view_.ShowUsers(users_);
}

void Intercom::StartCall(int index, CallDone done) {
  StartCallWith(index, CallButton::kNone, std::move(done));
}

void Intercom::CallSelected(CallDone done) {
  StartCallWith(users_.selected(), CallButton::kCall, std::move(done));
}

void Intercom::Reply(CallDone done) {
  const int index = users_cache_.FindById(inbox_.previous_caller()).value_or(users_.selected());
  StartCallWith(index, CallButton::kReply, std::move(done));
}

void Intercom::StartCallWith(int index, CallButton button, CallDone done) {
  calls_.Start(index, lifetime_.Bind([this, button, done = std::move(done)](CallRefusal refusal) {
    if (calls_.is_recording() && button != CallButton::kNone) view_.ShowCallButton(button);
    if (done) done(refusal);
  }));
}

void Intercom::StopCall() { calls_.Stop(); }

void Intercom::ToggleCallSelected() {
  if (calls_.is_recording()) {
    StopCall();
  } else {
    CallSelected();
  }
}

void Intercom::ToggleReply() {
  if (calls_.is_recording()) {
    StopCall();
  } else {
    Reply();
  }
}

void Intercom::HotKey(int32_t command) {
  using namespace hot_key_command;
  switch (command) {
    case kOpen:
      return view_.ShowMainWindow();
    case kClose:
      return view_.HideMainWindow();
    case kCallSelected:
      CallSelected();
      break;
    case kReply:
      Reply();
      break;
    case kTurnOn:
      return TurnOn();
    case kTurnOff:
      return TurnOff();
    default:
      if (command < kCallUser || command - kCallUser >= users_cache_.Count()) return;
      StartCall(command - kCallUser);
  }
  if (!hold_.is_held()) view_.TakeActivationForHotKey();
  hold_.Renew();
}

IntercomSnapshot Intercom::Snapshot() const {
  return {own_.is_on(),   calls_.is_recording(),    inbox_.is_playing(),
          status_.text(), inbox_.previous_caller(), own_.record(),
          users_.items(), users_.selected()};
}

}  // namespace parlavox
