#include "share/smb_connection.h"

#include <fcntl.h>
#include <libsmbclient.h>

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <deque>
#include <filesystem>
#include <thread>

#include "share/samba_threads.h"
#include "share/server_lookup.h"
#include "words/server_trouble.h"

namespace parlavox {
namespace {

void CopyInto(char* field, int size, const std::string& text) {
  if (size <= 0) return;
  std::strncpy(field, text.c_str(), static_cast<size_t>(size) - 1);
  field[size - 1] = '\0';
}

// An SMB2 NEGOTIATE request offering dialect 2.0.2, behind its session header: what
// every SMB server answers, be it with its choice, an error or by hanging up.
std::string NegotiateRequest() {
  std::string smb2(102, '\0');
  smb2[0] = '\xFE';
  smb2.replace(1, 3, "SMB");
  smb2[4] = 64;   // the header's size; command 0, NEGOTIATE
  smb2[14] = 1;   // one credit asked for
  smb2[64] = 36;  // the request's size
  smb2[66] = 1;   // one dialect
  smb2[68] = 1;   // signing enabled
  smb2[100] = smb2[101] = 2;
  return std::string("\0\0\0", 3) + char(smb2.size()) + smb2;
}

// Whether the server at one of `addresses` takes a TCP connection and answers an SMB
// negotiation on it before `deadline`: a machine that hangs takes connections and never
// answers.
bool AnswersSmb(const std::vector<sockaddr_storage>& addresses,
                std::chrono::steady_clock::time_point deadline) {
  const auto ready = [&](int fd, short events) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    pollfd wait{fd, events, 0};
    return poll(&wait, 1, static_cast<int>(std::max<int64_t>(left.count(), 0))) == 1;
  };
  const std::string request = NegotiateRequest();
  for (const sockaddr_storage& address : addresses) {
    const int fd = socket(address.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) continue;
    const socklen_t length =
        address.ss_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
    int result = 0;
    socklen_t size = sizeof result;
    const bool connected =
        connect(fd, reinterpret_cast<const sockaddr*>(&address), length) == 0 ||
        (errno == EINPROGRESS && ready(fd, POLLOUT) &&
         getsockopt(fd, SOL_SOCKET, SO_ERROR, &result, &size) == 0 && result == 0);
    const bool answered = connected &&
                          send(fd, request.data(), request.size(), MSG_NOSIGNAL) ==
                              static_cast<ssize_t>(request.size()) &&
                          ready(fd, POLLIN);
    close(fd);
    if (answered) return true;
  }
  return false;
}

// Whether the socket address `peer` is `port` of one of `addresses`.
bool IsPeer(const sockaddr_storage& peer, const std::vector<sockaddr_storage>& addresses,
            int port) {
  for (const sockaddr_storage& address : addresses) {
    if (peer.ss_family != address.ss_family) continue;
    if (peer.ss_family == AF_INET) {
      const auto& a = reinterpret_cast<const sockaddr_in&>(peer);
      const auto& b = reinterpret_cast<const sockaddr_in&>(address);
      if (ntohs(a.sin_port) == port && a.sin_addr.s_addr == b.sin_addr.s_addr) return true;
    } else if (peer.ss_family == AF_INET6) {
      const auto& a = reinterpret_cast<const sockaddr_in6&>(peer);
      const auto& b = reinterpret_cast<const sockaddr_in6&>(address);
      if (ntohs(a.sin6_port) == port &&
          std::memcmp(&a.sin6_addr, &b.sin6_addr, sizeof a.sin6_addr) == 0) {
        return true;
      }
    }
  }
  return false;
}

// Shuts for reading this process's connections to `port` of any of `addresses`, which
// the library keeps without telling which: whatever waits on them for an answer from
// that server ends at once, having read the end.
void StopReadingFrom(const std::vector<sockaddr_storage>& addresses, int port) {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
    int fd = -1;
    const std::string name = entry.path().filename();
    if (std::from_chars(name.data(), name.data() + name.size(), fd).ec != std::errc()) continue;
    sockaddr_storage peer{};
    socklen_t size = sizeof peer;
    if (getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
        IsPeer(peer, addresses, port)) {
      shutdown(fd, SHUT_RD);
    }
  }
}

// Whether `error` says that the connection went away under an operation: the server or
// something on the way ended it, and a new one may well be taken.
bool IsDroppedConnection(int error) {
  return error == ECONNABORTED || error == ECONNRESET || error == EPIPE || error == ENOTCONN;
}

bool IsServerError(int error) {
  return error == ETIMEDOUT || error == EHOSTUNREACH || error == ENETUNREACH ||
         error == ECONNREFUSED || error == ECONNRESET || error == EHOSTDOWN;
}

// Opens `url` for reading, denying other openers what `denied` names; errno as the open
// left it.
SMBCFILE* OpenToReadDenying(SMBCCTX* context, const std::string& url, smbc_share_mode denied) {
  smbc_setOptionOpenShareMode(context, denied);
  SMBCFILE* file = smbc_getFunctionOpen(context)(context, url.c_str(), O_RDONLY, 0);
  const int error = errno;
  smbc_setOptionOpenShareMode(context, SMBC_SHAREMODE_DENY_NONE);
  errno = error;
  return file;
}

// Keeps `code` for the caller that asked for it; false, so that it can end a failure.
bool Failed(int* error, int code) {
  if (error != nullptr) *error = code;
  return false;
}

}  // namespace

// A file open on the connection; every operation takes the connection's turn. A file
// lost with its connection (dropped by the server or on the way) is opened afresh, which
// connects again, at once and then at each later write once the server answers; what
// could not be written meanwhile is kept, up to kMaxKeptBytes, and written first, so
// that a message goes on where it was and loses nothing; a message let go of while its
// server is away is finished once the server is back, if that is soon enough for its
// callee to be still waiting (one that fails where the server answers is not waited for). A server
// that answers that it has no room (a full disk, a quota) loses what was kept at once: waiting
// would only hide the loss from the caller.
class SmbConnection::File : public WritableFile {
 public:
  static constexpr size_t kMaxKeptBytes = 16 << 20;
  static constexpr std::chrono::milliseconds kRetryInterval{500};

  File(SmbConnection& connection, std::string url, SMBCFILE* file)
      : connection_(connection), url_(std::move(url)), file_(file) {}
  ~File() override { Close(); }

  bool WriteAt(const void* data, size_t size, int64_t offset) override {
    NoteMessageMoved();
    kept_bytes_ += size;
    kept_.push_back({offset, std::string(static_cast<const char*>(data), size)});
    if (WriteKept() || (kept_bytes_ <= kMaxKeptBytes && !no_room_)) return true;
    kept_.clear();  // too much waited, or the server has no room for it: it is lost
    kept_bytes_ = 0;
    return false;
  }
  bool Resize(int64_t size) override {
    if (!WriteKept()) return false;
    Turn turn(connection_.counts_as_use_);
    SMBCCTX* context = connection_.context_;
    return smbc_getFunctionFtruncate(context)(context, file_, static_cast<off_t>(size)) == 0;
  }
  bool SendOn() override { return true; }  // every write has reached the server already
  bool Close() override {
    bool written = kept_.empty() || WriteKept();
    while (!written && !no_room_ && !connection_.known_to_answer_ &&
           std::chrono::steady_clock::now() < reached_at_ + kFinishPatience &&
           !connection_.leaving_.WaitFor(kRetryInterval)) {
      written = WriteKept();
    }
    Turn turn(connection_.counts_as_use_);
    kept_.clear();
    if (file_ == nullptr) return written;
    SMBCCTX* context = connection_.context_;
    const bool closed = smbc_getFunctionClose(context)(context, file_) == 0;
    file_ = nullptr;
    return written && closed;
  }

 private:
  struct Piece {
    int64_t offset;
    std::string bytes;
  };

  // Writes what was kept, in order, to the file opened afresh where it was lost; whether
  // nothing is left and the file is open.
  bool WriteKept() {
    if (file_ == nullptr && !connection_.MayAnswer()) return false;
    Turn turn(connection_.counts_as_use_);
    if (file_ == nullptr && !Reopened()) return false;
    while (!kept_.empty()) {
      const Piece& piece = kept_.front();
      if (!WriteHere(piece) && !(Reopened() && WriteHere(piece))) return false;
      kept_bytes_ -= piece.bytes.size();
      kept_.pop_front();
    }
    return true;
  }
  bool WriteHere(const Piece& piece) REQUIRES(library_) {
    SMBCCTX* context = connection_.context_;
    if (file_ == nullptr ||
        smbc_getFunctionLseek(context)(context, file_, piece.offset, SEEK_SET) != piece.offset) {
      return false;
    }
    for (size_t done = 0; done < piece.bytes.size();) {
      const ssize_t wrote = smbc_getFunctionWrite(context)(
          context, file_, piece.bytes.data() + done, piece.bytes.size() - done);
      if (wrote <= 0) {
        no_room_ = errno == ENOSPC || errno == EDQUOT || errno == EFBIG;
        return false;
      }
      done += static_cast<size_t>(wrote);
    }
    no_room_ = false;
    reached_at_ = std::chrono::steady_clock::now();
    return true;
  }
  // Opens the file afresh where it was lost with its connection (it is not open, or the
  // write before failed because the connection went away); whether it is open now. A file
  // given up on because its server does not answer is not closed, which would wait for the
  // server again, and the next attempt first asks the server outside the turn. A file
  // taken away meanwhile is not made again.
  bool Reopened() REQUIRES(library_) {
    SMBCCTX* context = connection_.context_;
    if (file_ != nullptr) {
      const int error = errno;
      if (IsDroppedConnection(error)) {
        smbc_getFunctionClose(context)(context, file_);  // at once: its connection is gone
      } else if (IsServerError(error)) {
        file_ = nullptr;
        connection_.Noted(error);
        return false;
      } else {
        return false;
      }
    }
    file_ = smbc_getFunctionOpen(context)(context, url_.c_str(), O_WRONLY, 0);
    if (file_ == nullptr) connection_.Noted(errno);
    return file_ != nullptr;
  }

  SmbConnection& connection_;
  const std::string url_;
  SMBCFILE* file_;
  std::deque<Piece> kept_;  // written, not yet on the server
  size_t kept_bytes_ = 0;
  bool no_room_ = false;  // the server answered the last write that its disk is full
  // When the server last took a write (or opened the file).
  std::chrono::steady_clock::time_point reached_at_ = std::chrono::steady_clock::now();
};

void SmbConnection::GiveAccount(SMBCCTX* context, const char*, const char*, char* workgroup,
                                int workgroup_size, char* username, int username_size,
                                char* password, int password_size) {
  auto* self = static_cast<SmbConnection*>(smbc_getOptionUserData(context));
  library_.AssertHeld();  // the library asks only within an operation
  self->account_note_.clear();
  self->account_ = self->credentials_file_.For(self->host_, &self->account_note_);
  const Credentials& account = self->account_;
  if (!account.domain.empty()) CopyInto(workgroup, workgroup_size, account.domain);
  CopyInto(username, username_size, account.username);
  CopyInto(password, password_size, account.password);
}

SmbConnection::SmbConnection(const ShareLocation& server, CredentialsFile credentials,
                             bool background, ServerLookup lookup)
    : context_(nullptr),
      host_(server.host),
      port_(server.port != 0 ? server.port : 445),
      lookup_(std::move(lookup)),
      counts_as_use_(!background),
      credentials_file_(std::move(credentials)) {
  LetSambaRunOnSeveralThreads();  // before the library's first use
  Turn turn(counts_as_use_);
  context_ = smbc_new_context();
  if (context_ == nullptr) return;
  smbc_setOptionUserData(context_, this);
  smbc_setFunctionAuthDataWithContext(context_, &GiveAccount);
  smbc_setTimeout(context_, static_cast<int>(kTimeout.count()));
  if (server.port != 0) smbc_setPort(context_, static_cast<uint16_t>(server.port));
  // Where an account is given, never a guest in its place.
  smbc_setOptionNoAutoAnonymousLogin(
      context_, credentials_file_.For(host_, nullptr).username.empty() ? 0 : 1);
  if (smbc_init_context(context_) == nullptr) {
    smbc_free_context(context_, 1);
    context_ = nullptr;
  }
}

SmbConnection::~SmbConnection() {
  Turn turn(counts_as_use_);
  if (context_ == nullptr) return;
  // The library takes leave of the server and waits for its answer, the time-out long
  // where none comes: from a server that stopped answering, none is waited for.
  if (!known_to_answer_) CutOff();
  smbc_free_context(context_, 1);
}

std::optional<std::string> SmbConnection::ReadAt(const std::string& url, int64_t offset,
                                                 size_t size, int* error, int64_t* size_now) {
  if (!MayAnswer()) return Failed(error, ETIMEDOUT), std::nullopt;
  Turn turn(counts_as_use_);
  if (context_ == nullptr) return Failed(error, ENOMEM), std::nullopt;
  SMBCFILE* file = smbc_getFunctionOpen(context_)(context_, url.c_str(), O_RDONLY, 0);
  if (file == nullptr) return Failed(error, Noted(errno)), std::nullopt;
  if (size_now != nullptr) {
    struct stat status {};
    if (smbc_getFunctionFstat(context_)(context_, file, &status) != 0) {
      const int failed = errno;
      smbc_getFunctionClose(context_)(context_, file);
      return Failed(error, Noted(failed)), std::nullopt;
    }
    *size_now = status.st_size;
    size = static_cast<size_t>(
        std::clamp<int64_t>(status.st_size - offset, 0, static_cast<int64_t>(size)));
  }
  std::string bytes(size, '\0');
  size_t got = 0;
  if (offset == 0 || smbc_getFunctionLseek(context_)(context_, file, static_cast<off_t>(offset),
                                                     SEEK_SET) == static_cast<off_t>(offset)) {
    while (got < size) {
      const ssize_t read =
          smbc_getFunctionRead(context_)(context_, file, bytes.data() + got, size - got);
      if (read <= 0) break;
      got += static_cast<size_t>(read);
    }
  }
  smbc_getFunctionClose(context_)(context_, file);
  bytes.resize(got);
  return bytes;
}

bool SmbConnection::WriteWhole(const std::string& url, std::string_view bytes, int* error) {
  if (!MayAnswer()) return Failed(error, ETIMEDOUT);
  Turn turn(counts_as_use_);
  if (context_ == nullptr) return Failed(error, ENOMEM);
  SMBCFILE* file =
      smbc_getFunctionOpen(context_)(context_, url.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
  if (file == nullptr) return Failed(error, Noted(errno));
  const ssize_t wrote = smbc_getFunctionWrite(context_)(context_, file, bytes.data(), bytes.size());
  const int write_error = errno;
  const bool closed = smbc_getFunctionClose(context_)(context_, file) == 0;
  if (wrote != static_cast<ssize_t>(bytes.size())) return Failed(error, write_error);
  return closed || Failed(error, Noted(errno));
}

bool SmbConnection::Remove(const std::string& url, int* error) {
  if (!MayAnswer()) return Failed(error, ETIMEDOUT);
  Turn turn(counts_as_use_);
  if (context_ == nullptr) return Failed(error, ENOMEM);
  return smbc_getFunctionUnlink(context_)(context_, url.c_str()) == 0 ||
         Failed(error, Noted(errno));
}

bool SmbConnection::Missing(const std::string& url) {
  if (!MayAnswer()) return false;
  Turn turn(counts_as_use_);
  if (context_ == nullptr) return false;
  struct stat status {};
  return smbc_getFunctionStat(context_)(context_, url.c_str(), &status) != 0 &&
         Noted(errno) == ENOENT;
}

std::optional<std::vector<SmbConnection::Entry>> SmbConnection::List(const std::string& folder_url,
                                                                     int* error) {
  if (!MayAnswer()) return Failed(error, ETIMEDOUT), std::nullopt;
  Turn turn(counts_as_use_);
  if (context_ == nullptr) return Failed(error, ENOMEM), std::nullopt;
  SMBCFILE* folder = smbc_getFunctionOpendir(context_)(context_, folder_url.c_str());
  if (folder == nullptr) return Failed(error, Noted(errno)), std::nullopt;
  std::vector<Entry> entries;
  while (const libsmb_file_info* info = smbc_getFunctionReaddirPlus(context_)(context_, folder)) {
    const std::string name = info->name != nullptr ? info->name : "";
    if (name.empty() || name == "." || name == "..") continue;
    constexpr uint16_t kDirectoryAttribute = 0x10;
    entries.push_back({.name = name,
                       .size = static_cast<int64_t>(info->size),
                       .modified_ns = info->mtime_ts.tv_sec * 1000000000LL + info->mtime_ts.tv_nsec,
                       .is_folder = (info->attrs & kDirectoryAttribute) != 0});
  }
  smbc_getFunctionClosedir(context_)(context_, folder);
  return entries;
}

std::optional<std::vector<std::string>> SmbConnection::ListShares(int* error) {
  if (!MayAnswer()) return Failed(error, ETIMEDOUT), std::nullopt;
  Turn turn(counts_as_use_);
  if (context_ == nullptr) return Failed(error, ENOMEM), std::nullopt;
  const std::string url = SmbUrl({.host = host_, .port = port_});
  SMBCFILE* server = smbc_getFunctionOpendir(context_)(context_, url.c_str());
  if (server == nullptr) return Failed(error, Noted(errno)), std::nullopt;
  std::vector<std::string> shares;
  while (const smbc_dirent* entry = smbc_getFunctionReaddir(context_)(context_, server)) {
    const std::string name = entry->name;
    if (entry->smbc_type == SMBC_FILE_SHARE && !name.empty() && !name.ends_with('$')) {
      shares.push_back(name);
    }
  }
  smbc_getFunctionClosedir(context_)(context_, server);
  return shares;
}

namespace {

constexpr std::chrono::milliseconds kGiveWayInterval{100};

// How long after its last use by others the library counts as busy.
constexpr std::chrono::milliseconds kBusyTime{300};

struct Wait {
  std::chrono::steady_clock::time_point deadline;
  const std::function<bool()>& interrupted;
  const std::function<void(bool arrived)>& noticed;
  bool gives_way;  // to operations that wait for their turn
  bool gave_way = false;
  bool looked = false;
};

bool Arrived(const smbc_notify_callback_action& change) {
  return change.action == SMBC_NOTIFY_ACTION_ADDED || change.action == SMBC_NOTIFY_ACTION_NEW_NAME;
}

// Tells of the changes reported; ends the wait when the time is up, when it is
// interrupted, or where it gives way, at a change or when an operation waits for its turn.
int EndWait(const smbc_notify_callback_action* changes, size_t count, void* data) {
  auto* wait = static_cast<Wait*>(data);
  if (count > 0) {
    wait->noticed(std::any_of(changes, changes + count, Arrived));
  } else if (!wait->looked && !wait->gives_way) {
    wait->noticed(false);  // what changed before the server took the request went untold
  }
  wait->looked = true;
  wait->gave_way = wait->gives_way && SmbConnection::Turn::waiting() > 0;
  return (wait->gives_way && count > 0) || wait->gave_way || wait->interrupted() ||
         std::chrono::steady_clock::now() >= wait->deadline;
}

// Watches `folder` (see EndWait), looking every `look`; 0 when the server could report
// changes. Samba's library (4.17) sets its timer to the whole seconds of the time asked
// plus the whole time again (3 s come to 6 s), so looks are kept under a second.
int NotifyOnce(SMBCCTX* context, SMBCFILE* folder, std::chrono::milliseconds look, Wait& wait) {
  return smbc_getFunctionNotify(context)(
      context, folder, 0,
      SMBC_NOTIFY_CHANGE_FILE_NAME | SMBC_NOTIFY_CHANGE_SIZE | SMBC_NOTIFY_CHANGE_LAST_WRITE,
      static_cast<unsigned>(look.count()), &EndWait, &wait);
}

// Lets those that wait for their turn have it before a wait takes the library again: a
// waiting thread is not woken first when the library is let go, and the wait, already
// running, would take it back at once, again and again.
void LetTheWaitingGoFirst(const std::function<bool()>& interrupted) {
  while (SmbConnection::Turn::waiting() > 0 && !interrupted()) {
    std::this_thread::sleep_for(kGiveWayInterval);
  }
}

}  // namespace

bool SmbConnection::WatchChanges(const std::string& folder_url, std::chrono::milliseconds limit,
                                 const std::function<bool()>& interrupted,
                                 const std::function<void(bool arrived)>& noticed) {
  if (!MayAnswer()) return false;
  // Where the library may run on two threads, the wait goes on beside the others'
  // turns, on this connection's own context; otherwise it holds the library, giving way.
  const bool beside_others = LetSambaRunOnSeveralThreads();
  if (!beside_others) LetTheWaitingGoFirst(interrupted);
  const auto began = std::chrono::steady_clock::now();
  Wait wait{began + limit, interrupted, noticed, !beside_others};
  // Giving way, it looks every 100 ms while others use the library.
  const bool busy = wait.gives_way && began - Turn::last_use() < kBusyTime;
  const auto look = std::min(limit, busy ? kGiveWayInterval : kWatchLook);
  SMBCCTX* context = nullptr;
  SMBCFILE* folder = nullptr;
  int waited = -1;
  {
    MutexLock lock(library_);  // not a turn of use: it gives way to those
    if (context_ == nullptr) return false;
    context = context_;
    folder = smbc_getFunctionOpendir(context)(context, folder_url.c_str());
    if (folder == nullptr) return false;
    if (!beside_others) waited = NotifyOnce(context, folder, look, wait);
  }
  if (beside_others) waited = NotifyOnce(context, folder, look, wait);
  {
    MutexLock lock(library_);
    smbc_getFunctionClosedir(context)(context, folder);
  }
  if (waited != 0) return false;
  // Having given way, it lets the others have their turn and finish (a presence pass, a
  // stretch of a call) before the caller looks at the folder again, rather than once for
  // each of their operations.
  if (wait.gave_way) {
    LetTheWaitingGoFirst(interrupted);
    while (std::chrono::steady_clock::now() - Turn::last_use() < kBusyTime && !interrupted()) {
      std::this_thread::sleep_for(kGiveWayInterval);
    }
  }
  return true;
}

std::unique_ptr<WritableFile> SmbConnection::OpenForWriting(const std::string& url, int* error) {
  if (!MayAnswer()) return Failed(error, ETIMEDOUT), nullptr;
  Turn turn(counts_as_use_);
  if (context_ == nullptr) return Failed(error, ENOMEM), nullptr;
  SMBCFILE* file = smbc_getFunctionOpen(context_)(context_, url.c_str(), O_WRONLY | O_CREAT, 0666);
  if (file == nullptr) {
    // Samba refuses a file that another opener holds with "access denied" rather than
    // "busy" where this account may do less with it than its owner (a guest, on a share
    // without a forced user, writing a file that a guest made): a file that can't be
    // opened at all beside the others' opens is busy.
    int failed = errno;
    if (failed == EACCES && OpenElsewhere(url)) failed = EBUSY;
    return Failed(error, Noted(failed)), nullptr;
  }
  return std::make_unique<File>(*this, url, file);
}

bool SmbConnection::OpenElsewhere(const std::string& url) {
  SMBCFILE* alone = OpenToReadDenying(context_, url, SMBC_SHAREMODE_DENY_ALL);
  if (alone == nullptr) return errno == EBUSY;
  smbc_getFunctionClose(context_)(context_, alone);
  return false;
}

SmbConnection::HeldFile::~HeldFile() {
  Turn turn(connection_.counts_as_use_);
  smbc_getFunctionClose(connection_.context_)(connection_.context_, file_);
}

std::unique_ptr<SmbConnection::HeldFile> SmbConnection::Hold(const std::string& url, int* error) {
  if (!MayAnswer()) return Failed(error, ETIMEDOUT), nullptr;
  Turn turn(counts_as_use_);
  if (context_ == nullptr) return Failed(error, ENOMEM), nullptr;
  SMBCFILE* file = OpenToReadDenying(context_, url, SMBC_SHAREMODE_DENY_WRITE);
  if (file == nullptr) return Failed(error, Noted(errno)), nullptr;
  return std::make_unique<HeldFile>(*this, file);
}

std::string SmbConnection::Trouble(int error, const ShareLocation& where) {
  if (error == EACCES) {
    // The library reports a refused logon as it reports a file that may not be read.
    ShareLocation share = where;
    share.path.clear();
    int share_error = 0;
    if (List(SmbUrl(share), &share_error) || (share_error != EACCES && share_error != EPERM)) {
      return "";
    }
  }
  if (error != EPERM && error != EACCES) {
    if (!IsServerError(error)) return "";
    return "Server " + host_ + (found_ ? " does not answer" : " can't be found on the network");
  }
  Turn turn(counts_as_use_);  // for the account last given
  return RefusalSentence(host_, account_.username,
                         !account_note_.empty() ? account_note_
                         : account_.username.empty()
                             ? "give it a user name and password in credentials.ini"
                             : "wrong user name or password");
}

bool SmbConnection::MayAnswer() { return known_to_answer_ || AnswersNow(); }

bool SmbConnection::AnsweredLately() {
  const auto since = std::chrono::steady_clock::now().time_since_epoch() -
                     std::chrono::steady_clock::duration(answered_at_.load());
  return (known_to_answer_ && since < kTimeout) || AnswersNow();
}

bool SmbConnection::AnswersNow() {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point asked = Clock::now();
  if (asked.time_since_epoch().count() < unasked_until_) return false;
  std::vector<sockaddr_storage> addresses = lookup_(host_, port_, kTimeout / 3);
  found_ = !addresses.empty();
  const bool answered = AnswersSmb(addresses, asked + kTimeout / 3);
  if (found_) {  // where the name could not be looked up, the last ones stand
    MutexLock lock(addresses_mutex_);
    addresses_ = std::move(addresses);
  }
  const Clock::time_point now = Clock::now();
  known_to_answer_ = answered;
  if (!answered) {
    // Not asked again for as long as the asking took (a refusal comes at once: soon).
    unasked_until_ = (now + (now - asked)).time_since_epoch().count();
    return false;
  }
  answered_at_ = now.time_since_epoch().count();
  return true;
}

void SmbConnection::CutOffIfSilent() {
  if (!AnswersNow()) CutOff();
}

void SmbConnection::CutOff() {
  MutexLock lock(addresses_mutex_);
  StopReadingFrom(addresses_, port_);
}

int SmbConnection::Noted(int error) {
  if (IsServerError(error)) known_to_answer_ = false;
  return error;
}

void SmbConnections::Leave() {
  MutexLock lock(connections_mutex_);
  left_ = true;
  for (const auto& [server, connection] : connections_) connection->Leave();
}

SmbConnection& SmbConnections::For(const ShareLocation& location) {
  const std::string key = location.host + ":" + std::to_string(location.port);
  MutexLock lock(connections_mutex_);
  std::unique_ptr<SmbConnection>& connection = connections_[key];
  if (!connection) {
    connection = std::make_unique<SmbConnection>(location, credentials_, false, lookup_);
    if (left_) connection->Leave();
  }
  return *connection;
}

}  // namespace parlavox
