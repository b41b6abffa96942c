// Finds the records of a list by identifier and by long message without walking.
#pragma once

#include "SMSRecordImpl.h"

#include <array>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <tuple>
#include <unordered_map>
#include <vector>

/// Iterators into one list. Identifiers mostly follow one another, so neighbours share a page: few cache lines are
/// touched whatever the number of records.
/// Threads: none of its own; under the lock of the list.
/// Errors:  Add throws for want of memory; the index is then to be rebuilt.
class CSMSRecordIndex {
public:
  typedef std::list<CSMSRecordImpl> RecordList;
  typedef RecordList::iterator Iterator;

  /// The first record with that identifier; itNone when there is none.
  Iterator Find(long lID, Iterator itNone) const;
  /// The parts of a long message in the order of the list. Only totals from 2 are indexed.
  std::vector<Iterator> FindParts(const VELK_wstring& strNumber, int iMR, int iTotalPack) const;
  static bool IsIndexedTotal(int iTotalPack) { return iTotalPack >= 2; }

  /// To be called with every record once, in the order of the list.
  void Add(Iterator it);
  /// Before the record's keys change or it leaves the list.
  void Remove(Iterator it) noexcept;
  void Clear() noexcept;
  /// Two records had one identifier when they were added: after a removal the other one is not found.
  bool HasTwins() const { return m_bTwins; }

private:
  static constexpr unsigned kPageSize = 64;
  struct Page {
    std::uint64_t ullUsed = 0;  // bit n: slot n is filled
    std::array<Iterator, kPageSize> slots;
  };
  /// Number, reference, total, place in the list.
  typedef std::tuple<VELK_wstring, int, int, std::uint64_t> PartKey;
  typedef std::tuple<const VELK_wstring&, int, int, std::uint64_t> PartKeyView;
  static PartKeyView KeyOf(const CSMSRecordImpl& record);

  std::unordered_map<unsigned long, Page> m_pages;
  std::map<PartKey, Iterator, std::less<>> m_parts;
  bool m_bTwins = false;
};
