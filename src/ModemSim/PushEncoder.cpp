// M-Notification.ind inside a connectionless WSP push.
#include "PushEncoder.h"

namespace modem_sim {
namespace {

// OMA-WAP-MMS-ENC, 7.3: fields.
const BYTE kContentLocation = 0x83;
const BYTE kExpiry = 0x88;
const BYTE kFrom = 0x89;
const BYTE kMessageClass = 0x8A;
const BYTE kMessageType = 0x8C;
const BYTE kVersion = 0x8D;
const BYTE kMessageSize = 0x8E;
const BYTE kSubject = 0x96;
const BYTE kTransaction = 0x98;

typedef std::vector<BYTE> Octets;

/// OMA-WAP-TS-WSP, 8.4.2.1: a text that starts beyond ASCII is quoted.
void PutText(Octets* out, const std::string& text) {
  if (!text.empty() && static_cast<unsigned char>(text[0]) >= 0x80) out->push_back(0x7F);
  out->insert(out->end(), text.begin(), text.end());
  out->push_back(0);
}

void PutLongInteger(Octets* out, DWORD value) {
  Octets octets;
  do {
    octets.insert(octets.begin(), static_cast<BYTE>(value & 0xFF));
    value >>= 8;
  } while (value != 0);
  out->push_back(static_cast<BYTE>(octets.size()));
  out->insert(out->end(), octets.begin(), octets.end());
}

/// Value-length: one octet up to 30, else 31 and a variable-length integer.
void PutValue(Octets* out, const Octets& value) {
  if (value.size() <= 30) {
    out->push_back(static_cast<BYTE>(value.size()));
  } else {
    out->push_back(31);
    Octets length = {static_cast<BYTE>(value.size() & 0x7F)};
    for (std::size_t rest = value.size() >> 7; rest != 0; rest >>= 7) {
      length.insert(length.begin(), static_cast<BYTE>(0x80 | (rest & 0x7F)));
    }
    out->insert(out->end(), length.begin(), length.end());
  }
  out->insert(out->end(), value.begin(), value.end());
}

void PutFrom(Octets* out, const std::string& from) {
  const BYTE kAddressPresent = 0x80;
  const BYTE kInsertAddress = 0x81;
  Octets value = {from.empty() ? kInsertAddress : kAddressPresent};
  if (!from.empty()) PutText(&value, from + "/TYPE=PLMN");
  out->push_back(kFrom);
  PutValue(out, value);
}

/// An encoded string in UTF-8.
void PutSubject(Octets* out, const std::string& subject) {
  const BYTE kUtf8 = 0xEA;
  Octets value = {kUtf8};
  PutText(&value, subject);
  out->push_back(kSubject);
  PutValue(out, value);
}

void PutExpiry(Octets* out) {
  const BYTE kRelative = 0x81;
  const DWORD kThreeDays = 259200;
  Octets value = {kRelative};
  PutLongInteger(&value, kThreeDays);
  out->push_back(kExpiry);
  PutValue(out, value);
}

}  // namespace

std::vector<BYTE> EncodePush(const MmsNotification& notification) {
  const Octets headers = {0xBE,                                  // application/vnd.wap.mms-message
                          0xAF, 0x84};                           // X-Wap-Application-Id: MMS user agent
  Octets out = {0x01, 0x06, static_cast<BYTE>(headers.size())};  // transaction, push, length of the headers
  out.insert(out.end(), headers.begin(), headers.end());
  out.insert(out.end(), {kMessageType, 0x82, kTransaction});  // M-Notification.ind
  PutText(&out, notification.transaction);
  out.insert(out.end(), {kVersion, 0x90});  // 1.0
  PutFrom(&out, notification.from);
  if (!notification.subject.empty()) PutSubject(&out, notification.subject);
  out.insert(out.end(), {kMessageClass, 0x80});  // personal
  out.push_back(kMessageSize);
  PutLongInteger(&out, notification.size);
  PutExpiry(&out);
  out.push_back(kContentLocation);
  PutText(&out, notification.url);
  return out;
}

}  // namespace modem_sim
