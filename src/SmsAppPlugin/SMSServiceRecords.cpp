// Record operations: which store, under which lock; and the factory operations.

#include "CatchAll.h"
#include "DeviceSMSImpl.h"
#include "FileSMSImpl.h"
#include "SMSRecordImpl.h"
#include "SMSRecordSetImpl.h"
#include "SMSServiceImpl.h"
#include "SMSSettingImpl.h"
#include "ServiceTrace.h"

#include <unistd.h>
#include <new>

namespace {

const char kNullStore[] = "error: SMSMgr's  point is Null";

/// Runs an operation of a store; no exception leaves the service.
template <class Operation>
long Guarded(Operation&& operation) {
  try {
    return operation();
  }
  SMS_LET_CANCELLATION_PASS catch (...) { return ISMSService::FAILURE; }
}

const unsigned int kTransactionLimitMs = 10000;  // the database gives up then, too

}  // namespace

/// What a record operation holds: m_MutexInterface, and m_MutexCallback before it where clients will be told. A change
/// of the local store waits first, holding neither, for the end of another client's transaction, whose own operations
/// need both. A change from inside a callback holds m_MutexCallback all the same: it waits too, but gives up when the
/// transaction cannot go on without that lock.
class CSMSServiceImpl::CRecordHold {
public:
  enum Kind { kOperation, kLocalChange, kLocalSave };

  CRecordHold(CSMSServiceImpl& service, Kind enKind) : m_service(service), m_bTellsClients(enKind == kLocalSave) {
    const bool bInside = service.m_MutexCallback.IsHeldByThisThread();
    Take();
    while (enKind != kOperation && m_bHeld && service.InTransaction(false)) {
      Give();
      if (service.AwaitTransactionEnd(bInside)) {
        Take();
      }
    }
  }
  ~CRecordHold() { Give(); }
  CRecordHold(const CRecordHold&) = delete;
  CRecordHold& operator=(const CRecordHold&) = delete;

  /// Runs an operation of a store, unless the locks are not to be had. No exception leaves the service.
  template <class Operation>
  static long Run(CSMSServiceImpl& service, Kind enKind, Operation&& operation) {
    return Guarded([&]() -> long {
      const CRecordHold hold(service, enKind);
      return hold.m_bHeld ? operation() : static_cast<long>(FAILURE);
    });
  }

private:
  void Take() {
    if (m_bTellsClients) {
      TakeClients();
    }
    m_service.m_MutexInterface.Lock();
    m_bHeld = true;
  }
  void TakeClients() {
    const bool bOwner = m_service.InTransaction(true);
    if (bOwner) {
      m_service.m_hEventOwnerWaits.SetEvent();
    }
    m_service.m_MutexCallback.Lock();
    if (bOwner) {
      m_service.m_hEventOwnerWaits.ResetEvent();
    }
  }
  void Give() {
    if (m_bHeld) {
      m_bHeld = false;
      m_service.m_MutexInterface.Unlock();
      if (m_bTellsClients) {
        m_service.m_MutexCallback.Unlock();
      }
    }
  }

  CSMSServiceImpl& m_service;
  const bool m_bTellsClients;
  bool m_bHeld = false;
};

bool CSMSServiceImpl::InTransaction(bool bOwn) {
  const CISAPUGuard<JMutex> guard(m_MutexQueues);
  return m_iTransactions > 0 && (m_transactionThread == gettid()) == bOwn;
}

bool CSMSServiceImpl::AwaitTransactionEnd(bool bInsideCallback) {
  JEvent* const ends[] = {&m_hEventNoTransaction, &m_hEventOwnerWaits};
  const int end = JEvent::WaitForMultipleObjects(bInsideCallback ? 2 : 1, ends, false, kTransactionLimitMs);
  if (end == JEVENT_WAIT_TIME_OUT) {
    ForgetTransaction();  // its thread may have ended; if not, the database says so
  }
  return end != 1;
}

void CSMSServiceImpl::ForgetTransaction() {
  const CISAPUGuard<JMutex> guard(m_MutexQueues);
  m_iTransactions = 0;
  m_hEventNoTransaction.SetEvent();
}

CSMSMgr* CSMSServiceImpl::StoreOf(int iStorage) const {
  CSMSMgr* store = nullptr;
  switch (iStorage) {
    case NS_SMS::SMS_LOCAL:
      store = m_pLocalSMS;
      break;
    case NS_SMS::SMS_SIM:
      store = m_pSimSMS;
      break;
    case NS_SMS::SMS_NV:
      store = m_pNVSMS;
      break;
    default:
      break;
  }
  if (store == nullptr) {
    ServiceTrace(kNullStore);
  }
  return store;
}

CSMSMgr* CSMSServiceImpl::StoreOfPosition(int iPosition) const {
  switch (iPosition) {
    case NS_SMS::SEND_BOX_SIM:
    case NS_SMS::RECEIVE_BOX_SIM:
      return StoreOf(NS_SMS::SMS_SIM);
    case NS_SMS::SEND_BOX_NV:
    case NS_SMS::RECEIVE_BOX_NV:
      return StoreOf(NS_SMS::SMS_NV);
    default:
      return StoreOf(NS_SMS::SMS_LOCAL);
  }
}

ISMSRecordSet* CSMSServiceImpl::GetSMSRecordSet(int iStorage) {
  try {
    CSMSMgr* const store = StoreOf(iStorage);
    CSMSRecordSetImpl* const set = store == nullptr ? nullptr : store->GetReocrdList();
    if (set != nullptr) {
      set->MoveFirst();
    }
    return set;
  }
  SMS_LET_CANCELLATION_PASS catch (...) { return nullptr; }
}

long CSMSServiceImpl::GetMsg(ISMSRecord* pRecord, int iStorage) {
  if (pRecord == nullptr) {
    return FAILURE;
  }
  CSMSMgr* const store = StoreOf(iStorage);
  if (store == nullptr) {
    return FAILURE;
  }
  return Guarded([&] {
    if (store == m_pLocalSMS) {
      const CISAPUGuard<JMutex> guard(m_MutexInterface);
      return store->GetRecord(pRecord);
    }
    return GetDeviceMsg(iStorage == NS_SMS::SMS_SIM ? *m_pSimSMS : *m_pNVSMS, pRecord);
  });
}

/// The hand-over of an MMS notification takes the callback lock, so it comes after the interface lock is given back.
long CSMSServiceImpl::GetDeviceMsg(CDeviceSMSImpl& store, ISMSRecord* pRecord) {
  SMReadRecord message;
  const long id = pRecord->GetMSGID();
  {
    const CISAPUGuard<JMutex> guard(m_MutexInterface);
    const long result = store.ReadFromDevice(pRecord, message);
    if (result != SUCCESS) {
      return result;
    }
  }
  store.HandOverMms(message, id);
  return SUCCESS;
}

long CSMSServiceImpl::SaveMsg(ISMSRecord* pRecord, long* plID, long& lCount) {
  if (pRecord == nullptr) {
    return FAILURE;
  }
  CSMSMgr* const store = StoreOfPosition(pRecord->GetPosition());
  if (store == nullptr) {
    return FAILURE;
  }
  // Completing a long message calls clients: their lock comes first.
  const auto kind = store == m_pLocalSMS ? CRecordHold::kLocalSave : CRecordHold::kOperation;
  return CRecordHold::Run(*this, kind, [&] { return store->SaveRecord(pRecord, plID, lCount); });
}

long CSMSServiceImpl::UpdateMsg(ISMSRecord* pRecord) {
  CSMSMgr* const store = pRecord == nullptr ? nullptr : StoreOfPosition(pRecord->GetPosition());
  if (store == nullptr) {
    return FAILURE;
  }
  const auto kind = store == m_pLocalSMS ? CRecordHold::kLocalChange : CRecordHold::kOperation;
  return CRecordHold::Run(*this, kind, [&] { return store->UpdateRecord(pRecord); });
}

long CSMSServiceImpl::DeleteMsg(long lID, int iStorage) {
  CSMSMgr* const store = StoreOf(iStorage);
  if (store == nullptr) {
    return FAILURE;
  }
  const auto kind = store == m_pLocalSMS ? CRecordHold::kLocalChange : CRecordHold::kOperation;
  return CRecordHold::Run(*this, kind, [&] { return store->DeleteRecord(lID); });
}

long CSMSServiceImpl::RemoveRecord(long lID, int iStorage) {
  CSMSMgr* const store = StoreOf(iStorage);
  if (store == nullptr) {
    return FAILURE;
  }
  const auto kind = store == m_pLocalSMS ? CRecordHold::kLocalChange : CRecordHold::kOperation;
  return CRecordHold::Run(*this, kind, [&] { return store->RemoveRecord(lID); });
}

long CSMSServiceImpl::GetRecordInfo(int& iCapacity, int& iUsed, int iStorage) {
  CSMSMgr* const store = StoreOf(iStorage);
  if (store == nullptr) {
    return FAILURE;
  }
  return Guarded([&] { return store->GetRecordInfo(iCapacity, iUsed); });
}

long CSMSServiceImpl::GetSMSSetting(ISMSSetting** ppSetting) {
  if (ppSetting == nullptr) {
    return FAILURE;
  }
  *ppSetting = CSMSSettingImpl::instance();
  return SUCCESS;
}

long CSMSServiceImpl::CreateSMSRecordSet(ISMSRecordSet** ppSet) {
  if (ppSet == nullptr) {
    return FAILURE;
  }
  return Guarded([&]() -> long {
    *ppSet = new CSMSRecordSetImpl;
    return SUCCESS;
  });
}

long CSMSServiceImpl::CreateSMSRecord(ISMSRecord** ppRecord, long lID) {
  if (ppRecord == nullptr) {
    return FAILURE;
  }
  return Guarded([&]() -> long {
    *ppRecord = new CSMSRecordImpl(lID);
    return SUCCESS;
  });
}

long CSMSServiceImpl::ReleaseSMSRecord(ISMSRecord** ppRecord) {
  if (ppRecord == nullptr) {
    return FAILURE;
  }
  FreeRecordStorage(*ppRecord);
  *ppRecord = nullptr;
  return SUCCESS;
}

void CSMSServiceImpl::FreeRecordStorage(ISMSRecord* pRecord) {
  if (pRecord == nullptr) {
    return;
  }
  if (auto* const own = dynamic_cast<CSMSRecordImpl*>(pRecord)) {
    own->FreeTexts();
  }
  ::operator delete(dynamic_cast<void*>(pRecord));
}

long CSMSServiceImpl::BeginTransaction() {
  if (m_pLocalSMS == nullptr) {
    return FAILURE;
  }
  return CRecordHold::Run(*this, CRecordHold::kLocalChange, [&]() -> long {
    if (m_pLocalSMS->BeginTransaction() != 0) {
      return FAILURE;
    }
    const CISAPUGuard<JMutex> guard(m_MutexQueues);
    m_transactionThread = gettid();
    ++m_iTransactions;
    m_hEventNoTransaction.ResetEvent();
    return SUCCESS;
  });
}

long CSMSServiceImpl::EndTransaction() {
  if (m_pLocalSMS == nullptr) {
    return FAILURE;
  }
  return Guarded([&]() -> long {
    // Without m_MutexInterface: whoever holds it may be waiting for this end.
    const long result = m_pLocalSMS->EndTransaction() == 0 ? SUCCESS : FAILURE;
    const CISAPUGuard<JMutex> guard(m_MutexQueues);
    const bool mine = m_iTransactions > 0 && m_transactionThread == gettid();
    if (mine && --m_iTransactions == 0) {
      m_hEventNoTransaction.SetEvent();
    }
    return result;
  });
}
