#ifndef PARLAVOX_APP_CONTROL_CHANNEL_H_
#define PARLAVOX_APP_CONTROL_CHANNEL_H_

#include <QLocalServer>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace parlavox {

// The running copy's control socket, private to the user:
// $XDG_RUNTIME_DIR/parlavox.sock, or parlavox.sock in a folder of the user's own
// under the temporary folder when there is no runtime folder.
std::string ControlSocketPath();

// Listens on the control socket and answers every request line with `answer`,
// on the thread that runs the event loop.
class ControlServer {
 public:
  using Answer = std::function<std::string(std::string_view request)>;
  explicit ControlServer(Answer answer);

  // Takes the socket over, replacing a file that no running copy answers on any
  // more; false when the socket can't be made.
  bool Listen(const std::string& path);

 private:
  void TakeConnection();

  QLocalServer server_;
  Answer answer_;
};

// Sends one request line to the running copy and returns its answer line; nullopt
// when no copy answers.
std::optional<std::string> SendControlRequest(const std::string& socket_path,
                                              std::string_view request);

}  // namespace parlavox

#endif  // PARLAVOX_APP_CONTROL_CHANNEL_H_
