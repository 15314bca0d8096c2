#include "share/inward_mirror.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "audio/wave_chunks.h"
#include "share/message_file.h"
#include "util/paths.h"
#include "words/share_name.h"

namespace parlavox {
namespace {

// Room enough for any header the writers of messages make; read again with every pass
// that finds more, as the writer refreshes its header.
constexpr int64_t kHeaderBytes = 4096;
constexpr size_t kReadPiece = 64 * 1024;
// How near the end its header claims a copy may come before Follow reads the header
// again: 8 s of a call's sound (a caller's header claims at least 16 s more than it has).
constexpr int64_t kHeaderMargin = 8 * 11025 * 2;
// A copy's time stamp where it was not taken with its last bytes and header (they were
// followed, or the header not read): none a server gives.
constexpr int64_t kTimeStampNotTaken = -1;

bool IsMessageName(const std::string& name) {
  return name.size() >= 4 && strcasecmp(name.c_str() + name.size() - 4, ".wav") == 0;
}

bool Exists(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0;
}

// Whether the header of the copy open on `fd` is to be read again before the copy grows
// to `end`: it claims an end not far beyond, or it is no header that can be read.
bool HeaderDue(int fd, int64_t end) {
  const std::optional<WaveLayout> layout = WalkWaveChunks(fd);
  return !layout || end + kHeaderMargin >= layout->data_start + int64_t{layout->data_size};
}

// Whether the copy at `local`, `size` bytes long, holds its message whole: its header
// is the exact one, which claims no more than the copy holds.
bool IsWhole(const std::string& local, int64_t size) {
  const std::optional<MessageLook> look = LookAtMessage(local);
  return look && look->complete && look->size == size;
}

bool WriteAt(int fd, const std::string& bytes, int64_t offset) {
  return pwrite(fd, bytes.data(), bytes.size(), static_cast<off_t>(offset)) ==
         static_cast<ssize_t>(bytes.size());
}

// Puts `header` at the start of the copy open on `fd`, unless it is there already: a
// write of the same bytes would still count as a change, and the inbox waits on a copy
// that keeps changing (one whose caller never finished it would never end).
bool WriteHeader(int fd, const std::string& header) {
  std::string there(header.size(), '\0');
  if (pread(fd, there.data(), there.size(), 0) == static_cast<ssize_t>(there.size()) &&
      there == header) {
    return true;
  }
  return WriteAt(fd, header, 0);
}

}  // namespace

std::string LocalInwardFolder(const std::string& inward_folder) {
  if (!ParseShareName(inward_folder)) return inward_folder;
  std::string place = SmbUrl(*ParseShareName(inward_folder)).substr(6);  // past "smb://"
  std::replace_if(
      place.begin(), place.end(), [](char c) { return c == '/' || c == ':'; }, '_');
  const std::string runtime = XdgRuntimeDir();
  return JoinPath(runtime.empty() ? XdgDataHome() : runtime, "parlavox/inward/" + place);
}

void InwardMirror::ClearRemote() {
  const std::optional<std::vector<RemoteFolder::File>> files = remote_.Files();
  if (!files) return;
  for (const RemoteFolder::File& file : *files) {
    if (IsMessageName(file.name)) remote_.Remove(file.name);
  }
}

bool InwardMirror::Sync() {
  const std::optional<std::vector<RemoteFolder::File>> files = remote_.Files();
  if (!files) return false;
  copied_ = false;
  std::map<std::string, Copy> copies;
  for (const RemoteFolder::File& file : *files) {
    if (!IsMessageName(file.name)) continue;
    const std::string local = JoinPath(local_folder_, file.name);
    std::optional<Copy> known;
    if (const auto found = copies_.find(file.name); found != copies_.end()) known = found->second;
    const bool same_size = known && !known->sent_anew && known->size == file.size;
    const bool unchanged = same_size && known->modified_ns == file.modified_ns;
    // A copy that grew by following has no time stamp of the server's yet: as long as
    // the file is, it is the message copied.
    const bool as_copied = unchanged || (same_size && known->modified_ns == kTimeStampNotTaken);
    const bool local_exists = Exists(local);
    if (known && known->held && (!unchanged || !local_exists)) {
      remote_.Release(file.name);  // before it goes, or is copied anew
      known->held = copies_[file.name].held = false;
    }
    if (known && !local_exists) {
      // The inbox is done with it: it goes from the server too, unless a new message
      // came under its name meanwhile.
      if (as_copied) {
        if (!remote_.Remove(file.name)) copies[file.name] = *known;
        continue;
      }
      known.reset();
    }
    if (unchanged) {
      copies[file.name] = HeldOnceComplete(file.name, local, *known);
      continue;
    }
    // A whole copy is never written again: a change there is a message sent anew.
    const bool afresh =
        !known || file.size < known->size || known->sent_anew || (known->whole && !as_copied);
    if (afresh && local_exists && LockMessage(local, FileLock::Kind::kExclusive).refused()) {
      if (known) {  // heard just now; the new one comes after
        copies[file.name] = *known;
        copies[file.name].sent_anew = true;
      }
      continue;
    }
    if (const std::optional<Copy> copy = CopyDown(file, afresh ? 0 : known->size, local)) {
      copies[file.name] = HeldOnceComplete(file.name, local, *copy);
      copied_ = true;
    } else if (known) {
      copies[file.name] = *known;
    }
  }
  for (const auto& [name, copy] : copies_) {
    if (copy.held && !copies.contains(name)) remote_.Release(name);  // gone from the server
  }
  copies_ = std::move(copies);
  return true;
}

bool InwardMirror::Follow() {
  copied_ = false;
  bool to_list = false;
  for (auto& [name, copy] : copies_) {
    if (copy.whole || copy.sent_anew) continue;
    int64_t size_now = 0;
    const std::optional<std::string> more =
        remote_.ReadGrowing(name, copy.size, kReadPiece, &size_now);
    if (!more) continue;
    if (size_now < copy.size) {
      // Cut for a new call before the copy came whole: that one is another message.
      copy.sent_anew = to_list = true;
      continue;
    }
    const std::string local = JoinPath(local_folder_, name);
    const int fd = open(local.c_str(), O_RDWR | O_CLOEXEC);
    if (fd < 0) continue;  // heard or thrown away here: the next listing sees to it
    if (more->empty()) {
      // It stopped growing: once its caller has written the exact header, it is whole.
      const std::optional<std::string> header =
          remote_.Read(name, 0, static_cast<size_t>(std::min(copy.size, kHeaderBytes)));
      if (header && WriteHeader(fd, *header)) {
        copy.modified_ns = kTimeStampNotTaken;
        copy.whole = IsWhole(local, copy.size);
        to_list |= copy.whole;
      }
      close(fd);
      continue;
    }
    const int64_t end = copy.size + static_cast<int64_t>(more->size());
    bool written = true;
    if (HeaderDue(fd, end)) {
      const std::optional<std::string> header =
          remote_.Read(name, 0, static_cast<size_t>(std::min(copy.size, kHeaderBytes)));
      written = header && WriteHeader(fd, *header);
    }
    if (written && WriteAt(fd, *more, copy.size)) {
      copy.size = end;
      copy.modified_ns = kTimeStampNotTaken;
      copied_ = true;
    }
    close(fd);
  }
  return copied_ && !to_list;
}

InwardMirror::Copy InwardMirror::HeldOnceComplete(const std::string& name, const std::string& local,
                                                  Copy copy) {
  copy.whole = copy.whole || IsWhole(local, copy.size);
  copy.held = copy.held || (copy.whole && remote_.Hold(name));
  return copy;
}

std::optional<InwardMirror::Copy> InwardMirror::CopyDown(const RemoteFolder::File& file,
                                                         int64_t from, const std::string& local) {
  const int fd =
      open(local.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | (from == 0 ? O_TRUNC : 0), 0600);
  if (fd < 0) return std::nullopt;
  Copy copy{from, file.modified_ns};
  if (from > 0 && (file.size == from || HeaderDue(fd, file.size))) {
    const std::optional<std::string> header =
        remote_.Read(file.name, 0, static_cast<size_t>(std::min(from, kHeaderBytes)));
    if (header) WriteHeader(fd, *header);
  } else if (from > 0) {
    // The header was not read: nor is the time stamp taken, so that the next listing,
    // once the message has stopped growing, reads it.
    copy.modified_ns = kTimeStampNotTaken;
  }
  while (copy.size < file.size) {
    const size_t want = static_cast<size_t>(std::min<int64_t>(file.size - copy.size, kReadPiece));
    const std::optional<std::string> bytes = remote_.Read(file.name, copy.size, want);
    if (!bytes || bytes->empty() || !WriteAt(fd, *bytes, copy.size)) break;
    copy.size += static_cast<int64_t>(bytes->size());
  }
  close(fd);
  if (copy.size == from && from > 0 && copy.size != file.size) return std::nullopt;
  return copy;
}

}  // namespace parlavox
