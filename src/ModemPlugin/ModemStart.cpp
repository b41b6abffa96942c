#include "ModemStart.h"

#include <algorithm>
#include <cstdlib>

namespace modem {

namespace {

const unsigned int kProbeLimitMs = 1000;
const unsigned int kLimitMs = 5000;
const unsigned int kSlowLimitMs = 20000;
const int kProbes = 5;

// Best first: stored messages are indicated, pages and reports come directly; modems refuse what they cannot.
const char* const kIndications[] = {"+CNMI=2,1,2,1,0", "+CNMI=2,1,2,2,0", "+CNMI=2,1,0,1,0", "+CNMI=2,1,0,2,0",
                                    "+CNMI=1,1,0,1,0", "+CNMI=2,1,0,0,0", "+CNMI=1,1,0,0,0", "+CNMI=3,1,0,0,0"};

AtReply Ask(CAtDialogue& dialogue, const char* command, const char* prefix, unsigned int limitMs = kLimitMs) {
  return dialogue.Execute(CAtCommand(command), prefix, limitMs);
}

std::string FirstLine(const AtReply& reply) {
  return reply.IsOk() && !reply.lines.empty() ? reply.lines[0] : std::string();
}

std::string Parameter(const AtReply& reply, std::size_t index) {
  const std::vector<std::string> parameters = ParametersOf(FirstLine(reply));
  return index < parameters.size() ? parameters[index] : std::string();
}

bool Probe(CAtDialogue& dialogue) {
  for (int probe = 0; probe < kProbes; ++probe) {
    const AtReply reply = Ask(dialogue, "", nullptr, kProbeLimitMs);
    if (reply.IsOk()) {
      return true;
    }
    if (reply.final == AtReply::Final::kLineGone) {
      return false;
    }
  }
  return false;
}

void AskSim(CAtDialogue& dialogue, ModemFacts& facts) {
  const int kNotInserted = 10;  // 3GPP TS 27.007, 9.2.1
  const AtReply reply = Ask(dialogue, "+CPIN?", "+CPIN:", kSlowLimitMs);
  const std::string state = Parameter(reply, 0);
  facts.sim = SIM_STATE_INVALID;
  facts.pin = DevDataDef::PIN_UNKNOWN;
  if (state == "READY") {
    facts.sim = SIM_STATE_AVAILABLE;
    facts.pin = DevDataDef::PIN_READY;
  } else if (state == "SIM PIN" || state == "SIM PIN2") {
    facts.pin = DevDataDef::PIN_ENABLED_NOT_VERIFIED;
  } else if (state == "SIM PUK" || state == "SIM PUK2") {
    facts.pin = DevDataDef::PIN_BLOCKED;
  } else if (reply.final == AtReply::Final::kCmeError && reply.code == kNotInserted) {
    facts.sim = SIM_STATE_NONE;
  }
}

void AskMemories(CAtDialogue& dialogue, ModemFacts& facts) {
  const AtReply reply = Ask(dialogue, "+CPMS=?", "+CPMS:");
  const std::string line = FirstLine(reply);
  const std::string first = line.substr(0, line.find(')'));  // the memories that can be read
  facts.memories.clear();
  if (first.find("\"SM\"") != std::string::npos) {
    facts.memories.push_back(SMS_MEM_SM);
  }
  if (first.find("\"ME\"") != std::string::npos) {
    facts.memories.push_back(SMS_MEM_ME);
  }
}

void AskNetwork(CAtDialogue& dialogue, ModemFacts& facts) {
  Ask(dialogue, "+CREG=1", "+CREG:");
  const AtReply registration = Ask(dialogue, "+CREG?", "+CREG:");
  const std::string state = Parameter(registration, 1);
  facts.network = RegistrationOf("+CREG: " + state);
  Ask(dialogue, "+COPS=3,2", "+COPS:", kSlowLimitMs);
  facts.operatorCode = Parameter(Ask(dialogue, "+COPS?", "+COPS:", kSlowLimitMs), 2);
}

bool PrepareMessages(CAtDialogue& dialogue, ModemFacts& facts, std::string& error) {
  if (!Ask(dialogue, "+CMGF=0", "+CMGF:").IsOk()) {
    error = "the modem refuses messages in PDU mode (AT+CMGF=0). Use a modem with 3GPP short messages.";
    return false;
  }
  facts.acknowledges = Ask(dialogue, "+CSMS=1", "+CSMS:").IsOk();
  AskMemories(dialogue, facts);
  facts.serviceCentre = Parameter(Ask(dialogue, "+CSCA?", "+CSCA:"), 0);
  for (const char* indication : kIndications) {
    if (Ask(dialogue, indication, "+CNMI:").IsOk()) {
      break;
    }
  }
  return true;
}

}  // namespace

std::vector<std::string> ParametersOf(const std::string& line) {
  std::vector<std::string> parameters;
  const std::size_t colon = line.find(':');
  if (colon == std::string::npos) {
    return parameters;
  }
  std::string parameter;
  bool quoted = false;
  for (std::size_t position = std::min(line.find_first_not_of(' ', colon + 1), line.size()); position < line.size();
       ++position) {
    const char character = line[position];
    if (character == '"') {
      quoted = !quoted;
    } else if (character == ',' && !quoted) {
      parameters.push_back(parameter);
      parameter.clear();
    } else {
      parameter += character;
    }
  }
  parameters.push_back(parameter);
  return parameters;
}

SysSrvStatus RegistrationOf(const std::string& line) {
  const std::vector<std::string> parameters = ParametersOf(line);
  const int state = parameters.empty() ? 0 : std::atoi(parameters[0].c_str());
  switch (state) {
    case 1:  // home network
    case 5:  // roaming
    case 6:  // the same for messages only
    case 7:
      return SYS_SRV_STATUS_SRV;
    case 3:  // registration denied
    case 8:  // emergency calls only
      return SYS_SRV_STATUS_LIMITED;
    default:
      return SYS_SRV_STATUS_NONE;
  }
}

bool StartModem(CAtDialogue& dialogue, ModemFacts& facts, std::string& error) {
  if (!Probe(dialogue)) {
    error =
        "does not answer AT commands. Choose the modem's command port with --device; many modems have several ports.";
    return false;
  }
  Ask(dialogue, "E0", nullptr);
  Ask(dialogue, "+CMEE=1", "+CMEE:");
  facts.model = FirstLine(Ask(dialogue, "+CGMI", nullptr)) + " " + FirstLine(Ask(dialogue, "+CGMM", nullptr));
  AskSim(dialogue, facts);
  if (!PrepareMessages(dialogue, facts, error)) {
    return false;
  }
  AskNetwork(dialogue, facts);
  return true;
}

}  // namespace modem
