#include "control/control_client.h"

#include <chrono>
#include <cstdio>
#include <string>

#include "control/control_channel.h"
#include "control/control_protocol.h"
#include "core/own_record.h"
#include "settings/startup.h"

namespace parlavox {
namespace {

// A call waits for the callee's folder, which may be on a slow share.
constexpr std::chrono::seconds kPatience{20};

void Complain(const std::string& message) {
  std::fprintf(stderr, "parlavox: %s\n", message.c_str());
}

int ChangeIdentityDirectly(const IdentityChange& change, const std::string& socket_path,
                           RecordStore& records) {
  const FileLock claim = ClaimRunningCopy(socket_path);  // held while the record is changed
  if (!claim.held()) {
    Complain("another copy is running but does not answer");
    return 1;
  }
  const SettingsFile settings = LocateSettings(FolderStore::FromEnvironment());
  OwnRecord own(settings, records);
  own.Load();
  own.Change(change);
  if (!own.Publish()) {
    Complain("could not write the record in " + settings.inward_folder());
    return 1;
  }
  return 0;
}

}  // namespace

int RunControlOption(std::string_view option, std::string_view value, RecordStore& records) {
  if (const std::optional<std::string> wrong = CheckControlValue(option, value)) {
    Complain(*wrong);
    return 2;
  }
  std::string request(option);
  if (!value.empty() || ChangesIdentity(option)) request += " " + std::string(value);
  const std::string socket_path = ControlSocketPath();
  const std::optional<std::string> answer = SendControlRequest(socket_path, request, kPatience);
  if (!answer) {
    if (const std::optional<IdentityChange> change = IdentityChangeFor(option, value)) {
      return ChangeIdentityDirectly(*change, socket_path, records);
    }
    Complain("no running copy");
    return 1;
  }
  if (answer->starts_with("ok")) {
    if (answer->size() > 3) std::printf("%s\n", answer->c_str() + 3);
    return 0;
  }
  Complain(answer->substr(std::min<size_t>(answer->size(), 6)));
  return 1;
}

}  // namespace parlavox
