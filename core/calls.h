#ifndef PARLAVOX_CORE_CALLS_H_
#define PARLAVOX_CORE_CALLS_H_

#include <functional>
#include <string>

#include "audio/awaiting_wave_file_writer.h"
#include "audio/mixer.h"
#include "audio/recorder.h"
#include "core/intercom_view.h"
#include "core/own_record.h"
#include "core/process_priority.h"
#include "core/share_access.h"
#include "core/status_line.h"
#include "settings/settings_file.h"
#include "settings/users_cache.h"
#include "util/lifetime.h"

namespace parlavox {

// Why a call did not start.
enum class CallRefusal {
  kNone,                    // it started
  kNoUserSelected,          // nobody to call: no user selected (and nobody to reply to)
  kNoSuchUser,              // the place is beyond the users list
  kUnreachable,             // the callee's record can't be read
  kCalleeOff,               // the callee's intercom is off
  kPreviousMessagePlaying,  // the callee still plays this caller's previous message
  kFolderNotWritable,       // the callee's folder can't be written
  kRecorderFailed,          // the microphone could not be started
};

// A sentence that says why, for the person who asked from the command line.
std::string RefusalText(CallRefusal refusal);

// Push-to-talk calls: recording the microphone straight into a message file in the
// callee's inward folder, named after the own id, from Start until Stop. At Start the
// record source and level are set, the process is raised and the recorder starts, into
// memory; meanwhile the callee's record is read (its folder must be reachable and its
// intercom on) and the message file is opened, both away from the owner's thread. Once
// the file is open it takes what was recorded and the rest of the call, and the status
// line shows "-> name"; a call refused drops what was recorded. A call that can't be
// reached, is off or can't be written shows why on the status line; so does a call
// whose message is taken from the callee's folder before it ends, or whose sound stops
// reaching the file (the rest would be lost unheard), which then ends.
class Calls : private LSoundRecorderListener {
 public:
  using Done = std::function<void(CallRefusal)>;

  Calls(const SettingsFile& settings, const UsersCache& users, const OwnRecord& own,
        Recorder& recorder, Mixer& mixer, ProcessPriority& priority, ShareAccess& share,
        StatusLine& status, IntercomView& view);
  ~Calls() override;

  // Calls the user at `index` of the users list. `done` hears on the owner's thread,
  // possibly later, whether the call started or why not. A call asked for while one
  // is starting or running is ignored and reported as started.
  void Start(int index, Done done);
  // Ends the call, also one still starting: that one then starts and ends at once, so
  // that a short press still leaves a message. Harmless when no call runs.
  void Stop();

  bool is_recording() const { return recorder_.is_recording(); }

 private:
  void OnCalleeRecord(const std::string& folder, Done done,
                      const std::optional<UserRecord>& callee);
  void OnMessageOpened(const UserRecord& callee, Done done, MessageOpening opening);
  // Ends an attempt that the callee's side refused, saying why on the status line.
  void Refuse(CallRefusal refusal, const Done& done);
  // Sets up and starts the recorder into `writer`; false when it did not start.
  bool StartRecorder(std::shared_ptr<WaveFileWriter> writer);
  // Stops the recorder and undoes what starting it did.
  void EndRecording();
  // What the call hears of its message from the share.
  MessageReports Reports();
  // Ends the call running, saying why; false when none runs.
  bool EndCall(const std::string& why);
  void OnRecordLevels(const ChannelLevels& levels, uint32_t cookie) override;
  void OnRecordLost(uint32_t cookie) override;

  const SettingsFile& settings_;
  const UsersCache& users_;
  const OwnRecord& own_;
  Recorder& recorder_;
  Mixer& mixer_;
  ProcessPriority& priority_;
  ShareAccess& share_;
  StatusLine& status_;
  IntercomView& view_;
  bool starting_ = false;       // the callee's folder is being looked at
  bool stop_on_start_ = false;  // Stop came while starting
  // What is recorded while starting; null once the file took it, or where the recorder
  // could not start at the key.
  std::shared_ptr<AwaitingWaveFileWriter> early_;
  Lifetime lifetime_;
};

}  // namespace parlavox

#endif  // PARLAVOX_CORE_CALLS_H_
