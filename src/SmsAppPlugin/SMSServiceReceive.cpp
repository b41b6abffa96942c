// Receiving: what the events queued becomes stored messages and client notices.

#include "CatchAll.h"
#include "DeviceSMSImpl.h"
#include "FileSMSImpl.h"
#include "SMSRecordImpl.h"
#include "SMSRecordSetImpl.h"
#include "SMSServiceImpl.h"
#include "SMSSettingImpl.h"
#include "ServiceTrace.h"
#include "services/IDeviceMgr.h"
#include "services/IDeviceService.h"
#include "services/IShortMessage.h"
#include "utils.h"

#include <memory>

namespace {

const int kIdlePassesBetweenLooks = 50;  // about ten seconds
const unsigned int kIdleMs = 200;
const unsigned int kWithoutClientsMs = 100;
const int kKeepOnDevice = 0;  // receive mode

template <class Queue>
bool QueueIsEmpty(JMutex& lock, const Queue& queue) {
  const CISAPUGuard<JMutex> guard(lock);
  return queue.empty();
}

}  // namespace

/// Holds the read lock from its construction until Release() or the end of the scope.
class CSMSServiceImpl::CReadNewMsgHold {
public:
  explicit CReadNewMsgHold(CSMSServiceImpl& service) : m_service(service) { m_service.ReadNewMsgLock(); }
  ~CReadNewMsgHold() { Release(); }
  CReadNewMsgHold(const CReadNewMsgHold&) = delete;
  CReadNewMsgHold& operator=(const CReadNewMsgHold&) = delete;
  void Release() {
    if (m_bHeld) {
      m_bHeld = false;
      m_service.ReadNewMsgUnlock();
    }
  }

private:
  CSMSServiceImpl& m_service;
  bool m_bHeld = true;
};

void CSMSServiceImpl::ReadNewMsgLock() {
  ServiceTrace("Enter ReadNewMsgLock()");
  m_MutexReadNewMsg.Lock();
  ServiceTrace("m_MutexReadNewMsg");
}

void CSMSServiceImpl::ReadNewMsgUnlock() {
  ServiceTrace("Enter ReadNewMsgUnlock()");
  m_MutexReadNewMsg.Unlock();
  ServiceTrace("m_MutexReadNewMsg Unlock()");
}

void CSMSServiceImpl::AwaitMoveInHand() { const CISAPUGuard<JMutex> barrier(m_MutexMoveNewMsg); }

void CSMSServiceImpl::Receive() {
  ServiceTrace("Info: Enter CSMSServiceImpl::Receive()");
  int idle = kIdlePassesBetweenLooks;
  while (!m_bExitReceving) {
    unsigned int sleepMs = kIdleMs;  // after an exception too: a fault that stays must not keep the processor busy
    try {
      sleepMs = ReceivePass(idle);
    }
    SMS_LET_CANCELLATION_PASS catch (...) { ServiceTrace("CSMSServiceImpl::Receive() exception 2!"); }
    if (sleepMs > 0 && !m_bExitReceving) {
      m_hEventReceive.WaitForSingleObject(sleepMs);
    }
  }
  ServiceTrace("Info: Leave CSMSServiceImpl::Receive()");
}

unsigned int CSMSServiceImpl::ReceivePass(int& iIdle) {
  SendNotifyToMmsUiPlugin();
  if (!m_bRegister) {
    return kWithoutClientsMs;
  }
  if (m_bQueryServer.exchange(false)) {
    RegCallBack(nullptr);
  }
  if (TakeNotice() == NoticeEnd::kNextPass) {
    return 0;
  }
  TakeDirect();
  AnnounceMoved();
  if (QueuesAreEmpty()) {
    WatchFullness(iIdle);
  } else {
    iIdle = 0;
  }
  return QueuesAreEmpty() ? kIdleMs : 0;
}

bool CSMSServiceImpl::QueuesAreEmpty() {
  return QueueIsEmpty(m_MutexNewMsgHandle, m_lstNewMsgHandle) && QueueIsEmpty(m_MutexNewMsg, m_lstNewMsg);
}

// --- stored-message notices ------------------------------------------------------------------------------------------

CSMSServiceImpl::NoticeEnd CSMSServiceImpl::TakeNotice() {
  SNewSmsNotifyType notice;
  {
    const CISAPUGuard<JMutex> guard(m_MutexNewMsgHandle);
    if (m_lstNewMsgHandle.empty()) {
      return NoticeEnd::kGoOn;
    }
    notice = m_lstNewMsgHandle.front();
    m_lstNewMsgHandle.pop_front();
    if (!m_bDeviceStatus) {
      m_lstNewMsgHandle.clear();
      return NoticeEnd::kNextPass;
    }
  }
  try {
    return HandleNotice(notice);
  }
  SMS_LET_CANCELLATION_PASS catch (...) {
    ServiceTrace("CSMSServiceImpl::Receive() exception!");
    return NoticeEnd::kGoOn;
  }
}

CSMSServiceImpl::NoticeEnd CSMSServiceImpl::HandleNotice(const SNewSmsNotifyType& stNotice) {
  if (GetSmsService() == nullptr) {
    return NoticeEnd::kGoOn;
  }
  CReadNewMsgHold hold(*this);
  int mode = RECEIVE_NEWSMS_DIRECT;
  if (CSMSSettingImpl* const setting = CSMSSettingImpl::instance()) {
    setting->GetSMSReceiveMode(mode);  // the value counts, also when the result says that none is set
  }
  CSMSRecordImpl record(static_cast<long>(stNotice.hMsg));
  bool notify = false;
  const NoticeEnd end =
      mode == kKeepOnDevice ? KeepOnDevice(stNotice, record, notify) : MoveToLocal(stNotice, record, notify, hold);
  hold.Release();
  if (end == NoticeEnd::kGoOn && notify) {
    Announce(record);
  }
  return end;
}

CSMSServiceImpl::NoticeEnd CSMSServiceImpl::KeepOnDevice(const SNewSmsNotifyType& stNotice, CSMSRecordImpl& record,
                                                         bool& bNotify) {
  CDeviceSMSImpl* const store = stNotice.enMem == SMS_MEM_SM   ? m_pSimSMS
                                : stNotice.enMem == SMS_MEM_ME ? m_pNVSMS
                                                               : nullptr;
  if (store == nullptr) {
    return NoticeEnd::kGoOn;
  }
  const bool saveLocal = store->GetIsSaveLocal();
  if (store->GetRecord(&record) != SUCCESS) {
    return NoticeEnd::kGoOn;
  }
  const int type = record.GetMSGType();
  if (type == NS_SMS::MSG_REPORT || type == NS_SMS::MSG_CELL_BROADCAST || type == NS_SMS::MSG_MMS_ALERT) {
    return NoticeEnd::kNextPass;
  }
  store->AddNewMessage(record);
  bNotify = !saveLocal;
  return NoticeEnd::kGoOn;
}

CSMSServiceImpl::NoticeEnd CSMSServiceImpl::MoveToLocal(const SNewSmsNotifyType& stNotice, CSMSRecordImpl& record,
                                                        bool& bNotify, CReadNewMsgHold& hold) {
  const CISAPUGuard<JMutex> moving(m_MutexMoveNewMsg);
  SMReadRecord message;
  const bool read = ReadStored(stNotice, message);
  hold.Release();
  if (!read) {
    return NoticeEnd::kGoOn;
  }
  TraceSMReadRecord(&message, &stNotice.hMsg);
  ParseSMSMessageToRecord(message, &record, SMS_MEM_UNKNOW);
  record.SetIsRead(NS_SMS::IS_NOT_READ);
  if (message.enType == SMS_IDENTIFYER_MMS_NOTIFY && HandOverMms(message)) {
    if (m_bDeviceStatus) {
      DeleteOnDevice(stNotice.enMem, stNotice.hMsg);
    }
    return NoticeEnd::kNextPass;
  }
  IDeviceService* const device = GetDeviceService();
  const bool cdma = device != nullptr && device->GetProductType() == DevDataDef::PRODUCT_TYPE_CDMA;
  if (!cdma && record.GetMSGType() == NS_SMS::MSG_REPORT) {
    record.SetContent(u"");
  }
  bNotify = StoreAndDelete(stNotice, record);
  return NoticeEnd::kGoOn;
}

bool CSMSServiceImpl::ReadStored(const SNewSmsNotifyType& stNotice, SMReadRecord& stRecord) {
  IShortMessage* const sms = GetSmsService();
  DWORD status = 0;
  return m_bDeviceStatus && sms != nullptr && sms->SMSReadMsg(stNotice.enMem, stNotice.hMsg, &stRecord, &status);
}

bool CSMSServiceImpl::StoreAndDelete(const SNewSmsNotifyType& stNotice, CSMSRecordImpl& record) {
  long id = -1;
  if (!SaveLocally(record, id)) {
    return false;
  }
  if (m_bDeviceStatus && GetSmsService() != nullptr && !DeleteOnDevice(stNotice.enMem, stNotice.hMsg)) {
    ServiceTrace("delete me's msg error");
  }
  record.SetMSGID(id);
  return true;
}

bool CSMSServiceImpl::HandOverMms(const SMReadRecord& stRecord) {
  const SMReadRecord& kept = KeepForMms(stRecord);
  if (SendMMSNotify(kept)) {
    return true;
  }
  GiveBackMms(kept);
  return false;
}

bool CSMSServiceImpl::DeleteOnDevice(SMS_MEM enMem, MSG_HANDLE hMsg) {
  IShortMessage* const sms = GetSmsService();
  DWORD status = 0;
  return sms != nullptr && sms->SMSDeleteMsg(enMem, hMsg, &status);
}

bool CSMSServiceImpl::SaveLocally(CSMSRecordImpl& record, long& lID) {
  lID = -1;
  long count = 1;
  if (m_pLocalSMS != nullptr && m_pLocalSMS->SaveRecord(&record, &lID, count) == SUCCESS) {
    return true;
  }
  ServiceTrace("SaveMsg error");
  return false;
}

/// A direct message is nowhere else: a failure that passes must not lose it.
bool CSMSServiceImpl::SaveDirect(CSMSRecordImpl& record, long& lID) {
  bool saved = SaveLocally(record, lID);
  while (!saved && !m_bExitReceving && m_pLocalSMS != nullptr && m_pLocalSMS->IsInTransactionOfAnother()) {
    saved = SaveLocally(record, lID);
  }
  return saved;
}

void CSMSServiceImpl::Announce(const CSMSRecordImpl& record) {
  const auto copy = std::make_unique<CSMSRecordImpl>(record);
  const CISAPUGuard<JMutex> guard(m_MutexCallback);
  CCallBack(m_lstEventHandle.begin(), m_lstEventHandle.end(), &ISMSEvent::OnNewMessage, copy.get());
}

// --- direct messages -------------------------------------------------------------------------------------------------

void CSMSServiceImpl::TakeDirect() {
  // Held while the message is stored and clients are called, on purpose: one direct message at a time.
  const CISAPUGuard<JMutex> guard(m_MutexNewMsg);
  if (m_lstNewMsg.empty()) {
    return;
  }
  struct CDoneAtEnd {
    CSMSServiceImpl& service;
    ~CDoneAtEnd() {
      ++service.m_uDirectDone;
      service.m_hEventDirectDone.SetEvent();
    }
  } const done{*this};
  std::list<SMReadRecord> taken;
  taken.splice(taken.begin(), m_lstNewMsg, m_lstNewMsg.begin());
  HandleDirect(taken.front());
}

/// At the end: what waited for a client in vain. For the network it has arrived, and it is nowhere else.
void CSMSServiceImpl::StoreLeftDirect() {
  while (!QueueIsEmpty(m_MutexNewMsg, m_lstNewMsg)) {
    try {
      TakeDirect();
    }
    SMS_LET_CANCELLATION_PASS catch (...) { ServiceTrace("SaveMsg error"); }
  }
}

void CSMSServiceImpl::HandleDirect(const SMReadRecord& stRecord) {
  const MSG_HANDLE none = 0;  // a direct message has no index on the device
  TraceSMReadRecord(&stRecord, &none);
  CSMSRecordImpl record;
  record.SetMSGID(-1);
  ParseSMSMessageToRecord(stRecord, &record, SMS_MEM_UNKNOW);
  record.SetIsRead(NS_SMS::IS_NOT_READ);
  if (record.GetSMSClass() == NS_SMS::MS_CLASS_0) {
    Announce(record);
    return;
  }
  if (stRecord.enType != SMS_IDENTIFYER_MMS_NOTIFY) {
    long id = -1;
    if (SaveDirect(record, id)) {
      record.SetMSGID(id);
      Announce(record);
    }
    return;
  }
  if (HandOverMms(stRecord) && m_bDeviceStatus) {
    // There is no device copy; the call is made all the same, with a memory and an index that name nothing.
    DeleteOnDevice(SMS_MEM_UNKNOW, static_cast<MSG_HANDLE>(record.GetMSGID()));
  }
}

// --- messages moved while loading ------------------------------------------------------------------------------------

bool CSMSServiceImpl::Device2Local(const SMReadRecord& stRecord) {
  CSMSRecordImpl record;
  record.SetMSGID(-1);
  ParseSMSMessageToRecord(stRecord, &record, SMS_MEM_UNKNOW);
  record.SetIsRead(NS_SMS::IS_NOT_READ);
  if (!IsStoredAlready(record)) {
    long id = -1;
    if (!SaveLocally(record, id)) {
      return false;
    }
    record.SetMSGID(id);
  }
  const CISAPUGuard<JMutex> guard(m_MutexQueues);
  m_lstReadSIMNewMsg.push_back(record);
  return true;
}

bool CSMSServiceImpl::Save2Local(const SMReadRecord& stRecord) {
  CSMSRecordImpl record;
  record.SetMSGID(-1);
  ParseSMSMessageToRecord(stRecord, &record, SMS_MEM_UNKNOW);
  long id = -1;
  return IsStoredAlready(record) || (SaveLocally(record, id) && id != -1);
}

bool CSMSServiceImpl::IsStoredAlready(CSMSRecordImpl& record) {
  return m_pLocalSMS != nullptr && m_pLocalSMS->RecogniseCopy(record);
}

/// The moved messages, taken out of their list for a walk; what the walk did not reach goes back.
class CSMSServiceImpl::CMovedMessages {
public:
  explicit CMovedMessages(CSMSServiceImpl& service) : m_service(service) {
    const CISAPUGuard<JMutex> guard(m_service.m_MutexQueues);
    m_left.swap(m_service.m_lstReadSIMNewMsg);
  }
  ~CMovedMessages() {
    const CISAPUGuard<JMutex> guard(m_service.m_MutexQueues);
    m_service.m_lstReadSIMNewMsg.splice(m_service.m_lstReadSIMNewMsg.begin(), m_left);
  }
  CMovedMessages(const CMovedMessages&) = delete;
  CMovedMessages& operator=(const CMovedMessages&) = delete;

  bool TakeOne(std::list<CSMSRecordImpl>& one) {
    one.clear();
    if (!m_left.empty()) {
      one.splice(one.begin(), m_left, m_left.begin());
    }
    return !one.empty();
  }

private:
  CSMSServiceImpl& m_service;
  std::list<CSMSRecordImpl> m_left;
};

void CSMSServiceImpl::AnnounceMoved() {
  const bool loaded =
      m_pSimSMS != nullptr && m_pNVSMS != nullptr && m_pSimSMS->GetInitFlag() && m_pNVSMS->GetInitFlag();
  if (!loaded) {
    return;
  }
  CMovedMessages moved(*this);
  CSMSRecordSetImpl* set = nullptr;
  std::list<CSMSRecordImpl> one;
  while (moved.TakeOne(one)) {
    if (set == nullptr && m_pLocalSMS != nullptr) {
      set = m_pLocalSMS->GetReocrdList();
    }
    const CSMSRecordImpl& record = one.front();
    const CISAPUGuard<JMutex> guard(m_MutexCallback);
    // Class-0 messages are in no store; they have the identifier -1 and are shown all the same.
    const bool stored = set != nullptr && set->GetRecord(record.GetMSGID()) != nullptr;
    if (stored || record.GetMSGID() == -1) {
      Announce(record);
    }
  }
}

// --- fullness --------------------------------------------------------------------------------------------------------

void CSMSServiceImpl::WatchFullness(int& iIdle) {
  IDeviceMgr* const manager = GetDeviceMgr();
  const bool busy = manager != nullptr && manager->GetDeviceMgrState() == 1;
  if (busy || ++iIdle < kIdlePassesBetweenLooks) {
    return;
  }
  iIdle = 0;
  WatchMemory(m_pSimSMS, m_bSIMIsFull, "SIM Full!!!!!!!!!!!", ISMSEvent::SIM_FULL);
  WatchMemory(m_pNVSMS, m_bDeviceIsFull, "Device Full!!!!!!!!!!!", ISMSEvent::DEVICE_FULL);
}

void CSMSServiceImpl::WatchMemory(CDeviceSMSImpl* pStore, std::atomic<bool>& bFull, const char* pszLog, int iState) {
  if (pStore == nullptr) {
    return;
  }
  if (pStore->CheckIsFull() != 1) {
    bFull = false;
    return;
  }
  const CISAPUGuard<JMutex> guard(m_MutexCallback);
  if (bFull || m_lstEventHandle.empty()) {
    return;
  }
  ServiceTrace(pszLog);
  bFull = true;
  TellState(iState);
}

// --- moving a memory to the local store ------------------------------------------------------------------------------

long CSMSServiceImpl::CutAllToLocal(int iStorage) {
  ServiceTrace("Start CutAllToLocal");
  long result = FAILURE;
  try {
    bool doubleMode = false;
    if (IDeviceMgr* const manager = GetDeviceMgr()) {
      doubleMode = manager->GetDoubleModeCardState(&doubleMode, nullptr, nullptr, nullptr) && doubleMode;
    }
    const bool deviceMemory = iStorage == NS_SMS::SMS_SIM || iStorage == NS_SMS::SMS_NV;
    result = deviceMemory && doubleMode && m_bHideDoubleModeCardNode ? CutFullMemories() : CutMemory(iStorage);
  }
  SMS_LET_CANCELLATION_PASS catch (...) { result = FAILURE; }
  ServiceTrace("Levaed CutAllToLocal");
  return result;
}

long CSMSServiceImpl::CutFullMemories() {
  long result = FAILURE;
  for (CDeviceSMSImpl* store : {m_pSimSMS, m_pNVSMS}) {
    if (store != nullptr && store->CheckIsFull() == 1) {
      store->ClearDeviceData();
      result = store->CutAllToLocal() ? SUCCESS : FAILURE;
    }
  }
  return result;
}

long CSMSServiceImpl::CutMemory(int iStorage) {
  CDeviceSMSImpl* const store = iStorage == NS_SMS::SMS_SIM  ? m_pSimSMS
                                : iStorage == NS_SMS::SMS_NV ? m_pNVSMS
                                                             : nullptr;
  if (store == nullptr) {
    ServiceTrace("error: SMSMgr's  point is Null");
    return FAILURE;
  }
  store->ClearDeviceData();
  store->CutAllToLocal();
  return SUCCESS;
}
