// Messages as text mode shows and takes them (3GPP TS 27.005, 3).
#pragma once

#include "CellBroadcast.h"
#include "CharacterSet.h"
#include "MessageStore.h"
#include "SmsPdu.h"

#include <string>

namespace modem_sim {

const BYTE kUserDataHeaderBit = 0x40;  // TP-UDHI of the first octet

/// TP-VPF.
inline sms_pdu::ValidityFormat FormatOf(BYTE firstOctet) {
  return static_cast<sms_pdu::ValidityFormat>(firstOctet >> 3 & 0x03);
}

/// What text mode knows about a message besides its text: +CSMP.
struct TextParameters {
  BYTE firstOctet = 17;                                                           // SMS-SUBMIT with a relative validity
  sms_pdu::Validity validity = {sms_pdu::ValidityFormat::Relative, 167, {}, {}};  // 24 hours
  BYTE protocolId = 0;
  BYTE dcs = 0;
};

/// How messages are shown.
struct TextView {
  CharacterSet set = CharacterSet::Gsm;
  bool header = false;  // +CSDH=1: all values
};

/// The values behind "+CMGR: " and the like; a status report has no text.
struct TextLines {
  std::string values;
  bool hasText = true;
  std::string text;
};

/// Shown by +CMGL (without the index), by +CMGR, and as it arrives, by +CMT and +CDS.
TextLines ListedText(const StoredMessage& message, const TextView& view);
TextLines ReadText(const StoredMessage& message, const TextView& view);
TextLines ArrivingText(const StoredMessage& message, const TextView& view);
/// Shown by +CBM; other alphabets than the GSM one as the octets they are.
/// @param octets  the whole page.
TextLines PageText(const sms_pdu::BroadcastPage& page, const std::vector<BYTE>& octets, const TextView& view);

/// <stat> in text mode, without quotation marks.
const char* TextOf(MessageStatus status);
/// <scts>, <dt> and an absolute <vp>: "yy/MM/dd,hh:mm:ss±zz".
std::string TextOf(const sms_pdu::TimeStamp& time);
/// <vp>, quoted unless it is relative; empty: none.
std::string TextOf(const sms_pdu::Validity& validity);
/// @return false: no such time.
bool ParseTime(const std::string& text, sms_pdu::TimeStamp* out);
/// Octet 9.1.2.5 of 3GPP TS 23.040, <toda> and the like.
int TypeOf(const sms_pdu::Address& address);

/// A message for a number. typed: text in the character set; hexadecimal octets when the coding is not the GSM
/// alphabet or the first octet announces a header, which then stands in front.
/// @return false: it does not fit, or typed is no such text.
bool MakeSubmit(const sms_pdu::Address& to, const TextParameters& parameters, CharacterSet set,
                const std::string& typed, StoredMessage* out);
/// A message as if it had been received.
bool MakeDeliver(const sms_pdu::Address& from, const sms_pdu::TimeStamp& time, const TextParameters& parameters,
                 CharacterSet set, const std::string& typed, StoredMessage* out);

}  // namespace modem_sim
