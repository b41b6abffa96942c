// A list of records with one cursor, found by an index.
#include "SMSRecordSetImpl.h"

#include "CatchAll.h"
#include "LockRanks.h"
#include "MsgTime.h"
#include "StoreTrace.h"
#include "utils.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

namespace {

typedef CISAPUGuard<JMutex> Guard;

bool IsUnread(const ISMSRecord& record) { return record.GetIsRead() == NS_SMS::IS_NOT_READ; }

/// One day, its last second included.
bool IsWithinADay(const ISMSRecord& record, std::time_t tTime) {
  const std::uint64_t ullLimit = 86401;
  MsgTime time;
  if (!ReadMsgTime(record.GetTime(), time) || !time.IsDateValid()) {
    return false;
  }
  const std::time_t tStored = time.Seconds();
  const std::time_t tLater = std::max(tStored, tTime);
  const std::time_t tEarlier = std::min(tStored, tTime);
  return static_cast<std::uint64_t>(tLater) - static_cast<std::uint64_t>(tEarlier) < ullLimit;
}

/// What makes a record a stored part of the long message, its time apart.
bool IsPart(const ISMSRecord& record, int iMR, int iTotalPack, const VELK_wstring& strNumber) {
  int iRecordMR = 0;
  int iRecordTotal = 0;
  int iPart = 0;
  record.GetMSGInfo(iRecordMR, iRecordTotal, iPart);
  return record.GetPosition() != NS_SMS::RECYCLE_BOX && iRecordMR == iMR && iRecordTotal == iTotalPack &&
         strNumber == record.GetNumber();
}

}  // namespace

std::atomic<int> CSMSRecordSetImpl::m_iMissCount{0};

CSMSRecordSetImpl::CSMSRecordSetImpl()
    : m_it(m_lstRecord.end()),
      m_Lock(LockRank::kRecordSet, "CSMSRecordSetImpl::m_Lock"),
      m_index(m_lstRecord.end()),
      m_ullOrder(0),
      m_bKeysChanged(false) {
  m_Lock.Init();
}

CSMSRecordSetImpl::~CSMSRecordSetImpl() {
  const CNoCancellation hold;  // so that nothing but an exception can reach the handler
  try {
    ClearSMSRecord();
  } catch (...) {
  }
}

void CSMSRecordSetImpl::Release() { delete this; }

int CSMSRecordSetImpl::GetLastError() { return 0; }

// --- Cursor ----------------------------------------------------------------------------------------------------------

long CSMSRecordSetImpl::MoveFirst() {
  const Guard guard(m_Lock);
  m_it = m_lstRecord.begin();
  return m_it == m_lstRecord.end() ? NS_SMS::RECORD_EOF : 0;
}

long CSMSRecordSetImpl::MoveNext() {
  const Guard guard(m_Lock);
  if (m_it == m_lstRecord.end()) {
    return NS_SMS::RECORD_EOF;
  }
  ++m_it;
  return m_it == m_lstRecord.end() ? NS_SMS::RECORD_EOF : 0;
}

template <class Value>
Value CSMSRecordSetImpl::ReadAtCursor(Value (CSMSRecordImpl::*pfnGet)() const) {
  const Guard guard(m_Lock);
  return m_it == m_lstRecord.end() ? Value() : ((*m_it).*pfnGet)();
}

const VELK_wchar_t* CSMSRecordSetImpl::GetNumber() { return ReadAtCursor(&CSMSRecordImpl::GetNumber); }

const VELK_wchar_t* CSMSRecordSetImpl::GetContent() { return ReadAtCursor(&CSMSRecordImpl::GetContent); }

const VELK_wchar_t* CSMSRecordSetImpl::GetTime() { return ReadAtCursor(&CSMSRecordImpl::GetTime); }

int CSMSRecordSetImpl::GetIsRead() { return ReadAtCursor(&CSMSRecordImpl::GetIsRead); }

int CSMSRecordSetImpl::GetPosition() { return ReadAtCursor(&CSMSRecordImpl::GetPosition); }

int CSMSRecordSetImpl::GetSendResult() { return ReadAtCursor(&CSMSRecordImpl::GetSendResult); }

int CSMSRecordSetImpl::GetSMSClass() { return ReadAtCursor(&CSMSRecordImpl::GetSMSClass); }

int CSMSRecordSetImpl::GetMSGType() { return ReadAtCursor(&CSMSRecordImpl::GetMSGType); }

long CSMSRecordSetImpl::GetMSGID() { return ReadAtCursor(&CSMSRecordImpl::GetMSGID); }

int CSMSRecordSetImpl::GetSMSPriority() { return ReadAtCursor(&CSMSRecordImpl::GetSMSPriority); }

void CSMSRecordSetImpl::GetMSGInfo(int& iMR, int& iTotalPack, int& iCurrentPack) {
  const Guard guard(m_Lock);
  if (m_it != m_lstRecord.end()) {
    m_it->GetMSGInfo(iMR, iTotalPack, iCurrentPack);
  }
}

CSMSRecordImpl* CSMSRecordSetImpl::GetCurRecord() {
  const Guard guard(m_Lock);
  return m_it == m_lstRecord.end() ? nullptr : &*m_it;
}

const ISMSRecord* CSMSRecordSetImpl::GetCurSMSRecord() { return GetCurRecord(); }

// --- Look-ups --------------------------------------------------------------------------------------------------------

long CSMSRecordSetImpl::GetRecordCount() {
  const Guard guard(m_Lock);
  return static_cast<long>(m_lstRecord.size());
}

long CSMSRecordSetImpl::GetUnReadSMSCount() {
  const Guard guard(m_Lock);
  return static_cast<long>(std::count_if(m_lstRecord.begin(), m_lstRecord.end(), IsUnread));
}

std::vector<long> CSMSRecordSetImpl::GetIdentifiers() {
  const Guard guard(m_Lock);
  std::vector<long> vctIDs;
  for (const CSMSRecordImpl& record : m_lstRecord) {
    vctIDs.push_back(record.GetMSGID());
  }
  return vctIDs;
}

bool CSMSRecordSetImpl::HasIndexLocked() {
  if (!m_bKeysChanged.exchange(false, std::memory_order_relaxed)) {
    return true;
  }
  try {
    m_index.Clear();
    for (auto it = m_lstRecord.begin(); it != m_lstRecord.end(); ++it) {
      m_index.Add(it);
    }
    return true;
  } catch (const std::bad_alloc&) {
    m_bKeysChanged = true;
    return false;
  }
}

CSMSRecordSetImpl::RecordList::iterator CSMSRecordSetImpl::FindLocked(long lID) {
  if (HasIndexLocked()) {
    return m_index.Find(lID);
  }
  return std::find_if(m_lstRecord.begin(), m_lstRecord.end(), CFindSMSRecord(lID));
}

CSMSRecordImpl* CSMSRecordSetImpl::GetRecord(long lID) {
  const Guard guard(m_Lock);
  const auto it = FindLocked(lID);
  return it == m_lstRecord.end() ? nullptr : &*it;
}

const ISMSRecord* CSMSRecordSetImpl::GetSMSRecord(long lID) { return GetRecord(lID); }

ISMSRecord* CSMSRecordSetImpl::GetSMSRecordCopy(long lID) {
  const Guard guard(m_Lock);
  const CSMSRecordImpl* const pRecord = GetRecord(lID);
  try {
    return pRecord == nullptr ? nullptr : new CSMSRecordImpl(*pRecord);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void CSMSRecordSetImpl::GetLongSMSRecord(int iMR, int iTotalPack, const VELK_wstring& strNumber, std::time_t tTime,
                                         std::vector<CSMSRecordImpl>& vctRecord) {
  const Guard guard(m_Lock);
  const auto take = [&](const CSMSRecordImpl& record) {
    if (IsPart(record, iMR, iTotalPack, strNumber) && IsWithinADay(record, tTime)) {
      vctRecord.push_back(record);
    }
  };
  m_it = m_lstRecord.begin();
  if (CSMSRecordIndex::IsIndexedTotal(iTotalPack) && HasIndexLocked()) {
    for (const auto& it : m_index.FindParts(strNumber, iMR, iTotalPack)) {
      take(*it);
    }
  } else {
    std::for_each(m_lstRecord.begin(), m_lstRecord.end(), take);
  }
}

// --- Changes ---------------------------------------------------------------------------------------------------------

long CSMSRecordSetImpl::PushSMSRecord(CSMSRecordImpl& record) {
  if (record.GetMSGID() == -1) {
    return -1;
  }
  try {
    const Guard guard(m_Lock);
    StoreLocked(record);
    m_it = m_lstRecord.begin();
  } catch (const std::bad_alloc&) {
    return -1;
  }
  return 0;
}

void CSMSRecordSetImpl::StoreLocked(CSMSRecordImpl& record) {
  RecordList fresh;
  fresh.emplace_back(&record);
  const bool bUnread = IsUnread(fresh.front());
  const bool bRead = fresh.front().GetIsRead() == NS_SMS::IS_READ;
  const auto itOld = FindLocked(fresh.front().GetMSGID());
  const bool bWasUnread = itOld != m_lstRecord.end() && IsUnread(*itOld);
  if (itOld != m_lstRecord.end()) {
    ReplaceLocked(itOld, fresh.front());
  } else {
    AppendLocked(fresh);
  }
  if (bWasUnread && bRead) {
    --m_iMissCount;
  } else if (!bWasUnread && bUnread) {
    ++m_iMissCount;
  }
  if (bWasUnread || bUnread) {
    NotifyMissMsg();
  }
}

void CSMSRecordSetImpl::ReplaceLocked(RecordList::iterator it, CSMSRecordImpl& fresh) {
  const bool bIndexed = !m_bKeysChanged;
  if (bIndexed) {
    m_index.Remove(it);
  }
  const std::uint64_t ullOrder = it->m_place.Order();
  it->m_place.Enter(nullptr, ullOrder);
  *it = std::move(fresh);
  it->m_place.Enter(&m_bKeysChanged, ullOrder);
  if (bIndexed) {
    AddToIndexLocked(it);
  }
}

void CSMSRecordSetImpl::AppendLocked(RecordList& fresh) {
  fresh.front().m_place.Enter(&m_bKeysChanged, ++m_ullOrder);
  m_lstRecord.splice(m_lstRecord.end(), fresh);
  if (!m_bKeysChanged) {
    AddToIndexLocked(std::prev(m_lstRecord.end()));
  }
}

void CSMSRecordSetImpl::AddToIndexLocked(RecordList::iterator it) {
  try {
    m_index.Add(it);
  } catch (const std::bad_alloc&) {
    m_bKeysChanged = true;
  }
}

void CSMSRecordSetImpl::RemoveSMSRecord(long lID) {
  RecordList removed;  // destroyed after the lock is given back
  const Guard guard(m_Lock);
  const auto it = FindLocked(lID);
  if (it != m_lstRecord.end()) {
    m_index.Remove(it);
    if (m_index.HasTwins()) {
      m_bKeysChanged = true;
    }
    removed.splice(removed.end(), m_lstRecord, it);
    if (IsUnread(removed.front())) {
      --m_iMissCount;
      NotifyMissMsg();
    }
  }
  m_it = m_lstRecord.begin();
}

void CSMSRecordSetImpl::ClearSMSRecord() {
  RecordList removed;  // destroyed after the lock is given back
  const Guard guard(m_Lock);
  const auto iUnread = static_cast<int>(GetUnReadSMSCount());
  if (iUnread > 0) {
    m_iMissCount -= iUnread;
    NotifyMissMsg();
  }
  removed.swap(m_lstRecord);
  m_index.Clear();
  m_bKeysChanged = false;
  m_it = m_lstRecord.end();
}

void CSMSRecordSetImpl::NotifyMissMsg() { GetNotifyService(); }
