#include "share/smb_connection.h"

#include <fcntl.h>
#include <libsmbclient.h>

#include <cerrno>
#include <cstring>

namespace parlavox {
namespace {

void CopyInto(char* field, int size, const std::string& text) {
  if (size <= 0) return;
  std::strncpy(field, text.c_str(), static_cast<size_t>(size) - 1);
  field[size - 1] = '\0';
}

void GiveCredentials(SMBCCTX* context, const char*, const char*, char* workgroup,
                     int workgroup_size, char* username, int username_size, char* password,
                     int password_size) {
  const auto* credentials = static_cast<const Credentials*>(smbc_getOptionUserData(context));
  if (!credentials->domain.empty()) CopyInto(workgroup, workgroup_size, credentials->domain);
  CopyInto(username, username_size, credentials->username);
  CopyInto(password, password_size, credentials->password);
}

// Keeps `code` for the caller that asked for it; false, so that it can end a failure.
bool Failed(int* error, int code) {
  if (error != nullptr) *error = code;
  return false;
}

}  // namespace

// A file open on the connection; every operation takes the connection's turn.
class SmbConnection::File : public WritableFile {
 public:
  File(SmbConnection& connection, SMBCFILE* file) : connection_(connection), file_(file) {}
  ~File() override { Close(); }

  bool WriteAt(const void* data, size_t size, int64_t offset) override {
    MutexLock lock(connection_.mutex_);
    SMBCCTX* context = connection_.context_;
    if (file_ == nullptr ||
        smbc_getFunctionLseek(context)(context, file_, static_cast<off_t>(offset), SEEK_SET) !=
            static_cast<off_t>(offset)) {
      return false;
    }
    const auto* bytes = static_cast<const char*>(data);
    while (size > 0) {
      const ssize_t wrote = smbc_getFunctionWrite(context)(context, file_, bytes, size);
      if (wrote <= 0) return false;
      bytes += wrote;
      size -= static_cast<size_t>(wrote);
    }
    return true;
  }
  bool Resize(int64_t size) override {
    MutexLock lock(connection_.mutex_);
    SMBCCTX* context = connection_.context_;
    return file_ != nullptr &&
           smbc_getFunctionFtruncate(context)(context, file_, static_cast<off_t>(size)) == 0;
  }
  bool SendOn() override { return true; }  // every write has reached the server already
  bool Close() override {
    MutexLock lock(connection_.mutex_);
    if (file_ == nullptr) return true;
    SMBCCTX* context = connection_.context_;
    const bool closed = smbc_getFunctionClose(context)(context, file_) == 0;
    file_ = nullptr;
    return closed;
  }

 private:
  SmbConnection& connection_;
  SMBCFILE* file_;
};

SmbConnection::SmbConnection(const ShareLocation& server, Credentials credentials)
    : context_(smbc_new_context()), credentials_(std::move(credentials)) {
  MutexLock lock(mutex_);
  if (context_ == nullptr) return;
  smbc_setOptionUserData(context_, const_cast<Credentials*>(&credentials_));
  smbc_setFunctionAuthDataWithContext(context_, &GiveCredentials);
  smbc_setTimeout(context_, static_cast<int>(kTimeout.count()));
  if (server.port != 0) smbc_setPort(context_, static_cast<uint16_t>(server.port));
  smbc_setOptionNoAutoAnonymousLogin(context_, credentials_.username.empty() ? 0 : 1);
  if (smbc_init_context(context_) == nullptr) {
    smbc_free_context(context_, 1);
    context_ = nullptr;
  }
}

SmbConnection::~SmbConnection() {
  MutexLock lock(mutex_);
  if (context_ != nullptr) smbc_free_context(context_, 1);
}

std::optional<std::string> SmbConnection::ReadAt(const std::string& url, int64_t offset,
                                                 size_t size, int* error) {
  MutexLock lock(mutex_);
  if (context_ == nullptr) return Failed(error, ENOMEM), std::nullopt;
  SMBCFILE* file = smbc_getFunctionOpen(context_)(context_, url.c_str(), O_RDONLY, 0);
  if (file == nullptr) return Failed(error, errno), std::nullopt;
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
  MutexLock lock(mutex_);
  if (context_ == nullptr) return Failed(error, ENOMEM);
  SMBCFILE* file =
      smbc_getFunctionOpen(context_)(context_, url.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
  if (file == nullptr) return Failed(error, errno);
  const ssize_t wrote = smbc_getFunctionWrite(context_)(context_, file, bytes.data(), bytes.size());
  const int write_error = errno;
  const bool closed = smbc_getFunctionClose(context_)(context_, file) == 0;
  if (wrote != static_cast<ssize_t>(bytes.size())) return Failed(error, write_error);
  return closed || Failed(error, errno);
}

bool SmbConnection::Remove(const std::string& url, int* error) {
  MutexLock lock(mutex_);
  if (context_ == nullptr) return Failed(error, ENOMEM);
  return smbc_getFunctionUnlink(context_)(context_, url.c_str()) == 0 || Failed(error, errno);
}

std::optional<std::vector<SmbConnection::Entry>> SmbConnection::List(const std::string& folder_url,
                                                                     int* error) {
  MutexLock lock(mutex_);
  if (context_ == nullptr) return Failed(error, ENOMEM), std::nullopt;
  SMBCFILE* folder = smbc_getFunctionOpendir(context_)(context_, folder_url.c_str());
  if (folder == nullptr) return Failed(error, errno), std::nullopt;
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

namespace {

// Ends the wait at the first change, or when the time is up.
int EndWait(const smbc_notify_callback_action*, size_t, void*) { return 1; }

}  // namespace

bool SmbConnection::WaitForChange(const std::string& folder_url, std::chrono::milliseconds limit) {
  MutexLock lock(mutex_);
  if (context_ == nullptr) return false;
  SMBCFILE* folder = smbc_getFunctionOpendir(context_)(context_, folder_url.c_str());
  if (folder == nullptr) return false;
  const int waited = smbc_getFunctionNotify(context_)(
      context_, folder, 0,
      SMBC_NOTIFY_CHANGE_FILE_NAME | SMBC_NOTIFY_CHANGE_SIZE | SMBC_NOTIFY_CHANGE_LAST_WRITE,
      static_cast<unsigned>(limit.count()), &EndWait, nullptr);
  smbc_getFunctionClosedir(context_)(context_, folder);
  return waited == 0;
}

std::unique_ptr<WritableFile> SmbConnection::OpenForWriting(const std::string& url, int* error) {
  MutexLock lock(mutex_);
  if (context_ == nullptr) return Failed(error, ENOMEM), nullptr;
  SMBCFILE* file = smbc_getFunctionOpen(context_)(context_, url.c_str(), O_WRONLY | O_CREAT, 0666);
  if (file == nullptr) return Failed(error, errno), nullptr;
  return std::make_unique<File>(*this, file);
}

std::unique_ptr<SmbConnection> SmbConnections::NewPrivate(const ShareLocation& location) const {
  return std::make_unique<SmbConnection>(location, credentials_.For(location.host, nullptr));
}

SmbConnection& SmbConnections::For(const ShareLocation& location) {
  const std::string key = location.host + ":" + std::to_string(location.port);
  MutexLock lock(mutex_);
  std::unique_ptr<SmbConnection>& connection = connections_[key];
  if (!connection) {
    connection =
        std::make_unique<SmbConnection>(location, credentials_.For(location.host, nullptr));
  }
  return *connection;
}

}  // namespace parlavox
