// The memories of the modem, one of which is the chosen one.
#include "Lines.h"
#include "Modem.h"
#include "ModemStart.h"

namespace modem {

namespace {

const unsigned int kLimitMs = 5000;
const unsigned int kStoreLimitMs = 20000;

std::string NameOf(SMS_MEM enMem) { return enMem == SMS_MEM_SM ? "SM" : enMem == SMS_MEM_ME ? "ME" : ""; }

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

AtReply CModem::ReadHeld(MSG_HANDLE hMsg, StoredPdu& message) {
  CAtCommand command("+CMGR=");
  const AtReply reply = Execute(command.Number(static_cast<long>(hMsg)), "+CMGR:", kLimitMs);
  message = StoredPdu();
  if (reply.IsOk() && reply.lines.size() >= 2) {
    const std::vector<std::string> parameters = ParametersOf(reply.lines[0]);
    message = StoredPdu{reply.lines[1], parameters.empty() ? SMS_STAT_READ : StateOf(parameters[0])};
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
