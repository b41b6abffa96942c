#include "SMSServiceImpl.h"

#include "CatchAll.h"
#include "DeviceSMSImpl.h"
#include "FileSMSImpl.h"
#include "LockRanks.h"
#include "MyGlobalFunc.h"
#include "SMSRecordImpl.h"
#include "SMSSettingImpl.h"
#include "ServiceTrace.h"
#include "services/IDeviceMgr.h"
#include "services/IDeviceService.h"
#include "services/INetSrv.h"
#include "services/IShortMessage.h"
#include "utils.h"

#include <mutex>

namespace {

std::atomic<CSMSServiceImpl*> g_pInstance{nullptr};
// Recursive: the constructor's own work may come back here. Trivial to destroy: threads may outlive static objects.
std::recursive_mutex g_creation;

const int kEndLimitSeconds = 5;

/// A service that fails to let go must not keep the others from doing so.
template <class Service, class Sink>
void UnRegister(Service* pService, Sink* pSink) {
  try {
    if (pService != nullptr) {
      pService->UnRegEventSink(pSink);
    }
  }
  SMS_LET_CANCELLATION_PASS catch (...) {
    // it keeps the sink; nothing more can be done about it
  }
}

}  // namespace

CSMSServiceImpl* CSMSServiceImpl::instance() {
  const std::lock_guard<std::recursive_mutex> guard(g_creation);
  if (g_pInstance == nullptr) {
    try {
      g_pInstance = new CSMSServiceImpl;
    }
    SMS_LET_CANCELLATION_PASS catch (...) { ServiceTrace("new CSMSServiceImpl fail"); }
  }
  return g_pInstance;
}

CSMSServiceImpl* CSMSServiceImpl::GetInstance() { return g_pInstance; }

void CSMSServiceImpl::Destroy() { delete g_pInstance.exchange(nullptr); }

CSMSServiceImpl::CSMSServiceImpl()
    : m_MutexNewMsgHandle(LockRank::kNewMsgHandle, "m_MutexNewMsgHandle"),
      m_MutexNewMsg(LockRank::kNewMsg, "m_MutexNewMsg"),
      m_MutexCallback(LockRank::kCallback, "m_MutexCallback"),
      m_MutexSendThread(LockRank::kSendThread, "m_MutexSendThread"),
      m_MutexInterface(LockRank::kInterface, "m_MutexInterface"),
      m_MutexReadNewMsg(LockRank::kReadNewMsg, "m_MutexReadNewMsg"),
      m_OnDeviceMgrEvent(LockRank::kDeviceMgrEvent, "m_OnDeviceMgrEvent"),
      m_pLocalSMS(nullptr),
      m_pSimSMS(nullptr),
      m_pNVSMS(nullptr),
      m_bExitReceving(false),
      m_pSendSMSThread(nullptr),
      m_lCancelCount(0),
      m_pSMSRecordReport(nullptr),
      m_bSIMIsRead(false),
      m_bDeviceStatus(false),
      m_bSIMIsFull(false),
      m_bDeviceIsFull(false),
      m_bQueryServer(false),
      m_bExistCBS(false),
      m_bStopCheckFileAndDeviceInit(false),
      m_bRegister(false),
      m_pfnOnMmsCommEvent(nullptr),
      m_bHideDoubleModeCardNode(false),
      m_MutexAwaitDirect(LockRank::kAwaitDirect, "m_MutexAwaitDirect"),
      m_uDirectQueued(0),
      m_uDirectDone(0),
      m_MutexMoveNewMsg(LockRank::kMoveNewMsg, "m_MutexMoveNewMsg"),
      m_MutexSendStart(LockRank::kSendStart, "m_MutexSendStart"),
      m_bSendEnding(false),
      m_MutexQueues(LockRank::kServiceQueues, "m_MutexQueues"),
      m_pPublishedClients(std::make_shared<ClientList>()),
      m_pDeliveredMms(nullptr),
      m_iTransactions(0),
      m_transactionThread(0) {
  m_hEventNoTransaction.Init(true, true);
  m_hEventOwnerWaits.Init(true, false);
  try {
    Construct();
  }
  SMS_LET_CANCELLATION_PASS catch (...) { ServiceTrace("CSMSServiceImpl construct error"); }
}

void CSMSServiceImpl::Construct() {
  m_pLocalSMS = new CFileSMSImpl(this);
  m_pSimSMS = new CDeviceSMSImpl(SMS_MEM_SM, this);
  m_pNVSMS = new CDeviceSMSImpl(SMS_MEM_ME, this);
  for (JMutex* mutex : {&m_MutexCallback, &m_MutexSendThread, &m_MutexNewMsg, &m_MutexNewMsgHandle, &m_MutexInterface,
                        &m_MutexReadNewMsg, &m_OnDeviceMgrEvent}) {
    mutex->Init();
  }
  m_hEventDirectDone.Init(false, false);
  m_hEventSendOK.Init(false, false);
  m_hEventSendFail.Init(false, false);
  m_hEventCancelMsg.Init(false, false);
  m_hEventCanceled.Init(true, false);
  ReadBroadcastSetting();

  IShortMessage* const sms = GetSmsService();
  if (sms == nullptr) {
    throw -1;
  }
  sms->RegEventSink(this);
  IDeviceMgr* const manager = GetDeviceMgr();
  if (manager == nullptr) {
    throw -1;
  }
  manager->RegEventSink(this);
  m_bHideDoubleModeCardNode = MyGetSetting(u"DualModeCard", u"HideDoubleModeCardNode") == u"true";
  if (INetSrv* const network = GetNetService()) {
    network->RegEventSink(this);
  }
  CheckSimAndDevice();
  m_CheckFileAndDeviceInit.StartThread(this, &CSMSServiceImpl::CheckFileAndDeviceInit);
}

void CSMSServiceImpl::ReadBroadcastSetting() {
  ISMSSetting* setting = nullptr;
  m_bExistCBS = GetSMSSetting(&setting) == SUCCESS && MyGetSetting(u"CBS", u"enable") == u"true";
  ServiceTrace(m_bExistCBS ? "m_bExistCBS = true" : "m_bExistCBS = false");
}

void CSMSServiceImpl::OnDestroy() {
  UnRegister(GetSmsService(), this);
  UnRegister(GetDeviceMgr(), this);
  UnRegister(GetNetService(), this);
  try {
    const CISAPUGuard<JMutex> guard(m_MutexCallback);
    m_lstEventHandle.clear();
    PublishClientsLocked();
  }
  SMS_LET_CANCELLATION_PASS catch (...) {
    // the list is empty already
  }
}

CSMSServiceImpl::~CSMSServiceImpl() {
  try {
    { const CISAPUGuard<JMutex> lastEvent(m_OnDeviceMgrEvent); }
    EndThreads();
    { const CISAPUGuard<JMutex> lastWait(m_MutexAwaitDirect); }
    StoreLeftDirect();
    DeleteStores();
    m_bExitReceving = true;
    const CISAPUGuard<JMutex> guard(m_MutexCallback);
    FreeReportRecordLocked();
  } catch (...) {
    // what cannot be ended is left behind; the host goes on
  }
}

void CSMSServiceImpl::EndThreads() {
  m_bExitReceving = true;
  m_hEventReceive.SetEvent();
  m_hEventDirectDone.SetEvent();
  m_receiver.EndThread(kEndLimitSeconds);
  if (m_pSendSMSThread != nullptr) {
    if (m_pSendSMSThread->IsRunning()) {
      m_hEventCancelMsg.SetEvent();
      m_pSendSMSThread->EndThread(kEndLimitSeconds);
    }
    delete m_pSendSMSThread;
    m_pSendSMSThread = nullptr;
  }
  m_hEventCanceled.SetEvent();
  if (m_CheckFileAndDeviceInit.IsRunning()) {
    m_bStopCheckFileAndDeviceInit = true;
    m_hEventStopCheck.SetEvent();
    m_CheckFileAndDeviceInit.EndThread(kEndLimitSeconds);
  }
}

void CSMSServiceImpl::DeleteStores() {
  // Loads of the device stores save into the local store: they end before it goes.
  for (CDeviceSMSImpl* store : {m_pSimSMS, m_pNVSMS}) {
    if (store != nullptr) {
      store->StopForGood();
    }
  }
  delete m_pLocalSMS;
  m_pLocalSMS = nullptr;
  delete m_pSimSMS;
  m_pSimSMS = nullptr;
  delete m_pNVSMS;
  m_pNVSMS = nullptr;
}
