// Times on the air: time stamps with a zone and validity periods (3GPP TS 23.040 9.2.3.11 and 9.2.3.12).
#pragma once

#include "VelkTypes.h"

#include <cstddef>

namespace sms_pdu {

const std::size_t kTimeStampOctets = 7;

/// Local time of the service centre and its zone. All zero when the digits on the air make no time.
struct TimeStamp {
  WORD year = 0;   // full: two digits from 90 on are of the last century, the field has no more
  BYTE month = 0;  // 1..12
  BYTE day = 0;    // 1..31, as the month has
  BYTE hour = 0;
  BYTE minute = 0;
  BYTE second = 0;
  std::int8_t zoneQuarters = 0;  // quarters of an hour east of UTC, -79..79
};

/// @return false: the digits make no time and *out is all zero, or they make no zone and that is 0.
bool DecodeTimeStamp(const BYTE (&octets)[kTimeStampOctets], TimeStamp* out);
/// Writes seven zero octets for a time that does not exist.
void EncodeTimeStamp(const TimeStamp& time, BYTE (&octets)[kTimeStampOctets]);

enum class ValidityFormat : BYTE { None = 0, Enhanced = 1, Relative = 2, Absolute = 3 };

/// TP-VP. Which member counts is said by format.
struct Validity {
  ValidityFormat format = ValidityFormat::None;
  BYTE relative = 0;                     // 9.2.3.12.1; see RelativeValiditySeconds
  TimeStamp absolute;                    // 9.2.3.12.2
  BYTE enhanced[kTimeStampOctets] = {};  // 9.2.3.12.3, as on the air
};

/// 5 minutes (0) to 63 weeks (255).
DWORD RelativeValiditySeconds(BYTE relative);
/// The shortest relative validity that is not shorter; 255 for more than 63 weeks.
BYTE RelativeValidityFor(DWORD seconds);
/// Length of the period.
/// @return false: there is none (format None, Absolute, or an enhanced form that names none or a reserved one).
bool ValiditySeconds(const Validity& validity, DWORD* seconds);

}  // namespace sms_pdu
