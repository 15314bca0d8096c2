#include "control/control_channel.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QLocalSocket>
#include <QPointer>
#include <filesystem>

#include "util/paths.h"

namespace parlavox {
namespace {

constexpr int kConnectTimeoutMs = 1000;

// Makes `folder` where it is missing; true when it is then a folder (not a link) of
// this user's that nobody else may enter, as it is made private where it was not.
bool OwnPrivateFolder(const std::string& folder) {
  mkdir(folder.c_str(), 0700);
  struct stat status {};
  return lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
         status.st_uid == getuid() && chmod(folder.c_str(), 0700) == 0;
}

}  // namespace

std::string ControlSocketPath() {
  if (const std::string runtime = XdgRuntimeDir(); !runtime.empty()) {
    return JoinPath(runtime, "parlavox.sock");
  }
  std::string folder = QDir::tempPath().toStdString() + "/parlavox-" + std::to_string(getuid());
  if (!OwnPrivateFolder(folder)) {
    // Another user took the name first, who could hold the claim or answer in our
    // place: a folder in the user's own home instead, one for each machine, as a home
    // shared between machines must not make their copies one.
    const std::string parent = XdgCacheHome() + "/parlavox";
    std::error_code ignored;  // a folder that can't be made fails the listening, which says so
    std::filesystem::create_directories(parent, ignored);
    folder = JoinPath(parent, HostName());
    OwnPrivateFolder(folder);
  }
  return JoinPath(folder, "parlavox.sock");
}

FileLock ClaimRunningCopy(const std::string& socket_path) {
  return FileLock(socket_path + ".lock", O_RDWR | O_CREAT, FileLock::Kind::kExclusive,
                  FileLock::Wait::kNo);
}

ControlServer::ControlServer(Answer answer) : answer_(std::move(answer)) {
  server_.setSocketOptions(QLocalServer::UserAccessOption);
  QObject::connect(&server_, &QLocalServer::newConnection, [this] { TakeConnection(); });
}

bool ControlServer::Listen(const std::string& path) {
  const QString name = QString::fromStdString(path);
  QLocalServer::removeServer(name);
  return server_.listen(name);
}

void ControlServer::TakeConnection() {
  while (QLocalSocket* socket = server_.nextPendingConnection()) {
    QObject::connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    QObject::connect(socket, &QLocalSocket::readyRead, socket, [this, socket] {
      if (!socket->canReadLine()) return;
      const std::string request = socket->readLine().trimmed().toStdString();
      answer_(request, [asker = QPointer<QLocalSocket>(socket)](const std::string& answer) {
        if (!asker || asker->state() != QLocalSocket::ConnectedState) return false;
        asker->write(QByteArray::fromStdString(answer + "\n"));
        const bool delivered = asker->flush();
        asker->disconnectFromServer();
        return delivered;
      });
    });
  }
}

std::optional<std::string> SendControlRequest(const std::string& socket_path,
                                              std::string_view request,
                                              std::chrono::milliseconds patience) {
  QLocalSocket socket;
  socket.connectToServer(QString::fromStdString(socket_path));
  if (!socket.waitForConnected(kConnectTimeoutMs)) return std::nullopt;
  socket.write(QByteArray(request.data(), static_cast<qsizetype>(request.size())) + "\n");
  socket.waitForBytesWritten(kConnectTimeoutMs);
  while (!socket.canReadLine()) {
    if (!socket.waitForReadyRead(static_cast<int>(patience.count()))) break;
  }
  if (!socket.canReadLine()) return "error the running copy did not answer in time";
  return socket.readLine().trimmed().toStdString();
}

}  // namespace parlavox
