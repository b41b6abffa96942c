// Reading and writing octets without ever leaving the buffer; inside this room.
#pragma once

#include "VelkTypes.h"

#include <cstddef>
#include <cstring>

namespace sms_pdu {

class COctetReader {
public:
  COctetReader(const BYTE* octets, std::size_t size) : m_pNext(octets), m_uLeft(octets ? size : 0) {}

  std::size_t Left() const { return m_uLeft; }

  bool Take(BYTE* out) {
    if (m_uLeft == 0) return false;
    *out = *m_pNext++;
    --m_uLeft;
    return true;
  }

  /// @return the next count octets, null when fewer are left (nothing is taken then).
  const BYTE* Take(std::size_t count) {
    if (count > m_uLeft) return nullptr;
    const BYTE* const taken = m_pNext;
    m_pNext += count;
    m_uLeft -= count;
    return taken;
  }

private:
  const BYTE* m_pNext;
  std::size_t m_uLeft;
};

/// Once something did not fit, nothing more is written.
class COctetWriter {
public:
  COctetWriter(BYTE* out, std::size_t capacity) : m_pStart(out), m_uCapacity(out ? capacity : 0) {}

  bool Overflowed() const { return m_bOverflowed; }
  std::size_t Written() const { return m_uWritten; }

  void Put(BYTE octet) {
    if (BYTE* const room = Room(1)) *room = octet;
  }

  void Put(const BYTE* octets, std::size_t count) {
    BYTE* const room = Room(count);
    if (room && count != 0) std::memcpy(room, octets, count);
  }

  /// @return count octets to fill, null when they do not fit.
  BYTE* Room(std::size_t count) {
    if (m_bOverflowed || count > m_uCapacity - m_uWritten) {
      m_bOverflowed = true;
      return nullptr;
    }
    BYTE* const room = m_pStart + m_uWritten;
    m_uWritten += count;
    return room;
  }

private:
  BYTE* const m_pStart;
  const std::size_t m_uCapacity;
  std::size_t m_uWritten = 0;
  bool m_bOverflowed = false;
};

}  // namespace sms_pdu
