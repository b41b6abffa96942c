// Pages of neighbouring identifiers, and long messages in order.
#include "SMSRecordIndex.h"

CSMSRecordIndex::CSMSRecordIndex(Iterator itNone) : m_itNone(itNone), m_bTwins(false) {}

// --- Pages -----------------------------------------------------------------------------------------------------------

const CSMSRecordIndex::Page* CSMSRecordIndex::FindPage(unsigned long ulPage) const {
  if (ulPage < kNearPages) {
    return ulPage < m_vctNearPages.size() ? m_vctNearPages[ulPage].get() : nullptr;
  }
  const auto page = m_mapFarPages.find(ulPage);
  return page == m_mapFarPages.end() ? nullptr : page->second.get();
}

CSMSRecordIndex::Page& CSMSRecordIndex::NeedPage(unsigned long ulPage) {
  if (ulPage < kNearPages && ulPage >= m_vctNearPages.size()) {
    m_vctNearPages.resize(ulPage + 1);
  }
  std::unique_ptr<Page>& page = ulPage < kNearPages ? m_vctNearPages[ulPage] : m_mapFarPages[ulPage];
  if (!page) {
    page.reset(new Page);
    page->slots.fill(m_itNone);
    page->uFilled = 0;
  }
  return *page;
}

void CSMSRecordIndex::DropPage(unsigned long ulPage) noexcept {
  if (ulPage < kNearPages) {
    m_vctNearPages[ulPage].reset();
  } else {
    m_mapFarPages.erase(ulPage);
  }
}

// --- Records ---------------------------------------------------------------------------------------------------------

CSMSRecordIndex::PartKeyView CSMSRecordIndex::KeyOf(const CSMSRecordImpl& record) {
  return PartKeyView(record.m_strNumber, record.m_iMR, record.m_iTotalPack, record.m_place.Order());
}

CSMSRecordIndex::Iterator CSMSRecordIndex::Find(long lID) const {
  const Page* const pPage = FindPage(PageOf(lID));
  return pPage == nullptr ? m_itNone : pPage->slots[SlotOf(lID)];
}

std::vector<CSMSRecordIndex::Iterator> CSMSRecordIndex::FindParts(const VELK_wstring& strNumber, int iMR,
                                                                  int iTotalPack) const {
  std::vector<Iterator> found;
  auto part = m_mapParts.lower_bound(PartKeyView(strNumber, iMR, iTotalPack, 0));
  for (; part != m_mapParts.end(); ++part) {
    const PartKey& key = part->first;
    if (std::get<0>(key) != strNumber || std::get<1>(key) != iMR || std::get<2>(key) != iTotalPack) {
      break;
    }
    found.push_back(part->second);
  }
  return found;
}

void CSMSRecordIndex::Add(Iterator it) {
  Page& page = NeedPage(PageOf(it->m_lID));
  Iterator& slot = page.slots[SlotOf(it->m_lID)];
  if (slot == m_itNone) {
    slot = it;
    ++page.uFilled;
  } else {
    m_bTwins = true;
  }
  if (IsIndexedTotal(it->m_iTotalPack)) {
    m_mapParts.emplace(KeyOf(*it), it);
  }
}

void CSMSRecordIndex::RemoveIdentifier(Iterator it) noexcept {
  const long lID = it->m_lID;
  Page* const pPage = const_cast<Page*>(FindPage(PageOf(lID)));
  if (pPage == nullptr || pPage->slots[SlotOf(lID)] != it) {
    return;
  }
  pPage->slots[SlotOf(lID)] = m_itNone;
  if (--pPage->uFilled == 0) {
    DropPage(PageOf(lID));
  }
}

void CSMSRecordIndex::Remove(Iterator it) noexcept {
  RemoveIdentifier(it);
  if (IsIndexedTotal(it->m_iTotalPack)) {
    const auto part = m_mapParts.find(KeyOf(*it));
    if (part != m_mapParts.end()) {
      m_mapParts.erase(part);
    }
  }
}

void CSMSRecordIndex::Clear() noexcept {
  m_vctNearPages.clear();
  m_mapFarPages.clear();
  m_mapParts.clear();
  m_bTwins = false;
}
