#include "AtCommandBuilder.h"

#include <algorithm>

namespace modem {

CAtCommand::CAtCommand(const char* name) {
  Append("AT", "AT");
  Append(name, name);
  Check(m_strText);
}

void CAtCommand::Append(const std::string& text, const std::string& shown) {
  m_strText += text;
  m_strShown += shown;
}

void CAtCommand::Check(const std::string& text) {
  m_bValid =
      m_bValid && std::all_of(text.begin(), text.end(), [](char octet) { return octet >= 0x20 && octet < 0x7F; });
}

void CAtCommand::Separate() {
  if (!m_bFirst) {
    Append(",", ",");
  }
  m_bFirst = false;
}

CAtCommand& CAtCommand::Number(long value) {
  const std::string text = std::to_string(value);
  Separate();
  Append(text, text);
  return *this;
}

CAtCommand& CAtCommand::Quoted(const std::string& text) {
  Separate();
  Check(text);
  m_bValid = m_bValid && text.find('"') == std::string::npos;
  Append('"' + text + '"', '"' + text + '"');
  return *this;
}

CAtCommand& CAtCommand::Secret(const std::string& text) {
  const std::string shown = m_strShown;
  const bool first = m_bFirst;
  Quoted(text);
  m_strShown = shown + (first ? "" : ",") + "\"...\"";
  return *this;
}

}  // namespace modem
