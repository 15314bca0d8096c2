#ifndef PARLAVOX_CORE_INTERCOM_FAKES_TEST_UTIL_H_
#define PARLAVOX_CORE_INTERCOM_FAKES_TEST_UTIL_H_

// Stand-ins for the platform pieces of the intercom, so that its logic is tested
// without a sound server, a share, threads or waiting. Each remembers what it was
// asked to do.

#include <algorithm>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "audio/mixer.h"
#include "audio/player.h"
#include "audio/recorder.h"
#include "audio/wave_format.h"
#include "core/inbox_folder.h"
#include "core/intercom_view.h"
#include "core/process_priority.h"
#include "core/record_store.h"
#include "core/share_access.h"
#include "core/workers.h"
#include "words/user_record_test_util.h"

namespace parlavox {

// A message in memory: silence of a given length, which can grow.
class MemoryReader : public WaveFileReader {
 public:
  MemoryReader(int32_t rate, int64_t length)
      : WaveFileReader(rate, 1, kFullScale), length_(length) {}
  void Seek(int64_t frame) override { position_ = frame; }
  int64_t GetPosition() const override { return position_; }
  int64_t GetLength() override { return length_; }
  void Grow(int64_t frames) { length_ += frames; }  // or shrink, when negative

 protected:
  void ReadBlock(int32_t* samples, int frames) override {
    std::fill_n(samples, frames, 0);
    position_ += frames;
  }

 private:
  int64_t length_;
  int64_t position_ = 0;
};

// A writer that keeps what it is given, and says whether it was finished.
class MemoryWriter : public WaveFileWriter {
 public:
  MemoryWriter() : WaveFileWriter(11025, 1, 0) {}
  void Truncate(int64_t frame) override {
    set_length(std::min(frame, length()));
    samples.resize(size_t(length()));
  }
  bool Finish() override {
    finished = true;
    return true;
  }
  std::vector<int32_t> samples;
  bool finished = false;

 protected:
  void WriteBlock(const int32_t* block, int frames) override {
    samples.insert(samples.end(), block, block + frames);
  }
};

class FakePlayer : public Player {
 public:
  void SetListener(LSoundPlayerListener* listener, uint32_t) override { listener_ = listener; }
  void set_device(const DeviceChoice& device) override { this->device = device; }
  void set_level(int decibels) override { level = decibels; }
  void set_metering(bool) override {}
  bool Play(std::shared_ptr<WaveFileReader> reader) override {
    StopPlayback();
    if (refuse) return false;
    started_at = reader->GetPosition();
    playing = std::move(reader);
    ++plays;
    if (listener_) listener_->OnPlayStarted(0);
    return true;
  }
  void StopPlayback() override {
    if (!playing) return;
    playing.reset();
    if (listener_) listener_->OnPlayStopped(0);
  }
  bool is_open() const override { return playing != nullptr; }
  int32_t LeadIn() const override { return lead_in; }

  // Plays what the reader holds so far, then stops as the real player does.
  void PlayToTheEnd() {
    playing->Seek(playing->GetLength());
    StopPlayback();
  }

  std::shared_ptr<WaveFileReader> playing;
  int64_t started_at = 0;
  DeviceChoice device{-99, ""};
  int level = -99;
  int32_t lead_in = -1500;  // a device that swallows the first 0.15 s
  bool refuse = false;
  int plays = 0;

 private:
  LSoundPlayerListener* listener_ = nullptr;
};

class FakeRecorder : public Recorder {
 public:
  void SetListener(LSoundRecorderListener* listener, uint32_t) override { listener_ = listener; }
  void set_device(const DeviceChoice& device) override { this->device = device; }
  void set_level(int decibels) override { level = decibels; }
  bool StartRecording(std::shared_ptr<WaveFileWriter> writer, int32_t, int, int32_t,
                      uint32_t) override {
    if (refuse) return false;
    this->writer = std::move(writer);
    ++starts;
    return true;
  }
  void StopRecording() override {
    if (!writer) return;
    writer->Finish();
    writer.reset();
  }
  bool is_recording() const override { return writer != nullptr; }
  // The microphone delivers `samples`.
  void Hear(std::vector<int32_t> samples) {
    writer->Write(samples.data(), int64_t(samples.size()));
  }
  void SendLevels(int8_t level) {
    ChannelLevels levels;
    levels.count = 1;
    levels.levels[0] = level;
    listener_->OnRecordLevels(levels, 0);
  }

  // The sound server went away and the device could not be opened again.
  void LoseDevice() {
    StopRecording();
    listener_->OnRecordLost(0);
  }

  std::shared_ptr<WaveFileWriter> writer;
  DeviceChoice device{-99, ""};
  int level = -99;
  bool refuse = false;
  int starts = 0;

 private:
  LSoundRecorderListener* listener_ = nullptr;
};

class FakeMixer : public Mixer {
 public:
  int GetRecordSourceCount(int) override { return 0; }
  std::string GetRecordSourceName(int, int) override { return "<MIXER INVALID>"; }
  int SelectRecordSource(const DeviceChoice& device, int source) override {
    selected = {device.position, source};
    return 0;
  }
  std::vector<int> selected;
};

class FakePriority : public ProcessPriority {
 public:
  void Raise() override { raised = true; }
  void Restore() override { raised = false; }
  bool raised = false;
};

// An inward folder of named messages in memory, in the order they were added.
class FakeInboxFolder : public InboxFolder {
 public:
  struct Message {
    std::string name;
    std::shared_ptr<MemoryReader> reader;  // null: not a usable wave file (yet)
    bool coming = false;
  };

  Message& Add(const std::string& name, std::shared_ptr<MemoryReader> reader, bool coming = false) {
    messages.push_back({name, std::move(reader), coming});
    return messages.back();
  }
  Message* Find(const std::string& name) {
    for (Message& message : messages) {
      if (message.name == name) return &message;
    }
    return nullptr;
  }
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const Message& message : messages) names.push_back(message.name);
    return names;
  }

  void Clear() override { messages.clear(); }
  // Held as a real folder holds them: once their callers have let go.
  std::vector<std::string> Messages() override {
    ++listings;
    for (const Message& message : messages) Hold(message);
    return Names();
  }
  bool all_held() const override {
    return std::none_of(messages.begin(), messages.end(),
                        [](const Message& m) { return m.coming; });
  }
  std::shared_ptr<WaveFileReader> Open(const std::string& name) override {
    Hold(*Find(name));
    return Find(name)->reader;
  }
  bool IsStillComing(const std::string& name) override {
    const Message* message = Find(name);
    return message != nullptr && message->coming;
  }
  // Played, a message leaves the list even when its file stays (`undeletable`). Its
  // reader is closed first, as some file systems keep open files.
  bool Remove(const std::string& name) override {
    if (const Message* message = Find(name); message && message->reader) {
      EXPECT_EQ(message->reader.use_count(), 1) << name << " is still open";
    }
    std::erase_if(messages, [&](const Message& m) { return m.name == name; });
    removed.push_back(name);
    held.erase(name);
    return !undeletable;
  }
  void Release() override { held.clear(); }
  void Hold(const Message& message) {
    if (!message.coming) held.insert(message.name);
  }

  std::deque<Message> messages;
  std::vector<std::string> removed;
  std::set<std::string> held;
  bool undeletable = false;
  int listings = 0;
};

// Other users' folders in memory. Answers come at once, or, with `hold_answers`, when
// the test calls Answer.
class FakeShare : public ShareAccess {
 public:
  void ReadRecord(const std::string& folder,
                  std::function<void(std::optional<UserRecord>)> done) override {
    std::optional<UserRecord> record;
    if (auto found = records.find(folder); found != records.end()) record = found->second;
    Reply([done = std::move(done), record] { done(record); });
  }
  void OpenMessage(const std::string& folder, const std::string& name,
                   std::function<void(MessageOpening)> done, MessageReports reports) override {
    opened.push_back(folder + "/" + name);
    last_reports = std::move(reports);
    MessageOpening opening;
    opening.still_playing = still_playing.count(folder + "/" + name) > 0;
    opening.unwritable = read_only.count(folder) > 0;
    if (!opening.still_playing && !opening.unwritable) {
      last_writer = std::make_shared<MemoryWriter>();
      opening.writer = last_writer;
    }
    Reply([done = std::move(done), opening] { done(opening); });
  }

  // Runs the answers held back so far, and those they cause.
  void Answer() {
    while (!pending.empty()) {
      auto answer = std::move(pending.front());
      pending.pop_front();
      answer();
    }
  }

  void Publish(const std::string& folder, const char* name, int32_t id, bool on) {
    records[folder] = MakeUserRecord(name, id, on);
  }

  std::map<std::string, UserRecord> records;
  std::set<std::string> still_playing;  // "folder/name" of messages a callee plays
  std::set<std::string> read_only;      // folders that can't be written
  MessageReports last_reports;
  std::vector<std::string> opened;
  std::shared_ptr<MemoryWriter> last_writer;
  bool hold_answers = false;
  std::deque<std::function<void()>> pending;

 private:
  void Reply(std::function<void()> answer) {
    if (hold_answers) {
      pending.push_back(std::move(answer));
    } else {
      answer();
    }
  }
};

class FakeWatcher : public InboxWatching {
 public:
  void StartWatching(const std::string& folder, std::function<void()> changed,
                     std::function<void(bool)> usable) override {
    watching = folder;
    this->changed = std::move(changed);
    this->usable = std::move(usable);
  }
  void AskToStop() override { watching.clear(); }
  void StopWatching() override { watching.clear(); }
  std::string watching;
  std::function<void()> changed;
  std::function<void(bool)> usable;
};

// The record files of folders on this machine only.
class DiskRecordStore : public RecordStore {
 public:
  bool Read(UserRecord* record, const std::string& folder) override {
    return ReadUserRecord(record, folder + "/" + std::string(kUserRecordFileName));
  }
  bool Write(const UserRecord& record, const std::string& folder) override {
    return WriteUserRecord(record, folder + "/" + std::string(kUserRecordFileName));
  }
};

class FakePoller : public PresencePolling {
 public:
  void StartPolling(std::function<void(const std::set<int>&)> changed,
                    std::function<void(const std::string&)> trouble) override {
    polling = true;
    this->changed = std::move(changed);
    this->trouble = std::move(trouble);
  }
  void AskToStop() override { polling = false; }
  void StopPolling() override { polling = false; }
  bool polling = false;
  std::function<void(const std::set<int>&)> changed;
  std::function<void(const std::string&)> trouble;
};

// Remembers everything it was shown.
class RecordingView : public IntercomView {
 public:
  void ShowUsers(const UserList& users) override { this->users = users.items(); }
  void ShowOnOff(bool on) override { this->on = on; }
  void ShowStatus(const std::string& text, bool idle) override {
    (idle ? idle_texts : statuses).push_back(text);
  }
  void ShowCallButton(CallButton pushed) override { button = pushed; }
  void EnablePlaybackMeter(bool enabled) override { playback_meter = enabled; }
  void ShowPlaybackLevels(const ChannelLevels&) override {}
  void EnableRecordMeter(bool enabled) override { record_meter = enabled; }
  void ShowRecordLevels(const ChannelLevels& levels) override { record_level = levels.levels[0]; }
  void ShowAlert(const std::string& text, const std::string& caption) override {
    alerts.push_back(caption + ": " + text);
  }
  void AskForAccount(const std::string& host, const std::string&) override {
    asked_for_account.push_back(host);
  }
  void ShowMainWindow() override { ++shown; }
  void HideMainWindow() override { ++hidden; }
  void TakeActivationForHotKey() override { ++activations_taken; }
  void GiveActivationBack() override { ++activations_given; }

  std::vector<UserListItem> users;
  std::optional<bool> on;
  std::vector<std::string> statuses, idle_texts, alerts, asked_for_account;
  CallButton button = CallButton::kNone;
  bool playback_meter = false, record_meter = false;
  int8_t record_level = 0;
  int shown = 0, hidden = 0, activations_taken = 0, activations_given = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_CORE_INTERCOM_FAKES_TEST_UTIL_H_
