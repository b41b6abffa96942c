// Assembles command lines from single characters (ITU-T V.250, 5.2).
#pragma once

#include <cstddef>
#include <string>

namespace modem_sim {

/// Skips everything before "AT", carries out backspaces, knows "A/". One thread.
class CAtLine {
public:
  enum class Event { None, Line, Repeat };

  /// Longest body; what is longer comes as a line that is TooLong().
  static const std::size_t kLimit = 1024;

  /// @return Line: Body() is a whole command line without its prefix. Repeat: "A/" has been typed.
  Event Take(char c, char terminator, char backspace);
  const std::string& Body() const { return m_strBody; }
  bool TooLong() const { return m_bTooLong; }
  void Clear();

private:
  enum class State { Start, SeenA, Body };

  State m_state = State::Start;
  bool m_bTooLong = false;
  std::string m_strBody;
};

}  // namespace modem_sim
