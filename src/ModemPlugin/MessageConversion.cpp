#include "MessageConversion.h"

#include "CellBroadcast.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <iterator>

namespace modem {

namespace {

const char kUcs2ByCarrier = 12;     // the carrier's 16-bit coding travels as UCS-2
const BYTE kReturnCall = 0x5F;      // TP-PID of a return call message (3GPP TS 23.040, 9.2.3.9)
const VELK_wchar_t kNull = 0x2400;  // stands for the unit 0 in a content, which would end there
const BYTE kDcs8Bit = 0x04;
const BYTE kDcsUcs2 = 0x08;

BYTE DcsOf(char cDCS) {
  switch (cDCS) {
    case 4:
      return kDcs8Bit;
    case 8:
    case kUcs2ByCarrier:
      return kDcsUcs2;
    default:
      return 0;
  }
}

template <std::size_t Room>
void CopyAscii(const sms_pdu::Address& address, char (&out)[Room]) {
  sms_pdu::AddressToAscii(address, out, Room);
}

/// Text as it is; 8-bit and compressed content one unit an octet.
void CopyContent(const sms_pdu::UserData& data, SMReadRecord& record) {
  std::fill(std::begin(record.wszContent), std::end(record.wszContent), u'\0');
  if (data.octetCount > 0) {
    record.dwLength = data.octetCount;
    std::copy_n(data.octets, record.dwLength, record.wszContent);
  } else {
    record.dwLength = data.textLength;
    std::copy_n(data.text, data.textLength, record.wszContent);
  }
  std::replace(record.wszContent, record.wszContent + record.dwLength, u'\0', kNull);
}

/// @return total 0 for a message that is not divided.
sms_pdu::Concatenation PlaceOf(const sms_pdu::UserData& data) {
  sms_pdu::Concatenation place;
  return sms_pdu::FindConcatenation(data.header, &place) && place.total > 1 ? place : sms_pdu::Concatenation();
}

void CopyLongMessage(const sms_pdu::UserData& data, SMReadRecord& record) {
  const sms_pdu::Concatenation place = PlaceOf(data);
  record.stLongSMS_info.btMR = static_cast<BYTE>(place.reference & 0xFF);
  record.stLongSMS_info.btTotalPack = place.total;
  record.stLongSMS_info.btPack = place.sequence;
}

/// @param head  octets of the session header at the beginning.
void CopyMmsNotification(const sms_pdu::UserData& data, std::size_t head, SMReadRecord& record) {
  MMS_NOTIFY_DATA& mms = record.stMMS_Notify_Data;
  const std::size_t body = data.octetCount - head;
  mms.iWSPLen = static_cast<int>(head);
  mms.iDATALen = static_cast<int>(body);
  std::memcpy(mms.szWSP, data.octets, head);
  std::memcpy(mms.szDATA, data.octets + head, body);
}

/// @return false: the message is no part of an MMS notification.
bool ReadMmsNotification(const sms_pdu::UserData& data, const ReadRules& rules, SMReadRecord& record) {
  sms_pdu::Ports ports;
  if (data.octetCount == 0 || !sms_pdu::FindPorts(data.header, &ports) || ports.destination != kWapPushPort) {
    return false;
  }
  const sms_pdu::Concatenation place = PlaceOf(data);
  WapPush push;
  const bool first = place.sequence <= 1;
  const bool says = first && ReadWapPush(data.octets, data.octetCount, push) && push.bMmsNotification;
  const bool mms = rules.pPushes != nullptr ? rules.pPushes->IsMmsPart(record.szAddress, place, says) : !first || says;
  if (mms) {
    CopyMmsNotification(data, first ? push.headOctets : 0, record);
  }
  return mms;
}

/// Voice mail that waits, by a header element (3GPP TS 23.040, 9.2.3.24.2 and 9.2.3.24.13).
bool HeaderTellsVoiceMail(const sms_pdu::UserDataHeader& header) {
  const BYTE kType = 0x1F;  // 0: voice mail; the other bits say whether to store, and whose it is
  const BYTE kEnhancedVoiceMail = 0x23;
  const BYTE kDeleteConfirmation = 0x01;
  bool waits = false;
  sms_pdu::HeaderElement element;
  for (std::size_t position = 0; sms_pdu::NextElement(header, &position, &element);) {
    const bool simple = element.id == sms_pdu::kIeSpecialIndication && element.length == 2 &&
                        (element.data[0] & kType) == 0 && element.data[1] > 0;
    const bool enhanced =
        element.id == kEnhancedVoiceMail && element.length > 0 && (element.data[0] & kDeleteConfirmation) == 0;
    waits = waits || simple || enhanced;
  }
  return waits;
}

bool IsVoiceMail(const sms_pdu::Deliver& message) {
  const sms_pdu::DataCoding coding = sms_pdu::ParseDataCoding(message.userData.dcs);
  return (coding.indication && coding.indicationActive && coding.waiting == sms_pdu::Waiting::VoiceMail) ||
         HeaderTellsVoiceMail(message.userData.header) || message.protocolId == kReturnCall;
}

UTTime TimeBy(const ReadRules& rules, const sms_pdu::TimeStamp& time) {
  return rules.bNetworkTime ? ToNetworkTime(time) : ToLocalTime(time);
}

bool ReadDeliver(const BYTE* octets, std::size_t size, const ReadRules& rules, SMReadRecord& record) {
  sms_pdu::Deliver message;
  if (sms_pdu::DecodeDeliver(octets, size, &message) != sms_pdu::PduError::None) {
    return false;
  }
  record.stTime = TimeBy(rules, message.time);
  CopyAscii(message.originator, record.szAddress);
  CopyContent(message.userData, record);
  CopyLongMessage(message.userData, record);
  if (ReadMmsNotification(message.userData, rules, record)) {
    record.enType = SMS_IDENTIFYER_MMS_NOTIFY;
  } else if (IsVoiceMail(message)) {
    record.enType = SMS_IDENTIFYER_VOICE_MAIL;
  }
  const int messageClass = sms_pdu::ParseDataCoding(message.userData.dcs).messageClass;
  record.enSmClass = messageClass >= 0 ? static_cast<SMS_CLASS>(messageClass) : SMS_CLASS_INVALID;
  record.enReplyPath = message.replyPath ? SMS_REPLY_PATH_SOURCE_SM_CENTER_ADDR : SMS_REPLY_PATH_LOCAL_SM_CENTER_ADDR;
  return true;
}

/// The first unit of a report's content tells the outcome: 0 delivered, else the status of the network.
bool ReadStatusReport(const BYTE* octets, std::size_t size, const ReadRules& rules, SMReadRecord& record) {
  sms_pdu::StatusReport report;
  if (sms_pdu::DecodeStatusReport(octets, size, &report) != sms_pdu::PduError::None) {
    return false;
  }
  record.enType = SMS_IDENTIFYER_REPORT;
  record.stTime = TimeBy(rules, report.dischargeTime);
  CopyAscii(report.recipient, record.szAddress);
  std::fill(std::begin(record.wszContent), std::end(record.wszContent), u'\0');
  if (sms_pdu::OutcomeOf(report.status) != sms_pdu::Outcome::Delivered) {
    record.wszContent[0] = report.status;
    record.dwLength = 1;
  }
  return true;
}

bool ReadSubmit(const BYTE* octets, std::size_t size, SMReadRecord& record) {
  sms_pdu::Submit message;
  if (sms_pdu::DecodeSubmit(octets, size, &message) != sms_pdu::PduError::None) {
    return false;
  }
  CopyAscii(message.destination, record.szAddress);
  CopyContent(message.userData, record);
  CopyLongMessage(message.userData, record);
  return true;
}

bool ReadTpdu(const BYTE* octets, std::size_t size, const ReadRules& rules, SMReadRecord& record) {
  if (size == 0) {
    return false;
  }
  if (record.enSMStat == SMS_STAT_UNSENT || record.enSMStat == SMS_STAT_SENT) {
    return ReadSubmit(octets, size, record);
  }
  return sms_pdu::TypeTowardsDevice(octets[0]) == sms_pdu::TpduType::StatusReport
             ? ReadStatusReport(octets, size, rules, record)
             : ReadDeliver(octets, size, rules, record);
}

/// What a modem writes: the service centre in front of the transfer PDU.
struct Line {
  BYTE octets[sms_pdu::kPduOctets] = {};
  std::size_t size = 0;
  std::size_t front = 0;  // octets of the service centre
  sms_pdu::Address centre;
};

bool Split(const std::string& hex, Line& out) {
  unsigned defects = 0;
  return sms_pdu::HexToOctets(hex.data(), hex.size(), out.octets, sizeof out.octets, &out.size) ==
             sms_pdu::PduError::None &&
         sms_pdu::DecodeServiceCentre(out.octets, out.size, &out.centre, &out.front, &defects) ==
             sms_pdu::PduError::None;
}

void KeepAsText(const std::string& hex, SMReadRecord& record) {
  std::fill(std::begin(record.wszContent), std::end(record.wszContent), u'\0');
  record.dwLength = static_cast<DWORD>(std::min<std::size_t>(hex.size(), 160));
  std::copy_n(hex.begin(), record.dwLength, record.wszContent);
}

CBSMessage PageOf(const sms_pdu::BroadcastPage& read) {
  CBSMessage page = {};
  page.SerialNumber = read.serial;
  page.MessageId = read.messageId;
  page.Sequence = read.page;
  page.TotalNumber = read.pages;
  std::copy_n(read.text, read.textLength, page.wszContent);
  std::size_t octets = read.octetCount;
  while (octets > 0 && read.octets[octets - 1] == 0) {
    --octets;  // fills the page up
  }
  std::copy_n(read.octets, octets, page.wszContent);  // one unit an octet; there is no text then
  std::replace(page.wszContent, page.wszContent + std::max<std::size_t>(read.textLength, octets), u'\0', kNull);
  return page;
}

sms_pdu::PduError FillUserData(const SMS_PARAM& part, sms_pdu::UserData& data) {
  data.dcs = DcsOf(part.cDCS);
  const std::size_t length = static_cast<std::size_t>(std::clamp(part.iContentLen, 0, 160));
  if (part.bLongSms) {
    sms_pdu::Concatenation place;
    place.reference = part.stLongSMS_info.btMR;
    place.total = part.stLongSMS_info.btTotalPack;
    place.sequence = part.stLongSMS_info.btPack;
    sms_pdu::AddConcatenation(&data.header, place);
  }
  if (data.dcs == 0) {
    return sms_pdu::SetNationalText(&data, part.wszContent, length, part.stSMS_NLI);
  }
  if (data.dcs != kDcs8Bit) {
    return sms_pdu::SetText(&data, part.wszContent, length);
  }
  BYTE octets[160];
  for (std::size_t unit = 0; unit < length; ++unit) {
    const VELK_wchar_t value = part.wszContent[unit] == kNull ? u'\0' : part.wszContent[unit];
    if (value > 0xFF) {
      return sms_pdu::PduError::UnencodableCharacter;
    }
    octets[unit] = static_cast<BYTE>(value);
  }
  return sms_pdu::SetOctets(&data, octets, length);
}

sms_pdu::PduError MakeLine(const char* centre, const BYTE* tpdu, std::size_t size, PduLine& out) {
  sms_pdu::Address address;
  BYTE octets[sms_pdu::kPduOctets];
  std::size_t front = 0;
  sms_pdu::PduError error = sms_pdu::MakeAddress(centre, &address);
  if (error == sms_pdu::PduError::None) {
    error = sms_pdu::EncodeServiceCentre(address, octets, sizeof octets, &front);
  }
  if (error != sms_pdu::PduError::None) {
    return error;
  }
  std::memcpy(octets + front, tpdu, size);
  char hex[2 * sms_pdu::kPduOctets + 1];
  sms_pdu::OctetsToHex(octets, front + size, hex);
  out.hex = hex;
  out.tpduOctets = size;
  return error;
}

template <std::size_t Room>
std::string Ascii(const char (&field)[Room]) {
  return std::string(field, strnlen(field, Room));
}

}  // namespace

UTTime ToNetworkTime(const sms_pdu::TimeStamp& time) {
  return UTTime{time.year, time.month, time.day, time.hour, time.minute, time.second};
}

UTTime ToLocalTime(const sms_pdu::TimeStamp& time) {
  UTTime local;
  if (time.year == 0) {
    return local;
  }
  std::tm calendar = {};
  calendar.tm_year = time.year - 1900;
  calendar.tm_mon = time.month - 1;
  calendar.tm_mday = time.day;
  calendar.tm_hour = time.hour;
  calendar.tm_min = time.minute;
  calendar.tm_sec = time.second;
  const std::time_t instant = timegm(&calendar) - time.zoneQuarters * 15 * 60;
  if (localtime_r(&instant, &calendar) == nullptr) {
    return local;
  }
  local.wYear = static_cast<WORD>(calendar.tm_year + 1900);
  local.btMonth = static_cast<BYTE>(calendar.tm_mon + 1);
  local.btDay = static_cast<BYTE>(calendar.tm_mday);
  local.btHour = static_cast<BYTE>(calendar.tm_hour);
  local.btMinute = static_cast<BYTE>(calendar.tm_min);
  local.btSecond = static_cast<BYTE>(calendar.tm_sec);
  return local;
}

sms_pdu::TimeStamp FromLocalTime(const UTTime& local) {
  sms_pdu::TimeStamp time{local.wYear, local.btMonth, local.btDay, local.btHour, local.btMinute, local.btSecond, 0};
  std::tm calendar = {};
  calendar.tm_year = local.wYear - 1900;
  calendar.tm_mon = local.btMonth - 1;
  calendar.tm_mday = local.btDay;
  calendar.tm_hour = local.btHour;
  calendar.tm_min = local.btMinute;
  calendar.tm_sec = local.btSecond;
  calendar.tm_isdst = -1;
  if (local.wYear != 0 && std::mktime(&calendar) != -1) {
    time.zoneQuarters = static_cast<std::int8_t>(calendar.tm_gmtoff / (15 * 60));
  }
  return time;
}

SMReadRecord ReadPdu(const std::string& hex, SMS_STAT enStat, const ReadRules& rules) {
  SMReadRecord record;
  record.enSMStat = enStat;
  Line line;
  if (Split(hex, line) && ReadTpdu(line.octets + line.front, line.size - line.front, rules, record)) {
    CopyAscii(line.centre, record.szSCNum);
  } else {
    KeepAsText(hex, record);
  }
  return record;
}

bool ToLine(const std::string& hex, PduLine& out) {
  Line line;
  if (!Split(hex, line) || line.size == line.front) {
    return false;
  }
  out.hex = hex;
  out.tpduOctets = line.size - line.front;
  return true;
}

std::vector<CBSMessage> ReadPages(const std::string& hex) {
  const std::size_t kMostOctets = 7 + sms_pdu::kBroadcastPages * (sms_pdu::kPageContentOctets + 1);
  BYTE octets[kMostOctets];
  std::size_t size = 0;
  sms_pdu::BroadcastPage read[sms_pdu::kBroadcastPages];
  std::size_t count = 1;
  sms_pdu::PduError error = sms_pdu::HexToOctets(hex.data(), hex.size(), octets, sizeof octets, &size);
  if (error == sms_pdu::PduError::None && size <= sms_pdu::kPageOctets) {
    error = sms_pdu::DecodePage(octets, size, read);
  } else if (error == sms_pdu::PduError::None) {
    error = sms_pdu::DecodeBroadcastMessage(octets, size, read, sms_pdu::kBroadcastPages, &count);
  }
  std::vector<CBSMessage> pages;
  if (error == sms_pdu::PduError::None) {
    std::transform(read, read + count, std::back_inserter(pages), PageOf);
  }
  return pages;
}

sms_pdu::PduError MakeSubmit(const SMS_PARAM& part, const WMSConfigurationType& config, PduLine& out) {
  sms_pdu::Submit message;
  message.statusReportRequest = config.bEnableStatusReport;
  message.replyPath = config.bEnableReplyPath;
  message.validity.format = sms_pdu::ValidityFormat::Relative;
  message.validity.relative = static_cast<BYTE>(std::min<DWORD>(config.dwValidity, 255));
  sms_pdu::PduError error = sms_pdu::MakeAddress(Ascii(part.szAddress).c_str(), &message.destination);
  if (error == sms_pdu::PduError::None) {
    error = FillUserData(part, message.userData);
  }
  BYTE tpdu[sms_pdu::kTpduOctets];
  std::size_t size = 0;
  if (error == sms_pdu::PduError::None) {
    error = sms_pdu::EncodeSubmit(message, tpdu, sizeof tpdu, &size);
  }
  out.bBeginsRun = part.bLongSms && part.stLongSMS_info.btPack == 1 && part.stLongSMS_info.btTotalPack > 1;
  // The modem keeps the service centre itself; one of its own in the part is stronger.
  return error == sms_pdu::PduError::None ? MakeLine(Ascii(part.szSCNum).c_str(), tpdu, size, out) : error;
}

sms_pdu::PduError MakeDeliver(const SMS_PARAM& part, PduLine& out) {
  sms_pdu::Deliver message;
  message.time = FromLocalTime(part.utTime);
  sms_pdu::PduError error = sms_pdu::MakeAddress(Ascii(part.szAddress).c_str(), &message.originator);
  if (error == sms_pdu::PduError::None) {
    error = FillUserData(part, message.userData);
  }
  BYTE tpdu[sms_pdu::kTpduOctets];
  std::size_t size = 0;
  if (error == sms_pdu::PduError::None) {
    error = sms_pdu::EncodeDeliver(message, tpdu, sizeof tpdu, &size);
  }
  return error == sms_pdu::PduError::None ? MakeLine(Ascii(part.szSCNum).c_str(), tpdu, size, out) : error;
}

}  // namespace modem
