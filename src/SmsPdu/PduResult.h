// Why a PDU could not be decoded or encoded, and what was odd about one that could.
#pragma once

namespace sms_pdu {

/// The reason of a refusal.
enum class PduError {
  None = 0,
  Truncated,             // the octets end inside a field that a message cannot do without
  WrongType,             // TP-MTI names another type than the one asked for
  OddHexDigits,          // half an octet at the end of a line of hexadecimal digits
  NotHex,                // a character that is no hexadecimal digit
  TooLong,               // more text, octets or header than one TPDU carries, or an address of more than 20 digits
  UnencodableCharacter,  // a character that the chosen alphabet does not have
  UnencodableAddress,    // an address that is neither digits nor writable in the GSM 7-bit alphabet
  BufferTooSmall,        // the caller's buffer ends before the TPDU does
};

/// A few English words, static, never null: "the octets end inside a field".
const char* ErrorText(PduError error);

/// What was damaged in a message that could be read all the same; a set of bits. Networks send all of these.
enum Defect : unsigned {
  kDefectNone = 0,
  kDefectTimeStamp = 1U << 0,    // digits that make no time: that time is all zero
  kDefectUserDataCut = 1U << 1,  // TP-UDL counts more than is there, or than a TPDU carries: the text ends early
  kDefectHeader = 1U << 2,   // the header runs past the user data (and reads as content), or an element past the header
  kDefectAddress = 1U << 3,  // an end mark among the digits of an address: the number ends there
  kDefectTrailing = 1U << 4,      // octets behind the end of the message: left out
  kDefectReservedType = 1U << 5,  // reserved TP-MTI: read as SMS-DELIVER (3GPP TS 23.040 9.2.3.1)
  kDefectOptionalCut = 1U << 6    // a report that ends before the optional fields it announces
};

}  // namespace sms_pdu
