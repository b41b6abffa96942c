// The memories of the modem, one of which is the chosen one.
#include "Modem.h"

namespace modem {

namespace {

const unsigned int kLimitMs = 5000;

const char* NameOf(SMS_MEM enMem) { return enMem == SMS_MEM_SM ? "SM" : "ME"; }

}  // namespace

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

}  // namespace modem
