// The format of kept dialogues.
#include "DialogueRecord.h"

#include "Hex.h"

#include <charconv>
#include <cstdio>

namespace sms_pdu {
namespace {

const std::size_t kMostDigits = 7;  // of seconds: a third of a year

bool IsPlain(char c) { return c >= ' ' && c <= '~' && c != '<'; }

/// <XX>
bool TakeEscape(const std::string& text, std::size_t* position, std::string* out) {
  BYTE octet = 0;
  std::size_t written = 0;
  if (*position + 4 > text.size() || text[*position + 3] != '>' ||
      HexToOctets(text.data() + *position + 1, 2, &octet, 1, &written) != PduError::None) {
    return false;
  }
  *out += static_cast<char>(octet);
  *position += 4;
  return true;
}

/// 1.250
bool ParseSeconds(const std::string& text, DWORD* milliseconds) {
  const std::size_t point = text.find('.');
  if (point == 0 || point > kMostDigits || point + 4 != text.size()) return false;
  const std::string digits = text.substr(0, point) + text.substr(point + 1);
  if (digits.find_first_not_of("0123456789") != std::string::npos) return false;
  const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), *milliseconds);
  return error == std::errc() && stop == digits.data() + digits.size();
}

}  // namespace

std::string FormatRecordLine(const RecordLine& line) {
  char front[32];
  std::snprintf(front, sizeof front, "%u.%03u %c ", line.milliseconds / 1000, line.milliseconds % 1000,
                line.fromModem ? '<' : '>');
  std::string text = front;
  for (const char c : line.bytes) {
    char escape[8];
    std::snprintf(escape, sizeof escape, "<%02X>", static_cast<unsigned>(static_cast<unsigned char>(c)));
    text += IsPlain(c) ? std::string(1, c) : std::string(escape);
  }
  return text;
}

bool ParseRecordLine(const std::string& text, RecordLine* out) {
  RecordLine line;
  const std::size_t blank = text.find(' ');
  if (blank == std::string::npos || blank + 3 > text.size() || text[blank + 2] != ' ' ||
      (text[blank + 1] != '<' && text[blank + 1] != '>') || !ParseSeconds(text.substr(0, blank), &line.milliseconds)) {
    return false;
  }
  line.fromModem = text[blank + 1] == '<';
  for (std::size_t i = blank + 3; i < text.size();) {
    if (text[i] == '<') {
      if (!TakeEscape(text, &i, &line.bytes)) return false;
    } else if (IsPlain(text[i])) {
      line.bytes += text[i++];
    } else {
      return false;
    }
  }
  *out = line;
  return true;
}

}  // namespace sms_pdu
