// Whether two decoded values say the same; defects of the octets they came from aside.
#pragma once

#include "SmsPdu.h"

#include <algorithm>

namespace fuzz {

/// Whether a decoded address is the same when it comes back. A name whose eighth septet is '@' comes back as one of
/// seven: centres fill those up with zero bits.
inline bool Equal(const sms_pdu::Address& first, const sms_pdu::Address& back) {
  const bool filled = first.typeOfNumber == sms_pdu::kTonAlphanumeric && first.length == back.length + 1U &&
                      first.text[first.length - 1] == u'@';
  return first.typeOfNumber == back.typeOfNumber && first.numberingPlan == back.numberingPlan &&
         (first.length == back.length || filled) && std::equal(back.text, back.text + back.length, first.text);
}

inline bool Equal(const sms_pdu::TimeStamp& a, const sms_pdu::TimeStamp& b) {
  return a.year == b.year && a.month == b.month && a.day == b.day && a.hour == b.hour && a.minute == b.minute &&
         a.second == b.second && a.zoneQuarters == b.zoneQuarters;
}

inline bool Equal(const sms_pdu::Validity& a, const sms_pdu::Validity& b) {
  return a.format == b.format && a.relative == b.relative && Equal(a.absolute, b.absolute) &&
         std::equal(a.enhanced, a.enhanced + sms_pdu::kTimeStampOctets, b.enhanced);
}

inline bool Equal(const sms_pdu::UserDataHeader& a, const sms_pdu::UserDataHeader& b) {
  return a.length == b.length && std::equal(a.octets, a.octets + a.length, b.octets);
}

inline bool Equal(const sms_pdu::UserData& a, const sms_pdu::UserData& b) {
  return a.dcs == b.dcs && Equal(a.header, b.header) && a.textLength == b.textLength && a.octetCount == b.octetCount &&
         std::equal(a.text, a.text + a.textLength, b.text) && std::equal(a.octets, a.octets + a.octetCount, b.octets);
}

inline bool Equal(const sms_pdu::Deliver& a, const sms_pdu::Deliver& b) {
  return a.moreMessages == b.moreMessages && a.loopPrevention == b.loopPrevention &&
         a.statusReportIndication == b.statusReportIndication && a.replyPath == b.replyPath &&
         a.protocolId == b.protocolId && Equal(a.originator, b.originator) && Equal(a.time, b.time) &&
         Equal(a.userData, b.userData);
}

inline bool Equal(const sms_pdu::Submit& a, const sms_pdu::Submit& b) {
  return a.rejectDuplicates == b.rejectDuplicates && a.statusReportRequest == b.statusReportRequest &&
         a.replyPath == b.replyPath && a.reference == b.reference && a.protocolId == b.protocolId &&
         Equal(a.destination, b.destination) && Equal(a.validity, b.validity) && Equal(a.userData, b.userData);
}

inline bool Equal(const sms_pdu::StatusReport& a, const sms_pdu::StatusReport& b) {
  return a.moreMessages == b.moreMessages && a.loopPrevention == b.loopPrevention && a.ofCommand == b.ofCommand &&
         a.reference == b.reference && Equal(a.recipient, b.recipient) && Equal(a.time, b.time) &&
         Equal(a.dischargeTime, b.dischargeTime) && a.status == b.status && a.hasProtocolId == b.hasProtocolId &&
         a.hasDataCoding == b.hasDataCoding && a.hasUserData == b.hasUserData && a.protocolId == b.protocolId &&
         Equal(a.userData, b.userData);
}

}  // namespace fuzz
