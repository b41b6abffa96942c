// The local store: life, rows, the set, and the operations that only ask.
#include "FileSMSImpl.h"

#include "LockRanks.h"
#include "SMSLocalRecordSaveInfo.h"
#include "SMSRecordImpl.h"
#include "SMSRecordSetImpl.h"
#include "StoreTable.h"
#include "StoreTrace.h"
#include "StoreTurn.h"
#include "platform/VelkString.h"

#include <limits>

namespace {

const char* const kConnection = "SmsDBConnection";

VELK_wstring Decimal(int iValue) {
  VELK_wchar_t szDigits[12] = {};
  return VELK_itow(iValue, szDigits, 10);
}

}  // namespace

// --- Life ------------------------------------------------------------------------------------------------------------

CFileSMSImpl::CFileSMSImpl(CSMSServiceImpl* service)
    : m_bInit(false),
      m_MutexLongInfo(LockRank::kStoreInternal, "CFileSMSImpl::m_MutexLongInfo"),
      m_MutexReadSMS(LockRank::kStoreRead, "CFileSMSImpl::m_MutexReadSMS"),
      m_MutexFileManagerOpen(LockRank::kStoreInternal, "CFileSMSImpl::m_MutexFileManagerOpen"),
      m_pLocalRecordSet(nullptr),
      m_iCBSAutoCleanup(0),
      m_pSMSServiceImpl(service),
      m_bQuit(false),
      m_MutexCombine(LockRank::kStoreCombine, "CFileSMSImpl::m_MutexCombine"),
      m_MutexPending(LockRank::kStoreInternal, "CFileSMSImpl::m_MutexPending"),
      m_iTransactions(0),
      m_transactionThread() {
  OpenDatabase();
  m_MutexLongInfo.Init();
  m_MutexReadSMS.Init();
  m_MutexFileManagerOpen.Init();
  CFileSMSImpl::StartThread();
}

void CFileSMSImpl::OpenDatabase() {
  m_AddrDataBaseMgr.OpenConnection(kConnection);
  const std::vector<std::string> names(std::begin(SMSLocalRecordSaveInfo::FIELD_NAME),
                                       std::end(SMSLocalRecordSaveInfo::FIELD_NAME));
  if (m_AddrDataBaseMgr.IsTableExsis(kStoreTable)) {
    m_AddrDataBaseMgr.ConvertTable(kStoreTable, names);
  } else {
    m_AddrDataBaseMgr.GennerateTable(kStoreTable, names);
  }
}

CFileSMSImpl::~CFileSMSImpl() {
  const CNoCancellation noCancellation;
  m_bQuit = true;
  try {
    CFileSMSImpl::BackBeforeInit();
    m_InitThread.EndThread(5);
    CFileSMSImpl::BackBeforeInit();  // a load that was under way may have left a set
    m_AddrDataBaseMgr.CloseConnection();
  } catch (...) {
  }
  m_pLocalRecordSet = nullptr;
  m_pSMSServiceImpl = nullptr;
}

void CFileSMSImpl::StartThread() { m_InitThread.StartThread(this, &CFileSMSImpl::Init); }

void CFileSMSImpl::BackBeforeInit() {
  CISAPUGuard<JMutex> lock(m_MutexReadSMS);
  if (m_pLocalRecordSet != nullptr) {
    m_pLocalRecordSet->Release();
    m_pLocalRecordSet = nullptr;
  }
}

// --- Rows ------------------------------------------------------------------------------------------------------------

void CFileSMSImpl::GetFileRecord(const ISMSRecord* record, LocalDatabaseMgr::FieldType& fields) {
  if (record == nullptr || !fields.empty()) {
    return;
  }
  int iMR = 0;
  int iTotalPack = 0;
  int iPack = 0;
  record->GetMSGInfo(iMR, iTotalPack, iPack);
  const VELK_wstring values[SMSLocalRecordSaveInfo::FIELD_NUMBER] = {record->GetNumber(),
                                                                     record->GetContent(),
                                                                     record->GetTime(),
                                                                     Decimal(record->GetIsRead()),
                                                                     Decimal(record->GetPosition()),
                                                                     Decimal(record->GetSendResult()),
                                                                     Decimal(record->GetMSGType()),
                                                                     Decimal(iMR),
                                                                     Decimal(iTotalPack),
                                                                     Decimal(iPack),
                                                                     Decimal(record->GetInitialPosition()),
                                                                     Decimal(record->GetSMSPriority())};
  fields.reserve(SMSLocalRecordSaveInfo::FIELD_NUMBER);
  for (int i = 0; i < SMSLocalRecordSaveInfo::FIELD_NUMBER; ++i) {
    fields.push_back({SMSLocalRecordSaveInfo::FIELD_NAME[i], values[i]});
  }
}

void CFileSMSImpl::GetSMSRecord(long id, const LocalDatabaseMgr::FieldType& fields, ISMSRecord* record) {
  if (record == nullptr) {
    return;
  }
  int iMR = 0;
  int iTotalPack = 0;
  for (std::size_t i = 0; i < fields.size() && i < SMSLocalRecordSaveInfo::FIELD_NUMBER; ++i) {
    const VELK_wchar_t* const pszValue = fields[i].strValue.c_str();
    switch (i) {
      case 0:
        record->SetNumber(pszValue);
        break;
      case 1:
        record->SetContent(pszValue);
        break;
      case 2:
        record->SetTime(pszValue);
        break;
      case 3:
        record->SetIsRead(VELK_wtoi(pszValue));
        break;
      case 4:
        record->SetPosition(VELK_wtoi(pszValue));
        break;
      case 5:
        record->SetSendResult(VELK_wtoi(pszValue));
        break;
      case 6:
        record->SetMSGType(VELK_wtoi(pszValue));
        break;
      case 7:
        iMR = VELK_wtoi(pszValue);
        break;
      case 8:
        iTotalPack = VELK_wtoi(pszValue);
        break;
      case 9:
        record->SetMSGInfo(iMR, iTotalPack, VELK_wtoi(pszValue));
        break;
      case 10:
        record->SetInitialPosition(VELK_wtoi(pszValue));
        break;
      default:
        record->SetSMSPriority(VELK_wtoi(pszValue));
        break;
    }
  }
  record->SetMSGID(id);
}

bool CFileSMSImpl::ToRow(long id, unsigned int& uIndex) {
  if (id < 1 || id > static_cast<long>(std::numeric_limits<int>::max())) {
    return false;
  }
  uIndex = static_cast<unsigned int>(id);
  return true;
}

bool CFileSMSImpl::ReadRow(long id, LocalDatabaseMgr::FieldType& fields) {
  unsigned int uIndex = 0;
  return ToRow(id, uIndex) && m_AddrDataBaseMgr.GetOneRecord(kStoreTable, uIndex, fields) == DB_ERROR_OK &&
         !fields.empty();
}

bool CFileSMSImpl::ReadRow(long id, CSMSRecordImpl& record) {
  LocalDatabaseMgr::FieldType fields;
  if (!ReadRow(id, fields)) {
    return false;
  }
  GetSMSRecord(id, fields, &record);
  return true;
}

bool CFileSMSImpl::RewriteRow(long id, const LocalDatabaseMgr::FieldType& fields) {
  unsigned int uIndex = 0;
  return ToRow(id, uIndex) && m_AddrDataBaseMgr.UpdateRecord(kStoreTable, uIndex, fields) == DB_ERROR_OK;
}

// --- The set ---------------------------------------------------------------------------------------------------------

bool CFileSMSImpl::HasSet() {
  CISAPUGuard<JMutex> lock(m_MutexReadSMS);
  return m_pLocalRecordSet != nullptr;
}

void CFileSMSImpl::PutIntoSet(CSMSRecordImpl& record) {
  NotePending(record.GetMSGID());
  CISAPUGuard<JMutex> lock(m_MutexReadSMS);
  if (m_pLocalRecordSet != nullptr) {
    m_pLocalRecordSet->PushSMSRecord(record);
  }
}

bool CFileSMSImpl::DropFromSet(long id) {
  NotePending(id);
  CISAPUGuard<JMutex> lock(m_MutexReadSMS);
  if (m_pLocalRecordSet == nullptr) {
    return false;
  }
  m_pLocalRecordSet->RemoveSMSRecord(id);
  return true;
}

bool CFileSMSImpl::EndChange(CStoreTurn& turn, long id) {
  if (turn.End()) {
    return true;
  }
  AgreeWithRow(id);
  return false;
}

void CFileSMSImpl::AgreeWithRow(long id) {
  CSMSRecordImpl record;
  if (ReadRow(id, record)) {
    PutIntoSet(record);
  } else {
    DropFromSet(id);
  }
}

// --- Asking ----------------------------------------------------------------------------------------------------------

long CFileSMSImpl::GetRecord(ISMSRecord* record) {
  return RunQuietly("CFileSMSImpl::GetRecord() exception!", [&]() -> long {
    if (record == nullptr) {
      return -1;
    }
    LocalDatabaseMgr::FieldType fields;
    if (!ReadRow(record->GetMSGID(), fields)) {
      TraceStore("System error: FileManager not initilazed");
      return -1;
    }
    GetSMSRecord(record->GetMSGID(), fields, record);
    return 0;
  });
}

long CFileSMSImpl::GetRecordInfo(int& capacity, int& used) {
  int iCount = 0;
  if (m_AddrDataBaseMgr.GetRecordCount(kStoreTable, iCount) != DB_ERROR_OK) {
    TraceStore("System error: FileManager not initilazed");
    capacity = -1;
    used = -1;
    return -1;
  }
  capacity = SMSLocalRecordSaveInfo::FIEL_RECORD_MAXCOUNT;
  used = iCount;
  return 0;
}

int CFileSMSImpl::CheckIsFull() { return -1; }
