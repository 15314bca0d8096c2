#ifndef PARLAVOX_SHARE_INWARD_MIRROR_H_
#define PARLAVOX_SHARE_INWARD_MIRROR_H_

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace parlavox {

// A folder on a server, as the mirror below reaches it.
class RemoteFolder {
 public:
  struct File {
    std::string name;
    int64_t size = 0;
    int64_t modified_ns = 0;
  };

  virtual ~RemoteFolder() = default;
  // The files in the folder (not its subfolders); nullopt when it can't be listed.
  virtual std::optional<std::vector<File>> Files() = 0;
  // At most `size` bytes of a file from `offset` on; nullopt when it can't be read.
  virtual std::optional<std::string> Read(const std::string& name, int64_t offset, size_t size) = 0;
  // The same, of a file that may grow meanwhile: no more than it holds now, whose size
  // goes to `size_now`.
  virtual std::optional<std::string> ReadGrowing(const std::string& name, int64_t offset,
                                                 size_t size, int64_t* size_now) = 0;
  virtual bool Remove(const std::string& name) = 0;
  // Keeps a file from being written or removed by others until Release (so that no
  // caller can cut a message while it is heard); false when it can't be held now, as
  // while its writer still has it open.
  virtual bool Hold(const std::string& name) = 0;
  virtual void Release(const std::string& name) = 0;
  // Waits up to `limit` for changes in the folder, telling `noticed` of each the server
  // reports (true where a file came in), or until `interrupted` says so (it is asked
  // every half second); returns false at once where the server can't report changes.
  virtual bool WatchChanges(std::chrono::milliseconds limit,
                            const std::function<bool()>& interrupted,
                            const std::function<void(bool arrived)>& noticed) = 0;
  // Called from another thread when the one that uses the folder is to stop: where the
  // server does not answer, whatever waits on it ends at once.
  virtual void LetGoIfSilent() {}
};

// Where the messages of the own inward folder are played from: the folder itself, or
// for a folder named as on an SMB share, a folder of this machine that InwardMirror
// keeps in step with it (under $XDG_RUNTIME_DIR, else $XDG_DATA_HOME).
std::string LocalInwardFolder(const std::string& inward_folder);

// Keeps a local folder in step with the messages of an inward folder on a server, so
// that the inbox plays them as it plays local ones: each message is copied down while
// it grows; one that the inbox deleted here (played, or thrown away) is deleted on the
// server as well, unless it changed there since. A message whose copy is complete is
// held on the server until then, so that a new call answers that it is still playing
// rather than cut it. A copy once whole is never written again: a change to its file
// on the server is a message sent again under the same name (by a caller who could write
// it all the same), copied afresh, but never over a copy the inbox holds.
class InwardMirror {
 public:
  // `remote` outlives this object.
  InwardMirror(RemoteFolder& remote, std::string local_folder)
      : remote_(remote), local_folder_(std::move(local_folder)) {}

  // Deletes the messages that wait on the server, as the inbox does with local ones
  // when the intercom starts.
  void ClearRemote();
  // One pass over the server's folder; false when it can't be listed.
  bool Sync();
  // A quicker look, for while messages grow, that does not list the folder (each
  // listing costs several round trips to the server): each message still being copied
  // is read on from where its copy ended. Where a copy would come near the end that the
  // header it has claims, that header is read again first (its writer moves the end on
  // as the message grows), so that no copy looks whole before its message is. One that
  // stopped growing has its header read again. Returns whether to go on following: false
  // when nothing was copied (the messages ended, went, or can't be read), or a copy came
  // whole, which a listing is to hold at once, before its caller can call again and cut
  // it, or a message was cut for a new one; the folder is to be listed again then.
  bool Follow();
  // Whether the last pass copied anything.
  bool copied() const { return copied_; }
  // Whether messages are here that the inbox has yet to be done with.
  bool has_copies() const { return !copies_.empty(); }

 private:
  // The server's file as it was when last copied.
  struct Copy {
    int64_t size = 0;
    int64_t modified_ns = 0;
    bool whole = false;      // the local copy has its message's exact header and all of it
    bool held = false;       // on the server (only a whole one)
    bool sent_anew = false;  // its file on the server was cut for a new message
  };
  // Copies `file` into `local` from `from` on (0: afresh), with its header again where
  // the file stopped growing or the copy comes near the end its header claims; the copy
  // as far as it got, nullopt when nothing could be copied.
  std::optional<Copy> CopyDown(const RemoteFolder::File& file, int64_t from,
                               const std::string& local);
  // `copy` held on the server once the local copy at `local` is complete.
  Copy HeldOnceComplete(const std::string& name, const std::string& local, Copy copy);

  RemoteFolder& remote_;
  const std::string local_folder_;
  std::map<std::string, Copy> copies_;
  bool copied_ = false;
};

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_INWARD_MIRROR_H_
