#include "MmsPush.h"

#include <algorithm>
#include <cctype>
#include <string>

namespace modem {

namespace {

const BYTE kPush = 0x06;
const BYTE kConfirmedPush = 0x07;
const std::size_t kMmsMessage = 0x3E;  // content type, as WAP assigns the numbers
const std::size_t kApplicationId = 0x2F;
const std::size_t kMmsUserAgent = 0x04;
const char kMmsMessageName[] = "application/vnd.wap.mms-message";
const char kApplicationIdName[] = "x-wap-application-id";
const char kMmsUserAgentName[] = "x-wap-application:mms.ua";
const std::size_t kRemembered = 32;

/// A number or a text; a number stands for a text that WAP has numbered.
struct Token {
  bool bText = false;
  std::size_t number = 0;
  std::string text;  // lower case

  bool Is(std::size_t knownNumber, const char* knownText) const {
    return bText ? text == knownText : number == knownNumber;
  }
};

/// Steps through octets; behind the end everything fails.
class COctets {
public:
  COctets(const BYTE* begin, const BYTE* end) : m_at(begin), m_end(end) {}

  const BYTE* At() const { return m_at; }
  std::size_t Left() const { return static_cast<std::size_t>(m_end - m_at); }
  bool IsEnd() const { return m_at == m_end; }

  bool Octet(BYTE& octet) {
    if (IsEnd()) {
      return false;
    }
    octet = *m_at++;
    return true;
  }
  /// Seven bits an octet, the highest first; the last octet has no continuation bit (8.1.2).
  bool Uintvar(std::size_t& number) {
    const int kMostOctets = 5;
    number = 0;
    BYTE octet = 0x80;
    for (int count = 0; (octet & 0x80) != 0; ++count) {
      if (count == kMostOctets || !Octet(octet)) {
        return false;
      }
      number = number << 7 | (octet & 0x7F);
    }
    return true;
  }
  COctets Part(std::size_t size) {
    const BYTE* const begin = m_at;
    m_at += std::min(size, Left());
    return COctets(begin, m_at);
  }

private:
  const BYTE* m_at;
  const BYTE* m_end;
};

/// Up to a zero octet.
bool ReadText(COctets& octets, std::string& text) {
  BYTE octet = 0;
  text.clear();
  while (octets.Octet(octet)) {
    if (octet == 0) {
      return true;
    }
    text += static_cast<char>(std::tolower(octet));
  }
  return false;
}

bool ReadLongInteger(COctets& octets, std::size_t length, std::size_t& number) {
  BYTE octet = 0;
  for (number = 0; length > 0; --length) {
    if (!octets.Octet(octet)) {
      return false;
    }
    number = number << 8 | octet;
  }
  return true;
}

/// One value of whatever form (8.4.1.2): a short number, a text, or a length with octets.
bool ReadToken(COctets& octets, Token& token, COctets& inner) {
  const BYTE kLengthFollows = 31;
  BYTE first = 0;
  token = Token();
  inner = COctets(nullptr, nullptr);
  if (octets.IsEnd()) {
    return false;
  }
  if (*octets.At() > kLengthFollows && *octets.At() < 0x80) {
    token.bText = true;
    return ReadText(octets, token.text);
  }
  octets.Octet(first);
  if (first >= 0x80) {
    token.number = first & 0x7F;
    return true;
  }
  std::size_t length = first;
  if (first == kLengthFollows && !octets.Uintvar(length)) {
    return false;
  }
  inner = octets.Part(length);
  return true;
}

/// The media type; parameters behind it do not matter here (8.4.2.24).
bool ReadContentType(COctets& octets, Token& type) {
  COctets general(nullptr, nullptr);
  if (!ReadToken(octets, type, general)) {
    return false;
  }
  if (general.IsEnd()) {
    return true;
  }
  COctets number(nullptr, nullptr);
  if (!ReadToken(general, type, number)) {
    return false;
  }
  return number.IsEnd() || ReadLongInteger(number, number.Left(), type.number);
}

/// @return whether the headers address another application than the MMS user agent.
bool IsForAnotherApplication(COctets headers) {
  Token name;
  Token value;
  COctets inner(nullptr, nullptr);
  while (ReadToken(headers, name, inner) && ReadToken(headers, value, inner)) {
    if (!inner.IsEnd()) {
      ReadLongInteger(inner, inner.Left(), value.number);
    }
    if (name.Is(kApplicationId, kApplicationIdName)) {
      return !value.Is(kMmsUserAgent, kMmsUserAgentName);
    }
  }
  return false;
}

}  // namespace

bool ReadWapPush(const BYTE* octets, std::size_t size, WapPush& out) {
  out = WapPush();
  COctets push(octets, octets + size);
  BYTE transaction = 0;
  BYTE type = 0;
  std::size_t length = 0;
  if (!push.Octet(transaction) || !push.Octet(type) || (type != kPush && type != kConfirmedPush) ||
      !push.Uintvar(length)) {
    return false;
  }
  COctets headers = push.Part(length);
  out.headOctets = static_cast<std::size_t>(push.At() - octets);
  Token content;
  out.bMmsNotification = ReadContentType(headers, content) && content.Is(kMmsMessage, kMmsMessageName) &&
                         !IsForAnotherApplication(headers);
  return true;
}

bool CWapPushes::IsMmsPart(const std::string& originator, const sms_pdu::Concatenation& place, bool bFirstSays) {
  const Push push{originator, place.reference, place.total};
  const std::lock_guard<std::mutex> guard(m_lock);
  const auto known = std::find(m_others.begin(), m_others.end(), push);
  if (place.sequence > 1) {
    return known == m_others.end();
  }
  if (known != m_others.end()) {
    m_others.erase(known);  // the reference is used anew
  }
  if (!bFirstSays && place.total > 1) {
    m_others.push_back(push);
  }
  if (m_others.size() > kRemembered) {
    m_others.pop_front();
  }
  return bFirstSays;
}

}  // namespace modem
