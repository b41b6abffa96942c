// Record operations: which store, under which lock; and the factory operations.

#include "CatchAll.h"
#include "DeviceSMSImpl.h"
#include "FileSMSImpl.h"
#include "SMSRecordImpl.h"
#include "SMSRecordSetImpl.h"
#include "SMSServiceImpl.h"
#include "SMSSettingImpl.h"
#include "ServiceTrace.h"

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

}  // namespace

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
  return Guarded([&] {
    // Completing a long message calls clients: their lock comes first.
    std::unique_ptr<CISAPUGuard<JMutex>> clients;
    if (store == m_pLocalSMS) {
      clients = std::make_unique<CISAPUGuard<JMutex>>(m_MutexCallback);
    }
    const CISAPUGuard<JMutex> guard(m_MutexInterface);
    return store->SaveRecord(pRecord, plID, lCount);
  });
}

long CSMSServiceImpl::UpdateMsg(ISMSRecord* pRecord) {
  CSMSMgr* const store = pRecord == nullptr ? nullptr : StoreOfPosition(pRecord->GetPosition());
  if (store == nullptr) {
    return FAILURE;
  }
  return Guarded([&] {
    const CISAPUGuard<JMutex> guard(m_MutexInterface);
    return store->UpdateRecord(pRecord);
  });
}

long CSMSServiceImpl::DeleteMsg(long lID, int iStorage) {
  CSMSMgr* const store = StoreOf(iStorage);
  if (store == nullptr) {
    return FAILURE;
  }
  return Guarded([&] {
    const CISAPUGuard<JMutex> guard(m_MutexInterface);
    return store->DeleteRecord(lID);
  });
}

long CSMSServiceImpl::RemoveRecord(long lID, int iStorage) {
  CSMSMgr* const store = StoreOf(iStorage);
  if (store == nullptr) {
    return FAILURE;
  }
  return Guarded([&] {
    const CISAPUGuard<JMutex> guard(m_MutexInterface);
    return store->RemoveRecord(lID);
  });
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
  return Guarded([&]() -> long { return m_pLocalSMS->BeginTransaction() == 0 ? SUCCESS : FAILURE; });
}

long CSMSServiceImpl::EndTransaction() {
  if (m_pLocalSMS == nullptr) {
    return FAILURE;
  }
  return Guarded([&]() -> long { return m_pLocalSMS->EndTransaction() == 0 ? SUCCESS : FAILURE; });
}
