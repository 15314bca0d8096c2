#include "control/control_requests.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "control/control_protocol.h"

namespace parlavox {
namespace {

// Turns a call's outcome into the answer line.
std::function<void(CallRefusal)> CallAnswer(std::function<void(const std::string&)> reply) {
  return [reply = std::move(reply)](CallRefusal refusal) {
    reply(refusal == CallRefusal::kNone ? "ok" : "error " + RefusalText(refusal));
  };
}

}  // namespace

std::string StatusJson(const IntercomSnapshot& snapshot) {
  QJsonArray users;
  int index = 0;
  for (const UserListItem& item : snapshot.users) {
    users.append(QJsonObject{{"index", index++},
                             {"name", QString::fromStdString(item.name)},
                             {"on", item.on},
                             {"reached", item.reached},
                             {"id", item.id}});
  }
  const QJsonObject status{
      {"on", snapshot.on},
      {"recording", snapshot.recording},
      {"playing", snapshot.playing},
      {"status", QString::fromStdString(snapshot.status)},
      {"previous_caller", snapshot.previous_caller},
      {"id", snapshot.own.id},
      {"name", QString::fromStdString(snapshot.own.Name())},
      {"users", users},
  };
  return QJsonDocument(status).toJson(QJsonDocument::Compact).toStdString();
}

void AnswerControlRequest(std::string_view request, Intercom& intercom,
                          const std::function<void()>& quit,
                          std::function<void(const std::string&)> reply) {
  const size_t space = request.find(' ');
  const std::string_view verb = request.substr(0, space);
  const std::string_view argument =
      space == std::string_view::npos ? std::string_view() : request.substr(space + 1);

  if (const std::optional<std::string> wrong = CheckControlValue(verb, argument)) {
    return reply("error " + *wrong);
  }
  if (verb == "status") return reply("ok " + StatusJson(intercom.Snapshot()));
  if (verb == "call") return intercom.StartCall(*ParseListIndex(argument), CallAnswer(reply));
  if (verb == "reply") return intercom.Reply(CallAnswer(reply));
  if (verb == "on") {
    intercom.TurnOn();
  } else if (verb == "off") {
    intercom.TurnOff();
  } else if (verb == "hangup") {
    intercom.StopCall();
  } else if (verb == "show") {
    if (!intercom.AnswerSecondStart()) return reply("ok " + std::string(kNoWindowAnswer));
  } else if (verb == "quit") {
    quit();
  } else if (const std::optional<IdentityChange> change = IdentityChangeFor(verb, argument)) {
    intercom.ChangeIdentity(*change);
  } else {
    return reply("error unknown request: " + std::string(verb));
  }
  reply("ok");
}

}  // namespace parlavox
