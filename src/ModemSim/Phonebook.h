// A phonebook of the card (3GPP TS 27.007, 8.11 to 8.14).
#pragma once

#include "VelkTypes.h"

#include <string>
#include <vector>

namespace modem_sim {

struct PhonebookEntry {
  std::string number;  // without the '+' that the type says
  int type = 129;      // octet of 3GPP TS 24.008, 10.5.4.7
  VELK_wstring name;
};

/// Places 1 to Capacity(); a place with neither number nor name is free.
class CPhonebook {
public:
  static const std::size_t kNumberLength = 20;
  static const std::size_t kNameLength = 16;

  explicit CPhonebook(int capacity) : m_lstPlaces(static_cast<std::size_t>(capacity)) {}

  int Capacity() const { return static_cast<int>(m_lstPlaces.size()); }
  int Used() const;
  /// Null when the place is free or does not exist.
  const PhonebookEntry* At(int index) const;
  /// @return 0: there is none.
  int FirstFree() const;
  /// @param index  1 to Capacity(). An empty entry frees the place.
  void Put(int index, const PhonebookEntry& entry) { m_lstPlaces[static_cast<std::size_t>(index - 1)] = entry; }

private:
  std::vector<PhonebookEntry> m_lstPlaces;
};

}  // namespace modem_sim
