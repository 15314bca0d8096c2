#ifndef PARLAVOX_SHARE_SMB_CONNECTION_H_
#define PARLAVOX_SHARE_SMB_CONNECTION_H_

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>

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

  // The first `limit` bytes of the file at `url`; nullopt (and `error`) when it can't
  // be read.
  std::optional<std::string> ReadFile(const std::string& url, size_t limit, int* error = nullptr);
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

 private:
  const CredentialsFile credentials_;
  Mutex mutex_;
  std::map<std::string, std::unique_ptr<SmbConnection>> connections_ GUARDED_BY(mutex_);
};

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_SMB_CONNECTION_H_
