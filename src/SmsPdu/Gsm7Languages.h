// Which language identifiers have a table here (3GPP TS 23.038, 6.2.1.2.4); inside this room.
#pragma once

#include "SMSDef.h"

namespace sms_pdu {

inline SMS_NLI_LOCK KnownLockingShift(unsigned language) {
  return language == SMS_NLI_Turk_Lock || language == SMS_NLI_Port_Lock ? static_cast<SMS_NLI_LOCK>(language)
                                                                        : SMS_NLI_Lock_Reverse;
}

inline SMS_NLI_SIGNLE KnownSingleShift(unsigned language) {
  return language <= SMS_NLI_Port_Single ? static_cast<SMS_NLI_SIGNLE>(language) : SMS_NLI_Single_Reverse;
}

}  // namespace sms_pdu
