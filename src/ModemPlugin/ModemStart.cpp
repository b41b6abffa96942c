#include "ModemStart.h"

#include "platform/TraceSrv.h"

#include <algorithm>

namespace modem {

namespace {

const unsigned int kProbeLimitMs = 1000;
const unsigned int kLimitMs = 5000;
const unsigned int kSlowLimitMs = 20000;
const int kProbes = 3;  // what stood in its buffer may spoil the first

const std::size_t kPages = 2;
// Best first: stored messages are indicated, pages and reports come directly; modems refuse what they cannot.
const std::array<int, 5> kIndications[] = {{2, 1, 2, 1, 0}, {2, 1, 2, 2, 0}, {2, 1, 0, 1, 0}, {2, 1, 0, 2, 0},
                                           {1, 1, 0, 1, 0}, {2, 1, 0, 0, 0}, {1, 1, 0, 0, 0}, {3, 1, 0, 0, 0}};

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
  ReadSimState(Parameter(reply, 0), facts);
  if (reply.final == AtReply::Final::kCmeError && reply.code == kNotInserted) {
    facts.sim = SIM_STATE_NONE;
  }
}

/// New messages go to a memory that can be named when they are read: "MT" stands for two of them.
void AskReceivedMemory(CAtDialogue& dialogue, ModemFacts& facts) {
  const std::size_t kThirdMemory = 6;
  facts.received = Parameter(Ask(dialogue, "+CPMS?", "+CPMS:"), kThirdMemory);
  if (facts.received == "SM" || facts.received == "ME" || facts.memories.empty()) {
    return;
  }
  const char* const name = facts.memories[0] == SMS_MEM_SM ? "SM" : "ME";
  CAtCommand command("+CPMS=");
  command.Quoted(name).Quoted(name).Quoted(name);
  if (dialogue.Execute(command, "+CPMS:", kLimitMs).IsOk()) {
    facts.received = name;
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

void ChooseIndications(CAtDialogue& dialogue, bool bBroadcasts, ModemFacts& facts) {
  for (const std::array<int, 5>& indications : kIndications) {
    const bool wanted = bBroadcasts || indications[kPages] == 0;
    if (wanted && dialogue.Execute(IndicationsCommand(indications), "+CNMI:", kLimitMs).IsOk()) {
      facts.indications = indications;
      return;
    }
  }
  TraceSrv_Trace(Tracelevel::TL_ERRO, "MODEM", "the modem does not indicate new messages");
}

bool PrepareMessages(CAtDialogue& dialogue, bool bBroadcasts, ModemFacts& facts, std::string& error) {
  if (!Ask(dialogue, "+CMGF=0", "+CMGF:").IsOk()) {
    error =
        "refuses messages in PDU mode (AT+CMGF=0). Use a modem with 3GPP short messages, or choose another port with "
        "--device.";
    return false;
  }
  facts.acknowledges = Ask(dialogue, "+CSMS=1", "+CSMS:").IsOk();
  AskMemories(dialogue, facts);
  AskReceivedMemory(dialogue, facts);
  facts.serviceCentre = Parameter(Ask(dialogue, "+CSCA?", "+CSCA:"), 0);
  ChooseIndications(dialogue, bBroadcasts, facts);
  return true;
}

bool StartOnce(CAtDialogue& dialogue, bool bTrustEcho, bool bBroadcasts, ModemFacts& facts, std::string& error) {
  dialogue.BeginAnew();
  if (!Probe(dialogue)) {
    error =
        "does not answer AT commands. Choose the modem's command port with --device; many modems have several ports.";
    return false;
  }
  if (Ask(dialogue, "E0", nullptr).IsOk() && bTrustEcho) {
    dialogue.ExpectNoEcho();
  }
  Ask(dialogue, "+CMEE=1", "+CMEE:");
  facts.model = FirstLine(Ask(dialogue, "+CGMI", nullptr));
  facts.model += " " + FirstLine(Ask(dialogue, "+CGMM", nullptr));
  AskSim(dialogue, facts);
  if (!PrepareMessages(dialogue, bBroadcasts, facts, error)) {
    return false;
  }
  AskNetwork(dialogue, facts);
  return true;
}

}  // namespace

CAtCommand IndicationsCommand(const std::array<int, 5>& indications) {
  CAtCommand command("+CNMI=");
  for (const int value : indications) {
    command.Number(value);
  }
  return command;
}

void ReadSimState(const std::string& state, ModemFacts& facts) {
  facts.sim = SIM_STATE_INVALID;
  facts.pin = DevDataDef::PIN_UNKNOWN;
  if (state == "READY") {
    facts.sim = SIM_STATE_AVAILABLE;
    facts.pin = DevDataDef::PIN_READY;
  } else if (state == "SIM PIN" || state == "SIM PIN2") {
    facts.pin = DevDataDef::PIN_ENABLED_NOT_VERIFIED;
  } else if (state == "SIM PUK" || state == "SIM PUK2") {
    facts.pin = DevDataDef::PIN_BLOCKED;
  } else if (state == "NOT INSERTED" || state == "SIM REMOVED" || state == "NOT READY") {
    facts.sim = SIM_STATE_NONE;
  }
}

SysSrvStatus RegistrationOf(const std::string& line) {
  const std::vector<std::string> parameters = ParametersOf(line);
  DWORD state = 0;
  switch (!parameters.empty() && NumberOf(parameters[0], state) ? state : 0) {
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

bool StartModem(CAtDialogue& dialogue, bool bBroadcasts, ModemFacts& facts, std::string& error) {
  const int kRestarts = 5;  // a modem that is still waking up
  const int kEchoes = 2;    // one that goes on echoing never stopped
  bool started = false;
  for (int attempt = 0; attempt == 0 || (attempt < kRestarts && dialogue.HasRestarted()); ++attempt) {
    facts = ModemFacts();
    started = StartOnce(dialogue, attempt < kEchoes, bBroadcasts, facts, error);
  }
  if (started && dialogue.HasRestarted()) {
    error = "is started anew again and again. Check its supply of power.";
    return false;
  }
  return started;
}

}  // namespace modem
