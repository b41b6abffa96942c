#include "ModemStart.h"

#include "CardStart.h"
#include "Lines.h"
#include "ModemNetwork.h"
#include "ModemProfiles.h"
#include "Questions.h"

#include <algorithm>

namespace modem {

namespace {

typedef std::array<int, 5> Indications;

const std::size_t kPages = 2;
// Best first: stored messages are indicated, pages and reports come directly; modems refuse what they cannot.
const std::vector<Indications> kIndications = {{2, 1, 2, 1, 0}, {2, 1, 2, 2, 0}, {2, 1, 0, 1, 0}, {2, 1, 0, 2, 0},
                                               {1, 1, 0, 1, 0}, {2, 1, 0, 0, 0}, {1, 1, 0, 0, 0}, {3, 1, 2, 1, 0},
                                               {3, 1, 0, 1, 0}, {3, 1, 0, 0, 0}, {2, 1, 2, 1, 1}, {2, 1, 0, 1, 1},
                                               {2, 1, 0, 0, 1}, {1, 1, 0, 0, 1}};

const unsigned int kProbeLimitMs = 1000;

const char kClosed[] =
    "closed the line at once. Perhaps another program uses the modem: end that, or choose another one with --device.";
const char kSilent[] =
    "does not answer AT commands. Choose the modem's command port with --device; many modems have several ports.";

AtReply Probe(CQuestions& questions) {
  const int kProbes = 3;  // what stood in its buffer may spoil the first
  AtReply reply;
  for (int probe = 0; probe < kProbes; ++probe) {
    reply = questions.Ask("", nullptr, kProbeLimitMs);
    if (reply.IsOk() || reply.final == AtReply::Final::kLineGone) {
      return reply;
    }
    if (probe == 0 && reply.final == AtReply::Final::kNoAnswer) {
      questions.Dialogue().RestoreForms(kProbeLimitMs);
    }
  }
  return reply;
}

/// A modem that spoke in digits may become silent by its words.
AtReply AskForms(CQuestions& questions) {
  const AtReply reply = questions.Ask("E0V1", nullptr);
  if (reply.final != AtReply::Final::kNoAnswer || !questions.Dialogue().RestoreForms(kProbeLimitMs)) {
    return reply;
  }
  return questions.Ask("E0V1", nullptr);
}

/// No echo, results as words, errors as numbers.
void ChooseForms(CQuestions& questions, bool bTrustEcho) {
  const bool quiet = AskForms(questions).IsOk() || questions.Ask("E0", nullptr).IsOk();
  if (quiet && bTrustEcho) {
    questions.Dialogue().ExpectNoEcho();
  }
  questions.Ask("+CMEE=1", "+CMEE:");
}

/// @return null: the standards are enough.
const ModemProfile* Identify(CQuestions& questions, ModemFacts& facts) {
  const std::string maker = BareText(questions.Ask("+CGMI", nullptr));
  const std::string model = BareText(questions.Ask("+CGMM", nullptr));
  facts.model = maker.empty() || model.empty() ? maker + model : maker + " " + model;
  facts.revision = BareText(questions.Ask("+CGMR", nullptr));
  const std::size_t kDigits = 15;  // some add the software version, some write "IMEI" before
  const std::string number = BareText(questions.Ask("+CGSN", nullptr));
  const std::string digits = number.substr(std::min(number.find_first_of("0123456789"), number.size()), kDigits);
  const bool whole = digits.size() == kDigits && digits.find_first_not_of("0123456789") == std::string::npos;
  facts.imei = whole ? digits : std::string();
  return ProfileOf(maker, model);
}

/// Some modems wake up without radio.
void SwitchOn(CQuestions& questions, const ModemProfile* profile) {
  const std::string functionality = Parameter(questions.Ask("+CFUN?", "+CFUN:"), 0);
  if (functionality == "0" || functionality == "4") {
    questions.Ask("+CFUN=1", "+CFUN:", CQuestions::kSlowLimitMs);
  }
  if (profile != nullptr) {
    for (const char* command : profile->commands) {
      questions.Ask(command, nullptr);
    }
  }
}

/// New messages go to a memory that can be named when they are read: "MT" stands for two of them.
void AskReceivedMemory(CQuestions& questions, ModemFacts& facts) {
  const std::size_t kFields = 3;  // of each memory: name, used, total
  const std::vector<std::string> parameters = ParametersOf(FirstLine(questions.Ask("+CPMS?", "+CPMS:")));
  for (std::size_t at = 0; at + kFields <= parameters.size(); at += kFields) {
    DWORD total = 0;
    facts.received = parameters[at];
    if ((parameters[at] == "SM" || parameters[at] == "ME") && NumberOf(parameters[at + 2], total)) {
      facts.capacities[parameters[at] == "SM" ? SMS_MEM_SM : SMS_MEM_ME] = total;
    }
  }
  if (facts.received == "SM" || facts.received == "ME" || facts.memories.empty()) {
    return;
  }
  const char* const name = facts.memories[0] == SMS_MEM_SM ? "SM" : "ME";
  CAtCommand command("+CPMS=");
  command.Quoted(name).Quoted(name).Quoted(name);
  if (questions.Ask(command, "+CPMS:").IsOk()) {
    facts.received = name;
  }
}

void AskMemories(CQuestions& questions, ModemFacts& facts) {
  const std::string line = FirstLine(questions.AskPatiently("+CPMS=?", "+CPMS:"));
  const std::string first = line.substr(0, line.find(')'));  // the memories that can be read
  facts.memories.clear();
  if (first.find("\"SM\"") != std::string::npos) {
    facts.memories.push_back(SMS_MEM_SM);
  }
  if (first.find("\"ME\"") != std::string::npos) {
    facts.memories.push_back(SMS_MEM_ME);
  }
}

void ChooseIndications(CQuestions& questions, const ModemProfile* profile, bool bBroadcasts, ModemFacts& facts) {
  std::vector<Indications> candidates = profile == nullptr ? std::vector<Indications>() : profile->indications;
  candidates.insert(candidates.end(), kIndications.begin(), kIndications.end());
  for (const Indications& indications : candidates) {
    const bool wanted = bBroadcasts || indications[kPages] == 0;
    if (wanted && questions.Ask(IndicationsCommand(indications), "+CNMI:").IsOk()) {
      facts.indications = indications;
      return;
    }
  }
  TraceFault("the modem does not indicate new messages");
}

/// "002B0034" for "+4".
bool IsUcs2(const std::string& text) {
  bool ucs2 = text.size() > 4 && text.size() % 4 == 0;
  for (std::size_t unit = 0; unit < text.size(); unit += 4) {
    ucs2 = ucs2 && text.compare(unit, 2, "00") == 0;
  }
  return ucs2;
}

/// The number is written in the character set that is chosen (3GPP TS 27.005, 3.3.1), by another program perhaps.
std::string AskServiceCentre(CQuestions& questions) {
  const std::string number = Parameter(questions.AskPatiently("+CSCA?", "+CSCA:"), 0);
  const bool readable = !IsUcs2(number) || !(questions.Ask("+CSCS=\"GSM\"", "+CSCS:").IsOk() ||
                                             questions.Ask("+CSCS=\"IRA\"", "+CSCS:").IsOk());
  return readable ? number : Parameter(questions.Ask("+CSCA?", "+CSCA:"), 0);
}

bool PrepareMessages(CQuestions& questions, const ModemProfile* profile, bool bBroadcasts, ModemFacts& facts,
                     std::string& error) {
  if (!questions.AskPatiently("+CMGF=0", "+CMGF:").IsOk()) {
    error =
        "refuses messages in PDU mode (AT+CMGF=0). Use a modem with 3GPP short messages, or choose another port with "
        "--device.";
    return false;
  }
  facts.acknowledges = questions.Ask("+CSMS=1", "+CSMS:").IsOk();
  AskMemories(questions, facts);
  AskReceivedMemory(questions, facts);
  facts.serviceCentre = AskServiceCentre(questions);
  ChooseIndications(questions, profile, bBroadcasts, facts);
  if (profile != nullptr && profile->fullNotices != nullptr) {
    questions.Ask(profile->fullNotices, nullptr);
  }
  return true;
}

bool StartOnce(CAtDialogue& dialogue, bool bTrustEcho, bool bBroadcasts, ModemFacts& facts, std::string& error) {
  dialogue.BeginAnew();
  CQuestions questions(dialogue);
  const AtReply probed = Probe(questions);
  if (!probed.IsOk()) {
    error = probed.final == AtReply::Final::kLineGone ? kClosed : kSilent;
    return false;
  }
  ChooseForms(questions, bTrustEcho);
  const ModemProfile* const profile = Identify(questions, facts);
  facts.quiet = profile == nullptr ? QuietReading::kNone : profile->quiet;
  SwitchOn(questions, profile);
  AskCard(questions, profile, facts);
  if (!PrepareMessages(questions, profile, bBroadcasts, facts, error)) {
    return false;
  }
  AskNetwork(questions, facts);
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
