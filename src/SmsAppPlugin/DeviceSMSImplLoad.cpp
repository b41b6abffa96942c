// The device store: loading the mirror, and moving messages to the local store.
#include "CatchAll.h"
#include "DeviceSMSImpl.h"
#include "SMSRecordImpl.h"
#include "SMSRecordSetImpl.h"
#include "SMSServiceImpl.h"
#include "StoreTrace.h"
#include "services/IDeviceMgr.h"
#include "services/IDeviceService.h"
#include "services/IShortMessage.h"
#include "utils.h"

#include <algorithm>

/// What one load has found out once.
struct CDeviceSMSImpl::LoadRun {
  IShortMessage& service;
  bool bSaveLocal;
  int iReadMode;  // UnreadSmAlterMode
};

namespace {

void AddHandle(std::vector<MSG_HANDLE>& handles, MSG_HANDLE hMsg) {
  if (std::find(handles.begin(), handles.end(), hMsg) == handles.end()) {
    handles.push_back(hMsg);
  }
}

}  // namespace

/// Keeps the receive loop from reading from the device meanwhile.
class CDeviceSMSImpl::CReadLockHold {
public:
  explicit CReadLockHold(CSMSServiceImpl* pService) : m_pService(pService) {
    if (m_pService != nullptr) {
      m_pService->ReadNewMsgLock();
      m_pService->AwaitMoveInHand();
    }
  }
  ~CReadLockHold() {
    if (m_pService != nullptr) {
      m_pService->ReadNewMsgUnlock();
    }
  }
  CReadLockHold(const CReadLockHold&) = delete;
  CReadLockHold& operator=(const CReadLockHold&) = delete;

private:
  CSMSServiceImpl* const m_pService;
};

// --- The load thread -------------------------------------------------------------------------------------------------

void CDeviceSMSImpl::Init() {
  TraceStore("Info: Enter CDeviceSMSImpl::Init()");
  RunQuietly("CDeviceSMSImpl::Init() exception!", [&]() -> long {
    IDeviceMgr* const pManager = GetDeviceMgr();
    IDeviceService* const pDevice = GetDeviceService();
    if (pManager == nullptr || pDevice == nullptr || !IsListed(*pManager, m_enMem)) {
      return 0;
    }
    if (m_enMem == SMS_MEM_SM) {
      TraceStore("Info: Init() SMS_MEM_SM == m_enMem");
      InitSim(*pManager, *pDevice);
    } else if (m_enMem == SMS_MEM_ME) {
      TraceStore("Info: Init() SMS_MEM_ME == m_enMem");
      m_bHasMem = true;
      ReadRecord();
    }
    return 0;
  });
}

bool CDeviceSMSImpl::IsListed(IDeviceMgr& manager, SMS_MEM enMem) {
  IDeviceMemIterator* pMemories = nullptr;
  if (!manager.GetMemIterator(&pMemories) || pMemories == nullptr) {
    return false;
  }
  bool bThere = pMemories->First();
  while (bThere && pMemories->CurrentMem() != enMem) {
    bThere = pMemories->Next();
  }
  return bThere;
}

void CDeviceSMSImpl::InitSim(IDeviceMgr& manager, IDeviceService& device) {
  SimState enSim = SIM_STATE_NONE;
  DWORD dwExtra = 0;
  if (!device.GetSimState(&enSim, &dwExtra) || enSim != SIM_STATE_AVAILABLE) {
    return;
  }
  m_bHasMem = true;
  DevDataDef::PinStatus enPin = DevDataDef::PIN_UNKNOWN;
  DWORD dwPinTimes = 0;
  DWORD dwPukTimes = 0;
  manager.GetPinStatus(&enPin, &dwPinTimes, &dwPukTimes);
  if (enPin == DevDataDef::PIN_READY || enPin == DevDataDef::PIN_DISABLED) {
    TraceStore("Info: PIN is  ready , begin read record from SIM card");
    ReadRecord();
  }
}

// --- Loading ---------------------------------------------------------------------------------------------------------

void CDeviceSMSImpl::ReadRecord() {
  CISAPUGuard<JMutex> lock(m_MutexReadSMS);
  TraceStore("Info: Enter CDeviceSMSImpl::ReadRecord()");
  m_bIsQuitThread = false;
  try {
    Load();
  }
  SMS_LET_CANCELLATION_PASS catch (...) {
    TraceStore("CDeviceSMSImpl::ReadRecord() exception!");
    EmptyMirror();
    m_bCutSMSToLocal = false;
  }
}

void CDeviceSMSImpl::Load() {
  CSMSRecordSetImpl* const pMirror = m_pDeviceRecordSet;
  if (pMirror != nullptr && pMirror->GetRecordCount() != 0) {
    return;
  }
  m_bInit = false;
  const CReadLockHold readLock(m_pSMSServiceImpl);
  if (GetReocrdList() == nullptr) {
    return;
  }
  const CServiceHold service(*this);
  if (service.Get() == nullptr) {
    TraceStore("GetUniCommService fail");
    return;
  }
  LoadAll(*service.Get());
}

void CDeviceSMSImpl::LoadAll(IShortMessage& service) {
  const bool bSaveLocal = GetIsSaveLocal();
  std::vector<MSG_HANDLE> handles;
  if (IsQuitting() || !ListMemory(service, handles)) {
    return;
  }
  for (const long id : TakeMirror()) {  // saved while the list was made: it may lack them
    AddHandle(handles, static_cast<MSG_HANDLE>(id));
  }
  const LoadRun run{service, bSaveLocal, LoadReadMode(service, bSaveLocal)};
  for (const MSG_HANDLE hMsg : handles) {
    if (!LoadOne(run, hMsg)) {
      TraceStore("m_bInit || m_bIsQuitThread, ReadNewMsgUnlock and quit ReadRecord()");
      return;
    }
  }
  GetReocrdList()->MoveFirst();
  m_bInit = true;
}

bool CDeviceSMSImpl::ListMemory(IShortMessage& service, std::vector<MSG_HANDLE>& handles) {
  struct CListHold {
    IShortMessage& service;
    SMS_LIST stList;
    ~CListHold() noexcept(false) { service.SMSReleaseMsgList(&stList); }
  } hold{service, {}};
  DWORD dwStatus = 0;
  if (!service.SMSGetMsgList(m_enMem, &hold.stList, &dwStatus)) {
    TraceStore("SMSGetMsgList fail");
    if (IsQuitting()) {
      TraceStore("SMSGetMsgList fail , m_bIsQuitThread == true");
    }
    return false;
  }
  if (hold.stList.pList != nullptr) {
    handles.assign(hold.stList.pList, hold.stList.pList + hold.stList.dwCount);
  }
  return true;
}

int CDeviceSMSImpl::LoadReadMode(IShortMessage& service, bool bSaveLocal) {
  IDeviceService* const pDevice = GetDeviceService();
  if (pDevice != nullptr && pDevice->GetProductType() == DevDataDef::PRODUCT_TYPE_CDMA) {
    return UNREAD_SM_NOT_ALTER;
  }
  return bSaveLocal ? UNREAD_SM_ALTER : CarefulReadMode(service);
}

bool CDeviceSMSImpl::LoadOne(const LoadRun& run, MSG_HANDLE hMsg) {
  if (IsQuitting()) {
    return false;
  }
  SMReadRecord stMessage;
  MSG_HANDLE hRead = hMsg;
  DWORD dwStatus = 0;
  if (!run.service.SMSReadMsg(m_enMem, &hRead, &stMessage, run.iReadMode, &dwStatus)) {
    return !m_bInit && !IsQuitting();
  }
  TraceSMReadRecord(&stMessage, &hMsg);
  if (!MoveAway(run, stMessage, hMsg)) {
    KeepInMirror(run, stMessage, hMsg);
    if (m_bCutSMSToLocal) {
      CutOne(run, stMessage, hMsg);
    }
  }
  return true;
}

bool CDeviceSMSImpl::MoveAway(const LoadRun& run, const SMReadRecord& stMessage, MSG_HANDLE hMsg) {
  DWORD dwStatus = 0;
  if (stMessage.enType == SMS_IDENTIFYER_MMS_NOTIFY && GiveToMmsSide(stMessage) &&
      run.service.SMSDeleteMsg(m_enMem, hMsg, &dwStatus)) {
    return true;
  }
  const bool bMove = stMessage.enType == SMS_IDENTIFYER_REPORT || stMessage.enType == SMS_IDENTIFYER_CELL_BROADCAST ||
                     (run.bSaveLocal && stMessage.enSMStat == SMS_STAT_UNREAD);
  return bMove && m_pSMSServiceImpl != nullptr && m_pSMSServiceImpl->Device2Local(stMessage) &&
         run.service.SMSDeleteMsg(m_enMem, hMsg, &dwStatus);
}

void CDeviceSMSImpl::KeepInMirror(const LoadRun& run, const SMReadRecord& stMessage, MSG_HANDLE hMsg) {
  CSMSRecordImpl record(static_cast<long>(hMsg));
  ParseSMSMessageToRecord(stMessage, &record, m_enMem);
  if (run.bSaveLocal) {
    record.SetIsRead(NS_SMS::IS_READ);
  }
  if (PutIntoMirror(record) != 0) {
    TraceStore("PushSMSRecord fail");
  }
}

bool CDeviceSMSImpl::GiveToMmsSide(const SMReadRecord& stMessage) {
  if (m_pSMSServiceImpl == nullptr) {
    return false;
  }
  const SMReadRecord& kept = m_pSMSServiceImpl->KeepForMms(stMessage);
  if (m_pSMSServiceImpl->SendMMSNotify(kept)) {
    return true;
  }
  m_pSMSServiceImpl->GiveBackMms(kept);
  return false;
}

// --- Moving everything to the local store ----------------------------------------------------------------------------

bool CDeviceSMSImpl::CutAllToLocal() {
  bool bThrough = false;
  {
    CISAPUGuard<JMutex> lock(m_MutexReadSMS);
    m_bCutSMSToLocal = true;
    ReadRecord();
    bThrough = m_bCutSMSToLocal.exchange(false);
  }
  if (bThrough && m_pSMSServiceImpl != nullptr) {
    RunQuietly("CDeviceSMSImpl::CutAllToLocal() exception!", [&]() -> long {
      m_pSMSServiceImpl->CallBackParamFunc(ISMSEvent::CUT_TO_LOCAL_DONE);
      return 0;
    });
  }
  return true;
}

void CDeviceSMSImpl::CutOne(const LoadRun& run, const SMReadRecord& stMessage, MSG_HANDLE hMsg) {
  if (m_pSMSServiceImpl == nullptr || !m_pSMSServiceImpl->Save2Local(stMessage)) {
    return;
  }
  DWORD dwStatus = 0;
  if (!run.service.SMSDeleteMsg(m_enMem, hMsg, &dwStatus)) {
    m_pSMSServiceImpl->CallBackParamFunc(ISMSEvent::CUT_TO_LOCAL_DELETE_FAILED);
    return;
  }
  DropFromMirror(static_cast<long>(hMsg));
  m_pSMSServiceImpl->CallBackParamFunc(ISMSEvent::CUT_TO_LOCAL_MOVED);
}
