// Lists of numbers and ranges.
#include "NumberSet.h"

#include <charconv>

namespace modem_sim {
namespace {

bool TakeNumber(const char** next, const char* end, std::size_t* out) {
  const auto [stop, error] = std::from_chars(*next, end, *out);
  if (error != std::errc() || *out >= CNumberSet::kNumbers) return false;
  *next = stop;
  return true;
}

}  // namespace

bool CNumberSet::Parse(const std::string& list) {
  std::bitset<kNumbers> numbers;
  const char* next = list.data();
  const char* const end = next + list.size();
  while (next != end) {
    std::size_t first = 0;
    if (!TakeNumber(&next, end, &first)) return false;
    std::size_t last = first;
    if (next != end && *next == '-' && (++next, !TakeNumber(&next, end, &last))) return false;
    if (last < first) return false;
    for (std::size_t number = first; number <= last; ++number) numbers.set(number);
    if (next != end && (*next != ',' || ++next == end)) return false;
  }
  m_numbers = numbers;
  return true;
}

std::string CNumberSet::List() const {
  std::string list;
  for (std::size_t first = 0; first < kNumbers; ++first) {
    if (!m_numbers[first]) continue;
    std::size_t last = first;
    while (last + 1 < kNumbers && m_numbers[last + 1]) ++last;
    list += (list.empty() ? "" : ",") + std::to_string(first);
    if (last != first) list += '-' + std::to_string(last);
    first = last;
  }
  return list;
}

}  // namespace modem_sim
