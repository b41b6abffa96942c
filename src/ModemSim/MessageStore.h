// One message memory of the modem: numbered places, some of them taken.
#pragma once

#include "VelkTypes.h"

#include <cstddef>
#include <vector>

namespace modem_sim {

/// <stat> of 3GPP TS 27.005, 3.1, in PDU mode.
enum class MessageStatus : int { Unread = 0, Read = 1, Unsent = 2, Sent = 3 };
const int kStatusAll = 4;

/// A message as it stands in a memory and in an AT line: service centre, then tpduLength octets.
struct StoredMessage {
  MessageStatus status = MessageStatus::Unread;
  std::vector<BYTE> pdu;
  std::size_t tpduLength = 0;
};

class CMessageStore {
public:
  explicit CMessageStore(int capacity);

  int Capacity() const { return static_cast<int>(m_lstPlaces.size()); }
  int Used() const { return m_iUsed; }
  bool HasPlace(int index) const { return index >= 1 && index <= Capacity(); }

  /// @return the lowest free index, from 1 on; 0 when full.
  int Add(StoredMessage message);
  /// @return null when the place is empty or does not exist; valid until it is removed.
  StoredMessage* At(int index);
  const StoredMessage* At(int index) const;
  void Remove(int index);

private:
  std::vector<StoredMessage> m_lstPlaces;  // empty pdu: a free place
  int m_iUsed = 0;
};

}  // namespace modem_sim
