#ifndef PARLAVOX_CORE_INBOX_FOLDER_H_
#define PARLAVOX_CORE_INBOX_FOLDER_H_

#include <memory>
#include <string>
#include <vector>

#include "audio/wave_file.h"

namespace parlavox {

// The own inward folder as the inbox sees it. Its messages are the regular files whose
// names end in ".wav" in any letter case; they are named by their file names.
class InboxFolder {
 public:
  virtual ~InboxFolder() = default;

  // Deletes every waiting message.
  virtual void Clear() = 0;
  // The waiting messages in the folder's own order. Each is held from then on, once its
  // caller has let go of it, until Remove or Release: a new call from that caller is
  // refused then rather than written over a message not heard yet. A message that was
  // played (or thrown away) but could not be deleted is left out until its file
  // changes, so that it is heard once per arrival; each listing tries to delete it again.
  virtual std::vector<std::string> Messages() = 0;
  // Whether the last listing held every message it found; false while a caller still
  // writes one, which is to be listed again shortly.
  virtual bool all_held() const = 0;
  // Opens a message for playing; null when it can't be opened or is not a usable WAVE
  // file.
  virtual std::shared_ptr<WaveFileReader> Open(const std::string& name) = 0;
  // Whether the caller's copy is still writing the message.
  virtual bool IsStillComing(const std::string& name) = 0;
  // Deletes a message, letting go of it; one that can't be deleted counts as played.
  // Returns whether it is gone.
  virtual bool Remove(const std::string& name) = 0;
  // Lets go of every held message without deleting it.
  virtual void Release() = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_CORE_INBOX_FOLDER_H_
