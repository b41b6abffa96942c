// What in a dialogue is nobody else's business.
#include "DialogueRecord.h"
#include "SmsPdu.h"

#include <algorithm>

namespace sms_pdu {
namespace {

const std::string kPrompt = "> ";
const char kEndsOfText[] = "\x1A\x1B";
const std::size_t kShortestPdu = 14;  // hexadecimal digits
const std::size_t kNumberDigits = 3;  // in a quoted string
const std::size_t kLongNumber = 10;   // bare digits
const VELK_wchar_t kOneSeptet = u'x';
const VELK_wchar_t kTwoSeptets = u'\u20AC';

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || static_cast<unsigned char>(c) >= 0x80;
}
bool StartsWith(const std::string& text, const std::string& front) { return text.compare(0, front.size(), front) == 0; }

bool IsHex(const std::string& text) {
  return !text.empty() && text.size() % 2 == 0 && text.find_first_not_of("0123456789ABCDEFabcdef") == std::string::npos;
}

std::string MaskedText(std::string text) {
  if (IsHex(text)) return std::string(text.size(), '0');
  for (char& c : text) c = IsDigit(c) ? '0' : IsLetter(c) ? 'x' : c;
  return text;
}

void MaskAddress(Address* address) {
  for (std::size_t i = 0; i < address->length; ++i) {
    if (address->text[i] == u'+') continue;
    address->text[i] = address->typeOfNumber == kTonAlphanumeric ? u'x' : u'0';
  }
}

void MaskContent(UserData* content) {
  const bool gsm7 = ParseDataCoding(content->dcs).coding == Coding::Gsm7;
  const SMS_NLI tables = FindTables(content->header);
  for (std::size_t i = 0; i < content->textLength; ++i) {
    BYTE septets[2];
    std::size_t count = 1;
    if (gsm7) TextToSeptets(content->text + i, 1, tables, septets, sizeof septets, &count);
    content->text[i] = count == 2 ? kTwoSeptets : kOneSeptet;
  }
  std::fill(content->octets, content->octets + content->octetCount, BYTE{0});
}

PduError MaskTpdu(const BYTE* octets, std::size_t size, BYTE* out, std::size_t capacity, std::size_t* written) {
  const BYTE kTypeBits = 0x03;
  const BYTE kSubmit = 0x01;
  const BYTE kStatusReport = 0x02;
  Deliver deliver;
  Submit submit;
  StatusReport report;
  PduError error = PduError::None;
  switch (octets[0] & kTypeBits) {
    case kSubmit:
      error = DecodeSubmit(octets, size, &submit);
      MaskAddress(&submit.destination);
      MaskContent(&submit.userData);
      return error == PduError::None ? EncodeSubmit(submit, out, capacity, written) : error;
    case kStatusReport:
      error = DecodeStatusReport(octets, size, &report);
      MaskAddress(&report.recipient);
      MaskContent(&report.userData);
      return error == PduError::None ? EncodeStatusReport(report, out, capacity, written) : error;
    default:
      error = DecodeDeliver(octets, size, &deliver);
      MaskAddress(&deliver.originator);
      MaskContent(&deliver.userData);
      return error == PduError::None ? EncodeDeliver(deliver, out, capacity, written) : error;
  }
}

/// A message of the same length; all zeros when it cannot be one.
std::string MaskedPdu(const std::string& digits) {
  const std::string zeros(digits.size(), '0');
  BYTE octets[kPduOctets];
  BYTE masked[kPduOctets];
  std::size_t size = 0;
  std::size_t front = 0;
  std::size_t frontWritten = 0;
  std::size_t written = 0;
  unsigned defects = kDefectNone;
  Address centre;
  if (HexToOctets(digits.data(), digits.size(), octets, sizeof octets, &size) != PduError::None ||
      DecodeServiceCentre(octets, size, &centre, &front, &defects) != PduError::None || front >= size) {
    return zeros;
  }
  MaskAddress(&centre);
  if (EncodeServiceCentre(centre, masked, sizeof masked, &frontWritten) != PduError::None || frontWritten != front ||
      MaskTpdu(octets + front, size - front, masked + front, sizeof masked - front, &written) != PduError::None ||
      front + written != size) {
    return zeros;
  }
  std::string text(2 * size + 1, '\0');
  OctetsToHex(masked, size, text.data());
  text.pop_back();
  return text;
}

/// Names and texts stand in quotation marks there, and secrets without.
bool HoldsText(const std::string& line) {
  static const char* const kCommands[] = {"+CPB",   "+CUSD", "+CNUM",   "+CPIN=",  "+CPWD",
                                          "+CLCK=", "+CLIP", "+CMGL: ", "+CMGR: ", "+CMT: "};
  return std::any_of(std::begin(kCommands), std::end(kCommands),
                     [&](const char* command) { return line.find(command) != std::string::npos; });
}

bool HoldsNumber(const std::string& text) {
  return std::count_if(text.begin(), text.end(), IsDigit) >= static_cast<std::ptrdiff_t>(kNumberDigits);
}

/// Words of the standards; they say nothing about a person.
bool IsKeyword(const std::string& text) {
  static const char* const kWords[] = {"SM", "ME",  "MT",       "BM",         "SR",       "SC",
                                       "ON", "ALL", "REC READ", "REC UNREAD", "STO SENT", "STO UNSENT"};
  return std::any_of(std::begin(kWords), std::end(kWords), [&](const char* word) { return text == word; });
}

std::string MaskedBare(const std::string& text, bool all) {
  std::string out = text;
  for (std::size_t i = 0; i < out.size();) {
    std::size_t end = i;
    while (end < out.size() && IsDigit(out[end])) ++end;
    const bool dialled = all || (i > 0 && out[i - 1] == '+');
    if (end - i >= (dialled ? kNumberDigits : kLongNumber))
      std::fill_n(out.begin() + static_cast<std::ptrdiff_t>(i), end - i, '0');
    i = end + 1;
  }
  return out;
}

bool Dials(const std::string& line) {
  const auto is = [](char c, char upper) { return (c & ~0x20) == upper; };
  return line.size() > 3 && is(line[0], 'A') && is(line[1], 'T') && is(line[2], 'D');
}

std::string MaskedCommand(const std::string& line) {
  const bool text = HoldsText(line);
  const bool secret = line.find("+CPIN=") != std::string::npos || Dials(line);
  std::string out;
  for (std::size_t i = 0; i <= line.size();) {
    const std::size_t quote = std::min(line.find('"', i), line.size());
    out += MaskedBare(line.substr(i, quote - i), secret);
    if (quote == line.size()) break;
    const std::size_t end = std::min(line.find('"', quote + 1), line.size());
    const std::string inside = line.substr(quote + 1, end - quote - 1);
    const bool mask = !IsKeyword(inside) && (text || HoldsNumber(inside));
    out += '"' + (mask ? MaskedText(inside) : inside) + (end < line.size() ? "\"" : "");
    i = end + 1;
  }
  return out;
}

bool EndsReply(const std::string& line) {
  return line == "OK" || line == "ERROR" || StartsWith(line, "+CMS ERROR:") || StartsWith(line, "+CME ERROR:");
}

bool IsPdu(const std::string& line) { return IsHex(line) && line.size() >= kShortestPdu; }

/// +CMGS: 5
bool IsHead(const std::string& line) {
  const std::size_t colon = line.find(": ");
  return (line[0] == '+' || line[0] == '^') && colon != std::string::npos &&
         std::all_of(line.begin() + 1, line.begin() + static_cast<std::ptrdiff_t>(colon),
                     [](char c) { return c >= 'A' && c <= 'Z'; });
}

bool AnnouncesText(const std::string& line) {
  return StartsWith(line, "+CMT:") || StartsWith(line, "+CMGR:") || StartsWith(line, "+CMGL:") ||
         StartsWith(line, "+CDS:");
}

}  // namespace

std::string CDialogueMask::MaskedModemLine(const std::string& line, const std::string& end) {
  if (m_next == Next::Page) {  // for everybody anyhow
    m_next = Next::Line;
    return line;
  }
  if (EndsReply(line)) {
    m_next = Next::Line;
    return line;
  }
  if (StartsWith(line, kPrompt)) {
    m_bPrompt = line != kPrompt || end.empty();  // a bare one that has ended has been answered before it came
    m_next = Next::Text;                         // an echo may follow
    return kPrompt + MaskedText(line.substr(kPrompt.size()));
  }
  const bool onlyDigits = std::all_of(line.begin(), line.end(), IsDigit);
  if (IsPdu(line) && (m_next == Next::Text || !onlyDigits)) return MaskedPdu(line);
  if (AnnouncesText(line)) {
    m_next = Next::Text;
  } else if (StartsWith(line, "+CBM:")) {
    m_next = Next::Page;
  } else if (m_next == Next::Text && !IsHead(line)) {
    return MaskedText(line);
  }
  return MaskedCommand(line);
}

std::string CDialogueMask::MaskedComputerLine(const std::string& line, const std::string& end) {
  const bool inPrompt = m_bPrompt;
  if (end.find_first_of(kEndsOfText) != std::string::npos) m_bPrompt = false;
  if (IsPdu(line)) return MaskedPdu(line);
  return inPrompt || end.find_first_of(kEndsOfText) != std::string::npos ? MaskedText(line) : MaskedCommand(line);
}

std::string CDialogueMask::Masked(const std::string& bytes, bool fromModem) {
  const std::size_t last = bytes.find_last_not_of("\r\n\x1A\x1B");
  const std::size_t size = last == std::string::npos ? 0 : last + 1;
  const std::string line = bytes.substr(0, size);
  const std::string end = bytes.substr(size);
  if (!fromModem) return MaskedComputerLine(line, end) + end;
  return line.empty() ? bytes : MaskedModemLine(line, end) + end;
}

}  // namespace sms_pdu
