// Command lines, character by character.
#include "AtLine.h"

namespace modem_sim {

void CAtLine::Clear() {
  m_state = State::Start;
  m_bTooLong = false;
  m_strBody.clear();
}

CAtLine::Event CAtLine::Take(char c, char terminator, char backspace) {
  switch (m_state) {
    case State::Start:
      if (c == 'A' || c == 'a') m_state = State::SeenA;
      return Event::None;
    case State::SeenA:
      if (c == 'A' || c == 'a') return Event::None;
      if (c == '/') {
        m_state = State::Start;
        return Event::Repeat;
      }
      if (c == 'T' || c == 't') {
        Clear();
        m_state = State::Body;
      } else {
        m_state = State::Start;
      }
      return Event::None;
    case State::Body:
      break;
  }
  if (c == terminator) {
    m_state = State::Start;
    return Event::Line;
  }
  if (c == backspace) {
    if (!m_strBody.empty()) m_strBody.pop_back();
  } else if (static_cast<unsigned char>(c) >= 0x20) {  // other control characters are left out
    if (m_strBody.size() < kLimit) {
      m_strBody += c;
    } else {
      m_bTooLong = true;
    }
  }
  return Event::None;
}

}  // namespace modem_sim
