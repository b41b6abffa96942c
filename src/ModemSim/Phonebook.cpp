// Places of a phonebook.
#include "Phonebook.h"

#include <algorithm>

namespace modem_sim {
namespace {

bool IsFree(const PhonebookEntry& entry) { return entry.number.empty() && entry.name.empty(); }

}  // namespace

int CPhonebook::Used() const {
  return Capacity() - static_cast<int>(std::count_if(m_lstPlaces.begin(), m_lstPlaces.end(), IsFree));
}

const PhonebookEntry* CPhonebook::At(int index) const {
  if (index < 1 || index > Capacity()) return nullptr;
  const PhonebookEntry& entry = m_lstPlaces[static_cast<std::size_t>(index - 1)];
  return IsFree(entry) ? nullptr : &entry;
}

int CPhonebook::FirstFree() const {
  const auto found = std::find_if(m_lstPlaces.begin(), m_lstPlaces.end(), IsFree);
  return found == m_lstPlaces.end() ? 0 : static_cast<int>(found - m_lstPlaces.begin()) + 1;
}

}  // namespace modem_sim
