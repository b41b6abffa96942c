// Kinds and fields of fault rules.
#include "FaultRequest.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace modem_sim {
namespace {

const int kMostCount = 1000000;
const int kMostMs = 600000;
const std::size_t kMostGarbage = 4096;
// No sign of it is part of a reply; with a line end and characters that are none of ASCII.
const std::vector<BYTE> kGarbage = {0x00, 0xFF, 0x7F, '~', '#', 0x0D, 0x0A, 0x80, '@', '\r', '\n'};

FaultKind KindOf(const std::string& word) {
  static const std::pair<const char*, FaultKind> kKinds[] = {
      {"refuse", FaultKind::Refuse},   {"late", FaultKind::Late},     {"drop", FaultKind::Drop},
      {"garbage", FaultKind::Garbage}, {"hangup", FaultKind::HangUp}, {"restart", FaultKind::Restart}};
  return std::find_if(std::begin(kKinds), std::end(kKinds), [&](const auto& kind) { return word == kind.first; })
      ->second;
}

HangUpPoint PointOf(const std::string& word) {
  if (word == "before-prompt") return HangUpPoint::BeforePrompt;
  if (word == "after-prompt") return HangUpPoint::AfterPrompt;
  return word == "after-octets" ? HangUpPoint::AfterOctets : HangUpPoint::BeforeVerdict;
}

std::string UpperCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

/// A value of an option is a number when it reads as one.
nlohmann::json ValueOf(const std::string& name, const std::string& text) {
  const bool digits = !text.empty() && text.size() < 10 && text.find_first_not_of("0123456789") == std::string::npos;
  if (digits && name != "octets") return std::stoi(text);
  return text;
}

nlohmann::json ObjectOf(const std::string& text) {
  nlohmann::json object = nlohmann::json::object();
  std::istringstream fields(text);
  for (std::string field; std::getline(fields, field, ',');) {
    const std::size_t sign = field.find('=');
    if (object.empty()) {
      object["kind"] = field;
    } else if (sign == std::string::npos) {
      throw BadRequest("\"" + field + "\" is not FIELD=VALUE");
    } else {
      object[field.substr(0, sign)] = ValueOf(field.substr(0, sign), field.substr(sign + 1));
    }
  }
  return object;
}

}  // namespace

Fault TakeFault(CControlRequest& request) {
  Fault fault;
  fault.kind = KindOf(request.Word("kind", {"refuse", "late", "drop", "garbage", "hangup", "restart"}, ""));
  fault.every = request.Number("every", 1, kMostCount, 1);
  fault.times = request.Number("times", 0, kMostCount, 0);
  fault.command = UpperCase(request.Text("command", ""));
  switch (fault.kind) {
    case FaultKind::Refuse:
      fault.code = request.Number("code", 0, 999, fault.code);
      break;
    case FaultKind::Late:
    case FaultKind::Restart:
      fault.milliseconds = request.Number("ms", 0, kMostMs, 0);
      break;
    case FaultKind::HangUp:
      fault.point = PointOf(
          request.Word("at", {"before-prompt", "after-prompt", "after-octets", "before-verdict"}, "before-prompt"));
      fault.milliseconds = request.Number("ms", 0, kMostMs, 0);
      break;
    case FaultKind::Garbage:
      fault.octets = request.Has("octets") ? request.Octets("octets", kMostGarbage) : kGarbage;
      break;
    case FaultKind::Drop:
      break;
  }
  return fault;
}

bool ParseFault(const std::string& text, Fault* out, std::string* error) {
  try {
    const nlohmann::json object = ObjectOf(text);
    CControlRequest request(object);
    const Fault fault = TakeFault(request);
    request.Finish();
    *out = fault;
    return true;
  } catch (const BadRequest& bad) {
    *error = '"' + text + "\": " + bad.what();
    return false;
  }
}

}  // namespace modem_sim
