// The device store: life, the mirror, and operations on one message.
#include "DeviceSMSImpl.h"

#include "LockRanks.h"
#include "MyGlobalFunc.h"
#include "SMSRecordImpl.h"
#include "SMSRecordSetImpl.h"
#include "SMSServiceImpl.h"
#include "SMSSettingImpl.h"
#include "StoreTrace.h"
#include "services/IDeviceMgr.h"
#include "services/IShortMessage.h"
#include "utils.h"

#include <limits>

namespace {

bool IsDoubleModeCard() {
  bool bDoubleMode = false;
  IDeviceMgr* const pManager = GetDeviceMgr();
  return pManager != nullptr && pManager->GetDoubleModeCardState(&bDoubleMode, nullptr, nullptr, nullptr) &&
         bDoubleMode;
}

}  // namespace

// --- Life ------------------------------------------------------------------------------------------------------------

CDeviceSMSImpl::CDeviceSMSImpl(SMS_MEM enMem, CSMSServiceImpl* service)
    : m_enMem(enMem),
      m_MutexReadSMS(LockRank::kDeviceRead, "CDeviceSMSImpl::m_MutexReadSMS"),
      m_pDeviceRecordSet(nullptr),
      m_bInit(false),
      m_bHasMem(false),
      m_bIsQuitThread(false),
      m_pSMSServiceImpl(service),
      m_pSmsSrv(nullptr),
      m_bHideDoubleModeCardNode(MyGetSetting(u"DualModeCard", u"HideDoubleModeCardNode") == u"true"),
      m_bCutSMSToLocal(false),
      m_iStopRequests(0),
      m_MutexMirror(LockRank::kStoreInternal, "CDeviceSMSImpl::m_MutexMirror") {}

CDeviceSMSImpl::~CDeviceSMSImpl() {
  const CNoCancellation noCancellation;
  try {
    StopForGood();
  } catch (...) {
  }
  if (CSMSRecordSetImpl* const pMirror = m_pDeviceRecordSet.exchange(nullptr)) {
    pMirror->Release();
  }
}

void CDeviceSMSImpl::StopForGood() {
  m_bIsQuitThread = true;
  ++m_iStopRequests;
  m_InitThread.EndThread(5);
}

void CDeviceSMSImpl::StartThread() {
  if (!m_InitThread.IsRunning()) {
    TraceStore("Info: Enter CDeviceSMSImpl::StartThread()");
    m_InitThread.StartThread(this, &CDeviceSMSImpl::Init);
  }
}

void CDeviceSMSImpl::BackBeforeInit() {
  struct CStopRequest {
    std::atomic<int>& requests;
    explicit CStopRequest(std::atomic<int>& counter) : requests(counter) { ++requests; }
    ~CStopRequest() { --requests; }
  } const request(m_iStopRequests);
  m_bIsQuitThread = true;
  if (m_InitThread.IsRunning()) {
    TraceStore("CDeviceSMSImpl::BackBeforeInit(), m_InitThread.EndThread() begin");
    m_InitThread.EndThread(35);
    TraceStore("CDeviceSMSImpl::BackBeforeInit(), m_InitThread.EndThread() end");
  }
  m_bInit = false;
  CISAPUGuard<JMutex> lock(m_MutexReadSMS);
  m_bInit = false;  // a load on another thread may have ended meanwhile
  EmptyMirror();
}

CDeviceSMSImpl::CServiceHold::CServiceHold(CDeviceSMSImpl& store) : m_store(store), m_pService(GetSmsService()) {
  m_store.m_pSmsSrv = m_pService;
}

// --- The mirror ------------------------------------------------------------------------------------------------------

CSMSRecordSetImpl* CDeviceSMSImpl::GetReocrdList() {
  CSMSRecordSetImpl* pMirror = m_pDeviceRecordSet;
  if (pMirror != nullptr) {
    return pMirror;
  }
  CSMSRecordSetImpl* const pFresh = CSMSMgr::GetReocrdList();
  if (pFresh != nullptr && !m_pDeviceRecordSet.compare_exchange_strong(pMirror, pFresh)) {
    pFresh->Release();
    return pMirror;
  }
  return pFresh;
}

bool CDeviceSMSImpl::ClearDeviceData() {
  CISAPUGuard<JMutex> lock(m_MutexReadSMS);
  if (m_pDeviceRecordSet == nullptr) {
    return false;
  }
  EmptyMirror();
  return true;
}

void CDeviceSMSImpl::AddNewMessage(const ISMSRecord& record) {
  CISAPUGuard<JMutex> lock(m_MutexMirror);
  CSMSRecordSetImpl* const pMirror = m_pDeviceRecordSet;
  if (m_bInit && pMirror != nullptr && pMirror->GetRecord(record.GetMSGID()) == nullptr) {
    CSMSRecordImpl copy;
    copy = &record;
    pMirror->PushSMSRecord(copy);
  }
}

long CDeviceSMSImpl::PutIntoMirror(CSMSRecordImpl& record) {
  CISAPUGuard<JMutex> lock(m_MutexMirror);
  CSMSRecordSetImpl* const pMirror = GetReocrdList();
  return pMirror == nullptr ? -1 : pMirror->PushSMSRecord(record);
}

void CDeviceSMSImpl::ReplaceInMirror(CSMSRecordImpl& record) {
  CISAPUGuard<JMutex> lock(m_MutexMirror);
  CSMSRecordSetImpl* const pMirror = m_pDeviceRecordSet;
  if (pMirror != nullptr && pMirror->GetRecord(record.GetMSGID()) != nullptr) {
    pMirror->PushSMSRecord(record);
  }
}

void CDeviceSMSImpl::DropFromMirror(long id) {
  CISAPUGuard<JMutex> lock(m_MutexMirror);
  if (CSMSRecordSetImpl* const pMirror = m_pDeviceRecordSet) {
    pMirror->RemoveSMSRecord(id);
  }
}

void CDeviceSMSImpl::EmptyMirror() {
  CISAPUGuard<JMutex> lock(m_MutexMirror);
  if (CSMSRecordSetImpl* const pMirror = m_pDeviceRecordSet) {
    pMirror->ClearSMSRecord();
  }
}

std::vector<long> CDeviceSMSImpl::TakeMirror() {
  CISAPUGuard<JMutex> lock(m_MutexMirror);
  CSMSRecordSetImpl* const pMirror = m_pDeviceRecordSet;
  const std::vector<long> ids = pMirror == nullptr ? std::vector<long>() : pMirror->GetIdentifiers();
  EmptyMirror();
  return ids;
}

// --- One message -----------------------------------------------------------------------------------------------------

bool CDeviceSMSImpl::ToHandle(long id, MSG_HANDLE& hMsg) {
  if (id < 0 || id > static_cast<long>(std::numeric_limits<MSG_HANDLE>::max())) {
    return false;
  }
  hMsg = static_cast<MSG_HANDLE>(id);
  return true;
}

int CDeviceSMSImpl::CarefulReadMode(IShortMessage& service) {
  DWORD dwStatus = 0;
  return service.SMSGetAlterSupport(1, &dwStatus) == 1 ? UNREAD_SM_ALTER : UNREAD_SM_NOT_ALTER;
}

long CDeviceSMSImpl::GetRecord(ISMSRecord* record) {
  SMReadRecord stMessage;
  const long lResult = ReadFromDevice(record, stMessage);
  if (lResult == 0) {
    HandOverMms(stMessage, record->GetMSGID());
  }
  return lResult;
}

long CDeviceSMSImpl::ReadFromDevice(ISMSRecord* record, SMReadRecord& stMessage) {
  return RunQuietly("CDeviceSMSImpl::GetRecord() exception!", [&]() -> long {
    const CServiceHold service(*this);
    MSG_HANDLE hMsg = 0;
    if (record == nullptr || service.Get() == nullptr || !ToHandle(record->GetMSGID(), hMsg)) {
      return -1;
    }
    const long lID = record->GetMSGID();
    DWORD dwStatus = 0;
    if (!service.Get()->SMSReadMsg(m_enMem, &hMsg, &stMessage, CarefulReadMode(*service.Get()), &dwStatus)) {
      return -1;
    }
    ParseSMSMessageToRecord(stMessage, record, m_enMem);
    record->SetMSGID(lID);
    return 0;
  });
}

void CDeviceSMSImpl::HandOverMms(const SMReadRecord& stMessage, long id) {
  RunQuietly("CDeviceSMSImpl::HandOverMms() exception!", [&]() -> long {
    const CServiceHold service(*this);
    MSG_HANDLE hMsg = 0;
    DWORD dwStatus = 0;
    if (stMessage.enType == SMS_IDENTIFYER_MMS_NOTIFY && service.Get() != nullptr && ToHandle(id, hMsg) &&
        GiveToMmsSide(stMessage)) {
      service.Get()->SMSDeleteMsg(m_enMem, hMsg, &dwStatus);
    }
    return 0;
  });
}

long CDeviceSMSImpl::UpdateRecord(ISMSRecord* record) {
  RunQuietly("CDeviceSMSImpl::UpdateRecord() exception!", [&]() -> long {
    const CServiceHold service(*this);
    MSG_HANDLE hMsg = 0;
    if (record == nullptr || service.Get() == nullptr || !ToHandle(record->GetMSGID(), hMsg)) {
      return 0;
    }
    DWORD dwStatus = 0;
    service.Get()->SMSGetAlterSupport(0, &dwStatus);
    SMReadRecord stMessage;
    if (service.Get()->SMSReadMsg(m_enMem, &hMsg, &stMessage, UNREAD_SM_ALTER, &dwStatus)) {
      record->SetIsRead(NS_SMS::IS_READ);
      CSMSRecordImpl copy(record);
      ReplaceInMirror(copy);
    }
    return 0;
  });
  return 0;
}

long CDeviceSMSImpl::DeleteRecord(long id) { return RemoveRecord(id); }

long CDeviceSMSImpl::RemoveRecord(long id) {
  return RunQuietly("CDeviceSMSImpl::RemoveRecord() exception!", [&]() -> long {
    const CServiceHold service(*this);
    if (service.Get() == nullptr) {
      TraceStore("GetUniCommService fail");
      return -1;
    }
    MSG_HANDLE hMsg = 0;
    DWORD dwStatus = 0;
    if (!ToHandle(id, hMsg) || !service.Get()->SMSDeleteMsg(m_enMem, hMsg, &dwStatus)) {
      TraceStore("SMSDeleteMsg fail");
      return -1;
    }
    DropFromMirror(id);
    return 0;
  });
}

// --- The memory ------------------------------------------------------------------------------------------------------

long CDeviceSMSImpl::GetRecordInfo(int& capacity, int& used) {
  return RunQuietly("CDeviceSMSImpl::GetRecordInfo() exception!", [&]() -> long {
    const CServiceHold service(*this);
    DWORD dwTotal = 0;
    DWORD dwUsed = 0;
    DWORD dwStatus = 0;
    if (service.Get() == nullptr || !service.Get()->SMSGetMemInfo(m_enMem, &dwTotal, &dwUsed, &dwStatus)) {
      return -1;
    }
    capacity = static_cast<int>(dwTotal);
    used = static_cast<int>(dwUsed);
    return 0;
  });
}

int CDeviceSMSImpl::CheckIsFull() {
  if (!m_bInit) {
    return -1;
  }
  if (!m_bHasMem) {
    return 0;
  }
  int iTotal = 0;
  int iUsed = 0;
  return GetRecordInfo(iTotal, iUsed) == 0 && iTotal != 0 && iTotal == iUsed ? 1 : 0;
}

bool CDeviceSMSImpl::GetIsSaveLocal() {
  if (IsDoubleModeCard() && m_bHideDoubleModeCardNode) {
    return true;
  }
  int iMode = RECEIVE_NEWSMS_DIRECT;
  if (ISMSSetting* const pSetting = CSMSSettingImpl::instance()) {
    pSetting->GetSMSReceiveMode(iMode);
  }
  return iMode != RECEIVE_NEWSMS_UNKNOW;
}
