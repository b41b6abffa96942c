// Pages of neighbouring identifiers, and long messages in order.
#include "SMSRecordIndex.h"

namespace {

const unsigned long kIdentifiersPerPage = 64;

unsigned long PageOf(long lID) { return static_cast<unsigned long>(lID) / kIdentifiersPerPage; }
unsigned long SlotOf(long lID) { return static_cast<unsigned long>(lID) % kIdentifiersPerPage; }

}  // namespace

CSMSRecordIndex::PartKeyView CSMSRecordIndex::KeyOf(const CSMSRecordImpl& record) {
  return PartKeyView(record.m_strNumber, record.m_iMR, record.m_iTotalPack, record.m_place.Order());
}

CSMSRecordIndex::Iterator CSMSRecordIndex::Find(long lID, Iterator itNone) const {
  const auto page = m_pages.find(PageOf(lID));
  if (page == m_pages.end() || (page->second.ullUsed >> SlotOf(lID) & 1) == 0) {
    return itNone;
  }
  return page->second.slots[SlotOf(lID)];
}

std::vector<CSMSRecordIndex::Iterator> CSMSRecordIndex::FindParts(const VELK_wstring& strNumber, int iMR,
                                                                  int iTotalPack) const {
  std::vector<Iterator> found;
  auto part = m_parts.lower_bound(PartKeyView(strNumber, iMR, iTotalPack, 0));
  for (; part != m_parts.end(); ++part) {
    const PartKey& key = part->first;
    if (std::get<0>(key) != strNumber || std::get<1>(key) != iMR || std::get<2>(key) != iTotalPack) {
      break;
    }
    found.push_back(part->second);
  }
  return found;
}

void CSMSRecordIndex::Add(Iterator it) {
  Page& page = m_pages[PageOf(it->m_lID)];
  const std::uint64_t ullBit = std::uint64_t(1) << SlotOf(it->m_lID);
  if ((page.ullUsed & ullBit) != 0) {
    m_bTwins = true;
  } else {
    page.ullUsed |= ullBit;
    page.slots[SlotOf(it->m_lID)] = it;
  }
  if (IsIndexedTotal(it->m_iTotalPack)) {
    m_parts.emplace(KeyOf(*it), it);
  }
}

void CSMSRecordIndex::Remove(Iterator it) noexcept {
  const auto page = m_pages.find(PageOf(it->m_lID));
  const std::uint64_t ullBit = std::uint64_t(1) << SlotOf(it->m_lID);
  if (page != m_pages.end() && (page->second.ullUsed & ullBit) != 0 && page->second.slots[SlotOf(it->m_lID)] == it) {
    page->second.ullUsed &= ~ullBit;
    if (page->second.ullUsed == 0) {
      m_pages.erase(page);
    }
  }
  const auto part = m_parts.find(KeyOf(*it));
  if (part != m_parts.end()) {
    m_parts.erase(part);
  }
}

void CSMSRecordIndex::Clear() noexcept {
  m_pages.clear();
  m_parts.clear();
  m_bTwins = false;
}
