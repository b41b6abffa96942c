// A caller's buffer: takes what fits and counts everything.
#pragma once

#include <limits>

/// A null buffer only counts. The terminator is written when there is room for it and never counted.
template <class Char>
class CBoundedOut {
public:
  CBoundedOut(Char* pszBuffer, int iSize) : m_pszBuffer(pszBuffer), m_iSize(pszBuffer == nullptr ? 0 : iSize) {}

  void operator()(Char ch) {
    if (m_iLength < m_iSize) {
      m_pszBuffer[m_iLength] = ch;
    }
    if (m_iLength < std::numeric_limits<int>::max()) {
      ++m_iLength;
    }
  }

  /// @return the full length.
  int Finish() {
    if (m_iLength < m_iSize) {
      m_pszBuffer[m_iLength] = Char();
    }
    return m_iLength;
  }

private:
  Char* const m_pszBuffer;
  const int m_iSize;
  int m_iLength = 0;
};

/// The whole of a text into a caller's buffer.
template <class Char, class Text>
int CopyOut(const Text& text, Char* pszBuffer, int iSize) {
  CBoundedOut<Char> out(pszBuffer, iSize);
  for (const Char ch : text) {
    out(ch);
  }
  return out.Finish();
}
