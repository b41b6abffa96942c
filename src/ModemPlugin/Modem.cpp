#include "Modem.h"

#include "AtErrors.h"
#include "CardStart.h"
#include "Guarded.h"
#include "Lines.h"
#include "ModemNetwork.h"
#include "ModemStart.h"

#include <cstdlib>
#include <cstring>

namespace modem {

namespace {

// With the prompt's limit, the link's and a way back into step before it less than the 70 seconds that the service
// waits.
const unsigned int kSendLimitMs = 55000;
const unsigned int kLinkLimitMs = 2000;
const unsigned int kLimitMs = 5000;
const unsigned int kRetryMs = 1000;
const int kTries = 3;  // one that was just plugged in may need more than one
// Places in AT+CNMI and values there (3GPP TS 27.005, 3.4.1).
const std::size_t kMessages = 1;
const std::size_t kPages = 2;
const int kNotices = 1;
const int kDirect = 2;
const char kNoThread[] = "the system refuses another thread. End some programs and try again.";

std::string WhyNot(const AtReply& reply) {
  switch (reply.final) {
    case AtReply::Final::kCmsError:
      return CmsErrorText(reply.Status()) + (" (+CMS ERROR: " + std::to_string(reply.code) + ")");
    case AtReply::Final::kCmeError:
      return CmeErrorText(static_cast<unsigned int>(reply.code)) +
             (" (+CME ERROR: " + std::to_string(reply.code) + ")");
    case AtReply::Final::kNoAnswer:
      return "the modem did not answer";
    case AtReply::Final::kLineGone:
      return "the modem is gone";
    default:
      return "the modem refused it without a cause";
  }
}

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
  m_bPresent = true;
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

void CModem::SetPresent(bool bPresent) {
  m_bPresent = bPresent;
  const auto connection = bPresent ? nullptr : CurrentConnection();
  if (connection) {
    connection->pStream->Close();
  }
  m_hWork.SetEvent();
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
  m_bRefused = false;
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
  } else if (StartOn(connection->dialogue, facts, error)) {
    const CTurn turn(m_memory);
    if (TakeIntoUse(*connection, facts)) {
      return true;
    }
    error = "went away while it was started. Plug the modem in again.";
  }
  m_bRefused = !IsGone(*connection);
  connection->pStream->Close();
  m_pReader.reset();
  return false;
}

bool CModem::IsGone(const Connection& connection) const {
  const std::lock_guard<std::mutex> guard(m_lock);
  return connection.bGone || m_bStop;
}

/// @return false: stopped in the meantime, and nobody would close it.
bool CModem::Install(const std::shared_ptr<Connection>& connection) {
  const std::lock_guard<std::mutex> guard(m_lock);
  m_pConnection = connection;
  return !m_bStop;
}

/// The caller has the memories' turn.
/// @return false: the line is gone already.
bool CModem::TakeIntoUse(Connection& connection, const ModemFacts& facts) {
  m_strChosen.clear();
  m_stored.ForgetListings();
  m_bKeepsLink = true;
  const std::lock_guard<std::mutex> guard(m_lock);
  if (connection.bGone || m_bStop) {
    return false;
  }
  m_facts = facts;
  for (std::size_t domain = 0; domain < m_told.size(); ++domain) {
    m_facts.domains[domain] = m_told[domain].value_or(facts.domains[domain]);  // what was told came later
  }
  m_facts.network = BestOf(m_facts.domains);
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
    if (m_pConnection.get() != &connection || !m_bAvailable.exchange(false)) {
      return;
    }
    m_facts.sim = SIM_STATE_NONE;
    m_facts.pin = DevDataDef::PIN_UNKNOWN;
    m_facts.domains = {};
    m_facts.network = SYS_SRV_STATUS_NONE;
  }
  Guarded([&] {
    TraceFault("the modem is gone");
    m_events.Raise(CEventRaiser::Source::kNetwork, NETSRV_DATA::EVENT_SRV_MS_UNAVAILABLE);
  });
  m_hWork.SetEvent();
}

AtReply CModem::Execute(const CAtCommand& command, const char* prefix, unsigned int limitMs) {
  return Converse([&](CAtDialogue& dialogue) { return dialogue.Execute(command, prefix, limitMs); });
}

AtReply CModem::ExecuteWithOctets(const CAtCommand& command, const std::string& octets, const char* prefix,
                                  unsigned int limitMs) {
  return Converse([&](CAtDialogue& dialogue) { return dialogue.ExecuteWithOctets(command, octets, prefix, limitMs); });
}

AtReply CModem::Converse(const std::function<AtReply(CAtDialogue&)>& say) {
  const auto connection = CurrentConnection();
  AtReply reply;
  reply.final = AtReply::Final::kLineGone;
  if (connection && m_bAvailable) {
    reply = say(connection->dialogue);
    if (reply.final == AtReply::Final::kLineGone) {  // also when the reader has not noticed it yet
      OnLost(*connection);
    } else if (connection->dialogue.HasRestarted()) {
      m_hWork.SetEvent();
    }
  }
  return reply;
}

/// With the wishes of clients beside what the modem does by itself.
bool CModem::StartOn(CAtDialogue& dialogue, ModemFacts& facts, std::string& error) {
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_told = {};
  }
  if (!StartModem(dialogue, m_bBroadcasts, facts, error)) {
    return false;
  }
  std::array<int, 5> indications = facts.indications;
  indications[kMessages] = kDirect;
  if (m_bDirect && facts.indications[kMessages] == kNotices &&
      dialogue.Execute(IndicationsCommand(indications), "+CNMI:", kLimitMs).IsOk()) {
    facts.indications = indications;
  }
  return true;
}

AtReply CModem::SetBroadcasts(bool bOn) {
  const AtReply reply = SetIndication(kPages, bOn ? kDirect : 0);
  m_bBroadcasts = reply.IsOk() ? bOn : m_bBroadcasts.load();
  return reply;
}

AtReply CModem::SetDirect(bool bDirect) {
  const AtReply reply = SetIndication(kMessages, bDirect ? kDirect : kNotices);
  m_bDirect = reply.IsOk() ? bDirect : m_bDirect.load();
  return reply;
}

AtReply CModem::SetIndication(std::size_t place, int value) {
  std::array<int, 5> indications = Facts().indications;
  indications[place] = value;
  const AtReply reply = Execute(IndicationsCommand(indications), "+CNMI:", kLimitMs);
  if (reply.IsOk()) {
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
    return Reconnect() ? Next::kGoOn : m_bPresent ? Next::kRetryLater : Next::kAwaitWork;
  }
  if (const auto connection = CurrentConnection(); connection && connection->dialogue.HasRestarted()) {
    TraceFault("the modem was started anew by itself");
    AskAgain();
    return Next::kGoOn;
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
  if (!m_bPresent) {
    return false;
  }
  std::string error;
  const ModemFacts before = Facts();
  const bool connected = Connect(error);
  TellWhyAway(connected ? std::string() : error);
  m_iRefused = m_bRefused ? m_iRefused + 1 : 0;
  if (m_iRefused == kTries) {
    TraceFault("the modem is refused: it " + error);
    m_events.Raise(CEventRaiser::Source::kManager, IDeviceMgrEvent::EVENT_DEVICE_REJECT);
  }
  if (connected) {
    TraceFault("the modem is back: " + Facts().model);
    TellChange(before);
    AnnounceState();
  }
  return connected;
}

/// Once for as long as the cause is the same.
void CModem::TellWhyAway(const std::string& error) {
  if (!error.empty() && error != m_strWhyAway) {
    TraceFault("the modem is not back: " + error);
  }
  m_strWhyAway = error;
}

void CModem::TellChange(const ModemFacts& before) {
  const ModemFacts now = Facts();
  const bool otherNumber = !before.imei.empty() && !now.imei.empty() && before.imei != now.imei;
  if (before.model != now.model || otherNumber) {
    m_events.Raise(CEventRaiser::Source::kManager, IDeviceMgrEvent::EVENT_DEVICE_SWITCH);
  } else if (before.memories != now.memories) {
    m_events.Raise(CEventRaiser::Source::kManager, IDeviceMgrEvent::EVENT_DEVICE_SYSMODE_CHANGED);
  }
}

void CModem::AnnounceState() {
  const ModemFacts facts = Facts();
  m_events.Raise(CEventRaiser::Source::kNetwork, NETSRV_DATA::EVENT_SRV_MS_AVAILABLE);
  m_events.Raise(CEventRaiser::Source::kNetwork, NETSRV_DATA::EVENT_SRV_SIM_STATE, static_cast<DWORD>(facts.sim));
  m_events.Raise(CEventRaiser::Source::kNetwork, NETSRV_DATA::EVENT_NET_SERVER_STATUS,
                 static_cast<DWORD>(facts.network));
  m_events.Raise(CEventRaiser::Source::kMessages, WMS_EVENT_READY);
}

/// More parts follow: the modem keeps the link to the network open between them, and closes it by itself some seconds
/// after the last (3GPP TS 27.005, 3.5.6).
void CModem::KeepLink() {
  if (m_bKeepsLink) {
    CAtCommand command("+CMMS=");
    m_bKeepsLink = Execute(command.Number(1), "+CMMS:", kLinkLimitMs).IsOk();
  }
}

void CModem::SendOne(const PduLine& line) {
  if (line.bBeginsRun) {
    Guarded([this] { KeepLink(); });
  }
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
    TraceFault("a message was not sent: " + WhyNot(reply));
  }
}

/// A card that was locked has been opened: much was refused at the start. Or the modem has lost its settings.
void CModem::AskAgain() {
  const auto connection = CurrentConnection();
  const CTurn turn(m_memory);
  ModemFacts facts;
  std::string error;
  if (!connection) {
    return;
  }
  const ModemFacts before = Facts();
  if (StartOn(connection->dialogue, facts, error) && TakeIntoUse(*connection, facts)) {
    TellChange(before);
    AnnounceState();
  } else {
    TraceFault("the modem " + error);
    connection->pStream->Close();  // it is tried again until it can be used
  }
}

void CModem::AskCardAgain() {
  if (const auto connection = CurrentConnection()) {
    CQuestions questions(connection->dialogue);
    ModemFacts told;
    if (AskCardState(questions, told)) {
      ApplyCard(told.sim, told.pin);
    }
  }
}

void CModem::AskOperatorAgain() {
  if (const auto connection = CurrentConnection()) {
    CQuestions questions(connection->dialogue);
    ModemFacts told;
    AskOperator(questions, told);
    const std::lock_guard<std::mutex> guard(m_lock);
    m_facts.operatorCode = told.operatorCode;
    m_facts.signal = told.signal;
  }
}

}  // namespace modem
