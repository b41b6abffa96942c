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

/// @return why the card shall not be asked to take the PIN; empty: it may.
std::string ReasonAgainst(CQuestions& questions, const std::string& pin, const std::string& iccid) {
  if (pin.empty()) {
    return "write it as \"Pin\" into section ModemPlugin of the settings";
  }
  if (!AreDigits(pin, 4, 8)) {
    return "\"Pin\" in section ModemPlugin of the settings is not 4 to 8 digits";
  }
  if (WasPinTried(pin, iccid)) {
    return "the PIN of the settings was not accepted and is not tried again; correct \"Pin\" in section ModemPlugin, "
           "or remove \"PinTried\" to try the same once more";
  }
  DWORD left = 0;
  const bool known = NumberOf(Parameter(questions.Ask("+CPINR=\"SIM PIN\"", "+CPINR:"), 1), left);
  if (known && left < 2) {
    return "it is the last try, which is left to a person";
  }
  return NotePinTried(pin, iccid) ? "" : "the settings cannot be written, so that a refusal would be forgotten";
}

void EnterPin(CQuestions& questions, ModemFacts& facts) {
  const std::string pin = ConfiguredPin();
  const std::string reason = ReasonAgainst(questions, pin, facts.iccid);
  if (!reason.empty()) {
    TraceFault("the card waits for its PIN: " + reason);
    return;
  }
  const AtReply reply = questions.Ask(CAtCommand("+CPIN=").Secret(pin), nullptr, CQuestions::kSlowLimitMs);
  if (!reply.IsOk()) {
    const bool coded = reply.final == AtReply::Final::kCmeError;
    TraceFault(std::string("the card did not accept the PIN of the settings: ") +
               (coded ? CmeErrorText(static_cast<unsigned int>(reply.code)) : "no reason given"));
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
    EnterPin(questions, facts);
  } else if (facts.pin == DevDataDef::PIN_BLOCKED) {
    TraceFault("the card waits for its PUK, which only a person may enter, e.g. in a telephone");
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
