// Finds the records of a list by identifier and by long message without walking.
#pragma once

#include "SMSRecordImpl.h"

#include <array>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <tuple>
#include <unordered_map>
#include <vector>

/// Iterators into one list. Identifiers mostly follow one another from 1, so neighbours share a page, and the first
/// pages are found without hashing: a look-up touches two cache lines whatever the number of records.
/// Threads: none of its own; under the lock of the list.
/// Errors:  Add throws for want of memory; the index is then to be filled anew.
class CSMSRecordIndex {
public:
  typedef std::list<CSMSRecordImpl> RecordList;
  typedef RecordList::iterator Iterator;

  /// @param itNone  end of the list: the answer when there is no record.
  explicit CSMSRecordIndex(Iterator itNone);

  /// The first record with that identifier.
  Iterator Find(long lID) const;
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
  static constexpr unsigned long kPageSize = 512;
  static constexpr unsigned long kNearPages = 4096;
  struct Page {
    std::array<Iterator, kPageSize> slots;
    unsigned uFilled;
  };
  /// Number, reference, total, place in the list.
  typedef std::tuple<VELK_wstring, int, int, std::uint64_t> PartKey;
  typedef std::tuple<const VELK_wstring&, int, int, std::uint64_t> PartKeyView;

  static unsigned long PageOf(long lID) { return static_cast<unsigned long>(lID) / kPageSize; }
  static unsigned long SlotOf(long lID) { return static_cast<unsigned long>(lID) % kPageSize; }
  static PartKeyView KeyOf(const CSMSRecordImpl& record);
  const Page* FindPage(unsigned long ulPage) const;
  Page& NeedPage(unsigned long ulPage);
  void DropPage(unsigned long ulPage) noexcept;
  void RemoveIdentifier(Iterator it) noexcept;

  const Iterator m_itNone;
  std::vector<std::unique_ptr<Page>> m_vctNearPages;
  std::unordered_map<unsigned long, std::unique_ptr<Page>> m_mapFarPages;
  std::map<PartKey, Iterator, std::less<>> m_mapParts;
  bool m_bTwins;
};
