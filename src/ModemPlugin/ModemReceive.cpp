// What the modem tells by itself; on the reader's thread.
#include "Lines.h"
#include "Modem.h"
#include "ModemStart.h"

namespace modem {

namespace {

const unsigned int kLimitMs = 5000;

SMS_MEM MemoryOf(const std::string& name) {
  return name == "SM" ? SMS_MEM_SM : name == "ME" ? SMS_MEM_ME : SMS_MEM_UNKNOW;
}

}  // namespace

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
  } else if (TellsRestart(line)) {
    m_hWork.SetEvent();
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
  m_stored.Forget(memory, notice.hMsg);
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
  const SMReadRecord record = ReadPdu(data, SMS_STAT_UNREAD, Rules());
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

}  // namespace modem
