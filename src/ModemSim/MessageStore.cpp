// Places of a message memory.
#include "MessageStore.h"

#include <algorithm>
#include <utility>

namespace modem_sim {

CMessageStore::CMessageStore(int capacity) : m_lstPlaces(static_cast<std::size_t>(std::max(capacity, 0))) {}

int CMessageStore::Add(StoredMessage message) {
  const auto free = std::find_if(m_lstPlaces.begin(), m_lstPlaces.end(),
                                 [](const StoredMessage& place) { return place.pdu.empty(); });
  if (free == m_lstPlaces.end() || message.pdu.empty()) return 0;
  *free = std::move(message);
  ++m_iUsed;
  return static_cast<int>(free - m_lstPlaces.begin()) + 1;
}

const StoredMessage* CMessageStore::At(int index) const {
  if (!HasPlace(index)) return nullptr;
  const StoredMessage& place = m_lstPlaces[static_cast<std::size_t>(index - 1)];
  return place.pdu.empty() ? nullptr : &place;
}

StoredMessage* CMessageStore::At(int index) {
  const CMessageStore& self = *this;
  return const_cast<StoredMessage*>(self.At(index));
}

void CMessageStore::Remove(int index) {
  StoredMessage* const place = At(index);
  if (!place) return;
  *place = StoredMessage();
  --m_iUsed;
}

}  // namespace modem_sim
