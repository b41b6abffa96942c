// The local store: saving, changing and deleting, and transactions of clients.
#include "FileSMSImpl.h"
#include "SMSDef.h"
#include "SMSRecordImpl.h"
#include "SMSRecordSetImpl.h"
#include "StoreTable.h"
#include "StoreTrace.h"
#include "StoreTurn.h"

#include <string>

namespace {

/// Received flash messages are shown, never kept.
bool IsShownOnly(const ISMSRecord& record) {
  const int iPosition = record.GetInitialPosition();
  return record.GetSMSClass() == NS_SMS::MS_CLASS_0 &&
         (iPosition == NS_SMS::RECEIVE_BOX || iPosition == NS_SMS::RECEIVE_BOX_SIM ||
          iPosition == NS_SMS::RECEIVE_BOX_NV);
}

void TraceId(const char* pszBefore, long id, const char* pszAfter) {
  TraceStore((pszBefore + std::to_string(id) + pszAfter).c_str());
}

}  // namespace

// --- Saving ----------------------------------------------------------------------------------------------------------

long CFileSMSImpl::SaveRecord(ISMSRecord* record, long* id, long& saved) {
  return RunQuietly("CFileSMSImpl::SaveRecord() exception!", [&]() -> long {
    if (record == nullptr || id == nullptr) {
      return -1;
    }
    if (IsShownOnly(*record)) {
      return 0;
    }
    std::vector<long> mergedIds;
    if (!Store(*record, mergedIds)) {
      return -1;
    }
    *id = record->GetMSGID();
    saved = 1;
    RemoveMergedParts(mergedIds);
    return 0;
  });
}

bool CFileSMSImpl::Store(ISMSRecord& record, std::vector<long>& mergedIds) {
  GetReocrdList();  // a load may take longer than a turn is waited for
  CStoreTurn turn(m_AddrDataBaseMgr);
  if (!turn.IsOpen()) {
    return false;
  }
  CISAPUGuard<JMutex> lock(m_MutexCombine);
  return Combine(record, turn, mergedIds) || StoreAlone(record, turn);
}

bool CFileSMSImpl::StoreAlone(ISMSRecord& record, CStoreTurn& turn) {
  record.InitToCurrTime();
  LocalDatabaseMgr::FieldType fields;
  GetFileRecord(&record, fields);
  long id = 0;
  if (!AddRow(fields, turn, id)) {
    return false;
  }
  CSMSRecordImpl stored;
  GetSMSRecord(id, fields, &stored);
  PutIntoSet(stored);
  if (!EndChange(turn, id)) {
    return false;
  }
  record.SetMSGID(id);
  return true;
}

bool CFileSMSImpl::AddRow(const LocalDatabaseMgr::FieldType& fields, CStoreTurn& turn, long& id) {
  unsigned int uIndex = 0;
  if (fields.empty() || !turn.Begin()) {
    return false;
  }
  if (m_AddrDataBaseMgr.AddRecord(kStoreTable, fields, uIndex) != DB_ERROR_OK) {
    turn.End();  // the engine may have given the transaction up: a further try needs a new one
    return false;
  }
  id = static_cast<long>(uIndex);
  return true;
}

// --- Changing and deleting -------------------------------------------------------------------------------------------

long CFileSMSImpl::UpdateRecord(ISMSRecord* record) {
  return RunQuietly("CFileSMSImpl::UpdateRecord() exception!", [&]() -> long {
    if (record == nullptr) {
      return -1;
    }
    const long id = record->GetMSGID();
    if (record->GetPosition() == NS_SMS::DRAFT_BOX) {
      record->InitToCurrTime();
    }
    LocalDatabaseMgr::FieldType fields;
    GetFileRecord(record, fields);
    if (fields.empty()) {
      TraceId(" Local Message with id=", id, "  is not found");
      return -1;
    }
    CStoreTurn turn(m_AddrDataBaseMgr);
    if (!turn.IsOpen() || !RewriteRow(id, fields)) {
      return -1;
    }
    CSMSRecordImpl copy(record);
    PutIntoSet(copy);
    return EndChange(turn, id) ? 0 : -1;
  });
}

long CFileSMSImpl::DeleteRecord(long id) {
  return RunQuietly("CFileSMSImpl::DeleteRecord() exception!", [&]() -> long {
    CStoreTurn turn(m_AddrDataBaseMgr);
    CSMSRecordImpl record;
    if (!ReadRow(id, record) || record.GetPosition() == NS_SMS::RECYCLE_BOX ||
        record.GetPosition() == NS_SMS::RECEIPT_BOX || record.GetInitialPosition() == NS_SMS::RECEIPT_BOX) {
      return -1;
    }
    record.SetPosition(NS_SMS::RECYCLE_BOX);
    if (record.GetIsRead() == NS_SMS::IS_NOT_READ) {
      record.SetIsRead(NS_SMS::IS_READ);
    }
    if (!MoveToRecycleBox(record, turn)) {
      TraceId("Delete Local Message with id=", id, "  Error");
      return -1;
    }
    return 0;
  });
}

bool CFileSMSImpl::MoveToRecycleBox(CSMSRecordImpl& record, CStoreTurn& turn) {
  LocalDatabaseMgr::FieldType fields;
  GetFileRecord(&record, fields);
  if (!turn.IsOpen() || !RewriteRow(record.GetMSGID(), fields)) {
    return false;
  }
  PutIntoSet(record);
  return EndChange(turn, record.GetMSGID());
}

long CFileSMSImpl::RemoveRecord(long id) {
  return RunQuietly("CFileSMSImpl::RemoveRecord() exception!", [&]() -> long {
    CStoreTurn turn(m_AddrDataBaseMgr);
    LocalDatabaseMgr::FieldType fields;
    unsigned int uIndex = 0;
    if (!turn.IsOpen() || !ReadRow(id, fields) || !ToRow(id, uIndex) ||
        m_AddrDataBaseMgr.DeleteRecord(kStoreTable, uIndex) != DB_ERROR_OK) {
      return -1;
    }
    const bool bHadSet = DropFromSet(id);
    return EndChange(turn, id) && bHadSet ? 0 : -1;
  });
}

// --- Transactions of clients -----------------------------------------------------------------------------------------

long CFileSMSImpl::BeginTransaction() {
  if (m_AddrDataBaseMgr.BeginTransaction() != DB_ERROR_OK) {
    return -1;
  }
  std::vector<long> takenBack;
  {
    CISAPUGuard<JMutex> lock(m_MutexPending);
    if (m_iTransactions > 0 && pthread_equal(m_transactionThread, pthread_self()) == 0) {
      takenBack.swap(m_vctPending);  // that thread has ended inside its transaction
      m_iTransactions = 0;
    }
    m_transactionThread = pthread_self();
    ++m_iTransactions;
  }
  AgreeWithRows(takenBack);
  return 0;
}

long CFileSMSImpl::EndTransaction() {
  const bool bDone = m_AddrDataBaseMgr.EndTransaction() == DB_ERROR_OK;
  std::vector<long> takenBack;
  {
    CISAPUGuard<JMutex> lock(m_MutexPending);
    const bool bMine = m_iTransactions > 0 && pthread_equal(m_transactionThread, pthread_self()) != 0;
    if (bMine && --m_iTransactions == 0) {
      takenBack.swap(m_vctPending);
    }
  }
  if (bDone) {
    return 0;
  }
  AgreeWithRows(takenBack);
  return -1;
}

bool CFileSMSImpl::IsInTransactionOfAnother() {
  CISAPUGuard<JMutex> lock(m_MutexPending);
  return m_iTransactions > 0 && pthread_equal(m_transactionThread, pthread_self()) == 0;
}

void CFileSMSImpl::NotePending(long id) {
  CISAPUGuard<JMutex> lock(m_MutexPending);
  if (m_iTransactions > 0 && pthread_equal(m_transactionThread, pthread_self()) != 0) {
    m_vctPending.push_back(id);
  }
}

void CFileSMSImpl::AgreeWithRows(const std::vector<long>& ids) {
  RunQuietly("CFileSMSImpl::AgreeWithRows() exception!", [&]() -> long {
    for (const long id : ids) {
      AgreeWithRow(id);
    }
    return 0;
  });
}
