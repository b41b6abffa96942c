// The causes that a modem gives for a refusal, as numbers and as the standards' words.
#pragma once

#include <string>

namespace modem {

/// A cause behind "+CMS ERROR:" or "+CME ERROR:", as a number or, with AT+CMEE=2, as words.
/// @param text  what stands behind the colon; case, blanks and "(U)" do not matter.
/// @return 0..65535; 0: unknown words.
int CmsErrorCode(const std::string& text);
int CmeErrorCode(const std::string& text);

/// The cause in words: 0..127 of the network (3GPP TS 24.011, E-2), 128..255 of the service centre (3GPP TS 23.040,
/// 9.2.3.22), 300.. of the modem (3GPP TS 27.005, 3.2.5). Lives for ever. "unknown cause" for what stands nowhere.
const char* CmsErrorText(unsigned int code);
/// The same for "+CME ERROR:" (3GPP TS 27.007, 9.2).
const char* CmeErrorText(unsigned int code);

}  // namespace modem
