// The first dialogue with a modem: who it is, what it can, and how it shall behave.
#pragma once

#include "AtDialogue.h"
#include "Modem.h"

#include <string>

namespace modem {

/// Puts the modem into PDU mode with the best indications it accepts, and asks for its facts.
/// @param error  out: why the modem cannot be used, when the result is false.
bool StartModem(CAtDialogue& dialogue, ModemFacts& facts, std::string& error);

/// State of registration of a "+CREG: ..." line, as the service tells it.
SysSrvStatus RegistrationOf(const std::string& line);

/// The parameters behind the colon of a reply line; quotation marks are taken off.
std::vector<std::string> ParametersOf(const std::string& line);

}  // namespace modem
