#include "ModemNetwork.h"

#include "Lines.h"

#include <algorithm>

namespace modem {

namespace {

struct DomainCommands {
  const char* prefix;
  const char* enable;
  const char* ask;
};

const DomainCommands kDomains[DOMAIN_COUNT] = {
    {"+CREG:", "+CREG=1", "+CREG?"}, {"+CGREG:", "+CGREG=1", "+CGREG?"}, {"+CEREG:", "+CEREG=1", "+CEREG?"}};

/// 3GPP TS 27.007, 7.2
SysSrvStatus StatusOf(const std::string& parameter) {
  DWORD state = 0;
  switch (NumberOf(parameter, state) ? state : 0) {
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

}  // namespace

void AskNetwork(CQuestions& questions, ModemFacts& facts) {
  for (int domain = 0; domain < DOMAIN_COUNT; ++domain) {
    const DomainCommands& commands = kDomains[domain];
    const bool known = questions.Ask(commands.enable, commands.prefix).IsOk();
    if (known || domain == DOMAIN_CIRCUIT) {
      facts.domains[static_cast<std::size_t>(domain)] =
          StatusOf(Parameter(questions.Ask(commands.ask, commands.prefix), 1));
    }
  }
  facts.network = BestOf(facts.domains);
  questions.Ask("+COPS=3,2", "+COPS:", CQuestions::kSlowLimitMs);
  AskOperator(questions, facts);
}

void AskOperator(CQuestions& questions, ModemFacts& facts) {
  facts.operatorCode = Parameter(questions.Ask("+COPS?", "+COPS:", CQuestions::kSlowLimitMs), 2);
  const DWORD kUnknown = 99;
  DWORD signal = kUnknown;
  facts.signal = NumberOf(Parameter(questions.Ask("+CSQ", "+CSQ:"), 0), signal) ? signal : kUnknown;
}

bool ReadRegistration(const std::string& line, Domain& domain, SysSrvStatus& status) {
  for (int candidate = 0; candidate < DOMAIN_COUNT; ++candidate) {
    if (StartsWith(line, kDomains[candidate].prefix)) {
      const std::vector<std::string> parameters = ParametersOf(line);
      domain = static_cast<Domain>(candidate);
      status = StatusOf(parameters.empty() ? std::string() : parameters[0]);
      return true;
    }
  }
  return false;
}

SysSrvStatus BestOf(const std::array<SysSrvStatus, DOMAIN_COUNT>& domains) {
  return *std::max_element(domains.begin(), domains.end());
}

}  // namespace modem
