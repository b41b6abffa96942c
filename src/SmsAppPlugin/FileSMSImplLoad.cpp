// The local store: loading the set, and ageing broadcasts out meanwhile.
#include "FileSMSImpl.h"
#include "MsgTime.h"
#include "MyGlobalFunc.h"
#include "SMSRecordImpl.h"
#include "SMSRecordSetImpl.h"
#include "SMSSettingImpl.h"
#include "StoreTable.h"
#include "StoreTrace.h"
#include "StoreTurn.h"
#include "platform/JTime.h"

#include <cstdint>
#include <memory>

namespace {

const long long kSecondsPerDay = 86400;

struct ReleaseSet {
  void operator()(CSMSRecordSetImpl* pSet) const { pSet->Release(); }
};

}  // namespace

void CFileSMSImpl::Init() {
  RunQuietly("CFileSMSImpl::Init() exception!", [&]() -> long {
    CStoreTurn turn(m_AddrDataBaseMgr);
    CISAPUGuard<JMutex> lock(m_MutexReadSMS);
    ReadCleanupAge();
    GetReocrdList();
    if (turn.IsOpen()) {  // without a turn the load itself has told
      EndLoad(turn);
    }
    return 0;
  });
}

void CFileSMSImpl::ReadCleanupAge() {
  if (ISMSSetting* const pSetting = CSMSSettingImpl::instance()) {
    pSetting->GetCBSAutoCleanup(m_iCBSAutoCleanup);
  }
}

CSMSRecordSetImpl* CFileSMSImpl::GetReocrdList() {
  {
    CISAPUGuard<JMutex> lock(m_MutexReadSMS);
    if (m_pLocalRecordSet != nullptr) {
      m_bInit = true;
      return m_pLocalRecordSet;
    }
  }
  CStoreTurn turn(m_AddrDataBaseMgr);
  CISAPUGuard<JMutex> lock(m_MutexReadSMS);
  if (m_pLocalRecordSet == nullptr) {
    m_pLocalRecordSet = LoadSet(turn);
  }
  m_bInit = true;
  return m_pLocalRecordSet;
}

CSMSRecordSetImpl* CFileSMSImpl::LoadSet(CStoreTurn& turn) {
  std::unique_ptr<CSMSRecordSetImpl, ReleaseSet> set(CSMSMgr::GetReocrdList());
  if (set == nullptr) {
    TraceStore("ReadRecord Fail : ReadFile or  Create set error!");
    return nullptr;
  }
  RunQuietly("CFileSMSImpl::ReadAllRows() exception!", [&]() -> long {
    ReadCleanupAge();  // whoever needs the set first may be ahead of the load thread
    ReadAllRows(*set);
    return 0;
  });
  EndLoad(turn);
  if (m_bQuit) {
    set.reset();
  }
  return set.release();
}

void CFileSMSImpl::EndLoad(CStoreTurn& turn) {
  if (!turn.End()) {
    TraceStore("DB stop EndTransaction failed");
  }
}

void CFileSMSImpl::ReadAllRows(CSMSRecordSetImpl& set) {
  const bool bShowCBS = MyGetSetting(u"CBS", u"enable") == u"true";
  std::vector<int> indexes;
  if (m_AddrDataBaseMgr.GetAllRecordIndex(kStoreTable, indexes) != DB_ERROR_OK) {
    TraceStore("ReadRecordindex Fail");
  }
  std::vector<CSMSRecordImpl> outdated;
  LocalDatabaseMgr::FieldType fields;
  const CSMSRecordImpl blank;
  CSMSRecordImpl record;  // one for all rows: its texts keep their room
  for (std::size_t i = 0; i < indexes.size() && !m_bQuit; ++i) {
    if (!ReadRow(indexes[i], fields)) {
      TraceStore("ReadRecord Fail");
      continue;
    }
    record = blank;
    GetSMSRecord(indexes[i], fields, &record);
    const bool bBroadcast = record.GetInitialPosition() == NS_SMS::CBS_BOX;
    if (bBroadcast && !bShowCBS) {
      continue;
    }
    if (bBroadcast && m_iCBSAutoCleanup != 0 && IsOutdated(record)) {
      outdated.push_back(record);
      continue;
    }
    set.PushSMSRecord(record);
    NoteEarlierRow(record);
  }
  // all rows are read before the first is deleted: one forward pass over the table
  for (std::size_t i = 0; i < outdated.size() && !m_bQuit; ++i) {
    AutoCleanupCBS(&outdated[i]);
  }
}

bool CFileSMSImpl::IsOutdated(const ISMSRecord& record) const {
  MsgTime time;
  if (!ReadMsgTime(record.GetTime(), time) || !time.IsDateValid()) {
    return false;
  }
  const long long llDay = JTime(time.year, time.month, time.day, 0, 0, 0, 0).toTimestamp();
  const long long llNow = JTime::CurrentLocalDateTime().toTimestamp();
  const std::int32_t iAge = static_cast<std::int32_t>(llNow - llDay);
  return iAge > m_iCBSAutoCleanup * kSecondsPerDay;
}

bool CFileSMSImpl::AutoCleanupCBS(const ISMSRecord* record) {
  if (record == nullptr || !IsOutdated(*record)) {
    return false;
  }
  RemoveRecord(record->GetMSGID());
  return true;
}
