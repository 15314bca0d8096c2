#include "control/control_requests.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "control/control_protocol.h"

namespace parlavox {
namespace {

// Turns a call's outcome into the answer line; a call that started without its asker
// ends there.
std::function<void(CallRefusal)> CallAnswer(Intercom& intercom,
                                            std::function<bool(const std::string&)> reply) {
  return [&intercom, reply = std::move(reply)](CallRefusal refusal) {
    const bool heard =
        reply(refusal == CallRefusal::kNone ? "ok" : "error " + RefusalText(refusal));
    if (refusal == CallRefusal::kNone && !heard) intercom.StopCall();
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
                          std::function<bool(const std::string&)> reply) {
  const size_t space = request.find(' ');
  const std::string_view verb = request.substr(0, space);
  const std::string_view argument =
      space == std::string_view::npos ? std::string_view() : request.substr(space + 1);

  if (const std::optional<std::string> wrong = CheckControlValue(verb, argument)) {
    reply("error " + *wrong);
    return;
  }
  if (verb == "call") {
    return intercom.StartCall(*ParseListIndex(argument), CallAnswer(intercom, std::move(reply)));
  }
  if (verb == "reply") return intercom.Reply(CallAnswer(intercom, std::move(reply)));
  std::string answer = "ok";
  if (verb == "status") {
    answer = "ok " + StatusJson(intercom.Snapshot());
  } else if (verb == "on") {
    intercom.TurnOn();
  } else if (verb == "off") {
    intercom.TurnOff();
  } else if (verb == "hangup") {
    intercom.StopCall();
  } else if (verb == "show") {
    if (!intercom.AnswerSecondStart()) answer = "ok " + std::string(kNoWindowAnswer);
  } else if (verb == "quit") {
    quit();
  } else if (const std::optional<IdentityChange> change = IdentityChangeFor(verb, argument)) {
    intercom.ChangeIdentity(*change);
  } else {
    answer = "error unknown request: " + std::string(verb);
  }
  reply(answer);
}

}  // namespace parlavox
