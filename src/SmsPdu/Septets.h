// GSM 7-bit text: characters to septets by the national tables, septets to octets and back (3GPP TS 23.038, 6.1.2.1).
#pragma once

#include "PduResult.h"
#include "SMSDef.h"

#include <cstddef>

namespace sms_pdu {

const std::size_t kMaxSeptets = 160;

/// Octets that count septets take behind fillBits (0..6) bits.
constexpr std::size_t PackedOctets(std::size_t count, unsigned fillBits) { return (count * 7 + fillBits + 7) / 8; }

/// Packs count septets (0..127 each) behind fillBits zero bits into out, PackedOctets() octets; unused bits are 0.
void PackSeptets(const BYTE* septets, std::size_t count, unsigned fillBits, BYTE* out);
/// Reads count septets from size octets; the caller sees to PackedOctets(count, fillBits) <= size.
void UnpackSeptets(const BYTE* octets, std::size_t size, unsigned fillBits, BYTE* septets, std::size_t count);

/// Septets of a text; a character of the single-shift table takes two (escape and code).
/// @param count  out: septets written, at most capacity.
/// @return TooLong or UnencodableCharacter.
PduError TextToSeptets(const VELK_wchar_t* text, std::size_t length, const SMS_NLI& tables, BYTE* septets,
                       std::size_t capacity, std::size_t* count);
/// Text of septets; never more units than septets. A code that the single-shift table leaves open reads as the locking
/// table has it, two escapes and an escape at the end as a blank (3GPP TS 23.038, 6.2.1.1).
/// @return units written; out holds count units.
std::size_t SeptetsToText(const BYTE* septets, std::size_t count, const SMS_NLI& tables, VELK_wchar_t* out);

}  // namespace sms_pdu
