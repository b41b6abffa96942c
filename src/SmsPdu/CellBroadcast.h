// Cell-broadcast pages: of GSM (3GPP TS 23.041, 9.4.1.2) and all pages of a message of UMTS (9.4.2.2).
#pragma once

#include "DataCoding.h"
#include "PduResult.h"
#include "UserDataHeader.h"
#include "VelkTypes.h"

#include <cstddef>

namespace sms_pdu {

const std::size_t kPageContentOctets = 82;
const std::size_t kPageOctets = 88;  // six octets in front of the content
const std::size_t kPageUnits = 93;   // most characters of a page
const std::size_t kBroadcastPages = 15;

/// The data coding scheme of a page (3GPP TS 23.038, 5). Reserved values read as the GSM 7-bit alphabet.
struct PageCoding {
  Coding coding = Coding::Gsm7;
  std::int8_t messageClass = -1;  // 0..3, or -1: none
  bool compressed = false;
  bool languageInFront = false;  // the content begins with the name of its language
  bool headerInFront = false;    // the content begins with a user data header
  const char* language = "";     // ISO 639, static; empty: unspecified, or in front of the content
};

PageCoding ParsePageCoding(BYTE dcs);

/// One page. As in UserData the coding says which member holds the content. What fills the page up (carriage returns,
/// zeros in UCS-2) is left out of the text.
struct BroadcastPage {
  WORD serial = 0;     // geographical scope, message code, update number
  WORD messageId = 0;  // the channel
  BYTE dcs = 0;
  BYTE page = 1;                           // 1..pages; a parameter that makes no sense reads as page 1 of 1
  BYTE pages = 1;                          // 1..15
  char language[3] = {};                   // two letters, or empty
  UserDataHeader header;                   // where the coding has one; its tables are those of the text
  BYTE textLength = 0;                     // units of text
  BYTE octetCount = 0;                     // octets
  VELK_wchar_t text[kPageUnits + 1] = {};  // zero-terminated
  BYTE octets[kPageContentOctets] = {};
};

/// @param octets  a page as it stands behind +CBM; it may end early.
/// @return Truncated or TooLong, *out is a fresh page then.
PduError DecodePage(const BYTE* octets, std::size_t size, BroadcastPage* out);
/// Writes a page of 88 octets, text filled up with carriage returns; content of octets ends where it ends.
/// @return TooLong, UnencodableCharacter or BufferTooSmall; *written is 0 then.
PduError EncodePage(const BroadcastPage& page, BYTE* out, std::size_t capacity, std::size_t* written);

/// The pages of a message of UMTS, numbered in their order.
/// @param count  out: pages, 0 on an error.
/// @return Truncated, WrongType, TooLong (more than 15 pages, or a page longer than 82 octets) or BufferTooSmall.
PduError DecodeBroadcastMessage(const BYTE* octets, std::size_t size, BroadcastPage* out, std::size_t capacity,
                                std::size_t* count);

}  // namespace sms_pdu
