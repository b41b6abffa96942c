// The one builder of AT command lines.
#pragma once

#include <string>

namespace modem {

/// Every field goes through it, so that no text from the network, a file or a person can end a command line or begin
/// another: a control character, a non-ASCII octet or, in a field, a quotation mark makes the whole command invalid.
class CAtCommand {
public:
  /// @param name  a literal, "+CMGR=" for AT+CMGR=...
  explicit CAtCommand(const char* name);

  /// Fields are separated by commas.
  CAtCommand& Number(long value);
  CAtCommand& Quoted(const std::string& text);
  /// A quoted field that the trace does not show.
  CAtCommand& Secret(const std::string& text);

  bool IsValid() const { return m_bValid; }
  /// Without the line end.
  const std::string& Text() const { return m_strText; }
  bool HoldsSecret() const { return m_strText != m_strShown; }
  /// For the trace.
  const std::string& Shown() const { return m_strShown; }

private:
  void Separate();
  void Append(const std::string& text, const std::string& shown);
  void Check(const std::string& text);

  std::string m_strText;
  std::string m_strShown;
  bool m_bFirst = true;
  bool m_bValid = true;
};

}  // namespace modem
