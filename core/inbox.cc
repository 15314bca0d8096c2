#include "core/inbox.h"

#include "settings/device_setting.h"

#include "audio/wave_time.h"

namespace parlavox {

Inbox::Inbox(InboxFolder& folder, Player& player, const SettingsFile& settings,
             const UsersCache& users, ShareAccess& share, Clock& clock, StatusLine& status,
             IntercomView& view)
    : folder_(folder),
      player_(player),
      settings_(settings),
      users_(users),
      share_(share),
      status_(status),
      view_(view),
      next_(clock.NewTimer([this] { PlayNext(); })),
      hold_look_(clock.NewTimer([this] { ListWaiting(); })) {
  player_.SetListener(this, 0);
  player_.set_metering(true);
}

Inbox::~Inbox() { Stop(); }

void Inbox::Stop() {
  player_.StopPlayback();  // the message playing ends as if it had played to its end
  player_.SetListener(nullptr, 0);
  player_.set_metering(false);
  next_->Stop();
  hold_look_->Stop();
  resumed_reader_.reset();
  folder_.Release();
}

namespace {

// Sample rates a voice message can have. A file that claims less would hold the inbox
// for ages with a few bytes (4 KB at 1 Hz plays for half an hour).
constexpr int kLowestMessageRate = 4000;
constexpr int kHighestMessageRate = 192000;

bool IsPlayable(const std::shared_ptr<WaveFileReader>& reader) {
  return reader && reader->is_valid() && reader->sample_rate() >= kLowestMessageRate &&
         reader->sample_rate() <= kHighestMessageRate;
}

}  // namespace

std::vector<std::string> Inbox::ListWaiting() {
  std::vector<std::string> waiting = folder_.Messages();
  if (folder_.all_held()) {
    hold_look_->Stop();
  } else if (!hold_look_->IsActive()) {
    hold_look_->Start(kHoldLook);
  }
  return waiting;
}

void Inbox::PlayNext() {
  const std::vector<std::string> waiting = ListWaiting();
  if (player_.is_open()) return;  // the next one is picked when this one ends
  if (resumed_reader_) {
    Resume();
    return;
  }
  bool header_coming = false;
  for (const std::string& name : waiting) {
    std::shared_ptr<WaveFileReader> reader = folder_.Open(name);
    if (!IsPlayable(reader) && folder_.IsStillComing(name)) {
      // The caller's copy has not written the header yet: taken for broken now, the
      // whole call would be lost. Messages behind it play meanwhile.
      header_coming = true;
      continue;
    }
    previous_caller_ = ParseInteger(name);  // before anything can fail: Reply targets it
    AnnounceCaller();
    if (!IsPlayable(reader)) {
      reader.reset();  // closed before the file goes, as some file systems want
      Remove(name);
      continue;
    }
    // A message that holds no sound yet is played at once: its lead-in covers the wait
    // for the first sound, and should the lead-in run out first, playback goes on from
    // there when the sound arrives.
    playing_ = name;
    SeekToLeadIn(*reader);
    player_.set_device(ReadDeviceChoice(settings_, settings_key::kOutputDevice));
    // Every message at the level set when it starts, on its own stream.
    player_.set_level(settings_.ReadDecibels(kSettingsSection, settings_key::kOutputLevel, 0));
    Play(std::move(reader));
    return;
  }
  if (header_coming) {
    next_->Start(kStillComingLook);
  } else if (undeleted_looks_ > 0) {
    --undeleted_looks_;
    next_->Start(kUndeletedLook);
  }
}

void Inbox::AnnounceCaller() {
  const std::optional<int> caller = users_.FindById(previous_caller_);
  if (!caller) return;
  share_.ReadRecord(users_.Folder(*caller),
                    lifetime_.Bind([this](const std::optional<UserRecord>& record) {
                      if (record) status_.ShowStatus("<- " + record->Name());
                    }));
}

void Inbox::Play(std::shared_ptr<WaveFileReader> reader) {
  playing_reader_ = reader;
  if (player_.Play(std::move(reader))) return;
  Finish();
  view_.ShowAlert(
      "Unable to start playback. Check that you have selected the correct Sound Out Device "
      "using Settings.",
      "Sound Out Device Error");
}

void Inbox::SeekToLeadIn(WaveFileReader& reader) {
  reader.Seek(TimeToFrames(player_.LeadIn(), reader.sample_rate()));
}

void Inbox::Resume() {
  WaveFileReader& reader = *resumed_reader_;
  // A file cut below where playback stands holds a new message of the same caller, who
  // wrote over the one waited on (a share that did not keep it for the inbox): it is
  // heard from its beginning.
  if (reader.GetLength() < reader.GetPosition()) SeekToLeadIn(reader);
  if (reader.GetLength() > reader.GetPosition()) {
    Play(std::move(resumed_reader_));
  } else if (folder_.IsStillComing(playing_)) {
    next_->Start(kStillComingLook);
  } else {
    Finish();  // which closes the reader before the file goes
    next_->Start(kBetweenMessages);
  }
}

void Inbox::Finish() {
  // The readers close the file before it goes, as some file systems want.
  playing_reader_.reset();
  resumed_reader_.reset();
  if (!playing_.empty()) Remove(playing_);
  playing_.clear();
}

void Inbox::Remove(const std::string& name) {
  if (!folder_.Remove(name)) undeleted_looks_ = kUndeletedLooks;
}

void Inbox::OnPlayStarted(uint32_t) { view_.EnablePlaybackMeter(true); }

void Inbox::OnPlayStopped(uint32_t) {
  view_.EnablePlaybackMeter(false);
  if (!playing_.empty() && folder_.IsStillComing(playing_)) {
    // The caller's copy fell behind for longer than the queued sound lasted: go on
    // from here when more has arrived instead of throwing the rest of the call away.
    resumed_reader_ = std::move(playing_reader_);
    next_->Start(kStillComingLook);
  } else {
    Finish();
    next_->Start(kBetweenMessages);
  }
}

void Inbox::OnPlayLevels(const ChannelLevels& levels, uint32_t) {
  view_.ShowPlaybackLevels(levels);
}

}  // namespace parlavox
