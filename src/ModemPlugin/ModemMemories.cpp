// The memories of the modem, one of which is the chosen one.
#include "Lines.h"
#include "Modem.h"
#include "ModemStart.h"

namespace modem {

namespace {

const unsigned int kLimitMs = 5000;
const unsigned int kStoreLimitMs = 20000;
const unsigned int kListLimitMs = 60000;
const long kAllStates = 4;  // of AT+CMGL in PDU mode (3GPP TS 27.005, 4.1)

std::string NameOf(SMS_MEM enMem) { return enMem == SMS_MEM_SM ? "SM" : enMem == SMS_MEM_ME ? "ME" : ""; }

/// The modem does not know a command in this form.
bool RefusesForm(const AtReply& reply) {
  const bool cms = reply.final == AtReply::Final::kCmsError && reply.code >= 302 && reply.code <= 305;
  const bool cme = reply.final == AtReply::Final::kCmeError &&
                   (reply.code == 3 || reply.code == 4 || reply.code == 50 || reply.code == 100);
  return reply.final == AtReply::Final::kError || cms || cme;
}

}  // namespace

CModem::CMemoryHold::CMemoryHold(CModem& modem, SMS_MEM enMem) : CMemoryHold(modem, NameOf(enMem)) {}

CModem::CMemoryHold::CMemoryHold(CModem& modem, const std::string& name)
    : m_hold(modem.m_memory), m_bOk(!name.empty() && Choose(modem, name)) {}

bool CModem::CMemoryHold::Choose(CModem& modem, const std::string& name) {
  if (modem.m_strChosen == name) {
    return true;
  }
  // Messages are written where they are read; into other memories only the network writes.
  const bool written = name == "SM" || name == "ME" || name == "MT";
  CAtCommand command("+CPMS=");
  command.Quoted(name);
  if (written) {
    command.Quoted(name);
  }
  bool chosen = modem.Execute(command, "+CPMS:", kLimitMs).IsOk();
  if (!chosen && written) {
    // some insist on the memory for new messages too; it stays what it is
    const std::string received = modem.Facts().received;
    command.Quoted(received.empty() ? name : received);
    chosen = modem.Execute(command, "+CPMS:", kLimitMs).IsOk();
  }
  if (!chosen) {
    return false;
  }
  modem.m_strChosen = name;
  return true;
}

bool CModem::ReadsQuietly() const {
  const std::lock_guard<std::mutex> guard(m_lock);
  return m_facts.quiet != QuietReading::kNone;
}

/// @param ownName  of the command that some modems have for doing it quietly.
AtReply CModem::QueryHeld(const char* name, const char* ownName, long value, bool bQuietly, unsigned int limitMs) {
  const QuietReading quiet = bQuietly ? Facts().quiet : QuietReading::kNone;
  if (quiet != QuietReading::kNone) {
    const bool own = quiet == QuietReading::kOwnCommands;
    const std::string tag = own ? ownName : name;
    CAtCommand command((tag + "=").c_str());
    command.Number(value);
    const AtReply reply = Execute(own ? command : command.Number(1), (tag + ":").c_str(), limitMs);
    if (!RefusesForm(reply)) {
      return reply;
    }
    const std::lock_guard<std::mutex> guard(m_lock);
    m_facts.quiet = QuietReading::kNone;
  }
  CAtCommand command((std::string(name) + "=").c_str());
  return Execute(command.Number(value), (std::string(name) + ":").c_str(), limitMs);
}

AtReply CModem::ReadHeld(MSG_HANDLE hMsg, bool bQuietly, StoredPdu& message) {
  const AtReply reply = QueryHeld("+CMGR", "^SMGR", static_cast<long>(hMsg), bQuietly, kLimitMs);
  message = StoredPdu();
  if (reply.IsOk() && reply.lines.size() >= 2) {
    const std::vector<std::string> parameters = ParametersOf(reply.lines[0]);
    message = StoredPdu{reply.lines[1], parameters.empty() ? SMS_STAT_READ : StateOf(parameters[0])};
  }
  return reply;
}

AtReply CModem::ListHeld(CStoredMessages::Listing& messages) {
  const AtReply reply = QueryHeld("+CMGL", "^SMGL", kAllStates, true, kListLimitMs);
  for (std::size_t line = 0; reply.IsOk() && line + 1 < reply.lines.size(); line += 2) {
    const std::vector<std::string> parameters = ParametersOf(reply.lines[line]);
    MSG_HANDLE index = 0;
    if (parameters.size() >= 2 && NumberOf(parameters[0], index)) {
      messages.emplace(index, StoredPdu{reply.lines[line + 1], StateOf(parameters[1])});
    }
  }
  return reply;
}

AtReply CModem::DeleteHeld(MSG_HANDLE hMsg) {
  CAtCommand command("+CMGD=");
  return Execute(command.Number(static_cast<long>(hMsg)), "+CMGD:", kStoreLimitMs);
}

void CModem::NoteFull(SMS_MEM enMem, bool bFull) {
  const bool known = enMem == SMS_MEM_SM || enMem == SMS_MEM_ME;
  const bool before = known && m_full[static_cast<std::size_t>(enMem)].exchange(bFull);
  if (bFull && !before) {
    TraceFault("the memory for messages is full: " + (known ? NameOf(enMem) : "of a name that is not known"));
    m_events.Raise(CEventRaiser::Source::kMessages, WMS_MEMORY_STORE_FULL, static_cast<DWORD>(enMem));
  }
}

}  // namespace modem
