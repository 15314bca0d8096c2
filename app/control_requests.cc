#include "app/control_requests.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <charconv>

namespace parlavox {

std::optional<int32_t> ParseUserId(std::string_view text) {
  int32_t id = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
  if (error != std::errc() || end != text.data() + text.size() || id < 1) return std::nullopt;
  return id;
}

std::optional<int32_t> ParseListIndex(std::string_view text) {
  int32_t index = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), index);
  if (error != std::errc() || end != text.data() + text.size() || index < 0) return std::nullopt;
  return index;
}

std::string StatusJson(const Intercom& intercom) {
  QJsonArray users;
  int index = 0;
  for (const UserListItem& item : intercom.users().items()) {
    users.append(QJsonObject{{"index", index++},
                             {"name", QString::fromStdString(item.name)},
                             {"on", item.on},
                             {"id", item.id}});
  }
  const QJsonObject status{
      {"on", intercom.is_on()},
      {"recording", intercom.is_recording()},
      {"playing", intercom.is_playing()},
      {"status", QString::fromStdString(intercom.status_text())},
      {"previous_caller", intercom.previous_caller()},
      {"id", intercom.own_record().id},
      {"name", QString::fromStdString(intercom.own_record().Name())},
      {"users", users},
  };
  return QJsonDocument(status).toJson(QJsonDocument::Compact).toStdString();
}

std::string AnswerControlRequest(std::string_view request, Intercom& intercom,
                                 const std::function<void()>& quit) {
  const size_t space = request.find(' ');
  const std::string_view verb = request.substr(0, space);
  const std::string_view argument =
      space == std::string_view::npos ? std::string_view() : request.substr(space + 1);

  if (verb == "status") return "ok " + StatusJson(intercom);
  if (verb == "on") {
    intercom.TurnOn();
  } else if (verb == "off") {
    intercom.TurnOff();
  } else if (verb == "call") {
    const std::optional<int32_t> index = ParseListIndex(argument);
    if (!index) return "error the user's position must be a whole number from 0";
    if (!intercom.StartCall(*index)) return "error " + intercom.status_text();
  } else if (verb == "reply") {
    if (!intercom.Reply()) return "error " + intercom.status_text();
  } else if (verb == "hangup") {
    intercom.StopCall();
  } else if (verb == "show") {
    intercom.ShowMainWindow();
  } else if (verb == "quit") {
    quit();
  } else if (verb.starts_with("set-")) {
    IdentityChange change;
    if (verb == "set-name") {
      change.name = argument;
    } else if (verb == "set-email") {
      change.email = argument;
    } else if (verb == "set-id") {
      change.id = ParseUserId(argument);
      if (!change.id) return "error the id must be a whole number from 1 to 2147483647";
    } else {
      return "error unknown request: " + std::string(verb);
    }
    intercom.ChangeIdentity(change);
  } else {
    return "error unknown request: " + std::string(verb);
  }
  return "ok";
}

}  // namespace parlavox
