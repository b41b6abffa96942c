// Character sets of the computer's side (+CSCS of 3GPP TS 27.007, 5.5).
#pragma once

#include "VelkTypes.h"

#include <string>

namespace modem_sim {

/// Gsm: a code of 3GPP TS 23.038, 6.2.1 in each octet. Ira: ASCII. Ucs2 and Hex: four and two hexadecimal digits for a
/// character, in Hex those of its GSM code.
enum class CharacterSet { Gsm, Ira, Ucs2, Hex };

const CharacterSet kCharacterSets[] = {CharacterSet::Gsm, CharacterSet::Ira, CharacterSet::Ucs2, CharacterSet::Hex};

/// The name in +CSCS.
const char* CharacterSetName(CharacterSet set);

/// A text as the computer gets it; what the set does not have becomes '?'.
std::string Encode(CharacterSet set, const VELK_wstring& text);
/// A text as the computer wrote it.
/// @return false: *out is empty, the octets are none of the set.
bool Decode(CharacterSet set, const std::string& octets, VELK_wstring* out);

/// The same for what is ASCII anyhow: numbers and names.
std::string EncodeAscii(CharacterSet set, const std::string& text);
bool DecodeAscii(CharacterSet set, const std::string& octets, std::string* out);

}  // namespace modem_sim
