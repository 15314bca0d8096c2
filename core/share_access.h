#ifndef PARLAVOX_CORE_SHARE_ACCESS_H_
#define PARLAVOX_CORE_SHARE_ACCESS_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "audio/wave_file.h"
#include "words/user_record.h"

namespace parlavox {

// Every message is PCM at 11025 Hz, one channel, 16 bits a sample.
inline constexpr uint32_t kMessageSampleRate = 11025;
inline constexpr int kMessageChannels = 1;
inline constexpr int kMessageBitsPerSample = 16;

// What opening a message file for a new call gave.
struct MessageOpening {
  // The callee's copy is still playing the previous message under this name.
  bool still_playing = false;
  // The callee's folder can't be written (read-only, full, gone).
  bool unwritable = false;
  // The writer, cut to an empty message. Null when still_playing or unwritable.
  std::shared_ptr<WaveFileWriter> writer;
};

// What the owner hears of a message while and after it is written, on its thread.
struct MessageReports {
  // Once it is finished: whether the whole message made it into the file.
  std::function<void(bool whole)> finished;
  // The file went from the callee's folder while the call went on.
  std::function<void()> taken_away;
  // Sound could not be written into the file while the call went on (a full disk, a
  // server that stopped taking it): what follows would be lost too.
  std::function<void()> lost;
};

// The other users' inward folders, which are usually on network shares that can be
// slow or hang. The work happens away from the owner's thread; the answers come back
// on it, later.
class ShareAccess {
 public:
  virtual ~ShareAccess() = default;

  // Reads the record in `folder`; nullopt when it can't be read.
  virtual void ReadRecord(const std::string& folder,
                          std::function<void(std::optional<UserRecord>)> done) = 0;
  // Opens the message `name` in `folder` for a new 11025 Hz mono 16-bit call. The
  // writer's work is done away from the owner's thread too; `reports` tell the owner
  // what became of the message.
  virtual void OpenMessage(const std::string& folder, const std::string& name,
                           std::function<void(MessageOpening)> done, MessageReports reports) = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_CORE_SHARE_ACCESS_H_
