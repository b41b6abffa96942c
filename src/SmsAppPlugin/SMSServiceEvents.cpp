// Events of the device services, and the start-up checks.

#include "CatchAll.h"
#include "DeviceSMSImpl.h"
#include "FileSMSImpl.h"
#include "SMSRecordImpl.h"
#include "SMSServiceImpl.h"
#include "ServiceTrace.h"
#include "platform/JTime.h"
#include "services/IDeviceService.h"
#include "services/INetSrv.h"
#include "utils.h"

#include <algorithm>
#include <cstdio>

namespace {

const unsigned int kCheckPeriodMs = 1000;
const unsigned int kDirectLimitMs = 10000;  // the network waits 12 to 20 seconds (3GPP TS 24.011, 10.2)

/// The Enter and Leave lines of a handled event.
class CEventTrace {
public:
  CEventTrace(const char* pszEnter, const char* pszLeave) : m_pszLeave(pszLeave) {
    Line("InfoAT: Enter CSMSServiceImpl::OnDeviceMgrEvent() ", pszEnter);
  }
  explicit CEventTrace(const char* pszName) : CEventTrace(pszName, pszName) {}
  ~CEventTrace() { Line("InfoAT: Leave CSMSServiceImpl::OnDeviceMgrEvent() ", m_pszLeave); }
  CEventTrace(const CEventTrace&) = delete;
  CEventTrace& operator=(const CEventTrace&) = delete;

private:
  static void Line(const char* pszBegin, const char* pszName) {
    char line[160];
    std::snprintf(line, sizeof line, "%s%s", pszBegin, pszName);
    ServiceTrace(line);
  }
  const char* const m_pszLeave;
};

DWORD NumberAt(const void* pData) { return *static_cast<const DWORD*>(pData); }

SMReadRecord RecordOfBroadcast(const CBSMessage& page) {
  SMReadRecord record;
  const JTime now = JTime::CurrentLocalDateTime();
  record.stTime.wYear = static_cast<WORD>(now.year());
  record.stTime.btMonth = static_cast<BYTE>(now.month());
  record.stTime.btDay = static_cast<BYTE>(now.day());
  record.stTime.btHour = static_cast<BYTE>(now.hour());
  record.stTime.btMinute = static_cast<BYTE>(now.minute());
  record.stTime.btSecond = static_cast<BYTE>(now.second());
  const VELK_wchar_t* const end = page.wszContent + sizeof page.wszContent / sizeof page.wszContent[0];
  VELK_wchar_t* const copied = std::copy(page.wszContent, std::find(page.wszContent, end, u'\0'), record.wszContent);
  *copied = 0;
  record.enType = SMS_IDENTIFYER_CELL_BROADCAST;
  record.enSMStat = SMS_STAT_UNREAD;
  if (page.TotalNumber > 1) {
    record.stLongSMS_info.btMR = static_cast<BYTE>(page.SerialNumber & 0xFF);
    record.stLongSMS_info.btTotalPack = page.TotalNumber;
    record.stLongSMS_info.btPack = page.Sequence;
  }
  std::snprintf(record.szAddress, sizeof record.szAddress, "%ld", static_cast<long>(page.MessageId));
  return record;
}

}  // namespace

bool CSMSServiceImpl::OnUniCommEvent(unsigned long dwEvent, void* pData) { return OnDeviceMgrEvent(dwEvent, pData); }

bool CSMSServiceImpl::OnDeviceMgrEvent(unsigned long dwEvent, void* pData) {
  const bool bDirect = dwEvent == WMS_NEW_SMS_DIRECT_NOTIFY || dwEvent == WMS_REPORT_STATUS_DIRECT;
  try {
    const bool bKnown = HandleEventAlone(dwEvent, pData);
    if (bDirect) {
      AwaitDirectStored();
    }
    return bKnown;
  }
  SMS_LET_CANCELLATION_PASS catch (...) {
    return true;  // the event is known; what failed in it is a client's or another plug-in's matter
  }
}

bool CSMSServiceImpl::HandleEventAlone(unsigned long dwEvent, void* pData) {
  const CISAPUGuard<JMutex> guard(m_OnDeviceMgrEvent);
  return HandleEvent(dwEvent, pData);
}

void CSMSServiceImpl::AwaitDirectStored() {
  if (!m_bRegister || !m_receiver.IsRunning() || m_MutexCallback.IsHeldByThisThread()) {
    return;  // nobody takes it from the queue, or not before this thread goes on
  }
  const unsigned long uQueued = m_uDirectQueued;
  const CISAPUGuard<JMutex> guard(m_MutexAwaitDirect);
  while (m_uDirectDone < uQueued && !m_bExitReceving && m_hEventDirectDone.WaitForSingleObject(kDirectLimitMs) == 0) {
  }
}

bool CSMSServiceImpl::HandleEvent(unsigned long dwEvent, void* pData) {
  switch (static_cast<DWORD>(dwEvent)) {
    case IDeviceMgrEvent::EVENT_DEVICE_SYSMODE_CHANGED:
      OnSysmodeChanged();
      return true;
    case WMS_MEMORY_STORE_FULL:
      OnMemoryFull(pData);
      return true;
    case WMS_NEW_SMS_DIRECT_NOTIFY:
    case WMS_REPORT_STATUS_DIRECT: {
      const CEventTrace trace("WMS_REPORT_STATUS_DIRECT");
      if (pData != nullptr) {
        QueueDirect(*static_cast<const SMReadRecord*>(pData));
      }
      return true;
    }
    case WMS_RECEIVE_SMS_NOTIFY:
      QueueNotice(pData);
      return true;
    case CBS_CONTENT_DIRECT_NOTIFY:
      OnBroadcast(pData);
      return true;
    case WMS_EVENT_READY:
      OnReady();
      return true;
    case WMS_MO_SMS_STATUS:
      OnSendStatus(pData);
      return true;
    case NETSRV_DATA::EVENT_SRV_MS_AVAILABLE:
      OnAvailable();
      return true;
    case NETSRV_DATA::EVENT_SRV_MS_UNAVAILABLE:
    case IDeviceMgrEvent::EVENT_DEVICE_REJECT:
    case IDeviceMgrEvent::EVENT_DEVICE_SWITCH:
      OnUnavailable();
      return true;
    case NETSRV_DATA::EVENT_NET_SERVER_STATUS:
      OnNetworkStatus(pData);
      return true;
    case NETSRV_DATA::EVENT_SRV_SIM_STATE:
      OnSimState(pData);
      return true;
    default:
      return false;
  }
}

void CSMSServiceImpl::OnSysmodeChanged() {
  for (CDeviceSMSImpl* store : {m_pSimSMS, m_pNVSMS}) {
    if (store != nullptr) {
      store->BackBeforeInit();
      store->RetsetHasMemflag();
    }
  }
}

void CSMSServiceImpl::OnMemoryFull(const void* pData) {
  const CEventTrace trace("WMS_MEMORY_STORE_FULL");
  if (pData == nullptr) {
    return;
  }
  switch (NumberAt(pData)) {
    case SMS_MEM_SM:
      ServiceTrace("WMS_SIM_MEMORY_STORE_FULL");
      break;
    case SMS_MEM_ME:
      ServiceTrace("WMS_NV_MEMORY_STORE_FULL");
      break;
    default:
      ServiceTrace("Info: CSMSServiceImpl::OnDeviceMgrEvent() unknow short message MEMORY STORE FULL");
  }
}

void CSMSServiceImpl::QueueDirect(const SMReadRecord& stRecord) {
  try {
    const CISAPUGuard<JMutex> guard(m_MutexNewMsg);
    m_lstNewMsg.push_back(stRecord);
    ++m_uDirectQueued;
  }
  SMS_LET_CANCELLATION_PASS catch (...) {
    ServiceTrace("Info: CSMSServiceImpl::OnDeviceMgrEvent() SMReadRecord* point invalid");
  }
  m_hEventReceive.SetEvent();
}

void CSMSServiceImpl::QueueNotice(const void* pData) {
  const CEventTrace trace("WMS_NEW_SMS_DIRECT_NOTIFY or WMS_RECEIVE_SMS_NOTIFY");
  if (pData == nullptr) {
    return;
  }
  {
    const CISAPUGuard<JMutex> guard(m_MutexNewMsgHandle);
    m_lstNewMsgHandle.push_back(*static_cast<const SNewSmsNotifyType*>(pData));
  }
  m_hEventReceive.SetEvent();
}

void CSMSServiceImpl::OnBroadcast(const void* pData) {
  if (!m_bExistCBS) {
    return;
  }
  const CEventTrace trace("CBS_CONTENT_DIRECT_NOTIFY", "WMS_REPORT_STATUS_DIRECT");  // the Leave line is meant so
  if (pData != nullptr) {
    QueueDirect(RecordOfBroadcast(*static_cast<const CBSMessage*>(pData)));
  }
}

void CSMSServiceImpl::OnReady() {
  const CEventTrace trace("WMS_EVENT_READY");
  if (m_pSimSMS != nullptr) {
    ServiceTrace("Info: CSMSServiceImpl::OnDeviceMgrEvent()  SimSMS StartThread()");
    m_pSimSMS->StartThread();
  }
  if (m_pNVSMS != nullptr) {
    ServiceTrace("Info: CSMSServiceImpl::OnDeviceMgrEvent()  NVSMS StartThread()");
    m_pNVSMS->StartThread();
  }
}

void CSMSServiceImpl::OnSendStatus(const void* pData) {
  const CEventTrace trace("WMS_MO_SMS_STATUS");
  if (pData == nullptr) {
    return;
  }
  const bool sent = NumberAt(pData) == 0;
  {
    const CISAPUGuard<JMutex> guard(m_MutexCallback);
    ReportVerdictLocked(sent);
    ServiceTrace(sent ? "CSMSServiceImpl::OnDeviceMgrEvent() WMS_MO_SMS_STATUS EventSendOK"
                      : "CSMSServiceImpl::OnDeviceMgrEvent() WMS_MO_SMS_STATUS EventSendFail");
    FreeRecordStorage(m_pSMSRecordReport);
    m_pSMSRecordReport = nullptr;
  }
  (sent ? m_hEventSendOK : m_hEventSendFail).SetEvent();
}

void CSMSServiceImpl::ReportVerdictLocked(bool bSent) {
  for (auto it = m_lstEventHandle.begin(); it != m_lstEventHandle.end();) {
    ISMSEvent* const client = *it++;
    if (m_pSMSRecordReport == nullptr || client == nullptr) {
      continue;
    }
    try {
      m_pSMSRecordReport->SetSendResult(bSent ? NS_SMS::SUCCESS : NS_SMS::FAILURE);
      client->OnSendReport(m_pSMSRecordReport);
    }
    SMS_LET_CANCELLATION_PASS catch (...) {
      // one client's fault must not keep the send thread waiting
    }
  }
}

void CSMSServiceImpl::StartReceiver() { m_receiver.StartThread(this, &CSMSServiceImpl::Receive); }

void CSMSServiceImpl::TellState(int iState) {
  CCallBack(m_lstEventHandle.begin(), m_lstEventHandle.end(), &ISMSEvent::OnServiceState, iState);
}

void CSMSServiceImpl::OnAvailable() {
  const CEventTrace trace("EVENT_SRV_MS_AVAILABLE");
  m_bDeviceStatus = true;
  m_bQueryServer = true;
  if (!m_receiver.IsRunning()) {
    ServiceTrace("Info: CSMSServiceImpl::OnDeviceMgrEvent()  Receiver StartThread()");
    StartReceiver();
  }
  {
    const CISAPUGuard<JMutex> guard(m_MutexCallback);
    TellState(ISMSEvent::DEVICE_AVAILABLE);
  }
  m_hEventReceive.SetEvent();
}

void CSMSServiceImpl::OnUnavailable() {
  const CEventTrace trace("EVENT_SRV_MS_UNAVAILABLE or EVENT_DEVICE_REJECT");
  m_bSIMIsRead = false;
  m_bDeviceStatus = false;
  m_bSIMIsFull = false;
  m_bDeviceIsFull = false;
  for (CDeviceSMSImpl* store : {m_pSimSMS, m_pNVSMS}) {
    if (store != nullptr) {
      store->BackBeforeInit();
    }
  }
  m_hEventSendFail.SetEvent();
  const CISAPUGuard<JMutex> guard(m_MutexCallback);
  TellState(ISMSEvent::DEVICE_UNAVAILABLE);
  TellState(ISMSEvent::CANNOT_SEND_SMS);
}

void CSMSServiceImpl::OnNetworkStatus(const void* pData) {
  const CEventTrace trace("EVENT_NET_SERVER_STATUS");
  if (pData == nullptr) {
    return;
  }
  const bool canSend = NumberAt(pData) == SYS_SRV_STATUS_SRV;
  ServiceTrace(canSend ? "Info: CSMSServiceImpl::OnDeviceMgrEvent() CAN_SEND_SMS!"
                       : "Info: CSMSServiceImpl::OnDeviceMgrEvent() CANNOT_SEND_SMS!");
  const CISAPUGuard<JMutex> guard(m_MutexCallback);
  TellState(canSend ? ISMSEvent::CAN_SEND_SMS : ISMSEvent::CANNOT_SEND_SMS);
}

void CSMSServiceImpl::OnSimState(const void* pData) {
  const CEventTrace trace("EVENT_SRV_SIM_STATE");
  if (pData == nullptr) {
    return;
  }
  const DWORD state = NumberAt(pData);
  const bool gone = state == SIM_STATE_INVALID || state == SIM_STATE_NONE;
  if (gone) {
    ServiceTrace("Info: CSMSServiceImpl::OnDeviceMgrEvent()SIM_NOT_AVAILABLE!");
    if (m_pSimSMS != nullptr) {
      m_pSimSMS->BackBeforeInit();
    }
  }
  const CISAPUGuard<JMutex> guard(m_MutexCallback);
  TellState(gone ? ISMSEvent::SIM_NOT_AVAILABLE : ISMSEvent::SIM_OK);
  if (gone) {
    TellState(ISMSEvent::CANNOT_SEND_SMS);
  }
}

void CSMSServiceImpl::CheckSimAndDevice() {
  ServiceTrace("CheckSimAndDevice()");
  IDeviceService* const device = GetDeviceService();
  if (device == nullptr || GetNetService() == nullptr) {
    ServiceTrace("CheckSimAndDevice() GetUniCommService fail");
    return;
  }
  if (device->GetDeviceStatus() != DevDataDef::DEVICE_STATUS_AVAILABLE) {
    ServiceTrace("CheckSimAndDevice() DEVICE_STATUS_UNKNOW");
    return;
  }
  ServiceTrace("CheckSimAndDevice() DEVICE_STATUS_AVAILABLE");
  m_bDeviceStatus = true;
  for (CDeviceSMSImpl* store : {m_pNVSMS, m_pSimSMS}) {
    if (store != nullptr) {
      store->StartThread();
    }
  }
  if (!m_receiver.IsRunning()) {
    StartReceiver();
  }
}

void CSMSServiceImpl::CheckFileAndDeviceInit() {
  ServiceTrace("Start Thread CheckFileAndDeviceInit()");
  bool localReported = false;
  bool modemReported = false;
  bool simReported = false;
  while (!localReported || !modemReported || !simReported) {
    m_hEventStopCheck.WaitForSingleObject(kCheckPeriodMs);
    if (m_bStopCheckFileAndDeviceInit) {
      break;
    }
    const bool goOn =
        ReportStoreReady(m_pLocalSMS != nullptr && m_pLocalSMS->GetInitFlag(), NS_SMS::SMS_LOCAL, localReported) &&
        ReportStoreReady(m_pNVSMS != nullptr && m_pNVSMS->GetInitFlag(), NS_SMS::SMS_NV, modemReported) &&
        ReportStoreReady(m_pSimSMS != nullptr && m_pSimSMS->GetInitFlag(), NS_SMS::SMS_SIM, simReported);
    if (!goOn && m_bStopCheckFileAndDeviceInit) {
      break;
    }
  }
  ServiceTrace("End Thread CheckFileAndDeviceInit()");
}

bool CSMSServiceImpl::ReportStoreReady(bool bReady, int iStorage, bool& bReported) {
  if (!bReady || bReported) {
    return true;
  }
  if (m_bStopCheckFileAndDeviceInit) {
    return false;
  }
  const CISAPUGuard<JMutex> guard(m_MutexCallback);
  if (m_lstEventHandle.empty()) {
    return false;
  }
  bReported = true;
  try {
    CCallBack(m_lstEventHandle.begin(), m_lstEventHandle.end(), &ISMSEvent::OnStoreReady, iStorage);
  }
  SMS_LET_CANCELLATION_PASS catch (...) {
    // a client's fault must not end the check
  }
  return true;
}
