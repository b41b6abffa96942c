// The one builder of AT command lines.
#pragma once

#include <string>

namespace modem {

/// Every field goes through it, so that no text from the network, a file or a person can end a command line or begin
/// another: a field with a control character, a quotation mark or a non-ASCII octet makes the whole command invalid.
class CAtCommand {
public:
  /// @param name  a literal, "+CMGR=" for AT+CMGR=...
  explicit CAtCommand(const char* name) : m_strText(std::string("AT") + name) {}

  /// Fields are separated by commas.
  CAtCommand& Number(long value);
  CAtCommand& Quoted(const std::string& text);

  bool IsValid() const { return m_bValid; }
  /// Without the line end.
  const std::string& Text() const { return m_strText; }

private:
  void Separate();

  std::string m_strText;
  bool m_bFirst = true;
  bool m_bValid = true;
};

}  // namespace modem
