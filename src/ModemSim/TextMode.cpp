// Messages in text mode.
#include "TextMode.h"

#include "HexText.h"

#include <algorithm>
#include <cstdio>

namespace modem_sim {
namespace {

std::string Quoted(const std::string& text) { return '"' + text + '"'; }

std::string NumberOf(const sms_pdu::Address& address, CharacterSet set) {
  return Quoted(Encode(set, VELK_wstring(address.text, address.length)));
}

const BYTE* TpduOf(const StoredMessage& message) {
  return message.pdu.data() + (message.pdu.size() - message.tpduLength);
}

bool IsFromComputer(const StoredMessage& message) {
  return message.status == MessageStatus::Unsent || message.status == MessageStatus::Sent;
}

/// Whether the content shows as text, and not as octets (27.005, 3.1, <data>).
bool IsText(BYTE firstOctet, BYTE dcs) {
  const sms_pdu::DataCoding coding = sms_pdu::ParseDataCoding(dcs);
  return coding.coding == sms_pdu::Coding::Gsm7 && !coding.compressed && (firstOctet & kUserDataHeaderBit) == 0;
}

/// What is shown of an SMS-DELIVER or SMS-SUBMIT.
struct Shown {
  sms_pdu::Address party;  // <oa>, <da>
  std::string time;        // <scts>, quoted; an SMS-SUBMIT has none
  std::string validity;    // <vp>
  BYTE protocolId = 0;
  BYTE dcs = 0;
  std::string text;
  std::size_t length = 0;
};

/// TP-UD as it is on the air, behind TP-UDL.
std::string OctetsOf(const StoredMessage& message, std::size_t* length) {
  const BYTE* const tpdu = TpduOf(message);
  const bool submit = IsFromComputer(message);
  std::size_t position = submit ? 2 : 1;
  position += 2U + (tpdu[position] + 1U) / 2;  // the address
  position += 2;                               // TP-PID, TP-DCS
  std::size_t time = sms_pdu::kTimeStampOctets;
  if (submit && FormatOf(tpdu[0]) == sms_pdu::ValidityFormat::None) time = 0;
  if (submit && FormatOf(tpdu[0]) == sms_pdu::ValidityFormat::Relative) time = 1;
  position = std::min(position + time + 1, message.tpduLength);
  *length = message.tpduLength - position;
  return HexOf(tpdu + position, *length);
}

void ShowContent(const StoredMessage& message, const sms_pdu::UserData& userData, CharacterSet set, Shown* out) {
  out->dcs = userData.dcs;
  if (IsText(TpduOf(message)[0], userData.dcs)) {
    out->length = userData.textLength;
    out->text = Encode(set, VELK_wstring(userData.text, userData.textLength));
  } else {
    out->text = OctetsOf(message, &out->length);
  }
}

bool Show(const StoredMessage& message, CharacterSet set, Shown* out) {
  if (IsFromComputer(message)) {
    sms_pdu::Submit submit;
    if (sms_pdu::DecodeSubmit(TpduOf(message), message.tpduLength, &submit) != sms_pdu::PduError::None) return false;
    out->party = submit.destination;
    out->validity = TextOf(submit.validity);
    out->protocolId = submit.protocolId;
    ShowContent(message, submit.userData, set, out);
    return true;
  }
  sms_pdu::Deliver deliver;
  if (sms_pdu::DecodeDeliver(TpduOf(message), message.tpduLength, &deliver) != sms_pdu::PduError::None) return false;
  out->party = deliver.originator;
  out->time = Quoted(TextOf(deliver.time));
  out->protocolId = deliver.protocolId;
  ShowContent(message, deliver.userData, set, out);
  return true;
}

bool IsReport(const StoredMessage& message) {
  return !IsFromComputer(message) && message.tpduLength > 0 &&
         sms_pdu::TypeTowardsDevice(TpduOf(message)[0]) == sms_pdu::TpduType::StatusReport;
}

/// <fo>,<mr>,[<ra>],[<tora>],<scts>,<dt>,<st>
TextLines ShowReport(const StoredMessage& message, CharacterSet set) {
  sms_pdu::StatusReport report;
  TextLines lines;
  lines.hasText = false;
  if (sms_pdu::DecodeStatusReport(TpduOf(message), message.tpduLength, &report) != sms_pdu::PduError::None) {
    lines.values = std::to_string(TpduOf(message)[0]) + ",0,,,,,";
    return lines;
  }
  lines.values = std::to_string(TpduOf(message)[0]) + ',' + std::to_string(report.reference) + ',' +
                 NumberOf(report.recipient, set) + ',' + std::to_string(TypeOf(report.recipient)) + ',' +
                 Quoted(TextOf(report.time)) + ',' + Quoted(TextOf(report.dischargeTime)) + ',' +
                 std::to_string(report.status);
  return lines;
}

/// ,<sca>,<tosca>
std::string CentreOf(const StoredMessage& message, CharacterSet set) {
  sms_pdu::Address centre;
  std::size_t consumed = 0;
  unsigned defects = 0;
  sms_pdu::DecodeServiceCentre(message.pdu.data(), message.pdu.size(), &centre, &consumed, &defects);
  return ',' + NumberOf(centre, set) + ',' + std::to_string(TypeOf(centre));
}

/// A message that cannot be taken apart shows its TPDU, so that nothing is lost.
TextLines ShowDamaged(const StoredMessage& message) {
  return {"\"\",,", true, HexOf(TpduOf(message), message.tpduLength)};
}

/// ,<tooa>,<fo>,<pid>,<dcs>[,<vp>],<sca>,<tosca>,<length>
std::string AllValues(const StoredMessage& message, const Shown& shown, CharacterSet set) {
  std::string values = ',' + std::to_string(TypeOf(shown.party)) + ',' + std::to_string(TpduOf(message)[0]) + ',' +
                       std::to_string(shown.protocolId) + ',' + std::to_string(shown.dcs);
  if (IsFromComputer(message)) values += ',' + shown.validity;
  return values + CentreOf(message, set) + ',' + std::to_string(shown.length);
}

/// <oa>,[<alpha>],<scts>[,...] of a received message; the <da>,[<alpha>][,...] of one of the computer.
TextLines ShowOpened(const StoredMessage& message, const TextView& view) {
  Shown shown;
  if (!Show(message, view.set, &shown)) return ShowDamaged(message);
  TextLines lines;
  lines.values = NumberOf(shown.party, view.set) + ',';
  if (!IsFromComputer(message)) lines.values += ',' + shown.time;
  if (view.header) lines.values += AllValues(message, shown, view.set);
  lines.text = shown.text;
  return lines;
}

/// <oa/da>,[<alpha>],[<scts>][,<tooa/toda>,<length>]
TextLines ShowInList(const StoredMessage& message, const TextView& view) {
  Shown shown;
  if (!Show(message, view.set, &shown)) return ShowDamaged(message);
  TextLines lines;
  lines.values = NumberOf(shown.party, view.set) + ",," + shown.time;
  if (view.header) lines.values += ',' + std::to_string(TypeOf(shown.party)) + ',' + std::to_string(shown.length);
  lines.text = shown.text;
  return lines;
}

TextLines WithStatus(const StoredMessage& message, TextLines lines) {
  lines.values = Quoted(TextOf(message.status)) + ',' + lines.values;
  return lines;
}

std::string WithoutLineEnds(const std::string& typed) {
  std::string digits = typed;
  digits.erase(std::remove(digits.begin(), digits.end(), '\n'), digits.end());
  return digits;
}

/// Puts octets behind a TPDU that was encoded with no content.
bool AppendOctets(const std::string& digits, const TextParameters& parameters, std::vector<BYTE>* tpdu) {
  BYTE octets[sms_pdu::kUserDataOctets];
  std::size_t size = 0;
  if (sms_pdu::HexToOctets(digits.data(), digits.size(), octets, sizeof octets, &size) != sms_pdu::PduError::None) {
    return false;
  }
  const bool header = (parameters.firstOctet & kUserDataHeaderBit) != 0;
  if (header && (size == 0 || octets[0] >= size)) return false;
  const sms_pdu::DataCoding coding = sms_pdu::ParseDataCoding(parameters.dcs);
  const bool septets = coding.coding == sms_pdu::Coding::Gsm7 && !coding.compressed;
  tpdu->back() = static_cast<BYTE>(septets ? size * 8 / 7 : size);
  tpdu->insert(tpdu->end(), octets, octets + size);
  if (header) tpdu->front() |= kUserDataHeaderBit;
  return true;
}

/// Encodes a message of either kind and puts the content in.
template <typename Message>
bool Make(Message message, sms_pdu::PduError (*encode)(const Message&, BYTE*, std::size_t, std::size_t*),
          const TextParameters& parameters, CharacterSet set, const std::string& typed, StoredMessage* out) {
  message.protocolId = parameters.protocolId;
  message.userData.dcs = parameters.dcs;
  const bool isText = IsText(parameters.firstOctet, parameters.dcs);
  if (isText) {
    VELK_wstring text;
    const bool lines = set == CharacterSet::Gsm || set == CharacterSet::Ira;
    if (!Decode(set, lines ? typed : WithoutLineEnds(typed), &text) ||
        sms_pdu::SetText(&message.userData, text.data(), text.size()) != sms_pdu::PduError::None) {
      return false;
    }
  }
  BYTE octets[sms_pdu::kTpduOctets];
  std::size_t size = 0;
  if (encode(message, octets, sizeof octets, &size) != sms_pdu::PduError::None) return false;
  std::vector<BYTE> tpdu(octets, octets + size);
  if (!isText && !AppendOctets(WithoutLineEnds(typed), parameters, &tpdu)) return false;
  out->tpduLength = tpdu.size();
  out->pdu.assign(1, 0);  // the device's own service centre
  out->pdu.insert(out->pdu.end(), tpdu.begin(), tpdu.end());
  return true;
}

}  // namespace

const char* TextOf(MessageStatus status) {
  static const char* const kNames[] = {"REC UNREAD", "REC READ", "STO UNSENT", "STO SENT"};
  return kNames[static_cast<std::size_t>(status)];
}

std::string TextOf(const sms_pdu::TimeStamp& time) {
  char text[40];
  std::snprintf(text, sizeof text, "%02d/%02d/%02d,%02d:%02d:%02d%c%02d", time.year % 100, time.month, time.day,
                time.hour, time.minute, time.second, time.zoneQuarters < 0 ? '-' : '+',
                time.zoneQuarters < 0 ? -time.zoneQuarters : time.zoneQuarters);
  return text;
}

std::string TextOf(const sms_pdu::Validity& validity) {
  switch (validity.format) {
    case sms_pdu::ValidityFormat::None:
      return {};
    case sms_pdu::ValidityFormat::Relative:
      return std::to_string(validity.relative);
    case sms_pdu::ValidityFormat::Absolute:
      return Quoted(TextOf(validity.absolute));
    case sms_pdu::ValidityFormat::Enhanced:
      return Quoted(HexOf(validity.enhanced, sizeof validity.enhanced));
  }
  return {};
}

bool ParseTime(const std::string& text, sms_pdu::TimeStamp* out) {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, zone = 0;
  std::sscanf(text.c_str(), "%2d/%2d/%2d,%2d:%2d:%2d%3d", &year, &month, &day, &hour, &minute, &second, &zone);
  sms_pdu::TimeStamp time;
  time.year = static_cast<WORD>(2000 + year);
  time.month = static_cast<BYTE>(month);
  time.day = static_cast<BYTE>(day);
  time.hour = static_cast<BYTE>(hour);
  time.minute = static_cast<BYTE>(minute);
  time.second = static_cast<BYTE>(second);
  time.zoneQuarters = static_cast<std::int8_t>(zone);
  BYTE octets[sms_pdu::kTimeStampOctets];
  sms_pdu::EncodeTimeStamp(time, octets);  // zeros, which read as no time, when there is no such day
  return sms_pdu::DecodeTimeStamp(octets, out) && TextOf(*out) == text;
}

int TypeOf(const sms_pdu::Address& address) { return 0x80 | address.typeOfNumber << 4 | address.numberingPlan; }

TextLines ListedText(const StoredMessage& message, const TextView& view) {
  return WithStatus(message, IsReport(message) ? ShowReport(message, view.set) : ShowInList(message, view));
}

TextLines ReadText(const StoredMessage& message, const TextView& view) {
  return WithStatus(message, ArrivingText(message, view));
}

TextLines ArrivingText(const StoredMessage& message, const TextView& view) {
  return IsReport(message) ? ShowReport(message, view.set) : ShowOpened(message, view);
}

TextLines PageText(const sms_pdu::BroadcastPage& page, const std::vector<BYTE>& octets, const TextView& view) {
  TextLines lines;
  lines.values = std::to_string(page.serial) + ',' + std::to_string(page.messageId) + ',' + std::to_string(page.dcs) +
                 ',' + std::to_string(page.page) + ',' + std::to_string(page.pages);
  const std::size_t front = sms_pdu::kPageOctets - sms_pdu::kPageContentOctets;
  const sms_pdu::PageCoding coding = sms_pdu::ParsePageCoding(page.dcs);
  lines.text = coding.coding == sms_pdu::Coding::Gsm7 && !coding.compressed
                   ? Encode(view.set, VELK_wstring(page.text, page.textLength))
                   : HexOf(octets.data() + front, octets.size() - front);
  return lines;
}

bool MakeSubmit(const sms_pdu::Address& to, const TextParameters& parameters, CharacterSet set,
                const std::string& typed, StoredMessage* out) {
  sms_pdu::Submit submit;
  submit.destination = to;
  submit.rejectDuplicates = (parameters.firstOctet & 0x04) != 0;
  submit.statusReportRequest = (parameters.firstOctet & 0x20) != 0;
  submit.replyPath = (parameters.firstOctet & 0x80) != 0;
  submit.validity = parameters.validity;
  submit.validity.format = FormatOf(parameters.firstOctet);
  return Make(submit, sms_pdu::EncodeSubmit, parameters, set, typed, out);
}

bool MakeDeliver(const sms_pdu::Address& from, const sms_pdu::TimeStamp& time, const TextParameters& parameters,
                 CharacterSet set, const std::string& typed, StoredMessage* out) {
  sms_pdu::Deliver deliver;
  deliver.originator = from;
  deliver.time = time;
  return Make(deliver, sms_pdu::EncodeDeliver, parameters, set, typed, out);
}

}  // namespace modem_sim
