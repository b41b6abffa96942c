#include "Modem.h"

#include "Guarded.h"
#include "ModemStart.h"
#include "platform/TraceSrv.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <tuple>

namespace modem {

namespace {

// With the prompt's limit and a way back into step before it less than the 70 seconds that the service waits.
const unsigned int kSendLimitMs = 55000;
const unsigned int kLimitMs = 5000;
const unsigned int kRetryMs = 1000;
const char kNoThread[] = "the system refuses another thread. End some programs and try again.";

SMS_MEM MemoryOf(const std::string& name) {
  return name == "SM" ? SMS_MEM_SM : name == "ME" ? SMS_MEM_ME : SMS_MEM_UNKNOW;
}

const char* NameOf(SMS_MEM enMem) { return enMem == SMS_MEM_SM ? "SM" : "ME"; }

bool StartsWith(const std::string& line, const char* prefix) { return line.rfind(prefix, 0) == 0; }

auto FieldsOf(const UTTime& time) {
  return std::tie(time.wYear, time.btMonth, time.btDay, time.btHour, time.btMinute, time.btSecond);
}

bool IsSameMessage(const SMReadRecord& left, const SMReadRecord& right) {
  return left.dwLength == right.dwLength && left.enType == right.enType &&
         std::equal(left.wszContent, left.wszContent + left.dwLength, right.wszContent) &&
         std::strcmp(left.szAddress, right.szAddress) == 0 && FieldsOf(left.stTime) == FieldsOf(right.stTime) &&
         std::memcmp(&left.stLongSMS_info, &right.stLongSMS_info, sizeof left.stLongSMS_info) == 0;
}

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
  if (m_pWorker) {
    return true;
  }
  m_bStop = false;
  const bool started = Guarded([&] { return StartThreads(error); });
  if (!started) {
    Stop();
  }
  return started;
}

bool CModem::StartThreads(std::string& error) {
  if (!m_events.Begin()) {
    error = kNoThread;
    return false;
  }
  if (!Connect(error)) {
    return false;
  }
  m_pWorker = std::make_unique<CWorker>([this] { Work(); });
  if (m_pWorker->Start() != 0) {
    error = kNoThread;
    return false;
  }
  return true;
}

void CModem::Stop() {
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_bStop = true;
    m_bAvailable = false;
  }
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
  if (!Install(connection)) {
    return false;
  }
  m_pReader = std::make_unique<CWorker>([this, connection] { ReadLine(*connection); });
  ModemFacts facts;
  if (m_pReader->Start() != 0) {
    error = kNoThread;
  } else if (StartModem(connection->dialogue, m_bBroadcasts, facts, error)) {
    const CTurn turn(m_memory);
    if (TakeIntoUse(*connection, facts)) {
      return true;
    }
    error = "went away while it was started. Plug the modem in again.";
  }
  connection->pStream->Close();
  m_pReader.reset();
  return false;
}

/// @return false: stopped in the meantime, and nobody would close it.
bool CModem::Install(const std::shared_ptr<Connection>& connection) {
  const std::lock_guard<std::mutex> guard(m_lock);
  m_pConnection = connection;
  m_toldNetwork.reset();
  return !m_bStop;
}

/// The caller has the memories' turn.
/// @return false: the line is gone already.
bool CModem::TakeIntoUse(Connection& connection, const ModemFacts& facts) {
  m_enChosen = SMS_MEM_UNKNOW;
  {
    const std::lock_guard<std::mutex> guard(m_cacheLock);
    m_listed[SMS_MEM_SM].clear();
    m_listed[SMS_MEM_ME].clear();
  }
  const std::lock_guard<std::mutex> guard(m_lock);
  if (connection.bGone || m_bStop) {
    return false;
  }
  m_facts = facts;
  m_facts.network = m_toldNetwork.value_or(facts.network);  // what was told came later
  m_bAvailable = true;
  return true;
}

void CModem::ReadLine(Connection& connection) {
  Guarded([&] {
    std::string bytes;
    while (connection.pStream->Read(bytes)) {
      connection.dialogue.Feed(bytes);
      bytes.clear();
    }
  });
  connection.pStream->Close();
  connection.dialogue.LineGone();
  OnLost(connection);
}

void CModem::OnLost(Connection& connection) {
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    connection.bGone = true;
    if (!m_bAvailable.exchange(false)) {
      return;
    }
    m_facts.sim = SIM_STATE_NONE;
    m_facts.pin = DevDataDef::PIN_UNKNOWN;
    m_facts.network = SYS_SRV_STATUS_NONE;
  }
  Guarded([&] {
    TraceFault("the modem is gone");
    m_events.Raise(CEventRaiser::Source::kNetwork, NETSRV_DATA::EVENT_SRV_MS_UNAVAILABLE);
  });
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

AtReply CModem::SetBroadcasts(bool bOn) {
  const std::size_t kPages = 2;
  std::array<int, 5> indications = Facts().indications;
  indications[kPages] = bOn ? 2 : 0;
  const AtReply reply = Execute(IndicationsCommand(indications), "+CNMI:", kLimitMs);
  if (reply.IsOk()) {
    m_bBroadcasts = bOn;
    const std::lock_guard<std::mutex> guard(m_lock);
    m_facts.indications = indications;
  }
  return reply;
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
  std::size_t count = 0;
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    count = m_sends.size();
    m_sends.clear();
  }
  for (std::size_t part = 0; part < count; ++part) {
    RaiseVerdict(AtReply().Status());
  }
}

/// Somebody waits for it: it is not given up when memory is short.
void CModem::RaiseVerdict(DWORD dwStatus) {
  const unsigned int kPauseMs = 100;
  while (!Guarded([&] {
    m_events.Raise(CEventRaiser::Source::kMessages, WMS_MO_SMS_STATUS, dwStatus);
    return true;
  })) {
    m_hWork.WaitForSingleObject(kPauseMs);
  }
}

void CModem::Work() {
  while (!m_bStop) {
    switch (Guarded([this] { return WorkOnce(); })) {
      case Next::kGoOn:
        break;
      case Next::kAwaitWork:
        m_hWork.WaitForSingleObject(0);
        break;
      case Next::kRetryLater:  // after an exception too
        m_hWork.WaitForSingleObject(kRetryMs);
        break;
    }
  }
}

CModem::Next CModem::WorkOnce() {
  if (!m_bAvailable) {
    return Reconnect() ? Next::kGoOn : Next::kRetryLater;
  }
  std::function<void()> task;
  PduLine line;
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_tasks.empty()) {
      task.swap(m_tasks.front());
      m_tasks.pop_front();
    } else if (!m_sends.empty()) {
      std::swap(line, m_sends.front());
      m_sends.pop_front();
    } else {
      return Next::kAwaitWork;
    }
  }
  if (task) {
    task();
  } else {
    SendOne(line);
  }
  return Next::kGoOn;
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
  const AtReply reply = Guarded([&] {
    CAtCommand command("+CMGS=");
    command.Number(static_cast<long>(line.tpduOctets));
    return ExecuteWithOctets(command, line.hex, "+CMGS:", kSendLimitMs);
  });
  // The reference comes after the network has taken the message: what is lost behind it does not make it unsent.
  const bool silent = reply.final == AtReply::Final::kNoAnswer || reply.final == AtReply::Final::kLineGone;
  const bool taken = reply.IsOk() || (silent && !reply.lines.empty() && StartsWith(reply.lines.back(), "+CMGS:"));
  RaiseVerdict(taken ? 0 : reply.Status());
  if (!taken) {
    TraceFault("a message was not sent, error " + std::to_string(reply.Status()));
  }
}

/// A card that was locked has been opened: much was refused at the start.
void CModem::AskAgain() {
  const auto connection = CurrentConnection();
  const CTurn turn(m_memory);
  ModemFacts facts;
  std::string error;
  if (connection && StartModem(connection->dialogue, m_bBroadcasts, facts, error) && TakeIntoUse(*connection, facts)) {
    AnnounceState();
  }
}

// --- unsolicited lines; on the reader's thread -----------------------------------------------------------------------

void CModem::OnUnsolicited(const std::string& line, const std::string& data) {
  if (StartsWith(line, "+CMTI:") || StartsWith(line, "+CDSI:")) {
    OnStored(line);
  } else if (StartsWith(line, "+CMT:") || StartsWith(line, "+CDS:")) {
    OnDirectMessage(data);
  } else if (StartsWith(line, "+CBM:")) {
    OnPage(data);
  } else if (StartsWith(line, "+CREG:")) {
    OnRegistration(line);
  } else if (StartsWith(line, "+CPIN:")) {
    OnSim(line);
  }
}

void CModem::OnStored(const std::string& line) {
  const std::vector<std::string> parameters = ParametersOf(line);
  const SMS_MEM memory = parameters.size() < 2 ? SMS_MEM_UNKNOW : MemoryOf(parameters[0]);
  SNewSmsNotifyType notice;
  notice.enMem = memory;
  if (memory == SMS_MEM_UNKNOW || !NumberOf(parameters[1], notice.hMsg)) {
    TraceFault("a notice about a message that cannot be found: " + line);
    return;
  }
  ForgetListed(memory, notice.hMsg);
  m_events.Raise(CEventRaiser::Source::kMessages, WMS_RECEIVE_SMS_NOTIFY, notice);
}

void CModem::OnPage(const std::string& data) {
  CBSMessage page;
  if (ReadPage(data, page)) {
    m_events.Raise(CEventRaiser::Source::kMessages, CBS_CONTENT_DIRECT_NOTIFY, page);
  } else {
    TraceFault("a damaged broadcast page");
  }
}

void CModem::OnSim(const std::string& line) {
  const std::vector<std::string> parameters = ParametersOf(line);
  ModemFacts told;
  ReadSimState(parameters.empty() ? std::string() : parameters[0], told);
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_bAvailable || (m_facts.sim == told.sim && m_facts.pin == told.pin)) {
      return;
    }
    m_facts.sim = told.sim;
    m_facts.pin = told.pin;
  }
  m_events.Raise(CEventRaiser::Source::kNetwork, NETSRV_DATA::EVENT_SRV_SIM_STATE, static_cast<DWORD>(told.sim));
  if (told.sim == SIM_STATE_AVAILABLE) {
    Queue([this] { AskAgain(); });
  }
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
    m_toldNetwork = status;
    if (m_facts.network == status) {
      return;
    }
    m_facts.network = status;
  }
  m_events.Raise(CEventRaiser::Source::kNetwork, NETSRV_DATA::EVENT_NET_SERVER_STATUS, static_cast<DWORD>(status));
}

// --- memories --------------------------------------------------------------------------------------------------------

CModem::CMemoryHold::CMemoryHold(CModem& modem, SMS_MEM enMem)
    : m_hold(modem.m_memory), m_bOk((enMem == SMS_MEM_SM || enMem == SMS_MEM_ME) && Choose(modem, enMem)) {}

bool CModem::CMemoryHold::Choose(CModem& modem, SMS_MEM enMem) {
  if (modem.m_enChosen == enMem) {
    return true;
  }
  const char* const name = NameOf(enMem);
  CAtCommand command("+CPMS=");
  command.Quoted(name).Quoted(name);
  if (!modem.Execute(command, "+CPMS:", kLimitMs).IsOk()) {
    // some insist on the memory for new messages too; it stays what it is
    const std::string received = modem.Facts().received;
    command.Quoted(received.empty() ? name : received);
    if (!modem.Execute(command, "+CPMS:", kLimitMs).IsOk()) {
      return false;
    }
  }
  modem.m_enChosen = enMem;
  return true;
}

/// Being listed has made unread messages read on the modem, not here.
void CModem::RememberListing(SMS_MEM enMem, const MessageCache& messages) {
  MessageCache fresh = messages;
  const std::lock_guard<std::mutex> guard(m_cacheLock);
  for (auto& message : fresh) {
    const auto known = m_listed[enMem].find(message.first);
    if (known != m_listed[enMem].end() && IsSameMessage(known->second, message.second)) {
      message.second.enSMStat = known->second.enSMStat;
    }
  }
  m_listed[enMem].swap(fresh);
}

void CModem::RememberRead(SMS_MEM enMem, MSG_HANDLE hMsg, const SMReadRecord& record) {
  const std::lock_guard<std::mutex> guard(m_cacheLock);
  m_listed[enMem].emplace(hMsg, record);
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
