#ifndef PARLAVOX_CONTROL_CONTROL_CHANNEL_H_
#define PARLAVOX_CONTROL_CONTROL_CHANNEL_H_

#include <QLocalServer>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "util/file_lock.h"

namespace parlavox {

// The running copy's control socket, private to the user:
// $XDG_RUNTIME_DIR/parlavox.sock, or parlavox.sock in a folder of the user's own
// under the temporary folder when there is no runtime folder ("parlavox-<uid>", made
// private), or, where another user holds that name, in $XDG_CACHE_HOME/parlavox/<host>.
std::string ControlSocketPath();

// The claim to be the one running copy of the user's session: an exclusive lock on
// "parlavox.sock.lock" beside the control socket, not waited for. A copy that died
// leaves no claim behind.
FileLock ClaimRunningCopy(const std::string& socket_path);

// Listens on the control socket and answers every request line on the thread that
// runs the event loop. `answer` gets the request and a `reply` to call, at once or
// later, with the answer line; a reply after the asker has gone is dropped, and `reply`
// then returns false.
class ControlServer {
 public:
  using Reply = std::function<bool(const std::string& answer)>;
  using Answer = std::function<void(std::string_view request, Reply reply)>;
  explicit ControlServer(Answer answer);

  // Takes the socket over. Only the holder of the running copy's claim may call this: a
  // socket file left there is then one that no running copy answers on any more.
  // False when the socket can't be made.
  bool Listen(const std::string& path);

 private:
  void TakeConnection();

  QLocalServer server_;
  Answer answer_;
};

// Sends one request line to the running copy and returns its answer line; nullopt
// when no copy listens on the socket. A copy that takes longer than `patience` to
// answer gets an error answer made up here.
std::optional<std::string> SendControlRequest(const std::string& socket_path,
                                              std::string_view request,
                                              std::chrono::milliseconds patience);

}  // namespace parlavox

#endif  // PARLAVOX_CONTROL_CONTROL_CHANNEL_H_
