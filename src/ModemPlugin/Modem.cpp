#include "Modem.h"

#include "ModemStart.h"
#include "platform/TraceSrv.h"

#include <algorithm>
#include <cstdlib>

namespace modem {

namespace {

const unsigned int kSendLimitMs = 60000;  // less than the 70 seconds that the service waits for a verdict
const unsigned int kLimitMs = 5000;
const unsigned int kRetryMs = 1000;
const DWORD kAccepted = 0;
const DWORD kUnknownError = 500;  // 3GPP TS 27.005, 3.2.5

SMS_MEM MemoryOf(const std::string& name) {
  return name == "SM" ? SMS_MEM_SM : name == "ME" ? SMS_MEM_ME : SMS_MEM_UNKNOW;
}

const char* NameOf(SMS_MEM enMem) { return enMem == SMS_MEM_SM ? "SM" : "ME"; }

bool StartsWith(const std::string& line, const char* prefix) { return line.rfind(prefix, 0) == 0; }

void TraceFault(const std::string& text) { TraceSrv_Trace(Tracelevel::TL_ERRO, "MODEM", text.c_str()); }

}  // namespace

CModem::CWorker::~CWorker() {
  while (!WaitForEnd(1000)) {
  }
}

void* CModem::CWorker::Thread() {
  ThreadStarted();
  m_body();
  return nullptr;
}

CModem::CModem(const StreamOpener& open) : m_open(open) { m_hWork.Init(false, false); }

CModem::~CModem() { Stop(); }

bool CModem::Start(std::string& error) {
  m_bStop = false;
  m_events.Begin();
  if (!Connect(error)) {
    Stop();
    return false;
  }
  m_pWorker = std::make_unique<CWorker>([this] { Work(); });
  m_pWorker->Start();
  return true;
}

void CModem::Stop() {
  m_bStop = true;
  m_bAvailable = false;
  if (const auto connection = CurrentConnection()) {
    connection->pStream->Close();
  }
  m_hWork.SetEvent();
  m_pWorker.reset();
  m_pReader.reset();
  FailQueued();
  m_events.End();
  const std::lock_guard<std::mutex> guard(m_lock);
  m_pConnection.reset();
  m_tasks.clear();
}

std::shared_ptr<CModem::Connection> CModem::CurrentConnection() const {
  const std::lock_guard<std::mutex> guard(m_lock);
  return m_pConnection;
}

ModemFacts CModem::Facts() const {
  const std::lock_guard<std::mutex> guard(m_lock);
  return m_facts;
}

void CModem::SetServiceCentre(const std::string& number) {
  const std::lock_guard<std::mutex> guard(m_lock);
  m_facts.serviceCentre = number;
}

/// Opens the line, begins to read it and starts the modem on it.
bool CModem::Connect(std::string& error) {
  std::unique_ptr<IByteStream> stream = m_open(error);
  if (!stream) {
    return false;
  }
  const auto handler = [this](const std::string& line, const std::string& data) { OnUnsolicited(line, data); };
  const auto connection = std::make_shared<Connection>(std::move(stream), handler);
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_pConnection = connection;
  }
  m_pReader = std::make_unique<CWorker>([this] { ReadLine(); });
  m_pReader->Start();
  ModemFacts facts;
  if (!StartModem(connection->dialogue, facts, error)) {
    connection->pStream->Close();
    m_pReader.reset();
    return false;
  }
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_facts = facts;
  }
  {
    const std::lock_guard<std::mutex> guard(m_memoryLock);
    m_enChosen = SMS_MEM_UNKNOW;
  }
  m_bAvailable = true;
  return true;
}

void CModem::ReadLine() {
  const auto connection = CurrentConnection();
  std::string bytes;
  while (connection->pStream->Read(bytes)) {
    connection->dialogue.Feed(bytes);
    bytes.clear();
  }
  connection->dialogue.LineGone();
  OnLost();
}

void CModem::OnLost() {
  if (!m_bAvailable.exchange(false)) {
    return;
  }
  TraceFault("the modem is gone");
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_facts.sim = SIM_STATE_NONE;
    m_facts.pin = DevDataDef::PIN_UNKNOWN;
    m_facts.network = SYS_SRV_STATUS_NONE;
  }
  {
    const std::lock_guard<std::mutex> guard(m_cacheLock);
    m_listed[SMS_MEM_SM].clear();
    m_listed[SMS_MEM_ME].clear();
  }
  m_events.Raise(CEventRaiser::Source::kNetwork, NETSRV_DATA::EVENT_SRV_MS_UNAVAILABLE);
  m_hWork.SetEvent();
}

AtReply CModem::Execute(const CAtCommand& command, const char* prefix, unsigned int limitMs) {
  const auto connection = CurrentConnection();
  AtReply gone;
  gone.final = AtReply::Final::kLineGone;
  return connection && m_bAvailable ? connection->dialogue.Execute(command, prefix, limitMs) : gone;
}

AtReply CModem::ExecuteWithOctets(const CAtCommand& command, const std::string& octets, const char* prefix,
                                  unsigned int limitMs) {
  const auto connection = CurrentConnection();
  AtReply gone;
  gone.final = AtReply::Final::kLineGone;
  return connection && m_bAvailable ? connection->dialogue.ExecuteWithOctets(command, octets, prefix, limitMs) : gone;
}

// --- the queue -------------------------------------------------------------------------------------------------------

void CModem::Queue(const std::function<void()>& task) {
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_tasks.push_back(task);
  }
  m_hWork.SetEvent();
}

bool CModem::QueueSend(const PduLine& line) {
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_bAvailable || m_bStop) {
      return false;
    }
    m_sends.push_back(line);
  }
  m_hWork.SetEvent();
  return true;
}

void CModem::FailQueued() {
  std::deque<PduLine> sends;
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    sends.swap(m_sends);
  }
  for (std::size_t part = 0; part < sends.size(); ++part) {
    m_events.Raise(CEventRaiser::Source::kMessages, WMS_MO_SMS_STATUS, kUnknownError);
  }
}

void CModem::Work() {
  while (!m_bStop) {
    if (!m_bAvailable && !Reconnect()) {
      m_hWork.WaitForSingleObject(kRetryMs);
      continue;
    }
    std::function<void()> task;
    PduLine line;
    bool send = false;
    {
      const std::lock_guard<std::mutex> guard(m_lock);
      if (!m_tasks.empty()) {
        task = m_tasks.front();
        m_tasks.pop_front();
      } else if (!m_sends.empty()) {
        line = m_sends.front();
        m_sends.pop_front();
        send = true;
      }
    }
    if (task) {
      task();
    } else if (send) {
      SendOne(line);
    } else {
      m_hWork.WaitForSingleObject(0);
    }
  }
}

/// @return false: the modem is not back yet.
bool CModem::Reconnect() {
  FailQueued();
  m_pReader.reset();
  std::string error;
  if (!Connect(error)) {
    return false;
  }
  TraceFault("the modem is back: " + Facts().model);
  AnnounceState();
  return true;
}

void CModem::AnnounceState() {
  const ModemFacts facts = Facts();
  m_events.Raise(CEventRaiser::Source::kNetwork, NETSRV_DATA::EVENT_SRV_MS_AVAILABLE);
  m_events.Raise(CEventRaiser::Source::kNetwork, NETSRV_DATA::EVENT_SRV_SIM_STATE, static_cast<DWORD>(facts.sim));
  m_events.Raise(CEventRaiser::Source::kNetwork, NETSRV_DATA::EVENT_NET_SERVER_STATUS,
                 static_cast<DWORD>(facts.network));
  m_events.Raise(CEventRaiser::Source::kMessages, WMS_EVENT_READY);
}

void CModem::SendOne(const PduLine& line) {
  CAtCommand command("+CMGS=");
  command.Number(static_cast<long>(line.tpduOctets));
  const AtReply reply = ExecuteWithOctets(command, line.hex, "+CMGS:", kSendLimitMs);
  DWORD verdict = kAccepted;
  if (!reply.IsOk()) {
    const bool coded = reply.final == AtReply::Final::kCmsError || reply.final == AtReply::Final::kCmeError;
    verdict = coded && reply.code > 0 ? static_cast<DWORD>(reply.code) : kUnknownError;
    TraceFault("a message was not sent, error " + std::to_string(verdict));
  }
  m_events.Raise(CEventRaiser::Source::kMessages, WMS_MO_SMS_STATUS, verdict);
}

// --- unsolicited lines; on the reader's thread -----------------------------------------------------------------------

void CModem::OnUnsolicited(const std::string& line, const std::string& data) {
  if (StartsWith(line, "+CMTI:") || StartsWith(line, "+CDSI:")) {
    OnStored(line);
  } else if (StartsWith(line, "+CMT:") || StartsWith(line, "+CDS:")) {
    OnDirectMessage(data);
  } else if (StartsWith(line, "+CREG:")) {
    OnRegistration(line);
  }
}

void CModem::OnStored(const std::string& line) {
  const std::vector<std::string> parameters = ParametersOf(line);
  const SMS_MEM memory = parameters.size() < 2 ? SMS_MEM_UNKNOW : MemoryOf(parameters[0]);
  if (memory == SMS_MEM_UNKNOW) {
    TraceFault("a notice about a memory that is not known: " + line);
    return;
  }
  SNewSmsNotifyType notice;
  notice.enMem = memory;
  notice.hMsg = static_cast<MSG_HANDLE>(std::strtoul(parameters[1].c_str(), nullptr, 10));
  ForgetListed(memory, notice.hMsg);
  m_events.Raise(CEventRaiser::Source::kMessages, WMS_RECEIVE_SMS_NOTIFY, notice);
}

/// The network is told that the message has arrived only when the service has it.
void CModem::OnDirectMessage(const std::string& data) {
  const SMReadRecord record = ReadPdu(data, SMS_STAT_UNREAD);
  const unsigned long event =
      record.enType == SMS_IDENTIFYER_REPORT ? WMS_REPORT_STATUS_DIRECT : WMS_NEW_SMS_DIRECT_NOTIFY;
  m_events.Raise(CEventRaiser::Source::kMessages, event, record, [this] { Queue([this] { Acknowledge(); }); });
}

void CModem::Acknowledge() {
  if (Facts().acknowledges) {
    Execute(CAtCommand("+CNMA"), "+CNMA:", kLimitMs);
  }
}

void CModem::OnRegistration(const std::string& line) {
  const SysSrvStatus status = RegistrationOf(line);
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_facts.network == status) {
      return;
    }
    m_facts.network = status;
  }
  m_events.Raise(CEventRaiser::Source::kNetwork, NETSRV_DATA::EVENT_NET_SERVER_STATUS, static_cast<DWORD>(status));
}

// --- memories --------------------------------------------------------------------------------------------------------

CModem::CMemoryHold::CMemoryHold(CModem& modem, SMS_MEM enMem) : m_hold(modem.m_memoryLock), m_bOk(false) {
  if (enMem != SMS_MEM_SM && enMem != SMS_MEM_ME) {
    return;
  }
  if (modem.m_enChosen != enMem) {
    CAtCommand command("+CPMS=");
    command.Quoted(NameOf(enMem)).Quoted(NameOf(enMem));
    if (!modem.Execute(command, "+CPMS:", kLimitMs).IsOk()) {
      return;
    }
    modem.m_enChosen = enMem;
  }
  m_bOk = true;
}

void CModem::RememberListed(SMS_MEM enMem, const MessageCache& messages) {
  const std::lock_guard<std::mutex> guard(m_cacheLock);
  for (const auto& message : messages) {
    m_listed[enMem].emplace(message);  // an entry that is there knows the state from before the first listing
  }
}

bool CModem::FindListed(SMS_MEM enMem, MSG_HANDLE hMsg, bool bMarkRead, SMReadRecord& record) {
  const std::lock_guard<std::mutex> guard(m_cacheLock);
  const auto it = m_listed[enMem].find(hMsg);
  if (it == m_listed[enMem].end()) {
    return false;
  }
  record = it->second;
  if (bMarkRead && it->second.enSMStat == SMS_STAT_UNREAD) {
    it->second.enSMStat = SMS_STAT_READ;
  }
  return true;
}

void CModem::ForgetListed(SMS_MEM enMem, MSG_HANDLE hMsg) {
  const std::lock_guard<std::mutex> guard(m_cacheLock);
  m_listed[enMem].erase(hMsg);
}

}  // namespace modem
