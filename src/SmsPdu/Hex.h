// Octets as the hexadecimal digits of an AT line (3GPP TS 27.005, 3.1).
#pragma once

#include "PduResult.h"
#include "VelkTypes.h"

#include <cstddef>

namespace sms_pdu {

/// @param digits   upper or lower case, need not be zero-terminated.
/// @param written  out: octets, at most capacity.
/// @return OddHexDigits, NotHex or BufferTooSmall; *written counts the octets before the fault.
PduError HexToOctets(const char* digits, std::size_t length, BYTE* out, std::size_t capacity, std::size_t* written);
/// Writes 2 * size upper-case digits and a terminator to out.
void OctetsToHex(const BYTE* octets, std::size_t size, char* out);

}  // namespace sms_pdu
