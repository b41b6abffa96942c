// One line of a modem: what kind it is and what it holds (ITU-T V.250, 3GPP TS 27.005 and 27.007).
#pragma once

#include "VelkTypes.h"

#include <string>
#include <vector>

namespace modem {

/// How a command ended.
enum class AtFinal {
  kOk,
  kError,     // ERROR
  kCmeError,  // +CME ERROR: code (3GPP TS 27.007, 9.2)
  kCmsError,  // +CMS ERROR: code (3GPP TS 27.005, 3.2.5)
  kNoAnswer,  // nothing came within the limit, or the modem was started anew
  kLineGone,
  kRefused  // the command was not valid and was not sent
};

/// A result code that ends a command, in words or as a digit (ATV0).
/// @param code  out: the cause of +CME and +CMS errors, else 0.
bool FindFinal(const std::string& line, AtFinal& final, int& code);

/// A line that only a modem's own wish or a reply to a certain command explains: "+CREG: 5", "RING", "^BOOT:12".
/// What is left are bare texts such as the maker's name.
bool IsTagged(const std::string& line);

/// "+CMT:", "+CDS:" and "+CBM:" come with a line of octets.
bool AnnouncesOctets(const std::string& line);
/// The octets may be damaged further behind.
bool LooksLikeOctets(const std::string& line);
/// The octets are as long as the line before them says: its last parameter counts those of the transfer PDU, which the
/// address of a service centre may precede.
bool IsLengthOf(const std::string& head, const std::string& octets);

/// Splits a line that holds a message's octets behind its parameters.
/// @return false: it does not.
bool SplitOctets(const std::string& line, std::string& head, std::string& octets);

/// The modem began anew by itself: its settings are lost.
bool TellsRestart(const std::string& line);

/// The card's messages can be used from now on.
bool TellsMessagesReady(const std::string& line);

/// "+CREG: 1,5" tells the mode first; by itself the modem tells the state ("+CREG: 5", "+CREG: 5,"00C3","1234"").
bool IsRegistrationReply(const std::string& line);

/// Without blanks at both ends, control octets, and what the power-up of a line leaves in front.
std::string Cleaned(const std::string& line);

/// The parameters behind the colon of a reply line; quotation marks are taken off.
std::vector<std::string> ParametersOf(const std::string& line);

/// A parameter that is a decimal number of at most 32 bits.
bool NumberOf(const std::string& parameter, DWORD& number);

}  // namespace modem
