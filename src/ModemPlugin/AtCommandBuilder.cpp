#include "AtCommandBuilder.h"

#include <algorithm>

namespace modem {

void CAtCommand::Separate() {
  if (!m_bFirst) {
    m_strText += ',';
  }
  m_bFirst = false;
}

CAtCommand& CAtCommand::Number(long value) {
  Separate();
  m_strText += std::to_string(value);
  return *this;
}

CAtCommand& CAtCommand::Quoted(const std::string& text) {
  Separate();
  m_bValid = m_bValid && std::all_of(text.begin(), text.end(),
                                     [](char octet) { return octet >= 0x20 && octet < 0x7F && octet != '"'; });
  m_strText += '"' + text + '"';
  return *this;
}

}  // namespace modem
