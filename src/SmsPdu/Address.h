// Addresses of 3GPP TS 23.040 9.1.2.5 and the service centre in front of a TPDU (3GPP TS 27.005, 3.1).
#pragma once

#include "PduResult.h"
#include "VelkTypes.h"

#include <cstddef>

namespace sms_pdu {

const std::size_t kAddressDigits = 20;     // most digits of an address
const std::size_t kAddressMaxOctets = 12;  // length, type, 10 octets of digits
const std::size_t kAddressTextUnits = 21;  // '+' and 20 digits; 11 characters when alphanumeric

/// Type of number.
const BYTE kTonUnknown = 0;
const BYTE kTonInternational = 1;
const BYTE kTonNational = 2;
const BYTE kTonAlphanumeric = 5;
/// Numbering plan.
const BYTE kNpiUnknown = 0;
const BYTE kNpiTelephone = 1;

/// A number as a person writes it ("+4917212345", "*100#", digits 10 to 14 are '*', '#', 'a', 'b', 'c') or an
/// alphanumeric name. The '+' stands for kTonInternational and is not a digit.
struct Address {
  BYTE typeOfNumber = kTonUnknown;
  BYTE numberingPlan = kNpiUnknown;
  BYTE length = 0;                                // units of text
  VELK_wchar_t text[kAddressTextUnits + 1] = {};  // zero-terminated
};

/// Makes an address of what a person writes: '+' and digits is international, digits, '*' and '#' unknown type of the
/// telephone plan, anything else alphanumeric. Separators (blank, '-', '.', '/', '(' and ')') between digits are left
/// out. An empty text is an empty address of unknown type.
/// @return TooLong or UnencodableAddress, *out is empty then; null counts as empty.
PduError MakeAddress(const VELK_wchar_t* text, std::size_t length, Address* out);
/// The same for zero-terminated ASCII.
PduError MakeAddress(const char* text, Address* out);

/// The address as zero-terminated ASCII; a character beyond ASCII becomes '?', what does not fit is cut.
void AddressToAscii(const Address& address, char* out, std::size_t capacity);

/// Reads the service centre in front of a TPDU; length 0 (the device's own centre is meant) gives an empty address.
/// @param consumed  out: octets before the TPDU.
/// @param defects   out: Defect bits are added.
PduError DecodeServiceCentre(const BYTE* octets, std::size_t size, Address* out, std::size_t* consumed,
                             unsigned* defects);
/// Writes the service centre as it stands in front of a TPDU; an empty address writes the one octet 00.
PduError EncodeServiceCentre(const Address& address, BYTE* out, std::size_t capacity, std::size_t* written);

}  // namespace sms_pdu
