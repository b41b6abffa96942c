// Sending and cancelling.

#include "CatchAll.h"
#include "CharacterMapFile.h"
#include "FileSMSImpl.h"
#include "MyGlobalFunc.h"
#include "SMSRecordImpl.h"
#include "SMSServiceImpl.h"
#include "SendRun.h"
#include "ServiceTrace.h"
#include "services/IDeviceMgr.h"
#include "services/IDeviceService.h"
#include "services/INetSrv.h"
#include "services/IShortMessage.h"
#include "utils.h"

#include <algorithm>
#include <cstring>

namespace {

const unsigned int kVerdictLimitMs = 70000;
const unsigned int kEndOfRunLimitMs = 2000;
const std::size_t kMostNumberOctets = 32;

CCharacterMapFile g_sendMap;

void TraceException() { ServiceTrace("sendMsg exception! "); }

/// A step without which the run goes on.
template <class Step>
void Undisturbed(Step&& step) {
  try {
    step();
  }
  SMS_LET_CANCELLATION_PASS catch (...) { TraceException(); }
}

}  // namespace

/// Owns the request of a run. However the run ends, the request goes and a waiting cancel is let go.
class CSMSServiceImpl::CSendRequestOwner {
public:
  CSendRequestOwner(STSendThreadData* pData, JEvent& hEnded) : m_pData(pData), m_hEnded(hEnded) {}
  ~CSendRequestOwner() {
    m_pData->pThread = nullptr;
    delete m_pData;
    m_hEnded.SetEvent();
  }
  CSendRequestOwner(const CSendRequestOwner&) = delete;
  CSendRequestOwner& operator=(const CSendRequestOwner&) = delete;

private:
  STSendThreadData* const m_pData;
  JEvent& m_hEnded;
};

long CSMSServiceImpl::SendMsg(const VELK_wchar_t* pszNumber, const VELK_wchar_t* pszContent) {
  if (pszNumber == nullptr || pszContent == nullptr) {
    ServiceTrace("Number UnValid");
    return FAILURE;
  }
  if (GetSmsService() == nullptr) {
    return FAILURE;
  }
  try {
    auto request = std::make_unique<STSendThreadData>();
    request->strContent = pszContent;
    request->strNumber = pszNumber;
    AwaitEndOfFinishedRun();
    const CISAPUGuard<JMutex> guard(m_MutexSendStart);
    if (m_pSendSMSThread == nullptr) {
      m_pSendSMSThread = new JThreadTP<CSMSServiceImpl, STSendThreadData*, void>;
    }
    request->pThread = m_pSendSMSThread;
    request->bPrepared = true;
    if (m_pSendSMSThread->StartThread(this, &CSMSServiceImpl::Send, request.get()) == 0) {
      request.release();
      ResetSendEvents();
    } else {
      ServiceTrace("m_pSendSMSThread->StartThread false!");
    }
    return SUCCESS;
  }
  SMS_LET_CANCELLATION_PASS catch (...) { return FAILURE; }
}

/// A client that has heard of its record may send again at once: the run that told it is over but for its thread's end.
/// Inside a callback nobody waits, for the thread may be waiting for that callback.
void CSMSServiceImpl::AwaitEndOfFinishedRun() {
  JThread* thread = nullptr;
  {
    const CISAPUGuard<JMutex> guard(m_MutexSendStart);
    thread = m_pSendSMSThread;
  }
  const bool inside = m_MutexCallback.IsHeldByThisThread() || m_MutexSendThread.IsHeldByThisThread();
  if (thread != nullptr && m_bSendEnding && !inside) {
    thread->WaitForEnd(kEndOfRunLimitMs);
  }
}

void CSMSServiceImpl::ResetSendEvents() {
  m_bSendEnding = false;
  m_hEventSendOK.ResetEvent();
  m_hEventSendFail.ResetEvent();
  m_hEventCancelMsg.ResetEvent();
  m_hEventCanceled.ResetEvent();
  m_lCancelCount = 0;
}

long CSMSServiceImpl::CancelSendMsg(long& lCount) {
  if (GetSmsService() == nullptr) {
    return FAILURE;
  }
  bool running = false;
  {
    const CISAPUGuard<JMutex> guard(m_MutexSendStart);
    running = m_pSendSMSThread != nullptr && m_pSendSMSThread->IsRunning();
    if (running) {
      m_hEventCancelMsg.SetEvent();
    }
  }
  if (running) {
    ServiceTrace("Enter CancelSendMsg(), WaitForSingleObject");
    // A client inside a callback, or the send thread itself, would wait for itself: it only looks.
    const bool inside = m_MutexCallback.IsHeldByThisThread() || m_MutexSendThread.IsHeldByThisThread();
    const bool ended = inside ? m_hEventCanceled.IsSignalled() : m_hEventCanceled.WaitForSingleObject(0) == 0;
    ServiceTrace("leave CancelSendMsg(), WaitForSingleObject");
    if (!ended) {
      return FAILURE;
    }
  }
  lCount = m_lCancelCount.exchange(0);
  return SUCCESS;
}

void CSMSServiceImpl::Send(STSendThreadData* pData) {
  const CISAPUGuard<JMutex> guard(m_MutexSendThread);
  if (pData == nullptr || !pData->bPrepared) {
    ResetSendEvents();
  } else {
    // SendMsg resets the events of this run before it gives the lock back, so that no cancel is ever forgotten.
    const CISAPUGuard<JMutex> prepared(m_MutexSendStart);
  }
  if (pData == nullptr) {
    return;
  }
  {
    const CSendRequestOwner owner(pData, m_hEventCanceled);
    try {
      SendRun run;
      Undisturbed([this] { ChooseBearer(); });
      run.strKept = pData->strContent;
      SplitContent(g_sendMap.Apply(pData->strContent, getModulePath()).c_str(), run.parts);
      for (SMS_PARAM& part : run.parts) {
        part.enSMSStat = SMS_STAT_SENT;
      }
      SplitNumber(pData->strNumber.c_str(), run.numbers);
      run.failed.resize(run.numbers.size());
      SendAll(run);
      m_bSendEnding = true;
      SaveSent(run);
    }
    SMS_LET_CANCELLATION_PASS catch (...) { TraceException(); }
  }
  ServiceTrace("send end");
}

/// One carrier wants its messages over the circuit-switched bearer, except in two networks.
void CSMSServiceImpl::ChooseBearer() {
  if (MyWideCharToMultiByte(MyGetSetting(u"customize", u"operator").c_str(), 0) != "ZPV_C148") {
    return;
  }
  INetSrv* const network = GetNetService();
  NETSRV_DATA::PLMNType plmn;
  DWORD extra = 0;
  if (network == nullptr || !network->GetCurrentPLMN(&plmn, &extra)) {
    return;
  }
  const std::string code(plmn.szPLMN, strnlen(plmn.szPLMN, sizeof plmn.szPLMN));
  const bool preferPacket = code == "45008" || code == "45005";
  if (IShortMessage* const sms = GetSmsService()) {
    DWORD result = 0;
    sms->SMSSetBearer(preferPacket ? SMS_BEAR_PREF_PS : SMS_BEAR_PREF_CS, &result);
  }
}

void CSMSServiceImpl::SendAll(SendRun& run) {
  for (run.number = 0; run.number < run.numbers.size(); ++run.number) {
    SendToNumber(run);
    if (run.bCancelled || !m_bDeviceStatus) {
      if (run.bCancelled) {
        m_hEventCanceled.SetEvent();
      }
      ServiceTrace("CSMSServiceImpl::Send() m_hEventCanceled.SetEvent()1");
      while (++run.number < run.numbers.size()) {
        run.FailNumber();
      }
      return;
    }
  }
}

void CSMSServiceImpl::SendToNumber(SendRun& run) {
  try {
    for (std::size_t part = 0; part < run.parts.size() && SendPart(run, part); ++part) {
      ++run.lPartCounter;
    }
  }
  SMS_LET_CANCELLATION_PASS catch (...) {
    run.FailNumber();
    TraceException();
  }
}

bool CSMSServiceImpl::SendPart(SendRun& run, std::size_t part) {
  SMS_PARAM stPart = run.parts[part];
  const std::string number = MyWideCharToMultiByte(run.numbers[run.number].c_str(), 0);
  std::memset(stPart.szAddress, 0, sizeof stPart.szAddress);
  number.copy(stPart.szAddress, kMostNumberOctets);
  SetReportRecord(stPart, run.numbers[run.number]);
  if (GetSmsService() == nullptr || !m_bDeviceStatus) {
    run.FailNumber();
    return false;
  }
  if (run.parts.size() > 1 && stPart.wszContent[0] == 0) {
    return true;
  }
  if (!HandPartToDevice(run, stPart)) {
    return false;
  }
  const bool sent = AwaitVerdict(run) == PartVerdict::kSent;
  const bool last = part + 1 == run.parts.size();
  if (run.bCancelled) {
    m_hEventCanceled.SetEvent();
    ServiceTrace("CSMSServiceImpl::Send() m_hEventCanceled.SetEvent()0");
    if (!last && !sent) {
      run.FailNumber();
    }
    return false;
  }
  if (sent && !m_bDeviceStatus && !last) {
    run.FailNumber();
  }
  return sent && m_bDeviceStatus;
}

bool CSMSServiceImpl::HandPartToDevice(SendRun& run, const SMS_PARAM& stPart) {
  // A verdict that came too late for an earlier part must not count for this one.
  m_hEventSendOK.ResetEvent();
  m_hEventSendFail.ResetEvent();
  IShortMessage* const sms = GetSmsService();
  DWORD result = 0;
  if (sms == nullptr || !sms->SMSSendMsg(stPart, &result)) {
    ReportFailure();
    ServiceTrace("Get At's SMSSendMsg API Fails! ");
    run.FailNumber();
    return false;
  }
  if (!m_bDeviceStatus) {
    run.FailNumber();
    return false;
  }
  return true;
}

CSMSServiceImpl::PartVerdict CSMSServiceImpl::AwaitVerdict(SendRun& run) {
  JEvent* const events[] = {&m_hEventCancelMsg, &m_hEventSendOK, &m_hEventSendFail};
  for (;;) {
    switch (JEvent::WaitForMultipleObjects(3, events, false, kVerdictLimitMs)) {
      case 0:
        NoteCancel(run);
        continue;  // the part in flight still gets its verdict
      case 1:
        m_hEventSendFail.ResetEvent();
        ResetCancel(run);
        ServiceTrace("CSMSServiceImpl::Send() send success");
        return PartVerdict::kSent;
      case 2:
        m_hEventSendOK.ResetEvent();
        ResetCancel(run);
        run.FailNumber();
        ServiceTrace("CSMSServiceImpl::Send() send failed");
        return PartVerdict::kFailed;
      case JEVENT_WAIT_TIME_OUT:
        NoteTimeOut(run);
        run.FailNumber();
        ServiceTrace("CSMSServiceImpl::Send() JEVENT_WAIT_TIME_OUT");
        return PartVerdict::kFailed;
      default:
        run.FailNumber();
        run.bCancelled = true;
        ServiceTrace("CSMSServiceImpl::Send() send ???");
        return PartVerdict::kFailed;
    }
  }
}

/// Counts the parts that stay behind. The part counter is not reset between numbers, on purpose: the count is exact
/// only while the first number is being sent.
void CSMSServiceImpl::NoteCancel(SendRun& run) {
  const long numbersLeft = static_cast<long>(run.numbers.size() - run.number);
  m_lCancelCount = numbersLeft * static_cast<long>(run.parts.size()) - run.lPartCounter - 1;
  m_hEventCancelMsg.ResetEvent();
  run.bCancelled = true;
  ServiceTrace("CSMSServiceImpl::Send() send cancel");
}

/// A cancel that came together with the verdict, before this thread has seen either, counts as the earlier one.
void CSMSServiceImpl::ResetCancel(SendRun& run) {
  const CISAPUGuard<JMutex> guard(m_MutexSendStart);
  if (m_hEventCancelMsg.IsSignalled()) {
    NoteCancel(run);
  }
  m_hEventCancelMsg.ResetEvent();
}

void CSMSServiceImpl::NoteTimeOut(SendRun& run) {
  m_hEventSendOK.ResetEvent();
  m_hEventSendFail.ResetEvent();
  ResetCancel(run);
  ReportFailure();
}

void CSMSServiceImpl::SetReportRecord(const SMS_PARAM& stPart, const VELK_wstring& strNumber) {
  auto record = std::make_unique<CSMSRecordImpl>();
  record->SetMSGID(-1);
  record->SetContent(stPart.wszContent);
  record->SetNumber(strNumber.c_str());
  const CISAPUGuard<JMutex> guard(m_MutexCallback);
  FreeReportRecordLocked();
  m_pSMSRecordReport = record.release();
}

void CSMSServiceImpl::ReportFailure() {
  const CISAPUGuard<JMutex> guard(m_MutexCallback);
  if (m_pSMSRecordReport != nullptr) {
    m_pSMSRecordReport->SetSendResult(NS_SMS::FAILURE);
    CCallBack(m_lstEventHandle.begin(), m_lstEventHandle.end(), &ISMSEvent::OnSendReport, m_pSMSRecordReport);
  }
}

void CSMSServiceImpl::FreeReportRecordLocked() {
  if (m_pSMSRecordReport != nullptr) {
    m_pSMSRecordReport->Release();
    m_pSMSRecordReport = nullptr;
  }
}

void CSMSServiceImpl::SaveSent(const SendRun& run) {
  if (m_pLocalSMS == nullptr) {
    return;
  }
  VELK_wstring succeeded;
  VELK_wstring failed;
  for (std::size_t number = 0; number < run.numbers.size(); ++number) {
    VELK_wstring& group = run.failed[number] ? failed : succeeded;
    group += run.numbers[number] + u";";
  }
  CSMSRecordImpl record;
  record.SetContent(run.strKept.c_str());
  record.InitToCurrTime();
  record.SetInitialPosition(NS_SMS::SEND_BOX);
  record.SetPosition(NS_SMS::SEND_BOX);
  Undisturbed([&] { SetSendPriority(record); });
  Undisturbed([&] { SaveGroup(record, succeeded, NS_SMS::SUCCESS); });
  Undisturbed([&] { SaveGroup(record, failed, NS_SMS::FAILURE); });
}

void CSMSServiceImpl::SaveGroup(CSMSRecordImpl& record, const VELK_wstring& strNumbers, int iResult) {
  if (strNumbers.empty()) {
    return;
  }
  record.SetMSGID(-1);
  record.SetSendResult(iResult);
  record.SetNumber(strNumbers.substr(0, strNumbers.size() - 1).c_str());
  long id = -1;
  long count = 1;
  if (SaveMsg(&record, &id, count) != SUCCESS) {
    ServiceTrace("SaveRecord Fail");
  }
  const CISAPUGuard<JMutex> guard(m_MutexCallback);
  CCallBack(m_lstEventHandle.begin(), m_lstEventHandle.end(), &ISMSEvent::OnRecordAdded, &record);
}

void CSMSServiceImpl::SetSendPriority(CSMSRecordImpl& record) {
  IDeviceService* const device = GetDeviceService();
  if (device == nullptr) {
    return;
  }
  const int mode = device->GetDeviceMode();
  if (mode == DEVICE_MODE_WCDMA || mode == DEVICE_MODE_GSM) {
    record.SetSMSPriority(NS_SMS::SMS_WCDMA_PRIORITY);
    return;
  }
  IShortMessage* const sms = GetSmsService();
  WMSConfigurationType config;
  DWORD status = 0;
  if (sms == nullptr || !m_bDeviceStatus || !sms->SMSGetConfiguration(&config, &status)) {
    return;
  }
  const bool carried = config.enPri == SM_PRIORITY_URGENT || config.enPri == SM_PRIORITY_EMERGENCY;
  record.SetSMSPriority(carried ? static_cast<int>(config.enPri) : NS_SMS::SMS_NORMAL_PRIORITY);
}
