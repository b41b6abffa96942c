// Time stamps and validity periods.
#include "TimeStamp.h"

#include "Fields.h"

#include <algorithm>

namespace sms_pdu {
namespace {

const BYTE kNoNumber = 0xFF;
const BYTE kZoneWest = 0x08;  // algebraic sign, in the octet as it travels
const int kCenturyPivot = 90;

const DWORD kMinute = 60;
const DWORD kHour = 60 * kMinute;
const DWORD kDay = 24 * kHour;
const DWORD kWeek = 7 * kDay;

/// Two decimal digits, the tens in the low half.
BYTE FromSwapped(BYTE octet) {
  const BYTE tens = octet & 0x0F;
  const BYTE units = octet >> 4;
  return tens > 9 || units > 9 ? kNoNumber : static_cast<BYTE>(tens * 10 + units);
}

BYTE ToSwapped(unsigned number) { return static_cast<BYTE>(number / 10 % 10 | (number % 10) << 4); }

unsigned DaysIn(unsigned year, unsigned month) {
  static const BYTE kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : kDays[month - 1];
}

bool Exists(const TimeStamp& time) {
  return time.month >= 1 && time.month <= 12 && time.day >= 1 && time.day <= DaysIn(time.year, time.month) &&
         time.hour < 24 && time.minute < 60 && time.second < 60;
}

bool DecodeZone(BYTE octet, std::int8_t* out) {
  const BYTE quarters = FromSwapped(static_cast<BYTE>(octet & ~kZoneWest));
  if (quarters == kNoNumber) return false;
  *out = static_cast<std::int8_t>(octet & kZoneWest ? -quarters : quarters);
  return true;
}

}  // namespace

bool DecodeTimeStamp(const BYTE (&octets)[kTimeStampOctets], TimeStamp* out) {
  *out = TimeStamp();
  TimeStamp time;
  const BYTE year = FromSwapped(octets[0]);
  if (year == kNoNumber) return false;
  time.year = static_cast<WORD>(year >= kCenturyPivot ? 1900 + year : 2000 + year);
  time.month = FromSwapped(octets[1]);
  time.day = FromSwapped(octets[2]);
  time.hour = FromSwapped(octets[3]);
  time.minute = FromSwapped(octets[4]);
  time.second = FromSwapped(octets[5]);
  if (!Exists(time)) return false;
  const bool zoneKnown = DecodeZone(octets[6], &time.zoneQuarters);
  *out = time;
  return zoneKnown;
}

void EncodeTimeStamp(const TimeStamp& time, BYTE (&octets)[kTimeStampOctets]) {
  if (!Exists(time)) {
    std::fill_n(octets, kTimeStampOctets, BYTE(0));
    return;
  }
  octets[0] = ToSwapped(time.year % 100U);
  octets[1] = ToSwapped(time.month);
  octets[2] = ToSwapped(time.day);
  octets[3] = ToSwapped(time.hour);
  octets[4] = ToSwapped(time.minute);
  octets[5] = ToSwapped(time.second);
  const int quarters = std::clamp<int>(time.zoneQuarters, -79, 79);
  octets[6] = ToSwapped(static_cast<unsigned>(quarters < 0 ? -quarters : quarters));
  if (quarters < 0) octets[6] = static_cast<BYTE>(octets[6] | kZoneWest);
}

PduError ReadTimeStamp(COctetReader& reader, TimeStamp* out, unsigned* defects) {
  const BYTE* const taken = reader.Take(kTimeStampOctets);
  if (!taken) return PduError::Truncated;
  BYTE octets[kTimeStampOctets];
  std::copy_n(taken, kTimeStampOctets, octets);
  if (!DecodeTimeStamp(octets, out)) *defects |= kDefectTimeStamp;
  return PduError::None;
}

void WriteTimeStamp(COctetWriter& writer, const TimeStamp& time) {
  BYTE octets[kTimeStampOctets];
  EncodeTimeStamp(time, octets);
  writer.Put(octets, kTimeStampOctets);
}

DWORD RelativeValiditySeconds(BYTE relative) {
  if (relative <= 143) return (relative + 1U) * 5 * kMinute;
  if (relative <= 167) return 12 * kHour + (relative - 143U) * 30 * kMinute;
  if (relative <= 196) return (relative - 166U) * kDay;
  return (relative - 192U) * kWeek;
}

BYTE RelativeValidityFor(DWORD seconds) {
  unsigned relative = 0;
  while (relative < 255 && RelativeValiditySeconds(static_cast<BYTE>(relative)) < seconds) ++relative;
  return static_cast<BYTE>(relative);
}

bool ValiditySeconds(const Validity& validity, DWORD* seconds) {
  *seconds = 0;
  if (validity.format == ValidityFormat::Relative) {
    *seconds = RelativeValiditySeconds(validity.relative);
    return true;
  }
  if (validity.format != ValidityFormat::Enhanced) return false;
  // Octet 1 says the form in its low three bits; bit 7 says that an extension octet follows it.
  const BYTE* const value = validity.enhanced + (validity.enhanced[0] & 0x80 ? 2 : 1);
  switch (validity.enhanced[0] & 0x07) {
    case 1:
      *seconds = RelativeValiditySeconds(value[0]);
      return true;
    case 2:
      *seconds = value[0];
      return value[0] != 0;  // 0 is reserved
    case 3: {
      const BYTE hours = FromSwapped(value[0]);
      const BYTE minutes = FromSwapped(value[1]);
      const BYTE rest = FromSwapped(value[2]);
      if (hours == kNoNumber || minutes == kNoNumber || rest == kNoNumber) return false;
      *seconds = hours * kHour + minutes * kMinute + rest;
      return true;
    }
    default:
      return false;
  }
}

}  // namespace sms_pdu
