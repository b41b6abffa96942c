// The first dialogue with a modem: who it is, what it can, and how it shall behave.
#pragma once

#include "AtDialogue.h"
#include "ModemFacts.h"

#include <array>
#include <string>

namespace modem {

/// Puts the modem into PDU mode with the best indications it accepts, and asks for its facts.
/// @param bBroadcasts  ask for broadcast pages too.
/// @param error        out: why the modem cannot be used, when the result is false.
bool StartModem(CAtDialogue& dialogue, bool bBroadcasts, ModemFacts& facts, std::string& error);

/// AT+CNMI with mode, messages, pages, reports and buffer (3GPP TS 27.005, 3.4.1).
CAtCommand IndicationsCommand(const std::array<int, 5>& indications);

}  // namespace modem
