// Clients, and the hand-over of MMS notifications.

#include "CatchAll.h"
#include "SMSRecordImpl.h"
#include "SMSServiceImpl.h"
#include "ServiceTrace.h"
#include "services/IDeviceService.h"
#include "services/INetSrv.h"
#include "utils.h"

#include <algorithm>

long CSMSServiceImpl::RegCallBack(ISMSEvent* pEvent) {
  ServiceTrace("Info: Enter CSMSServiceImpl::RegCallBack()");
  try {
    AddClient(pEvent);
    TellPresentState();
  }
  SMS_LET_CANCELLATION_PASS catch (...) {
    // a client's or another plug-in's fault: the client is registered, some were not told
  }
  ServiceTrace("Info: Leave CSMSServiceImpl::RegCallBack()");
  return SUCCESS;
}

void CSMSServiceImpl::AddClient(ISMSEvent* pEvent) {
  const CISAPUGuard<JMutex> guard(m_MutexCallback);
  const bool known = std::find(m_lstEventHandle.begin(), m_lstEventHandle.end(), pEvent) != m_lstEventHandle.end();
  if (pEvent != nullptr && !known) {
    m_lstEventHandle.push_back(pEvent);
    PublishClientsLocked();
    m_bRegister = true;
    m_hEventReceive.SetEvent();
  }
}

void CSMSServiceImpl::TellPresentState() {
  INetSrv* const network = GetNetService();
  IDeviceService* const device = GetDeviceService();
  if (network == nullptr || device == nullptr) {
    ServiceTrace("Error: CSMSServiceImpl::RegCallBack() GetUniCommService fail");
  } else {
    TellSimState(*device);
    TellNetworkState(*network);
  }
}

void CSMSServiceImpl::TellSimState(IDeviceService& device) {
  SimState state = SIM_STATE_NONE;
  DWORD extra = 0;
  const bool usable = device.GetSimState(&state, &extra) && (state == SIM_STATE_AVAILABLE || state == SIM_STATE_ROMSIM);
  if (usable) {
    m_bDeviceStatus = true;
  }
  // "Error:" is part of both texts, although neither is one.
  ServiceTrace(usable ? "Error: CSMSServiceImpl::RegCallBack() ISMSEvent::SIM_OK"
                      : "Error: CSMSServiceImpl::RegCallBack() ISMSEvent::SIM_NOT_AVAILABLE");
  const CISAPUGuard<JMutex> guard(m_MutexCallback);
  TellState(usable ? ISMSEvent::SIM_OK : ISMSEvent::SIM_NOT_AVAILABLE);
}

void CSMSServiceImpl::TellNetworkState(INetSrv& network) {
  SysSrvStatus status = SYS_SRV_STATUS_NONE;
  DWORD extra = 0;
  const bool known = network.GetServerStatus(&status, &extra);
  const bool canSend = known && status == SYS_SRV_STATUS_SRV;
  if (canSend) {
    m_bDeviceStatus = true;
    ServiceTrace("Error: CSMSServiceImpl::RegCallBack() ISMSEvent::CAN_SEND_SMS");
  } else if (known) {
    ServiceTrace("Error: CSMSServiceImpl::RegCallBack() ISMSEvent::CANNOT_SEND_SMS");
  }
  const CISAPUGuard<JMutex> guard(m_MutexCallback);
  TellState(canSend ? ISMSEvent::CAN_SEND_SMS : ISMSEvent::CANNOT_SEND_SMS);
}

long CSMSServiceImpl::DeRegCallBack(ISMSEvent* pEvent) {
  const CISAPUGuard<JMutex> guard(m_MutexCallback);
  const auto it = std::find(m_lstEventHandle.begin(), m_lstEventHandle.end(), pEvent);
  if (it != m_lstEventHandle.end()) {
    m_lstEventHandle.erase(it);
    try {
      PublishClientsLocked();
    }
    SMS_LET_CANCELLATION_PASS catch (...) {
      // no memory: codes 9 to 11 go to the list as it was
    }
  }
  ServiceTrace("CSMSServiceImpl::DeRegCallBack() Called");
  return SUCCESS;
}

void CSMSServiceImpl::PublishClientsLocked() {
  auto published = std::make_shared<const ClientList>(m_lstEventHandle);
  const CISAPUGuard<JMutex> guard(m_MutexQueues);
  m_pPublishedClients = published;
}

void CSMSServiceImpl::CallBackToUI(const ISMSRecord* pRecord, DWORD dwCode) {
  const CISAPUGuard<JMutex> guard(m_MutexCallback);
  CCallBack(m_lstEventHandle.begin(), m_lstEventHandle.end(), &ISMSEvent::OnRecordChanged, pRecord, dwCode);
}

void CSMSServiceImpl::CallBackParamFunc(int iState) {
  std::shared_ptr<const ClientList> clients;
  {
    const CISAPUGuard<JMutex> guard(m_MutexQueues);
    clients = m_pPublishedClients;
  }
  CCallBack(clients->begin(), clients->end(), &ISMSEvent::OnServiceState, iState);
}

// --- MMS notifications -----------------------------------------------------------------------------------------------

long CSMSServiceImpl::RegisterCallBackForMms(pfnOnMmsCommEvent pfnHook) {
  const CISAPUGuard<JMutex> guard(m_MutexCallback);
  m_pfnOnMmsCommEvent = pfnHook;
  m_hEventReceive.SetEvent();
  return SUCCESS;
}

long CSMSServiceImpl::UnRegisterCallBackForMms(pfnOnMmsCommEvent pfnHook) {
  const CISAPUGuard<JMutex> guard(m_MutexCallback);
  if (m_pfnOnMmsCommEvent != pfnHook) {
    return FAILURE;
  }
  m_pfnOnMmsCommEvent = nullptr;
  return SUCCESS;
}

const SMReadRecord& CSMSServiceImpl::KeepForMms(const SMReadRecord& stRecord) {
  const CISAPUGuard<JMutex> guard(m_MutexQueues);
  m_lstKeptMms.push_back(stRecord);
  return m_lstKeptMms.back();
}

void CSMSServiceImpl::GiveBackMms(const SMReadRecord& stKept) {
  const CISAPUGuard<JMutex> guard(m_MutexQueues);
  m_lstKeptMms.remove_if([&](const SMReadRecord& kept) { return &kept == &stKept; });
}

bool CSMSServiceImpl::SendMMSNotify(const SMReadRecord& stRecord) {
  const CISAPUGuard<JMutex> guard(m_MutexCallback);
  m_lstMmsNewMsg.push_back(&stRecord);
  m_hEventReceive.SetEvent();
  return true;
}

void CSMSServiceImpl::SendNotifyToMmsUiPlugin() {
  const CISAPUGuard<JMutex> guard(m_MutexCallback);
  if (m_lstMmsNewMsg.empty() || m_pfnOnMmsCommEvent == nullptr) {
    return;
  }
  const SMReadRecord* const record = m_lstMmsNewMsg.front();
  m_lstMmsNewMsg.pop_front();  // before the call: a hook that throws is not called with it again
  if (m_pDeliveredMms != nullptr) {
    GiveBackMms(*m_pDeliveredMms);  // the one before: a hook may read it a little late
  }
  m_pDeliveredMms = record;
  m_pfnOnMmsCommEvent(const_cast<SMReadRecord*>(record));
}
