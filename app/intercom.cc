#include "app/intercom.h"

#include <strings.h>

#include <filesystem>
#include <optional>

#include "app/message_file.h"
#include "app/paths.h"
#include "audio/mixer_control.h"

namespace parlavox {
namespace {

constexpr int kFirstIdleTextMs = 800;
constexpr int kIdleTextMs = 8000;
constexpr int kStatusHoldMs = 12000;
constexpr int kBetweenMessagesMs = 200;
// A message that is still being written is looked at this often, so that its sound is
// heard soon after it arrives: every wait here adds to the delay of the whole call.
constexpr int kStillComingLookMs = 20;
constexpr int32_t kLeadInTime = -1500;        // 0.15 s of silence before each message
constexpr int32_t kCallHangTime = 216000000;  // 6 hours: a call never pauses by itself

// The idle texts of the status line, in turn; the empty entry ends the list.
const char* const kIdleTexts[] = {"Parlavox intercom", "Hold F5 to talk to the selected user",
                                  "F6 replies to your last caller", ""};

bool IsWaveName(const std::filesystem::path& name) {
  const std::string extension = name.extension().string();
  return extension.size() == 4 && strncasecmp(extension.c_str(), ".wav", 4) == 0;
}

// The first waiting message, in the folder's own order.
std::optional<std::filesystem::path> FirstWaveFile(const std::string& folder) {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    if (IsWaveName(entry.path().filename())) return entry.path().filename();
  }
  return std::nullopt;
}

int64_t TimeToFrames(int32_t time, int32_t rate) {
  return int64_t{time / 10000} * rate + int64_t{time % 10000} * rate / 10000;
}

}  // namespace

Intercom::Intercom(const SettingsFile& settings, TaskPoster& poster, IntercomView& view)
    : settings_(settings),
      view_(view),
      player_(poster),
      recorder_(poster),
      watcher_(poster),
      poller_(settings, poster) {
  player_.SetListener(this, 0);
  recorder_.SetListener(this, 0);
  status_timer_.setSingleShot(true);
  QObject::connect(&status_timer_, &QTimer::timeout, [this] { ShowNextIdleText(); });
  next_message_timer_.setSingleShot(true);
  QObject::connect(&next_message_timer_, &QTimer::timeout, [this] { PlayNextMessage(); });
}

Intercom::~Intercom() {
  poller_.Stop();
  watcher_.Stop();
  player_.SetListener(nullptr, 0);
  recorder_.SetListener(nullptr, 0);
}

void Intercom::Start() {
  LoadOwnUserRecord();
  own_record_.set_on(true);
  ApplyOnOffState();
  ClearInbox();
  StartInboxWatcher();
  StartPresencePoller();
  player_.set_metering(true);
  status_timer_.start(kFirstIdleTextMs);
}

void Intercom::End() {
  own_record_.set_on(false);
  WriteOwnUserRecord();
  watcher_.Stop();
  poller_.Stop();
  player_.StopPlayback();
  player_.SetListener(nullptr, 0);
  player_.set_metering(false);
  recorder_.StopRecording();
  recorder_.SetListener(nullptr, 0);
  priority_.Restore();
  status_timer_.stop();
  next_message_timer_.stop();
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

void Intercom::LoadOwnUserRecord() {
  own_record_ = LoadOrCreateOwnRecord(settings_.inward_folder());
}

void Intercom::WriteOwnUserRecord() const {
  WriteUserRecord(own_record_, JoinPath(settings_.inward_folder(), kUserRecordFileName));
}

void Intercom::StartPresencePoller() {
  poller_.StartPolling([this] { FillUserList(); });
}

void Intercom::StartInboxWatcher() {
  watcher_.StartWatching(settings_.inward_folder(), [this] { PlayNextMessage(); });
}

void Intercom::ClearInbox() {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(settings_.inward_folder(), error)) {
    if (IsWaveName(entry.path().filename())) std::filesystem::remove(entry.path(), error);
  }
}

void Intercom::FillUserList() {
  users_.Refill(settings_);
  view_.ShowUsers(users_);
}

void Intercom::ShowStatus(const std::string& text) {
  status_text_ = text;
  view_.ShowStatus(text, false);
  status_timer_.start(kStatusHoldMs);
}

void Intercom::ShowNextIdleText() {
  if (*kIdleTexts[idle_text_index_] == '\0') idle_text_index_ = 0;
  status_text_ = kIdleTexts[idle_text_index_++];
  view_.ShowStatus(status_text_, true);
  status_timer_.start(kIdleTextMs);
}

void Intercom::PlayNextMessage() {
  if (player_.is_open()) return;  // the next one is picked when this one ends
  if (resumed_reader_) {
    ResumeMessage();
    return;
  }
  const std::optional<std::filesystem::path> name = FirstWaveFile(settings_.inward_folder());
  if (!name) return;
  previous_caller_ = ParseInteger(name->string());  // before anything can fail: Reply targets it

  playing_path_ = JoinPath(settings_.inward_folder(), name->string());
  std::shared_ptr<WaveFileReader> reader = OpenWaveFileReader(playing_path_);
  const bool usable = reader && reader->is_valid();
  if (!usable && IsMessageStillComing(playing_path_)) {
    // The caller's copy has not written the header yet: taken for broken now, the
    // whole call would be lost. A message that holds no sound yet is played at once:
    // its lead-in covers the wait for the first sound, and should the lead-in run out
    // first, playback goes on from there when the sound arrives.
    playing_path_.clear();
    next_message_timer_.start(kStillComingLookMs);
    return;
  }
  ShowCallerStatus();
  if (!usable) {
    FinishMessage();  // the watcher sees the deletion and tries the next
    return;
  }
  reader->Seek(TimeToFrames(kLeadInTime, reader->sample_rate()));
  const int device = static_cast<int8_t>(settings_.ReadInt(kSettingsSection, "soundoutdevice", 0));
  player_.set_device(device);
  MixerControl::SetOutputVolume(device,
                                settings_.ReadDecibels(kSettingsSection, "soundoutvolume", 0), 0);
  playing_reader_ = reader;
  if (!player_.Play(std::move(reader), 0)) OnPlayFailed();
}

void Intercom::ShowCallerStatus() {
  const int32_t count = settings_.ReadCount(kUsersSection, "folder");
  for (int i = 0; i < count; ++i) {
    if (settings_.ReadInt(kUsersSection, ListKey("id", i), 1) != previous_caller_) continue;
    UserRecord caller;
    const std::string folder = settings_.ReadText(kUsersSection, ListKey("folder", i));
    if (ReadUserRecord(&caller, JoinPath(folder, kUserRecordFileName))) {
      ShowStatus("<- " + caller.Name());
    }
    return;
  }
}

void Intercom::ResumeMessage() {
  std::shared_ptr<WaveFileReader> reader = std::move(resumed_reader_);
  if (reader->GetLength() > reader->GetPosition()) {
    playing_reader_ = reader;
    if (!player_.Play(std::move(reader), 0)) OnPlayFailed();
  } else if (IsMessageStillComing(playing_path_)) {
    resumed_reader_ = std::move(reader);
    next_message_timer_.start(kStillComingLookMs);
  } else {
    FinishMessage();
    next_message_timer_.start(kBetweenMessagesMs);
  }
}

void Intercom::OnPlayFailed() {
  FinishMessage();
  view_.ShowAlert(
      "Unable to start playback. Check that you have selected the correct Sound Out Device "
      "using Settings.",
      "Sound Out Device Error");
}

void Intercom::FinishMessage() {
  std::error_code error;
  if (!playing_path_.empty()) std::filesystem::remove(playing_path_, error);
  playing_path_.clear();
  playing_reader_.reset();
  resumed_reader_.reset();
}

void Intercom::OnPlayStopped(uint32_t) {
  if (!playing_path_.empty() && IsMessageStillComing(playing_path_)) {
    // The caller's copy fell behind for longer than the queued sound lasted: go on
    // from here when more has arrived instead of throwing the rest of the call away.
    resumed_reader_ = std::move(playing_reader_);
    next_message_timer_.start(kStillComingLookMs);
  } else {
    FinishMessage();
    next_message_timer_.start(kBetweenMessagesMs);
  }
}

bool Intercom::StartCall(int index) {
  if (index < 0) return false;
  if (is_recording()) return true;
  const std::string folder = settings_.ReadText(kUsersSection, ListKey("folder", index));
  UserRecord callee;
  if (!ReadUserRecord(&callee, JoinPath(folder, kUserRecordFileName))) {
    ShowStatus("Unable to contact user's computer");
    return false;
  }
  if (!callee.is_on()) {
    ShowStatus("User's Parlavox is off");
    return false;
  }
  const std::string path = JoinPath(folder, std::to_string(own_record_.id) + ".wav");

  const int source = static_cast<int8_t>(settings_.ReadInt(kSettingsSection, "soundinchannel", -1));
  const int device = static_cast<int8_t>(settings_.ReadInt(kSettingsSection, "soundindevice", 0));
  const int level = settings_.ReadDecibels(kSettingsSection, "soundinvolume", 0);
  recorder_.set_device(device);
  MixerControl::SelectRecordSource(device, source, level);
  priority_.Raise();  // so that recording isn't starved while the network file is written

  if (!recorder_.StartRecording(CreateWaveFileWriter(path, 11025, 1, 16, 0), 0, kSilence,
                                kCallHangTime, LSoundRecorder::kStartWriting)) {
    return false;
  }
  ShowStatus("-> " + callee.Name());
  return true;
}

bool Intercom::CallSelected() { return StartCall(users_.selected()); }

bool Intercom::Reply() {
  int index = users_.selected();
  const int32_t count = settings_.ReadCount(kUsersSection, "folder");
  for (int i = 0; i < count; ++i) {
    if (settings_.ReadInt(kUsersSection, ListKey("id", i), 1) == previous_caller_) {
      index = i;
      break;
    }
  }
  return StartCall(index);
}

void Intercom::StopCall() {
  recorder_.StopRecording();
  priority_.Restore();
}

}  // namespace parlavox
