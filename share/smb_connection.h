#ifndef PARLAVOX_SHARE_SMB_CONNECTION_H_
#define PARLAVOX_SHARE_SMB_CONNECTION_H_

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "audio/writable_file.h"
#include "share/credentials.h"
#include "share/share_name.h"
#include "util/mutex.h"

struct _SMBCCTX;

namespace parlavox {

// One kept connection to an SMB server under one account, through Samba's client
// library: no mount, no root, no helper. Each operation takes its turn on it (the
// library's contexts are not shared between threads), gives up after the time-out, and
// keeps the connection for the next. Errors are errno values, as the library sets them.
class SmbConnection {
 public:
  static constexpr std::chrono::milliseconds kTimeout{3000};

  SmbConnection(const ShareLocation& server, Credentials credentials);
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
  // nullopt (and `error`) when it can't be read.
  std::optional<std::string> ReadAt(const std::string& url, int64_t offset, size_t size,
                                    int* error = nullptr);
  // Replaces the file at `url` with `bytes`.
  bool WriteWhole(const std::string& url, std::string_view bytes, int* error = nullptr);
  bool Remove(const std::string& url, int* error = nullptr);
  std::optional<std::vector<Entry>> List(const std::string& folder_url, int* error = nullptr);
  // Waits up to `limit` for the server to report a change in the folder at `folder_url`:
  // a name made, removed or renamed, or a file written. Returns false at once when the
  // server can't report changes. It holds the connection while it waits: use a
  // connection of its own for it.
  bool WaitForChange(const std::string& folder_url, std::chrono::milliseconds limit);
  // The file at `url` for writing, made when missing; null when it can't be opened. It
  // uses this connection, which must outlive it.
  std::unique_ptr<WritableFile> OpenForWriting(const std::string& url, int* error = nullptr);

 private:
  class File;
  Mutex mutex_;
  _SMBCCTX* context_ GUARDED_BY(mutex_);
  const Credentials credentials_;
};

// The connections of the process, one per server (host and port) and account, made on
// first use with the account credentials.ini names for the host. Safe from any thread.
class SmbConnections {
 public:
  explicit SmbConnections(CredentialsFile credentials) : credentials_(std::move(credentials)) {}
  SmbConnection& For(const ShareLocation& location);
  // A connection that is not shared, for work that holds it long (WaitForChange).
  std::unique_ptr<SmbConnection> NewPrivate(const ShareLocation& location) const;

 private:
  const CredentialsFile credentials_;
  Mutex mutex_;
  std::map<std::string, std::unique_ptr<SmbConnection>> connections_ GUARDED_BY(mutex_);
};

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_SMB_CONNECTION_H_
