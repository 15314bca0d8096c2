#ifndef PARLAVOX_SETUP_LAUNCHER_H_
#define PARLAVOX_SETUP_LAUNCHER_H_

#include <string>
#include <vector>

namespace parlavox {

// Starts programs for the installer.
class Launcher {
 public:
  virtual ~Launcher() = default;
  // Starts `program` with `arguments` on its own, in a session of its own, and does
  // not wait for it. False when it could not be started.
  virtual bool Start(const std::string& program, const std::vector<std::string>& arguments) = 0;
  // Runs `program` with `arguments` in place of this process, keeping its terminal.
  // Returns only when that failed.
  virtual void Replace(const std::string& program, const std::vector<std::string>& arguments) = 0;
};

// The real thing: StartProgram and execv.
class ProcessLauncher : public Launcher {
 public:
  bool Start(const std::string& program, const std::vector<std::string>& arguments) override;
  void Replace(const std::string& program, const std::vector<std::string>& arguments) override;
};

}  // namespace parlavox

#endif  // PARLAVOX_SETUP_LAUNCHER_H_
