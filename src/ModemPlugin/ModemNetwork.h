// Registration, operator and signal.
#pragma once

#include "ModemFacts.h"
#include "Questions.h"

namespace modem {

/// Asks for notices of every domain that the modem knows, and for the states, the operator and the signal now.
void AskNetwork(CQuestions& questions, ModemFacts& facts);
/// The operator's digits and the signal; they change with the registration.
void AskOperator(CQuestions& questions, ModemFacts& facts);

/// A notice "+CREG: 5", "+CGREG: 1", "+CEREG: 3,...".
/// @return false: another line; out parameters are left alone.
bool ReadRegistration(const std::string& line, Domain& domain, SysSrvStatus& status);
/// The best state of all domains: a message goes by any of them.
SysSrvStatus BestOf(const std::array<SysSrvStatus, DOMAIN_COUNT>& domains);

}  // namespace modem
