// Why a message was refused, in words.
#pragma once

namespace modem {

/// Text of a +CMS ERROR code (3GPP TS 27.005, 3.2.5): up to 127 the network's cause (3GPP TS 24.011, E-2), up to 255
/// the service centre's (3GPP TS 23.040, 9.2.3.22), above the equipment's own. Static, never null, also for unknown
/// codes.
const char* CauseText(int code);

}  // namespace modem
