// What single families of modems need beside the standards.
#pragma once

#include "ModemFacts.h"

#include <array>
#include <string>
#include <vector>

namespace modem {

/// How the tries that are left for the card's PIN are told where AT+CPINR is refused.
struct PinTriesQuestion {
  const char* command;  // null: nothing tells them
  std::size_t place;    // among the parameters of the answer, which begins with the command's name
};

/// One row of the table.
struct ModemProfile {
  const char* maker;  // beginning of AT+CGMI's answer, case does not matter
  const char* model;  // beginning of AT+CGMM's answer; "": every model
  const char* iccid;  // asks for the card's number where AT+CRSM is refused; null: nothing does
  PinTriesQuestion pinTries;
  const char* fullNotices;            // asks for notices of a full memory; null: they come unasked, or there are none
  std::vector<const char*> commands;  // at the start, before the card is asked; refusals do not matter
  std::vector<std::array<int, 5>> indications;  // of AT+CNMI, tried before the ordinary ones
  const char* why;
  QuietReading quiet = QuietReading::kNone;
};

/// The first row that fits. @return null: the standards are enough.
const ModemProfile* ProfileOf(const std::string& maker, const std::string& model);
/// The whole table, for tests.
const std::vector<ModemProfile>& ModemProfiles();

}  // namespace modem
