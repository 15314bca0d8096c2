#ifndef PARLAVOX_SHARE_SMB_CONNECTION_H_
#define PARLAVOX_SHARE_SMB_CONNECTION_H_

#include <sys/socket.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "audio/writable_file.h"
#include "share/credentials.h"
#include "share/server_lookup.h"
#include "util/manual_reset_event.h"
#include "util/mutex.h"
#include "words/share_name.h"

struct _SMBCCTX;
struct _SMBCFILE;

namespace parlavox {

// One kept connection to an SMB server, through Samba's client library: no mount, no
// root, no helper. The library is not safe to use from two threads at once, even with a
// context each, so every operation of every connection takes its turn; each gives up
// after the time-out and keeps the connection for the next. Before its first turn, and
// again after it did not answer, a server is asked outside the turns whether it answers an
// SMB negotiation (for a third of the time-out, and not again for as long), at the addresses
// that `lookup` finds for its name (by default those the system's resolver knows, or else
// those the machine gives for its NetBIOS name, as Samba's library finds it too); until it does,
// operations on it fail with ETIMEDOUT, so a dead or hung server holds up nobody's turn, and
// the connection to it ends without the farewell that would wait for its answer. The
// account is the one `credentials` names for the host when the server asks, read afresh each time
// it asks, so a password put right is used at the next attempt. Errors are errno values, as the
// library sets them.
class SmbConnection {
 public:
  static constexpr std::chrono::milliseconds kTimeout{3000};

  // A background connection's work does not count as use of the library by others,
  // which waits for changes give way to. `lookup` finds the server's addresses for the
  // negotiation asked outside the turns (the library looks the name up itself).
  SmbConnection(const ShareLocation& server, CredentialsFile credentials, bool background = false,
                ServerLookup lookup = LookUpServer);
  ~SmbConnection();
  SmbConnection(const SmbConnection&) = delete;
  SmbConnection& operator=(const SmbConnection&) = delete;

  // What a folder holds, one entry a name ("." and ".." left out).
  struct Entry {
    std::string name;
    int64_t size = 0;
    int64_t modified_ns = 0;
    bool is_folder = false;
  };

  // At most `size` bytes of the file at `url` from `offset` on (fewer at its end);
  // nullopt (and `error`) when it can't be read. The library reads on past the end of a
  // file that grows for as long as it grows; where `size_now` is given, it asks first how
  // long the file is (a round trip more), tells it there, and reads no further.
  std::optional<std::string> ReadAt(const std::string& url, int64_t offset, size_t size,
                                    int* error = nullptr, int64_t* size_now = nullptr);
  // Replaces the file at `url` with `bytes`.
  bool WriteWhole(const std::string& url, std::string_view bytes, int* error = nullptr);
  bool Remove(const std::string& url, int* error = nullptr);
  // Whether the server says that there is no file at `url` (false also where it can't be
  // asked).
  bool Missing(const std::string& url);
  std::optional<std::vector<Entry>> List(const std::string& folder_url, int* error = nullptr);
  // The names of the server's disk shares, those ending in "$" left out.
  std::optional<std::vector<std::string>> ListShares(int* error = nullptr);
  static constexpr std::chrono::milliseconds kWatchLook{500};
  // Waits up to `limit` for changes in the folder at `folder_url` (a name made, removed or
  // renamed, or a file written), telling `noticed` of each batch the server reports:
  // true where a file came in under a new name. Every half second (kWatchLook) it looks
  // whether `interrupted` says so, and ends early then. Where the library may run on several
  // threads (LetSambaRunOnSeveralThreads) it waits on after each batch, and others'
  // operations go on beside it; elsewhere it holds the library, and ends at the first
  // batch and when an operation waits for its turn (looking every 100 ms while others
  // have used the library lately). Waiting beside the others, it also tells `noticed`
  // (false) at its first look where nothing was reported by then: changes made before
  // the server took the request go unreported, and the caller looks for itself. Returns
  // false at once when the server can't report changes. Use a background connection.
  bool WatchChanges(const std::string& folder_url, std::chrono::milliseconds limit,
                    const std::function<bool()>& interrupted,
                    const std::function<void(bool arrived)>& noticed);

  // Whether the server answered a negotiation within the time-out, or answers one now,
  // asked outside the turns (as before a first turn). Work that looks at many servers in
  // the background asks this first, so that a server that stopped answering since (a
  // colleague's machine gone to sleep) costs it a third of the time-out, and not every
  // other operation of the program the library's time-outs in its turn.
  bool AnsweredLately();
  // Where the server does not answer a negotiation now, ends at once whatever waits on
  // this process's connections to it (an operation that would wait out the library's
  // time-outs fails as where the connection dropped), so that a thread that is to stop
  // can. Safe from any thread: it takes no turn.
  void CutOffIfSilent();

  // The sentence a person hears when an operation in `where` failed with `error`
  // because of the server (it can't be found, does not answer, or refuses the account: the share
  // itself is then looked at), naming it; "" for errors of one file or folder.
  std::string Trouble(int error, const ShareLocation& where);
  // How long after the server last took a write to a file its Close waits for the server
  // to come back and take the rest: less than the 20 s for which a callee waits on a
  // message that stopped growing before taking it as ended.
  static constexpr std::chrono::milliseconds kFinishPatience{15000};
  // The file at `url` for writing, made when missing; null when it can't be opened
  // (EBUSY where another opener holds it against writing). It
  // uses this connection, which must outlive it. What it can't write because the
  // connection went away or the server is away is kept (up to 16 MB) and written once it
  // is back; its Close waits for that, while the server does not answer, up to
  // kFinishPatience after it last took a write (after Leave: not at all), holding no turn
  // meanwhile, and says whether everything made it.
  std::unique_ptr<WritableFile> OpenForWriting(const std::string& url, int* error = nullptr);
  // Ends the waits of files closing for a server that does not answer, and every later
  // one, as the program ends. Safe from any thread.
  void Leave() { leaving_.Set(); }

  // Sound moving through the library: a message written (a file from OpenForWriting) or
  // read as it is heard. Work that can wait, such as a presence pass, gives way to it, as
  // every operation takes its turn and one on a far server would hold the sound up for
  // as long. Safe from any thread.
  static void NoteMessageMoved() {
    message_moved_ns_ = std::chrono::steady_clock::now().time_since_epoch().count();
  }
  static bool MessageMovedWithin(std::chrono::milliseconds span) {
    return std::chrono::steady_clock::now().time_since_epoch() -
               std::chrono::steady_clock::duration(message_moved_ns_.load()) <
           span;
  }

  // A file kept open so that nobody may write or delete it, as long as this object lives.
  class HeldFile {
   public:
    HeldFile(SmbConnection& connection, _SMBCFILE* file) : connection_(connection), file_(file) {}
    ~HeldFile();
    HeldFile(const HeldFile&) = delete;
    HeldFile& operator=(const HeldFile&) = delete;

   private:
    SmbConnection& connection_;
    _SMBCFILE* const file_;
  };
  // Holds the file at `url` against writing (a sharing violation for any other opener
  // who asks to write); null when it can't be held (EBUSY: someone has it open for
  // writing now). It uses this connection, which must outlive it.
  std::unique_ptr<HeldFile> Hold(const std::string& url, int* error = nullptr);

 private:
  class File;
  // Answers the library's question for the account, within an operation's turn.
  static void GiveAccount(_SMBCCTX* context, const char* server, const char* share, char* workgroup,
                          int workgroup_size, char* username, int username_size, char* password,
                          int password_size);

  // Whether the server may answer now: nothing failed since it last answered a negotiation,
  // or it answers one now (AnswersNow).
  bool MayAnswer();
  // Whether the server answers a negotiation now, asked outside the turns for a third of
  // the time-out. One that did not answer is not asked again for as long as the asking
  // took, so that the operations queued for a hung server fail at once rather than a
  // second each.
  bool AnswersNow();
  // Ends whatever waits for an answer on this process's connections to the server.
  void CutOff();
  // Whether the file at `url` is open elsewhere (it can't be opened denying others).
  bool OpenElsewhere(const std::string& url) REQUIRES(library_);
  // Notes an operation's error that says the server does not answer; returns it.
  int Noted(int error);

  static inline Mutex library_;  // the turn of every operation on the library
  static inline std::atomic<std::chrono::steady_clock::rep> message_moved_ns_{0};

 public:
  // An operation's turn on the library, which a wait for changes gives way to.
  class SCOPED_CAPABILITY Turn {
   public:
    explicit Turn(bool counts_as_use) ACQUIRE(library_) {
      ++waiting_;
      library_.lock();
      --waiting_;
      taken_ = std::chrono::steady_clock::now();
      if (counts_as_use) last_use_ns_ = taken_.time_since_epoch().count();
    }
    ~Turn() RELEASE() {
      held_by_this_thread_ += std::chrono::steady_clock::now() - taken_;
      library_.unlock();
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    static int waiting() { return waiting_; }
    // How long the calling thread has held turns, all told: what its operations held
    // everybody else's up by, not counting its own waits for a turn.
    static std::chrono::steady_clock::duration HeldByThisThread() { return held_by_this_thread_; }
    static std::chrono::steady_clock::time_point last_use() {
      return std::chrono::steady_clock::time_point(
          std::chrono::steady_clock::duration(last_use_ns_));
    }

   private:
    std::chrono::steady_clock::time_point taken_;
    static inline thread_local std::chrono::steady_clock::duration held_by_this_thread_{};
    static inline std::atomic<int> waiting_{0};
    static inline std::atomic<std::chrono::steady_clock::rep> last_use_ns_{0};
  };

 private:
  _SMBCCTX* context_ GUARDED_BY(library_);
  const std::string host_;
  const int port_;
  const ServerLookup lookup_;
  std::atomic<bool> found_{true};             // the name was found when last asked
  std::atomic<bool> known_to_answer_{false};  // answered a negotiation, and nothing since
  std::atomic<std::chrono::steady_clock::rep> unasked_until_{0};  // after one it did not
  std::atomic<std::chrono::steady_clock::rep> answered_at_{0};    // the last negotiation
  Mutex addresses_mutex_;
  std::vector<sockaddr_storage> addresses_ GUARDED_BY(addresses_mutex_);  // the host's, last asked
  const bool counts_as_use_;
  const CredentialsFile credentials_file_;
  Credentials account_ GUARDED_BY(library_);       // as last given
  std::string account_note_ GUARDED_BY(library_);  // why credentials.ini was not used
  ManualResetEvent leaving_;                       // set by Leave
};

// The connections of the process, one per server (host and port), made on first use.
// Safe from any thread.
class SmbConnections {
 public:
  explicit SmbConnections(CredentialsFile credentials, ServerLookup lookup = LookUpServer)
      : credentials_(std::move(credentials)), lookup_(std::move(lookup)) {}
  SmbConnection& For(const ShareLocation& location);
  // A background connection of its own, for work that holds it long (WatchChanges).
  std::unique_ptr<SmbConnection> NewBackground(const ShareLocation& location) const {
    return std::make_unique<SmbConnection>(location, credentials_, true, lookup_);
  }
  // Leave on every connection made by For, before and after.
  void Leave();

 private:
  const CredentialsFile credentials_;
  const ServerLookup lookup_;
  Mutex connections_mutex_;
  std::map<std::string, std::unique_ptr<SmbConnection>> connections_ GUARDED_BY(connections_mutex_);
  bool left_ GUARDED_BY(connections_mutex_) = false;
};

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_SMB_CONNECTION_H_
