#include "FakeServices.h"

#include "Text.h"

#include <algorithm>
#include <cstring>

namespace {

template <class Sink>
void AddSink(std::vector<Sink*>& sinks, Sink* sink) {
  if (sink != nullptr && std::find(sinks.begin(), sinks.end(), sink) == sinks.end()) {
    sinks.push_back(sink);
  }
}

template <class Sink>
bool RemoveSink(std::vector<Sink*>& sinks, Sink* sink) {
  const auto it = std::find(sinks.begin(), sinks.end(), sink);
  if (it == sinks.end()) {
    return false;
  }
  sinks.erase(it);
  return true;
}

void SetStatus(DWORD* status, DWORD value) {
  if (status != nullptr) {
    *status = value;
  }
}

const DWORD kUnknownError = 500;  // 3GPP TS 27.005, 3.2.5

}  // namespace

// --- CFakeContainer --------------------------------------------------------------------------------------------------

bool CFakeContainer::QueryPluginInterface(const char* pszCLSID, int iInterface, IBaseInterface** ppOut) {
  ++m_iQueries;
  if (m_bThrow) {
    throw 42;
  }
  return m_monitor.Locked([&] {
    const auto it = m_services.find({pszCLSID, iInterface});
    if (it == m_services.end() || it->second == nullptr) {
      return false;
    }
    *ppOut = it->second;
    return true;
  });
}

void CFakeContainer::Offer(const std::string& classId, int interfaceNumber, IBaseInterface* service) {
  m_monitor.Locked([&] { m_services[{classId, interfaceNumber}] = service; });
}

// --- CFakeEventThread ------------------------------------------------------------------------------------------------

CFakeEventThread::CFakeEventThread() : m_thread([this] { Run(); }) {}

CFakeEventThread::~CFakeEventThread() {
  m_monitor.Locked([this] { m_bStop = true; });
  m_thread.join();
}

void CFakeEventThread::Post(const std::function<void()>& task) {
  m_monitor.Locked([&] { m_tasks.push_back(task); });
}

bool CFakeEventThread::Drain(int milliseconds) {
  return m_monitor.Await([this] { return m_tasks.empty() && !m_bBusy; }, milliseconds);
}

void CFakeEventThread::Run() {
  const int kForever = 24 * 3600 * 1000;
  while (m_monitor.Await([this] { return m_bStop || !m_tasks.empty(); }, kForever)) {
    std::function<void()> task;
    m_monitor.Locked([&] {
      if (!m_bStop) {
        task = m_tasks.front();
        m_tasks.pop_front();
        m_bBusy = true;
      }
    });
    if (!task) {
      return;
    }
    task();
    m_monitor.Locked([this] { m_bBusy = false; });
  }
}

// --- CFakeShortMessage: what the test says and asks ------------------------------------------------------------------

void CFakeShortMessage::OnSend(const std::function<SendAnswer(const SMS_PARAM&)>& decide) {
  m_monitor.Locked([&] { m_decide = decide; });
}

void CFakeShortMessage::Fail(const std::string& operation, int times) {
  m_monitor.Locked([&] { m_failures[operation] = times; });
}

void CFakeShortMessage::Throw(const std::string& operation, int times) {
  m_monitor.Locked([&] { m_throws[operation] = times; });
}

void CFakeShortMessage::OnCall(const std::string& operation, const std::function<void()>& hook) {
  m_monitor.Locked([&] { m_hooks[operation] = hook; });
}

void CFakeShortMessage::SetConfig(const WMSConfigurationType& config) {
  m_monitor.Locked([&] { m_config = config; });
}

void CFakeShortMessage::SetCapacity(SMS_MEM enMem, DWORD capacity) {
  m_monitor.Locked([&] { m_memories[enMem].capacity = capacity; });
}

MSG_HANDLE CFakeShortMessage::Put(SMS_MEM enMem, const SMReadRecord& record) {
  return m_monitor.Locked([&] {
    Memory& memory = m_memories[enMem];
    memory.messages[memory.next] = record;
    return memory.next++;
  });
}

std::vector<SMS_PARAM> CFakeShortMessage::Sent() const {
  return m_monitor.Peek([this] { return m_sent; });
}

bool CFakeShortMessage::AwaitSent(int count, int milliseconds) const {
  return m_monitor.Await([&] { return static_cast<int>(m_sent.size()) >= count; }, milliseconds);
}

std::vector<SMReadRecord> CFakeShortMessage::Held(SMS_MEM enMem) const {
  return m_monitor.Peek([&] {
    std::vector<SMReadRecord> held;
    for (const auto& entry : m_memories[enMem].messages) {
      held.push_back(entry.second);
    }
    return held;
  });
}

std::vector<MSG_HANDLE> CFakeShortMessage::HeldIndexes(SMS_MEM enMem) const {
  return m_monitor.Peek([&] {
    std::vector<MSG_HANDLE> indexes;
    for (const auto& entry : m_memories[enMem].messages) {
      indexes.push_back(entry.first);
    }
    return indexes;
  });
}

WMSConfigurationType CFakeShortMessage::Config() const {
  return m_monitor.Peek([this] { return m_config; });
}

std::vector<SmsBear> CFakeShortMessage::Bearers() const {
  return m_monitor.Peek([this] { return m_bearers; });
}

int CFakeShortMessage::Calls(const std::string& operation) const {
  return m_monitor.Peek([&] {
    const auto it = m_calls.find(operation);
    return it == m_calls.end() ? 0 : it->second;
  });
}

bool CFakeShortMessage::AwaitCalls(const std::string& operation, int count, int milliseconds) const {
  return m_monitor.Await(
      [&] {
        const auto it = m_calls.find(operation);
        return it != m_calls.end() && it->second >= count;
      },
      milliseconds);
}

std::vector<std::string> CFakeShortMessage::CallLines() const {
  return m_monitor.Peek([this] { return m_lines; });
}

int CFakeShortMessage::SinkCount() const {
  return m_monitor.Peek([this] { return static_cast<int>(m_sinks.size()); });
}

bool CFakeShortMessage::TakeOne(std::map<std::string, int>& counters, const std::string& operation) {
  const auto it = counters.find(operation);
  if (it == counters.end() || it->second == 0) {
    return false;
  }
  if (it->second > 0) {
    --it->second;
  }
  return true;
}

bool CFakeShortMessage::Enter(const std::string& operation, const std::string& arguments) {
  std::function<void()> hook;
  bool fails = false;
  bool throws = false;
  m_monitor.Locked([&] {
    ++m_calls[operation];
    m_lines.push_back(arguments.empty() ? operation : operation + " " + arguments);
    hook = m_hooks[operation];
    fails = TakeOne(m_failures, operation);
    throws = TakeOne(m_throws, operation);
  });
  if (hook) {
    hook();
  }
  if (throws) {
    throw 42;
  }
  return !fails;
}

// --- CFakeShortMessage: events ---------------------------------------------------------------------------------------

bool CFakeShortMessage::RegEventSink(IUniCommEvent* pSink) {
  if (!Enter("RegEventSink", "")) {
    return false;
  }
  m_monitor.Locked([&] { AddSink(m_sinks, pSink); });
  return true;
}

bool CFakeShortMessage::UnRegEventSink(IUniCommEvent* pSink) {
  Enter("UnRegEventSink", "");
  return m_monitor.Locked([&] { return RemoveSink(m_sinks, pSink); });
}

bool CFakeShortMessage::Raise(unsigned long dwEvent, void* pData) {
  bool known = false;
  for (IUniCommEvent* sink : m_monitor.Peek([this] { return m_sinks; })) {
    known = sink->OnUniCommEvent(dwEvent, pData) || known;
  }
  return known;
}

bool CFakeShortMessage::RaiseNumber(unsigned long dwEvent, DWORD dwValue) { return Raise(dwEvent, &dwValue); }

// --- CFakeShortMessage: the service ----------------------------------------------------------------------------------

bool CFakeShortMessage::SMSSendMsg(const SMS_PARAM& stParam, DWORD* pdwResult) {
  const std::string arguments = std::string(stParam.szAddress) + " " + std::to_string(stParam.stLongSMS_info.btPack) +
                                "/" + std::to_string(stParam.stLongSMS_info.btTotalPack) + " " +
                                Utf8(VELK_wstring(stParam.wszContent, static_cast<std::size_t>(stParam.iContentLen)));
  SetStatus(pdwResult, 0);
  const bool works = Enter("SMSSendMsg", arguments);
  const auto decide = m_monitor.Peek([this] { return m_decide; });
  const SendAnswer answer = !works ? SendAnswer::kRefuse : decide ? decide(stParam) : SendAnswer::kAccept;
  if (answer == SendAnswer::kThrow) {
    throw 42;
  }
  if (answer == SendAnswer::kRefuse) {
    SetStatus(pdwResult, kUnknownError);
    return false;
  }
  m_monitor.Locked([&] { m_sent.push_back(stParam); });
  if (answer != SendAnswer::kSilent) {
    const DWORD verdict = answer == SendAnswer::kAccept ? 0 : kUnknownError;
    m_events.Post([this, verdict] { RaiseNumber(WMS_MO_SMS_STATUS, verdict); });
  }
  return true;
}

bool CFakeShortMessage::SMSSetBearer(SmsBear enBear, DWORD* pdwResult) {
  SetStatus(pdwResult, 0);
  if (!Enter("SMSSetBearer", std::to_string(enBear))) {
    return false;
  }
  m_monitor.Locked([&] { m_bearers.push_back(enBear); });
  return true;
}

bool CFakeShortMessage::GetWMSConfig(WMSConfigurationType* pstConfig, DWORD* pdwStatus) {
  SetStatus(pdwStatus, 0);
  if (!Enter("GetWMSConfig", "")) {
    return false;
  }
  *pstConfig = Config();
  return true;
}

bool CFakeShortMessage::SetWMSConfig(WMSConfigurationType* pstConfig, DWORD* pdwStatus) {
  SetStatus(pdwStatus, 0);
  if (!Enter("SetWMSConfig", "")) {
    return false;
  }
  SetConfig(*pstConfig);
  return true;
}

bool CFakeShortMessage::SMSGetMsgList(SMS_MEM enMem, SMS_LIST* pstList, DWORD* pdwStatus) {
  SetStatus(pdwStatus, 0);
  if (!Enter("SMSGetMsgList", std::to_string(enMem))) {
    return false;
  }
  const std::vector<MSG_HANDLE> indexes = HeldIndexes(enMem);
  pstList->dwCount = static_cast<DWORD>(indexes.size());
  pstList->pList = new MSG_HANDLE[indexes.size() + 1];
  std::copy(indexes.begin(), indexes.end(), pstList->pList);
  pstList->pSmReadRecord = nullptr;
  return true;
}

void CFakeShortMessage::SMSReleaseMsgList(SMS_LIST* pstList) {
  Enter("SMSReleaseMsgList", "");
  delete[] pstList->pList;
  pstList->pList = nullptr;
  pstList->dwCount = 0;
}

bool CFakeShortMessage::SMSReadMsg(SMS_MEM enMem, MSG_HANDLE* phMsg, SMReadRecord* pstRecord, int iAlterMode,
                                   DWORD* pdwStatus) {
  SetStatus(pdwStatus, 0);
  if (!Enter("SMSReadMsg", std::to_string(enMem) + " " + std::to_string(*phMsg) + " " + std::to_string(iAlterMode))) {
    return false;
  }
  return m_monitor.Locked([&] {
    if (enMem > SMS_MEM_ME) {
      return false;
    }
    const auto it = m_memories[enMem].messages.find(*phMsg);
    if (it == m_memories[enMem].messages.end()) {
      return false;
    }
    *pstRecord = it->second;
    if (iAlterMode == UNREAD_SM_ALTER && it->second.enSMStat == SMS_STAT_UNREAD) {
      it->second.enSMStat = SMS_STAT_READ;
    }
    return true;
  });
}

bool CFakeShortMessage::SMSDeleteMsg(SMS_MEM enMem, MSG_HANDLE hMsg, DWORD* pdwStatus) {
  SetStatus(pdwStatus, 0);
  if (!Enter("SMSDeleteMsg", std::to_string(enMem) + " " + std::to_string(hMsg))) {
    return false;
  }
  return m_monitor.Locked([&] { return enMem <= SMS_MEM_ME && m_memories[enMem].messages.erase(hMsg) == 1; });
}

bool CFakeShortMessage::SMSSaveMsg(SMS_MEM enMem, SMS_PARAM* pstParam, MSG_HANDLE* phMsg, DWORD* pdwStatus) {
  SetStatus(pdwStatus, 0);
  if (!Enter("SMSSaveMsg", std::to_string(enMem) + " " + std::string(pstParam->szAddress))) {
    return false;
  }
  SMReadRecord record = MakeReadRecord(
      pstParam->szAddress, VELK_wstring(pstParam->wszContent, static_cast<std::size_t>(pstParam->iContentLen)),
      pstParam->enSMSStat);
  record.stTime = pstParam->utTime;
  record.enType = pstParam->enType;
  record.enPri = pstParam->enPri;
  record.stLongSMS_info = pstParam->stLongSMS_info;
  const bool full = m_monitor.Peek(
      [&] { return m_memories[enMem].messages.size() >= static_cast<std::size_t>(m_memories[enMem].capacity); });
  if (full) {
    return false;
  }
  *phMsg = Put(enMem, record);
  return true;
}

bool CFakeShortMessage::SMSGetMemInfo(SMS_MEM enMem, DWORD* pdwTotal, DWORD* pdwUsed, DWORD* pdwStatus) {
  SetStatus(pdwStatus, 0);
  if (!Enter("SMSGetMemInfo", std::to_string(enMem))) {
    return false;
  }
  m_monitor.Locked([&] {
    *pdwTotal = m_memories[enMem].capacity;
    *pdwUsed = static_cast<DWORD>(m_memories[enMem].messages.size());
  });
  return true;
}

int CFakeShortMessage::SMSGetAlterSupport(int iQuery, DWORD* pdwStatus) {
  SetStatus(pdwStatus, 0);
  Enter("SMSGetAlterSupport", std::to_string(iQuery));
  return m_iAlterSupport;
}

bool CFakeShortMessage::CBSSetService(CBSStat enStat, DWORD* pdwStatus) {
  SetStatus(pdwStatus, 0);
  return Enter("CBSSetService", std::to_string(enStat));
}

bool CFakeShortMessage::CBSGetDetail(CBSStat* penStat, CbsMidList* pMids, CbsDcsList* pDcss, DWORD* pdwStatus) {
  SetStatus(pdwStatus, 0);
  if (!Enter("CBSGetDetail", "")) {
    return false;
  }
  if (penStat != nullptr) {
    *penStat = CBS_STAT_OPEN;
  }
  if (pMids != nullptr) {
    pMids->size = 1;
    pMids->pCbsMids = new CBS_MID[1]{{4352, 4359}};
  }
  if (pDcss != nullptr) {
    pDcss->size = 0;
    pDcss->pCbsDcss = nullptr;
  }
  return true;
}

bool CFakeShortMessage::CBSReleaseDetail(CbsMidList* pMids, CbsDcsList* pDcss, DWORD* pdwStatus) {
  SetStatus(pdwStatus, 0);
  if (!Enter("CBSReleaseDetail", "")) {
    return false;
  }
  if (pMids != nullptr) {
    delete[] pMids->pCbsMids;
    *pMids = CbsMidList();
  }
  if (pDcss != nullptr) {
    delete[] pDcss->pCbsDcss;
    *pDcss = CbsDcsList();
  }
  return true;
}

bool CFakeShortMessage::CBSAddChannel(const char* pszChannels, const char* pszCodings, DWORD* pdwStatus) {
  SetStatus(pdwStatus, 0);
  const auto text = [](const char* psz) {
    return psz == nullptr ? std::string("(null)") : "\"" + std::string(psz) + "\"";
  };
  return Enter("CBSAddChannel", text(pszChannels) + " " + text(pszCodings));
}

bool CFakeShortMessage::CBSRemoveChannel(const char* pszChannels, DWORD* pdwStatus) {
  SetStatus(pdwStatus, 0);
  return Enter("CBSRemoveChannel", pszChannels == nullptr ? "(null)" : pszChannels);
}

// --- the other services ----------------------------------------------------------------------------------------------

bool CFakeDeviceService::GetSimState(SimState* penState, DWORD*) {
  if (m_bSimQueryFails) {
    return false;
  }
  *penState = m_enSim;
  return true;
}

void CFakeNetService::SetPlmn(const std::string& code) {
  m_monitor.Locked([&] { m_strPlmn = code; });
}

bool CFakeNetService::Raise(unsigned long dwEvent, void* pData) {
  bool known = false;
  for (IUniCommEvent* sink : m_monitor.Peek([this] { return m_sinks; })) {
    known = sink->OnUniCommEvent(dwEvent, pData) || known;
  }
  return known;
}

int CFakeNetService::SinkCount() const {
  return m_monitor.Peek([this] { return static_cast<int>(m_sinks.size()); });
}

bool CFakeNetService::RegEventSink(IUniCommEvent* pSink) {
  m_monitor.Locked([&] { AddSink(m_sinks, pSink); });
  return true;
}

bool CFakeNetService::UnRegEventSink(IUniCommEvent* pSink) {
  return m_monitor.Locked([&] { return RemoveSink(m_sinks, pSink); });
}

bool CFakeNetService::GetServerStatus(SysSrvStatus* penStatus, DWORD*) {
  if (m_bStatusQueryFails) {
    return false;
  }
  *penStatus = m_enStatus;
  return true;
}

bool CFakeNetService::GetCurrentPLMN(NETSRV_DATA::PLMNType* pstPLMN, DWORD*) {
  if (m_bPlmnQueryFails) {
    return false;
  }
  const std::string code = m_monitor.Peek([this] { return m_strPlmn; });
  std::memset(pstPLMN->szPLMN, 0, sizeof pstPLMN->szPLMN);
  code.copy(pstPLMN->szPLMN, sizeof pstPLMN->szPLMN - 1);
  return true;
}

namespace {

class CFakeMemIterator : public IDeviceMemIterator {
public:
  explicit CFakeMemIterator(const std::vector<SMS_MEM>& memories) : m_memories(memories) {}
  bool First() override {
    m_position = 0;
    return !m_memories.empty();
  }
  bool Next() override { return ++m_position < m_memories.size(); }
  SMS_MEM CurrentMem() override { return m_memories.at(m_position); }

private:
  const std::vector<SMS_MEM> m_memories;
  std::size_t m_position = 0;
};

}  // namespace

bool CFakeDeviceMgr::Raise(unsigned long dwEvent, void* pData) {
  bool known = false;
  for (IDeviceMgrEvent* sink : m_monitor.Peek([this] { return m_sinks; })) {
    known = sink->OnDeviceMgrEvent(dwEvent, pData) || known;
  }
  return known;
}

int CFakeDeviceMgr::SinkCount() const {
  return m_monitor.Peek([this] { return static_cast<int>(m_sinks.size()); });
}

bool CFakeDeviceMgr::RegEventSink(IDeviceMgrEvent* pSink) {
  m_monitor.Locked([&] { AddSink(m_sinks, pSink); });
  return true;
}

bool CFakeDeviceMgr::UnRegEventSink(IDeviceMgrEvent* pSink) {
  return m_monitor.Locked([&] { return RemoveSink(m_sinks, pSink); });
}

bool CFakeDeviceMgr::GetDoubleModeCardState(bool* pbState, DWORD*, DWORD*, DWORD*) {
  *pbState = m_bDoubleMode;
  return true;
}

bool CFakeDeviceMgr::GetMemIterator(IDeviceMemIterator** ppIterator) {
  std::vector<SMS_MEM> memories;
  if (m_bHasSim) {
    memories.push_back(SMS_MEM_SM);
  }
  if (m_bHasModemMemory) {
    memories.push_back(SMS_MEM_ME);
  }
  return m_monitor.Locked([&] {
    m_iterators.push_back(std::make_unique<CFakeMemIterator>(memories));
    *ppIterator = m_iterators.back().get();
    return true;
  });
}

bool CFakeDeviceMgr::GetPinStatus(DevDataDef::PinStatus* penStatus, DWORD* pdwPinTimes, DWORD* pdwPukTimes) {
  *penStatus = m_enPin;
  SetStatus(pdwPinTimes, 3);
  SetStatus(pdwPukTimes, 10);
  return true;
}

// --- CFakeDevice -----------------------------------------------------------------------------------------------------

CFakeDevice::CFakeDevice() {
  OfferSms(true);
  OfferDevice(true);
  OfferNet(true);
  OfferManager(true);
}

void CFakeDevice::OfferSms(bool bThere) {
  container.Offer(SHORT_MESSAGE_CLSID, SHORT_MESSAGE_INTERFACE, bThere ? static_cast<IShortMessage*>(&sms) : nullptr);
}

void CFakeDevice::OfferDevice(bool bThere) {
  container.Offer(DEVICE_SERVICE_CLSID, DEVICE_SERVICE_INTERFACE, bThere ? &device : nullptr);
}

void CFakeDevice::OfferNet(bool bThere) {
  container.Offer(NET_SERVICE_CLSID, NET_SERVICE_INTERFACE, bThere ? &net : nullptr);
}

void CFakeDevice::OfferManager(bool bThere) {
  container.Offer(DEVICE_MGR_CLSID, DEVICE_MGR_INTERFACE, bThere ? &manager : nullptr);
}

SMReadRecord MakeReadRecord(const std::string& number, const VELK_wstring& content, SMS_STAT enStat) {
  SMReadRecord record;
  std::memset(static_cast<void*>(record.wszContent), 0, sizeof record.wszContent);
  record.dwLength = static_cast<DWORD>(content.copy(record.wszContent, 160));
  number.copy(record.szAddress, sizeof record.szAddress - 1);
  record.enSMStat = enStat;
  record.stTime.wYear = 2026;
  record.stTime.btMonth = 11;
  record.stTime.btDay = 20;
  record.stTime.btHour = 12;
  return record;
}

SMReadRecord MakeReadPart(const std::string& number, const VELK_wstring& content, BYTE btMR, BYTE btTotal,
                          BYTE btPack) {
  SMReadRecord record = MakeReadRecord(number, content);
  record.stLongSMS_info.btMR = btMR;
  record.stLongSMS_info.btTotalPack = btTotal;
  record.stLongSMS_info.btPack = btPack;
  return record;
}
