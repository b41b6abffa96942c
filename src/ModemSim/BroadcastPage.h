// Pages of cell broadcast messages (3GPP TS 23.041, 9.4.1.2).
#pragma once

#include "VelkTypes.h"

#include <string>
#include <vector>

namespace modem_sim {

const int kMostPages = 15;

struct BroadcastPage {
  WORD serial = 0;            // geographical scope, message code, update number
  WORD channel = 0;           // message identifier
  BYTE dcs = 0;               // 3GPP TS 23.038, 5
  BYTE page = 1;              // 1..pages
  BYTE pages = 1;             // 1..kMostPages
  std::vector<BYTE> content;  // 82 octets
};

/// The pages of a text: in the GSM alphabet when it has every character, else in UCS-2; filled up with carriage
/// returns.
/// @return false: it takes more than kMostPages.
bool MakePages(WORD serial, WORD channel, const VELK_wstring& text, std::vector<BroadcastPage>* out);

/// 88 octets.
std::vector<BYTE> EncodePage(const BroadcastPage& page);

}  // namespace modem_sim
