#include "CardStart.h"

#include "AtErrors.h"
#include "KeptSettings.h"
#include "Lines.h"

#include <algorithm>
#include <cctype>

namespace modem {

namespace {

const int kNotInserted = 10;  // 3GPP TS 27.007, 9.2.1

bool AreDigits(const std::string& text, std::size_t shortest, std::size_t longest) {
  return text.size() >= shortest && text.size() <= longest &&
         std::all_of(text.begin(), text.end(), [](char digit) { return digit >= '0' && digit <= '9'; });
}

std::string LeadingDigits(const std::string& text) {
  return text.substr(0, std::min(text.find_first_not_of("0123456789"), text.size()));
}

/// EF-ICCID (3GPP TS 31.102, 4.2, file 2FE2) can be read without the PIN; its digits are swapped in pairs.
std::string AskIccid(CQuestions& questions, const ModemProfile* profile) {
  std::string octets = Parameter(questions.Ask("+CRSM=176,12258,0,0,10", "+CRSM:"), 2);
  for (std::size_t pair = 0; pair + 1 < octets.size(); pair += 2) {
    std::swap(octets[pair], octets[pair + 1]);
  }
  if (!octets.empty() || profile == nullptr || profile->iccid == nullptr) {
    return LeadingDigits(octets);
  }
  return LeadingDigits(BareText(questions.Ask(profile->iccid, nullptr)));
}

/// The tries that the card leaves for its PIN.
struct TriesLeft {
  bool known = false;
  DWORD count = 0;
  bool all = false;  // nothing wrong was entered since the card was opened last
};

/// "+CPINR: SIM PIN,2,3" (3GPP TS 27.007, 8.65)
TriesLeft AskTriesLeft(CQuestions& questions, const ModemProfile* profile) {
  const DWORD kUsual = 3;
  TriesLeft left;
  DWORD most = kUsual;
  const AtReply reply = questions.Ask("+CPINR=\"SIM PIN\"", "+CPINR:");
  NumberOf(Parameter(reply, 2), most);
  left.known = NumberOf(Parameter(reply, 1), left.count);
  if (!left.known && profile != nullptr && profile->pinTries.command != nullptr) {
    const std::string command = profile->pinTries.command;
    const std::string prefix = command.substr(0, command.find_first_of("=?")) + ":";
    left.known =
        NumberOf(Parameter(questions.Ask(command.c_str(), prefix.c_str()), profile->pinTries.place), left.count);
  }
  left.all = left.known && left.count >= std::max(most, kUsual);
  return left;
}

/// A try whose verdict was lost is repeated when the card has not counted a wrong one, and only once: should the modem
/// tell the tries wrongly, a person still has the last.
/// @return why the PIN shall not be tried; empty: it may.
std::string ReasonAgainstTry(PinTried before, const TriesLeft& left) {
  const std::string wayOut =
      "; correct \"Pin\" in section ModemPlugin, or remove \"PinTried\" to try the same once more";
  if (left.known && left.count < 2) {
    return "it is the last try, which is left to a person";
  }
  if (before == PinTried::kDone || (before == PinTried::kVerdictLost && left.known && !left.all)) {
    return "the PIN of the settings was not accepted and is not tried again" + wayOut;
  }
  return before == PinTried::kVerdictLost && !left.known
             ? "the PIN of the settings was entered before, and it is not known whether it was accepted" + wayOut
             : "";
}

/// @return the same, with the settings and the card asked for it; when empty, the try is noted.
std::string ReasonAgainst(CQuestions& questions, const ModemProfile* profile, const std::string& pin,
                          const std::string& iccid) {
  if (pin.empty()) {
    return "write it as \"Pin\" into section ModemPlugin of the settings";
  }
  if (!AreDigits(pin, 4, 8)) {
    return "\"Pin\" in section ModemPlugin of the settings is not 4 to 8 digits";
  }
  const PinTried before = PinTriedBefore(pin, iccid);
  const TriesLeft left = before == PinTried::kDone ? TriesLeft() : AskTriesLeft(questions, profile);
  const std::string reason = ReasonAgainstTry(before, left);
  const bool again = before == PinTried::kVerdictLost;
  if (!reason.empty()) {
    if (again && left.known) {
      NotePinTried(pin, iccid, PinTried::kDone);  // whoever opens the card later, this was the wrong one
    }
    return reason;
  }
  const bool noted = NotePinTried(pin, iccid, again ? PinTried::kDone : PinTried::kVerdictLost);
  return noted ? "" : "the settings cannot be written, so that a refusal would be forgotten";
}

void TraceRefusal(const AtReply& reply) {
  const bool coded = reply.final == AtReply::Final::kCmeError;
  TraceGraveFault(std::string("the card did not accept the PIN of the settings: ") +
                  (coded ? CmeErrorText(static_cast<unsigned int>(reply.code)) : "no reason given"));
}

void EnterPin(CQuestions& questions, const ModemProfile* profile, ModemFacts& facts) {
  const std::string pin = ConfiguredPin();
  const std::string reason = ReasonAgainst(questions, profile, pin, facts.iccid);
  if (!reason.empty()) {
    TraceGraveFault("the card waits for its PIN: " + reason);
    return;
  }
  const AtReply reply = questions.Ask(CAtCommand("+CPIN=").Secret(pin), nullptr, CQuestions::kSlowLimitMs);
  if (reply.final == AtReply::Final::kNoAnswer || reply.final == AtReply::Final::kLineGone) {
    TraceGraveFault("the card did not tell whether it accepts the PIN of the settings");
    return;
  }
  if (!reply.IsOk()) {
    NotePinTried(pin, facts.iccid, PinTried::kDone);
    TraceRefusal(reply);
    return;
  }
  AskCardState(questions, facts);
  if (facts.pin != DevDataDef::PIN_ENABLED_NOT_VERIFIED && facts.pin != DevDataDef::PIN_BLOCKED) {
    ForgetPinTried();  // also while the card is still busy with it
  }
}

}  // namespace

bool AskCardState(CQuestions& questions, ModemFacts& facts) {
  const AtReply reply = questions.AskPatiently("+CPIN?", "+CPIN:", CQuestions::kSlowLimitMs);
  ReadSimState(Parameter(reply, 0), facts);
  if (reply.final == AtReply::Final::kCmeError && reply.code == kNotInserted) {
    facts.sim = SIM_STATE_NONE;
  }
  return reply.final != AtReply::Final::kNoAnswer && reply.final != AtReply::Final::kLineGone;
}

void AskCard(CQuestions& questions, const ModemProfile* profile, ModemFacts& facts) {
  AskCardState(questions, facts);
  if (facts.sim == SIM_STATE_NONE) {
    return;
  }
  facts.iccid = AskIccid(questions, profile);
  if (facts.pin == DevDataDef::PIN_ENABLED_NOT_VERIFIED) {
    EnterPin(questions, profile, facts);
  } else if (facts.pin == DevDataDef::PIN_BLOCKED) {
    TraceGraveFault("the card waits for its PUK, which only a person may enter, e.g. in a telephone");
  }
  if (facts.pin == DevDataDef::PIN_READY) {
    const std::string imsi = BareText(questions.AskPatiently("+CIMI", nullptr));
    facts.imsi = AreDigits(imsi, 6, 15) ? imsi : std::string();
  }
}

void ReadSimState(const std::string& state, ModemFacts& facts) {
  facts.sim = SIM_STATE_INVALID;
  facts.pin = DevDataDef::PIN_UNKNOWN;
  if (state == "READY" || state == "SIM PIN2" || state == "SIM PUK2") {  // the second PIN guards nothing we use
    facts.sim = SIM_STATE_AVAILABLE;
    facts.pin = DevDataDef::PIN_READY;
  } else if (state == "SIM PIN") {
    facts.pin = DevDataDef::PIN_ENABLED_NOT_VERIFIED;
  } else if (state == "SIM PUK") {
    facts.pin = DevDataDef::PIN_BLOCKED;
  } else if (state == "NOT INSERTED" || state == "SIM REMOVED" || state == "NOT READY") {
    facts.sim = SIM_STATE_NONE;
  }
}

CardNews ReadCardNotice(const std::string& line, ModemFacts& facts) {
  const std::vector<std::string> parameters = ParametersOf(line);
  const std::string state = parameters.empty() ? std::string() : parameters[0];
  if (StartsWith(line, "+CPIN:")) {
    ReadSimState(state, facts);
    return CardNews::kState;
  }
  for (const char* notice : {"^SIMST:", "+UUSIMSTAT:", "#QSS:", "^SCKS:", "+QSIMSTAT:", "+QUSIM:", "+CSMINS:", "*EPEV",
                             "+WIND: 0", "+WIND: 1"}) {
    if (StartsWith(line, notice)) {
      return CardNews::kChange;
    }
  }
  return CardNews::kNone;
}

}  // namespace modem
