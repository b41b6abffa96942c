// What the modem tells by itself; on the reader's thread.
#include "CardStart.h"
#include "KeptSettings.h"
#include "Lines.h"
#include "Modem.h"
#include "ModemNetwork.h"
#include "ModemStart.h"

namespace modem {

namespace {

const unsigned int kLimitMs = 5000;
const unsigned int kStoreLimitMs = 20000;

/// Some write "ME_P" of a memory that they prefer for new messages.
SMS_MEM MemoryOf(const std::string& name) {
  return name == "SM" || name == "SM_P" ? SMS_MEM_SM : name == "ME" || name == "ME_P" ? SMS_MEM_ME : SMS_MEM_UNKNOW;
}

/// Lines of makers that tell of a full memory: ^SMMEMFULL: "SM" | #SMOV: "SM" | +QIND: "smsfull","SM"
bool TellsFull(const std::string& line) {
  return StartsWith(line, "^SMMEMFULL:") || StartsWith(line, "#SMOV:") || StartsWith(line, "+QIND: \"smsfull\"");
}

}  // namespace

void CModem::OnUnsolicited(const std::string& line, const std::string& data) {
  if (StartsWith(line, "+CMTI:") || StartsWith(line, "+CDSI:") || StartsWith(line, "+CBMI:")) {
    OnStored(line);
  } else if (StartsWith(line, "+CMT:") || StartsWith(line, "+CDS:")) {
    OnDirectMessage(line, data);
  } else if (StartsWith(line, "+CBM:")) {
    RaisePages(data, {});
  } else if (OnRegistration(line) || OnCard(line)) {
    return;
  } else if (TellsRestart(line)) {
    m_hWork.SetEvent();
  } else if (TellsMessagesReady(line) && IsAvailable() && Facts().memories.empty()) {
    Queue([this] { AskAgain(); });  // what was refused at the start is there now
  } else if (TellsFull(line) || StartsWith(line, "^SMGO:")) {
    OnFull(line);
  }
}

void CModem::OnStored(const std::string& line) {
  const std::vector<std::string> parameters = ParametersOf(line);
  SNewSmsNotifyType notice;
  if (parameters.size() < 2 || !NumberOf(parameters[1], notice.hMsg)) {
    TraceFault("a notice about a message that cannot be found: " + line);
    return;
  }
  const bool page = StartsWith(line, "+CBMI:");
  notice.enMem = MemoryOf(parameters[0]);
  if (page || notice.enMem == SMS_MEM_UNKNOW) {
    Queue([this, name = parameters[0], hMsg = notice.hMsg, page] { Fetch(name, hMsg, page); });
    return;
  }
  m_stored.Forget(notice.enMem, notice.hMsg);
  m_events.Raise(CEventRaiser::Source::kMessages, WMS_RECEIVE_SMS_NOTIFY, notice);
}

/// A message in a memory that the service does not know, "SR" of reports or "BM" of broadcasts (3GPP TS 27.005, 2.2.1),
/// is handed over like a direct one, and deleted when the service has it.
void CModem::Fetch(const std::string& memory, MSG_HANDLE hMsg, bool bPage) {
  StoredPdu message;
  {
    const CMemoryHold hold(*this, memory);
    if (!hold.IsOk() || !ReadHeld(hMsg, false, message).IsOk() || message.hex.empty()) {
      TraceFault("a message cannot be read: place " + std::to_string(hMsg) + " of memory " + memory);
      return;
    }
  }
  const auto settle = [this, memory, hMsg](bool bTaken) {
    if (bTaken) {
      Queue([this, memory, hMsg] {
        const CMemoryHold hold(*this, memory);
        hold.IsOk() ? DeleteHeld(hMsg) : AtReply();
      });
    }
  };
  bPage ? RaisePages(message.hex, settle) : RaiseMessage(message.hex, settle);
}

void CModem::RaisePages(const std::string& hex, const CEventRaiser::RaisedCall& onRaised) {
  const std::vector<CBSMessage> pages = ReadPages(hex);
  for (std::size_t page = 0; page < pages.size(); ++page) {
    const bool last = page + 1 == pages.size();
    m_events.Raise(CEventRaiser::Source::kMessages, CBS_CONTENT_DIRECT_NOTIFY, pages[page],
                   last ? onRaised : CEventRaiser::RaisedCall());
  }
  if (pages.empty()) {
    TraceFault("a damaged broadcast page: " + hex);
  }
}

void CModem::RaiseMessage(const std::string& hex, const CEventRaiser::RaisedCall& onRaised) {
  const SMReadRecord record = ReadPdu(hex, SMS_STAT_UNREAD, Rules());
  const bool report = record.enType == SMS_IDENTIFYER_REPORT;
  m_events.Raise(CEventRaiser::Source::kMessages, report ? WMS_REPORT_STATUS_DIRECT : WMS_NEW_SMS_DIRECT_NOTIFY, record,
                 onRaised);
}

void CModem::OnFull(const std::string& line) {
  const std::vector<std::string> parameters = ParametersOf(line);
  if (StartsWith(line, "^SMGO:")) {  // that of new messages: 1 full, 2 and a message waits in the network, 0 no longer
    NoteFull(MemoryOf(Facts().received), parameters != std::vector<std::string>{"0"});
    return;
  }
  NoteFull(parameters.empty() ? SMS_MEM_UNKNOW : MemoryOf(parameters.back()), true);
}

bool CModem::OnCard(const std::string& line) {
  ModemFacts told;
  const CardNews news = ReadCardNotice(line, told);
  if (news == CardNews::kState) {
    ApplyCard(told.sim, told.pin);
  } else if (news == CardNews::kChange && IsAvailable()) {
    Queue([this] { AskCardAgain(); });
  }
  return news != CardNews::kNone;
}

/// Also on the worker's thread.
void CModem::ApplyCard(SimState sim, DevDataDef::PinStatus pin) {
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_bAvailable || (m_facts.sim == sim && m_facts.pin == pin)) {
      return;
    }
    m_facts.sim = sim;
    m_facts.pin = pin;
  }
  m_events.Raise(CEventRaiser::Source::kNetwork, NETSRV_DATA::EVENT_SRV_SIM_STATE, static_cast<DWORD>(sim));
  const bool locked = pin == DevDataDef::PIN_ENABLED_NOT_VERIFIED;
  if (sim == SIM_STATE_AVAILABLE || (locked && !ConfiguredPin().empty())) {
    Queue([this] { AskAgain(); });
  }
}

/// The network is told that the message has arrived only when the service has it, and else that it has not. Where the
/// modem has told so already, the message goes into its memory.
void CModem::OnDirectMessage(const std::string& line, const std::string& data) {
  const bool report = StartsWith(line, "+CDS:");
  RaiseMessage(data, [this, data, report](bool bTaken) {
    if (Facts().acknowledges) {
      Queue([this, bTaken] { Acknowledge(bTaken); });
    } else if (!bTaken && !report) {
      Queue([this, data] { KeepInMemory(data); });
    }
  });
}

/// After an acknowledgement that came late or said no, the modem stops handing messages over: it is asked to again
/// (3GPP TS 27.005, 3.4.4).
void CModem::Acknowledge(bool bTaken) {
  const AtReply reply = Execute(CAtCommand(bTaken ? "+CNMA" : "+CNMA=2"), "+CNMA:", kLimitMs);
  if (!bTaken) {
    TraceFault("nobody took a message: the network is asked to keep it");
  }
  if (!bTaken || !reply.IsOk()) {
    Execute(IndicationsCommand(Facts().indications), "+CNMI:", kLimitMs);
  }
}

void CModem::KeepInMemory(const std::string& hex) {
  const std::vector<SMS_MEM> memories = Facts().memories;
  PduLine line;
  const CMemoryHold hold(*this, memories.empty() ? SMS_MEM_UNKNOW : memories.back());
  CAtCommand command("+CMGW=");
  const bool whole = ToLine(hex, line);
  command.Number(static_cast<long>(line.tpduOctets)).Number(SMS_STAT_UNREAD);
  const bool kept = whole && hold.IsOk() && ExecuteWithOctets(command, hex, "+CMGW:", kStoreLimitMs).IsOk();
  TraceFault(kept ? "nobody took a message: it is kept in the modem" : "nobody took a message, and it is lost: " + hex);
}

bool CModem::OnRegistration(const std::string& line) {
  Domain domain = DOMAIN_CIRCUIT;
  SysSrvStatus told = SYS_SRV_STATUS_NONE;
  if (!ReadRegistration(line, domain, told)) {
    return false;
  }
  SysSrvStatus network = SYS_SRV_STATUS_NONE;
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_told[domain] = told;
    m_facts.domains[domain] = told;
    network = BestOf(m_facts.domains);
    if (m_facts.network == network) {
      return true;
    }
    m_facts.network = network;
  }
  m_events.Raise(CEventRaiser::Source::kNetwork, NETSRV_DATA::EVENT_NET_SERVER_STATUS, static_cast<DWORD>(network));
  if (network == SYS_SRV_STATUS_SRV && IsAvailable()) {
    Queue([this] { AskOperatorAgain(); });  // it may be another one
  }
  return true;
}

}  // namespace modem
