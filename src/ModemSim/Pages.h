// Text as cell-broadcast pages.
#pragma once

#include "CellBroadcast.h"

#include <vector>

namespace modem_sim {

/// The pages of a text: in the GSM alphabet when that has every character, else in UCS-2.
/// @return false: it takes more than sms_pdu::kBroadcastPages.
bool MakePages(WORD serial, WORD channel, const VELK_wstring& text, std::vector<sms_pdu::BroadcastPage>* out);

}  // namespace modem_sim
