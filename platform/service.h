#ifndef PARLAVOX_PLATFORM_SERVICE_H_
#define PARLAVOX_PLATFORM_SERVICE_H_

#include <string>

namespace parlavox {

// The program as a service of the person's systemd: the user unit "parlavox.service"
// in `unit_folder` ($XDG_CONFIG_HOME/systemd/user), which runs it "/service". It counts
// as registered when the unit exists.
class ServiceUnit {
 public:
  // What asks the person's systemd to start the unit with every login.
  static constexpr const char* kEnableCommand =
      "systemctl --user daemon-reload && systemctl --user enable --now parlavox.service";

  // `enable_command` runs through the shell once the unit is written.
  ServiceUnit(std::string unit_folder, std::string enable_command = kEnableCommand)
      : folder_(std::move(unit_folder)), enable_command_(std::move(enable_command)) {}
  static ServiceUnit ForUser();

  bool IsRegistered() const;
  // Writes the unit for `program` (nothing when one is registered already) and asks the
  // person's systemd to start it with every login. Returns what the person should
  // know: empty when all went well, else the command that finishes the job.
  std::string Register(const std::string& program);

  std::string path() const { return folder_ + "/parlavox.service"; }

 private:
  std::string folder_;
  std::string enable_command_;
};

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_SERVICE_H_
