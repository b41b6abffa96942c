// Content of a message: TP-DCS, TP-UDL and TP-UD (3GPP TS 23.040 9.2.3.10, 9.2.3.16, 9.2.3.24).
#pragma once

#include "DataCoding.h"
#include "PduResult.h"
#include "Septets.h"
#include "UserDataHeader.h"

#include <cstddef>

namespace sms_pdu {

const std::size_t kTextUnits = kMaxSeptets;

/// Header and content. The coding of dcs says which member holds the content: text for GSM 7-bit and UCS-2, octets for
/// 8-bit data and compressed text. GSM 7-bit text is coded with the tables that the header names.
struct UserData {
  BYTE dcs = 0;
  UserDataHeader header;
  BYTE textLength = 0;                     // units of text
  BYTE octetCount = 0;                     // octets
  VELK_wchar_t text[kTextUnits + 1] = {};  // zero-terminated; UCS-2 content may hold any unit, zero too
  BYTE octets[kUserDataOctets] = {};
};

/// Puts a text in, to be coded as dcs and the header say.
/// @return TooLong: more than 160 units; whether it fits in its coding is found out by encoding.
PduError SetText(UserData* userData, const VELK_wchar_t* text, std::size_t length);
PduError SetOctets(UserData* userData, const BYTE* octets, std::size_t count);

/// Puts a GSM 7-bit text in and its tables into the header: the ones that are named; when the text does not fit with
/// them, those that it can do with, and for a text that needs one, a locking table.
/// @return as SetText; a text that fits with no tables is found out by encoding.
PduError SetNationalText(UserData* userData, const VELK_wchar_t* text, std::size_t length, const SMS_NLI& tables);

/// Septets (GSM 7-bit) or octets that are left for content behind the header.
std::size_t ContentCapacity(const UserData& userData);

}  // namespace sms_pdu
