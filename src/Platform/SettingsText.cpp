// The text of a settings file.
#include "SettingsText.h"

#include "Utf.h"

#include <algorithm>

namespace settings_text {

namespace {

const std::string_view kByteOrderMark = "\xEF\xBB\xBF";
const std::string_view kBlanks = " \t\r\f\v";
const std::size_t kNowhere = std::string_view::npos;

std::string_view Trimmed(std::string_view text) {
  const std::size_t nFirst = text.find_first_not_of(kBlanks);
  return nFirst == kNowhere ? std::string_view() : text.substr(nFirst, text.find_last_not_of(kBlanks) - nFirst + 1);
}

void Classify(std::string_view text, Line& line) {
  text = Trimmed(text);
  line.name = line.value = std::string_view();
  line.enKind = Line::kNothing;
  if (text.empty() || text[0] == ';' || text[0] == '#') {
    return;
  }
  line.enKind = Line::kUnknown;
  if (text[0] == '[') {
    if (text.back() == ']') {
      line.enKind = Line::kSection;
      line.name = Trimmed(text.substr(1, text.size() - 2));
    }
    return;
  }
  const std::size_t nEquals = text.find('=');
  if (nEquals != kNowhere && nEquals != 0) {
    line.enKind = Line::kEntry;
    line.name = Trimmed(text.substr(0, nEquals));
    line.value = Trimmed(text.substr(nEquals + 1));
  }
}

char Lower(char ch) { return ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch - 'A' + 'a') : ch; }

/// Where a key stands, or would have to go.
struct Place {
  bool bHasSection = false;
  bool bHasKey = false;
  Line line{};  // the key's own line, or the one to put it behind
};

Place Find(std::string_view text, std::string_view section, std::string_view key) {
  Place place;
  place.bHasSection = section.empty();  // lines before the first section have none
  bool bInside = place.bHasSection;
  Line line;
  for (CLines lines(text); lines.Next(line);) {
    if (line.enKind == Line::kSection) {
      bInside = IsSameName(line.name, section);
      place.bHasSection = place.bHasSection || bInside;
    }
    const bool bKey = bInside && line.enKind == Line::kEntry && IsSameName(line.name, key);
    const bool bBehind = bInside && !place.bHasKey && (line.enKind == Line::kEntry || line.enKind == Line::kSection);
    if (bKey || bBehind) {
      place.bHasKey = place.bHasKey || bKey;
      place.line = line;
    }
  }
  return place;
}

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const utf::Step step = utf::Utf8Step(text);
    if (!step.bValid) {
      return false;
    }
    text.remove_prefix(step.length);
  }
  return true;
}

}  // namespace

CLines::CLines(std::string_view text)
    : m_text(text), m_nAt(text.substr(0, kByteOrderMark.size()) == kByteOrderMark ? kByteOrderMark.size() : 0) {}

bool CLines::Next(Line& line) {
  if (m_nAt >= m_text.size()) {
    return false;
  }
  const std::size_t nBreak = m_text.find('\n', m_nAt);
  const std::size_t nEnd = nBreak == kNowhere ? m_text.size() : nBreak;
  Classify(m_text.substr(m_nAt, nEnd - m_nAt), line);
  line.nNumber = ++m_nNumber;
  line.nEnd = nEnd > m_nAt && m_text[nEnd - 1] == '\r' ? nEnd - 1 : nEnd;
  line.nNext = nBreak == kNowhere ? nEnd : nBreak + 1;
  m_nAt = line.nNext;
  return true;
}

bool IsSameName(std::string_view first, std::string_view second) {
  return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                    [](char chFirst, char chSecond) { return Lower(chFirst) == Lower(chSecond); });
}

bool Holds(std::string_view text, std::string_view section, std::string_view key, std::string_view value) {
  const Place place = Find(text, section, key);
  return place.bHasKey && place.line.value == value;
}

std::string WithValue(const std::string& strText, std::string_view section, std::string_view key,
                      std::string_view value) {
  const Place place = Find(strText, section, key);
  std::string strResult = strText;
  if (place.bHasKey) {
    const Line& line = place.line;
    if (line.value.empty()) {
      return strResult.insert(line.nEnd, value);
    }
    const std::size_t nAt = static_cast<std::size_t>(line.value.data() - strText.data());
    return strResult.replace(nAt, line.value.size(), value);
  }
  const bool bDosBreaks = strText.find("\r\n") != kNowhere;
  const std::string strBreak = bDosBreaks ? "\r\n" : "\n";
  const std::string strEntry = std::string(key) + " = " + std::string(value) + strBreak;
  if (place.bHasSection) {
    const bool bBreakMissing = place.line.nNext != 0 && strText[place.line.nNext - 1] != '\n';
    const std::size_t nTop = strText.compare(0, kByteOrderMark.size(), kByteOrderMark) == 0 ? kByteOrderMark.size() : 0;
    return strResult.insert(std::max(place.line.nNext, nTop), (bBreakMissing ? strBreak : std::string()) + strEntry);
  }
  if (!strResult.empty()) {
    strResult += strResult.back() == '\n' ? strBreak : strBreak + strBreak;
  }
  return strResult + "[" + std::string(section) + "]" + strBreak + strEntry;
}

std::size_t FirstUnknownLine(std::string_view text) {
  std::size_t nBegin = 0;
  Line line;
  for (CLines lines(text); lines.Next(line); nBegin = line.nNext) {
    if (line.enKind == Line::kUnknown || !IsUtf8(text.substr(nBegin, line.nEnd - nBegin))) {
      return line.nNumber;
    }
  }
  return 0;
}

}  // namespace settings_text
