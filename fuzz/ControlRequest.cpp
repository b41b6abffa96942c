// Requests that steer the simulated modem, and fault rules as a person writes them: each is carried out, or refused by
// a text that names the field, and then nothing has changed.
#include "Control.h"
#include "FakeWorld.h"
#include "FaultRequest.h"
#include "Property.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>
#include <utility>

using namespace fuzz;
using namespace modem_sim;
using nlohmann::json;

namespace {

/// A modem that nobody has used, and what it answers.
struct Desk {
  CFakeWorld world;
  CSimulatedModem modem{ModemOptions(), world};
  CControl control{modem, world};

  json Ask(const std::string& request) {
    const std::string line = control.Answer(request);
    Require(std::none_of(line.begin(), line.end(), [](unsigned char c) { return c < ' '; }), "an answer is one line");
    const json answer = json::parse(line, nullptr, false);
    Require(answer.is_object() && answer.contains("ok") && answer["ok"].is_boolean(),
            "an answer says whether it is ok");
    return answer;
  }

  /// Everything that requests change and ask for, and what the computer has heard.
  std::string State() {
    std::string state = world.TakeOutput();
    for (const char* const question : {R"({"do":"state"})", R"({"do":"sent"})", R"({"do":"memory","name":"SM"})",
                                       R"({"do":"memory","name":"ME"})"}) {
      state += Ask(question).dump();
    }
    return state + (world.plugged ? "plugged" : "unplugged");
  }
};

/// The object that has the field: the request, or one inside it.
json* OwnerOf(json& request, const std::string& field) {
  if (request.contains(field)) return &request;
  for (json& value : request) {
    if (value.is_object() && value.contains(field)) return &value;
  }
  return nullptr;
}

std::string FirstQuoted(const std::string& text) {
  const std::size_t begin = text.find('"');
  const std::size_t end = begin == std::string::npos ? begin : text.find('"', begin + 1);
  return end == std::string::npos ? "" : text.substr(begin + 1, end - begin - 1);
}

void TryRefused(json request, const json& answer) {
  Require(answer.contains("error") && answer["error"].is_string(), "a refusal says why");
  const std::string error = answer["error"];
  if (!request.is_object()) return;
  const std::string field = FirstQuoted(error);
  Require(error.find('"') != std::string::npos, "a refusal names the field");
  json* const owner = OwnerOf(request, field);
  Require(owner != nullptr || error.find("\" must be a ") == std::string::npos, "a field that is there is named");
  if (owner == nullptr) return;  // a missing one, or the value of "do"
  owner->erase(field);
  const json without = Desk().Ask(request.dump());
  const bool choice = error.find("must be one of") != std::string::npos;  // says the same of a missing one
  Require(without["ok"] == true || without["error"] != error || choice, "it is the field that is named");
}

void TryAccepted(json request, const json& answer) {
  Require(Desk().Ask(request.dump()) == answer, "how a request is written does not matter");
  const std::string foreign = "no such field";
  if (request.contains(foreign)) return;
  request[foreign] = 0;
  const json refused = Desk().Ask(request.dump());
  Require(refused["ok"] == false && FirstQuoted(refused["error"]) == foreign, "a foreign field is refused");
}

void TryRequest(const std::string& text) {
  Desk desk;
  const std::string before = desk.State();
  const json answer = desk.Ask(text);
  const json request = json::parse(text, nullptr, false);
  if (answer["ok"] == true) {
    Require(request.is_object(), "only an object is a request");
    TryAccepted(request, answer);
  } else {
    Require(desk.State() == before, "what is refused changes nothing");
    TryRefused(request, answer);
  }
}

bool Equal(const Fault& a, const Fault& b) {
  return a.kind == b.kind && a.command == b.command && a.point == b.point && a.every == b.every && a.times == b.times &&
         a.code == b.code && a.milliseconds == b.milliseconds && a.octets == b.octets;
}

/// The rule as the fields of a request.
json RequestOf(const Fault& fault) {
  static const char* const kKinds[] = {"refuse", "late", "drop", "garbage", "hangup", "restart"};
  static const char* const kPoints[] = {"before-prompt", "after-prompt", "after-octets", "before-verdict"};
  json request = {{"kind", kKinds[static_cast<int>(fault.kind)]}, {"every", fault.every}, {"times", fault.times}};
  if (!fault.command.empty()) request["command"] = fault.command;
  if (fault.kind == FaultKind::Refuse) request["code"] = fault.code;
  if (fault.milliseconds != 0) request["ms"] = fault.milliseconds;
  if (fault.kind == FaultKind::HangUp) request["at"] = kPoints[static_cast<int>(fault.point)];
  if (fault.kind == FaultKind::Garbage) {
    std::string digits(2 * fault.octets.size() + 1, '\0');
    sms_pdu::OctetsToHex(fault.octets.data(), fault.octets.size(), digits.data());
    digits.pop_back();
    request["octets"] = digits;
  }
  return request;
}

/// "KIND,FIELD=VALUE,..."
std::string LineOf(const json& request) {
  std::string line = request["kind"];
  for (const auto& field : request.items()) {
    if (field.key() == "kind") continue;
    line +=
        ',' + field.key() + '=' + (field.value().is_string() ? field.value().get<std::string>() : field.value().dump());
  }
  return line;
}

void TryFault(const std::string& text) {
  Fault fresh;
  fresh.command = "fresh";
  Fault fault = fresh;
  std::string error;
  if (!ParseFault(text, &fault, &error)) {
    Require(Equal(fault, fresh), "what is refused is no rule");
    const std::string front = '"' + text + "\": \"";
    Require(error.compare(0, front.size(), front) == 0, "a refusal names the rule and the field");
    return;
  }
  Require(fault.every >= 1 && fault.times >= 0 && fault.milliseconds >= 0 && fault.code >= 0, "numbers count");
  const json request = RequestOf(fault);
  Fault again;
  Require(ParseFault(LineOf(request), &again, &error) && Equal(fault, again), "a rule that is written reads back");
  CControlRequest fields(request);
  Require(Equal(TakeFault(fields), fault), "a rule is the same as a request");
  fields.Finish();
}

}  // namespace

/// Input: a line of the control socket, which is also tried as a fault rule.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  TryRequest(text);
  TryFault(text);
  return 0;
}
