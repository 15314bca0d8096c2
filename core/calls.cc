#include "core/calls.h"

#include <memory>

#include "settings/device_setting.h"

namespace parlavox {
namespace {

constexpr int32_t kCallHangTime = 216000000;  // 6 hours: a call never pauses by itself

}  // namespace

std::string RefusalText(CallRefusal refusal) {
  switch (refusal) {
    case CallRefusal::kNone:
      return "";
    case CallRefusal::kNoUserSelected:
      return "No user is selected, and nobody has called yet";
    case CallRefusal::kNoSuchUser:
      return "There is no user at that place in the list";
    case CallRefusal::kUnreachable:
      return "Unable to contact user's computer";
    case CallRefusal::kCalleeOff:
      return "User's Parlavox is off";
    case CallRefusal::kPreviousMessagePlaying:
      return "Your previous message is still playing on the user's computer";
    case CallRefusal::kFolderNotWritable:
      return "Unable to write into the user's inward folder";
    case CallRefusal::kRecorderFailed:
      return "Unable to start recording. Check the Sound In Device in Settings";
  }
  return "";
}

Calls::Calls(const SettingsFile& settings, const UsersCache& users, const OwnRecord& own,
             Recorder& recorder, Mixer& mixer, ProcessPriority& priority, ShareAccess& share,
             StatusLine& status, IntercomView& view)
    : settings_(settings),
      users_(users),
      own_(own),
      recorder_(recorder),
      mixer_(mixer),
      priority_(priority),
      share_(share),
      status_(status),
      view_(view) {
  recorder_.SetListener(this, 0);
}

Calls::~Calls() {
  Stop();
  recorder_.SetListener(nullptr, 0);
}

void Calls::Start(int index, Done done) {
  if (index < 0) return done(CallRefusal::kNoUserSelected);
  if (starting_) {  // pressed again before the first press took
    stop_on_start_ = false;
    if (early_ && !recorder_.is_recording()) {
      early_->Resume();
      StartRecorder(early_);
    }
  }
  if (starting_ || recorder_.is_recording()) return done(CallRefusal::kNone);
  if (index >= users_.Count()) return done(CallRefusal::kNoSuchUser);
  starting_ = true;
  stop_on_start_ = false;
  // What is said from the key on is kept until the message file is open, which may take
  // several round trips to the callee's server. Where the microphone can't start now, it
  // is tried again once the file is open.
  early_ = std::make_shared<AwaitingWaveFileWriter>(kMessageSampleRate, kMessageChannels);
  if (!StartRecorder(early_)) early_.reset();
  const std::string folder = users_.Folder(index);
  share_.ReadRecord(folder, lifetime_.Bind([this, folder, done = std::move(done)](
                                               const std::optional<UserRecord>& callee) {
    OnCalleeRecord(folder, done, callee);
  }));
}

bool Calls::StartRecorder(std::shared_ptr<WaveFileWriter> writer) {
  const int source =
      static_cast<int8_t>(settings_.ReadInt(kSettingsSection, settings_key::kRecordSource, -1));
  const DeviceChoice device = ReadDeviceChoice(settings_, settings_key::kInputDevice);
  const int level = settings_.ReadDecibels(kSettingsSection, settings_key::kInputLevel, 0);
  recorder_.set_device(device);
  recorder_.set_level(level);
  mixer_.SelectRecordSource(device, source);
  priority_.Raise();  // so that recording isn't starved while the network file is written
  if (!recorder_.StartRecording(std::move(writer), 0, kSilence, kCallHangTime,
                                Recorder::kStartWriting)) {
    return false;
  }
  view_.EnableRecordMeter(true);
  return true;
}

void Calls::OnCalleeRecord(const std::string& folder, Done done,
                           const std::optional<UserRecord>& callee) {
  if (!callee) return Refuse(CallRefusal::kUnreachable, done);
  if (!callee->is_on()) return Refuse(CallRefusal::kCalleeOff, done);
  share_.OpenMessage(
      folder, std::to_string(own_.record().id) + ".wav",
      lifetime_.Bind([this, callee = *callee, done = std::move(done)](MessageOpening opening) {
        OnMessageOpened(callee, done, std::move(opening));
      }),
      Reports());
}

MessageReports Calls::Reports() {
  constexpr const char* kNotSaved = "Your message could not be saved in the user's folder";
  auto told_lost = std::make_shared<bool>(false);
  return {lifetime_.Bind([this, told_lost](bool whole) {
            if (!whole && !*told_lost) status_.ShowStatus(kNotSaved);
          }),
          lifetime_.Bind(
              [this] { EndCall("Your message was taken from the user's folder before it ended"); }),
          lifetime_.Bind([this, told_lost] { *told_lost = EndCall(kNotSaved); })};
}

bool Calls::EndCall(const std::string& why) {
  if (!is_recording()) return false;
  Stop();
  status_.ShowStatus(why);
  return true;
}

void Calls::OnMessageOpened(const UserRecord& callee, Done done, MessageOpening opening) {
  if (opening.still_playing) return Refuse(CallRefusal::kPreviousMessagePlaying, done);
  if (opening.unwritable) return Refuse(CallRefusal::kFolderNotWritable, done);
  starting_ = false;
  if (const std::shared_ptr<AwaitingWaveFileWriter> early = std::move(early_)) {
    early->Attach(std::move(opening.writer));
  } else if (!StartRecorder(std::move(opening.writer))) {
    // The priority stays raised until the next Stop, as the empty message stays.
    return done(CallRefusal::kRecorderFailed);
  }
  // Not where the sound server went away meanwhile, which the status line tells.
  if (recorder_.is_recording() || stop_on_start_) status_.ShowStatus("-> " + callee.Name());
  if (stop_on_start_) Stop();
  done(CallRefusal::kNone);
}

void Calls::Refuse(CallRefusal refusal, const Done& done) {
  starting_ = false;
  if (early_) {  // what was said from the key on goes nowhere
    early_.reset();
    EndRecording();
  }
  status_.ShowStatus(RefusalText(refusal));
  done(refusal);
}

void Calls::Stop() {
  if (starting_) stop_on_start_ = true;
  EndRecording();
}

void Calls::EndRecording() {
  recorder_.StopRecording();
  priority_.Restore();
  view_.EnableRecordMeter(false);
  view_.ShowCallButton(CallButton::kNone);
}

void Calls::OnRecordLost(uint32_t) {
  EndRecording();
  status_.ShowStatus("The sound server went away: your call ended");
}

void Calls::OnRecordLevels(const ChannelLevels& levels, uint32_t) {
  view_.ShowRecordLevels(levels);
}

}  // namespace parlavox
