#ifndef PARLAVOX_CORE_INBOX_H_
#define PARLAVOX_CORE_INBOX_H_

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "audio/player.h"
#include "core/inbox_folder.h"
#include "core/intercom_view.h"
#include "core/share_access.h"
#include "core/status_line.h"
#include "settings/settings_file.h"
#include "settings/users_cache.h"
#include "util/clock.h"
#include "util/lifetime.h"

namespace parlavox {

// The callee's side of calls: plays the messages that arrive in the inward folder,
// one after another, each after the silence its player needs to keep the first
// sample (none on a sound server) and at the configured device and level, deletes each once it has
// played and picks the next 200 ms later. A broken message is deleted unheard; one the player can't
// start is deleted with an alert. It remembers who sent the last message picked (Reply calls them
// back) and shows
// "<- name" when the sender is in the users list.
//
// A message whose caller is still writing it is not taken for broken while its header
// is missing (the messages behind it play meanwhile), and when playback catches up
// with the caller it is not deleted: the inbox looks again every 20 ms and goes on
// from where it stopped. A file that claims a sample rate no voice has is broken.
//
// A message that could not be deleted is tried again at each look, and the inbox
// looks every 500 ms for 5 s after such a failure: a file system may hold a file for
// a moment after its writer closed it.
//
// Every waiting message is held (InboxFolder::Messages) from when its caller lets go of
// it until it has been heard, also while another one plays: the folder is listed at each
// change, and again every 100 ms while one could not be held yet.
class Inbox : private LSoundPlayerListener {
 public:
  static constexpr std::chrono::milliseconds kBetweenMessages{200};
  static constexpr std::chrono::milliseconds kStillComingLook{20};
  static constexpr std::chrono::milliseconds kUndeletedLook{500};
  static constexpr int kUndeletedLooks = 10;
  static constexpr std::chrono::milliseconds kHoldLook{100};

  Inbox(InboxFolder& folder, Player& player, const SettingsFile& settings, const UsersCache& users,
        ShareAccess& share, Clock& clock, StatusLine& status, IntercomView& view);
  ~Inbox() override;

  // Throws away every waiting message unheard.
  void Clear() { folder_.Clear(); }
  // Plays the first waiting message, unless one is playing already. Safe to call as
  // often as anything changes in the folder.
  void PlayNext();
  // Stops playback for good (the message playing is deleted) and the player's reports.
  void Stop();

  int32_t previous_caller() const { return previous_caller_; }
  bool is_playing() const { return player_.is_open(); }

 private:
  // The waiting messages, held as far as they can be; looked at again shortly where
  // one could not be held yet.
  std::vector<std::string> ListWaiting();
  void AnnounceCaller();
  // Goes on with a message whose playback caught up with its caller.
  void Resume();
  // Puts a reader where playback of a message starts: the player's lead-in before it.
  void SeekToLeadIn(WaveFileReader& reader);
  void Play(std::shared_ptr<WaveFileReader> reader);
  // Deletes the message being played and forgets it.
  void Finish();
  // Deletes a message; when it stays, the inbox looks again for a while.
  void Remove(const std::string& name);
  void OnPlayStarted(uint32_t cookie) override;
  void OnPlayStopped(uint32_t cookie) override;
  void OnPlayLevels(const ChannelLevels& levels, uint32_t cookie) override;

  InboxFolder& folder_;
  Player& player_;
  const SettingsFile& settings_;
  const UsersCache& users_;
  ShareAccess& share_;
  StatusLine& status_;
  IntercomView& view_;
  std::unique_ptr<Timer> next_;
  std::unique_ptr<Timer> hold_look_;
  int32_t previous_caller_ = -1;
  int undeleted_looks_ = 0;  // left to take after a message could not be deleted
  std::string playing_;      // the message being played
  std::shared_ptr<WaveFileReader> playing_reader_;  // the player's, kept for a resume
  std::shared_ptr<WaveFileReader> resumed_reader_;  // set while waiting to go on
  Lifetime lifetime_;
};

}  // namespace parlavox

#endif  // PARLAVOX_CORE_INBOX_H_
