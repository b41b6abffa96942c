// The local store: the parts of a long message become one (3GPP TS 23.040, 9.2.3.24.1).
#include "FileSMSImpl.h"
#include "ISMSEvent.h"
#include "MsgTime.h"
#include "SMSRecordImpl.h"
#include "SMSRecordSetImpl.h"
#include "SMSServiceImpl.h"
#include "StoreTrace.h"
#include "StoreTurn.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace {

typedef std::vector<const ISMSRecord*> PartList;

struct PartInfo {
  int mr = 0;
  int total = 0;
  int part = 0;
};

PartInfo InfoOf(const ISMSRecord& record) {
  PartInfo info;
  record.GetMSGInfo(info.mr, info.total, info.part);
  return info;
}

/// Orders a before b when a's part number is smaller, despite its name.
bool UDgreater(const ISMSRecord* a, const ISMSRecord* b) { return InfoOf(*a).part < InfoOf(*b).part; }

bool TimeOf(const ISMSRecord& record, std::time_t& tSeconds) {
  MsgTime time;
  if (!ReadMsgTime(record.GetTime(), time) || !time.IsDateValid()) {
    return false;
  }
  tSeconds = time.Seconds();
  return true;
}

/// Of two copies of one part the one nearer in time to the incoming part; in doubt the one taken so far.
const ISMSRecord* Nearer(const ISMSRecord* pTaken, const ISMSRecord* pNewcomer, std::time_t t0) {
  std::time_t tTaken = 0;
  std::time_t tNewcomer = 0;
  if (TimeOf(*pTaken, tTaken) && TimeOf(*pNewcomer, tNewcomer) && std::labs(tNewcomer - t0) < std::labs(tTaken - t0)) {
    return pNewcomer;
  }
  return pTaken;
}

/// One copy of every part there is, ascending; the incoming record for its own number.
PartList ChooseParts(const ISMSRecord& incoming, const std::vector<CSMSRecordImpl>& candidates, std::time_t t0) {
  PartList sorted;
  for (const CSMSRecordImpl& candidate : candidates) {
    sorted.push_back(&candidate);
  }
  std::stable_sort(sorted.begin(), sorted.end(), UDgreater);

  const PartInfo info = InfoOf(incoming);
  PartList chosen;
  auto it = sorted.begin();
  for (int iPart = 0; iPart <= info.total; ++iPart) {
    const ISMSRecord* pTaken = iPart == info.part ? &incoming : nullptr;
    for (; it != sorted.end() && InfoOf(**it).part <= iPart; ++it) {
      if (InfoOf(**it).part == iPart && iPart != info.part) {
        pTaken = pTaken == nullptr ? *it : Nearer(pTaken, *it, t0);
      }
    }
    if (pTaken != nullptr) {
      chosen.push_back(pTaken);
    }
  }
  return chosen;
}

VELK_wstring JoinContents(const PartList& parts) {
  VELK_wstring strContent;
  for (const ISMSRecord* const pPart : parts) {
    strContent += pPart->GetContent();
  }
  return strContent;
}

void BecomeWhole(ISMSRecord& record, const VELK_wstring& strContent) {
  record.SetContent(strContent.c_str());
  record.SetMSGInfo(0, 0, 0);
}

struct ReleaseRecord {
  void operator()(ISMSRecord* pRecord) const { pRecord->Release(); }
};

}  // namespace

long CFileSMSImpl::CombinationLongMsg(ISMSRecord* record) {
  return RunQuietly("CFileSMSImpl::CombinationLongMsg() exception!", [&]() -> long {
    if (record == nullptr) {
      return -1;
    }
    std::vector<long> mergedIds;
    {
      GetReocrdList();
      CStoreTurn turn(m_AddrDataBaseMgr);
      CISAPUGuard<JMutex> lock(m_MutexCombine);
      if (!turn.IsOpen() || !Combine(*record, turn, mergedIds)) {
        return -1;
      }
    }
    RemoveMergedParts(mergedIds);
    return 0;
  });
}

bool CFileSMSImpl::Combine(ISMSRecord& record, CStoreTurn& turn, std::vector<long>& mergedIds) {
  const PartInfo info = InfoOf(record);
  if (info.part > info.total || info.total < 2) {
    TraceStore("long msg error");
    return false;
  }
  std::time_t t0 = 0;
  if (info.part < 0 || !TimeOf(record, t0)) {
    return false;
  }
  const std::vector<CSMSRecordImpl> candidates = CollectParts(record, t0);
  const std::size_t uTotal = static_cast<std::size_t>(info.total);
  if (uTotal - 1 > candidates.size()) {
    return false;
  }
  const PartList parts = ChooseParts(record, candidates, t0);
  if (parts.size() != uTotal) {
    return false;
  }
  const VELK_wstring strContent = JoinContents(parts);
  std::vector<long> storedIds;
  for (const ISMSRecord* const pPart : parts) {
    if (pPart != &record) {
      storedIds.push_back(pPart->GetMSGID());
    }
  }
  m_vctMerging.reserve(m_vctMerging.size() + storedIds.size());
  long id = 0;
  if (!StoreWhole(record, strContent, turn, id)) {
    TraceStore("CombinationLongMsg() CreateNewRecord Error");
    return false;
  }
  m_vctMerging.insert(m_vctMerging.end(), storedIds.begin(), storedIds.end());
  mergedIds.swap(storedIds);
  BecomeWhole(record, strContent);
  record.SetMSGID(id);
  return true;
}

std::vector<CSMSRecordImpl> CFileSMSImpl::CollectParts(const ISMSRecord& record, std::time_t t0) {
  const PartInfo info = InfoOf(record);
  std::vector<CSMSRecordImpl> candidates;
  CISAPUGuard<JMutex> lock(m_MutexReadSMS);
  if (CSMSRecordSetImpl* const pSet = GetReocrdList()) {
    pSet->GetLongSMSRecord(info.mr, info.total, record.GetNumber(), t0, candidates);
  }
  const auto isMerging = [this](const CSMSRecordImpl& part) {
    return std::find(m_vctMerging.begin(), m_vctMerging.end(), part.GetMSGID()) != m_vctMerging.end();
  };
  candidates.erase(std::remove_if(candidates.begin(), candidates.end(), isMerging), candidates.end());
  return candidates;
}

bool CFileSMSImpl::StoreWhole(ISMSRecord& incoming, const VELK_wstring& strContent, CStoreTurn& turn, long& id) {
  CSMSRecordImpl whole(&incoming);
  BecomeWhole(whole, strContent);
  whole.InitToCurrTime();
  LocalDatabaseMgr::FieldType fields;
  GetFileRecord(&whole, fields);
  if (!AddRow(fields, turn, id)) {
    return false;
  }
  whole.SetMSGID(id);
  PutIntoSet(whole);
  return EndChange(turn, id);
}

void CFileSMSImpl::RemoveMergedParts(const std::vector<long>& mergedIds) {
  struct CForgetAtEnd {
    CFileSMSImpl& store;
    const std::vector<long>& ids;
    ~CForgetAtEnd() { store.ForgetMerging(ids); }
  } const forget{*this, mergedIds};
  for (auto it = mergedIds.begin(); it != mergedIds.end() && HasSet(); ++it) {
    AnnounceMergedPart(*it);
    RemoveRecord(*it);
  }
}

void CFileSMSImpl::ForgetMerging(const std::vector<long>& ids) {
  CISAPUGuard<JMutex> lock(m_MutexCombine);
  for (const long id : ids) {
    m_vctMerging.erase(std::find(m_vctMerging.begin(), m_vctMerging.end(), id));
  }
}

void CFileSMSImpl::AnnounceMergedPart(long id) {
  RunQuietly("CFileSMSImpl::AnnounceMergedPart() exception!", [&]() -> long {
    std::unique_ptr<ISMSRecord, ReleaseRecord> part;
    {
      CISAPUGuard<JMutex> lock(m_MutexReadSMS);
      part.reset(m_pLocalRecordSet == nullptr ? nullptr : m_pLocalRecordSet->GetSMSRecordCopy(id));
    }
    if (part != nullptr && m_pSMSServiceImpl != nullptr) {
      m_pSMSServiceImpl->CallBackToUI(part.get(), RECORD_MERGED_INTO_LONG_SMS);
    }
    return 0;
  });
}
