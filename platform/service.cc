#include "platform/service.h"

#include "util/paths.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace parlavox {
ServiceUnit ServiceUnit::ForUser() { return ServiceUnit(XdgConfigHome() + "/systemd/user"); }

bool ServiceUnit::IsRegistered() const {
  std::error_code error;
  return std::filesystem::exists(path(), error);
}

std::string ServiceUnit::Register(const std::string& program) {
  if (IsRegistered()) return "";
  std::error_code error;
  std::filesystem::create_directories(folder_, error);
  std::ofstream unit(path());
  unit << "[Unit]\n"
          "Description=Parlavox push-to-talk intercom\n"
          "After=pipewire-pulse.service pulseaudio.service\n\n"
          "[Service]\n"
          "ExecStart=\""
       << program
       << "\" /service\n"
          "Restart=on-failure\n\n"
          "[Install]\n"
          "WantedBy=default.target\n";
  if (!unit.flush()) return "could not write " + path();
  unit.close();
  // The person's systemd may not be reachable (no login session, no D-Bus).
  if (std::system((enable_command_ + " >/dev/null 2>&1").c_str()) == 0) return "";
  return "the unit is written, but the user's systemd could not be reached; run\n  " +
         enable_command_ +
         "\nonce logged in, and \"loginctl enable-linger\" to keep it running without a login";
}

}  // namespace parlavox
