// Commands that makers have added, and what is left of the tries at a locked card.
#include "ErrorCodes.h"
#include "SimulatedModem.h"

#include <algorithm>

namespace modem_sim {

const std::vector<CSimulatedModem::Entry>& CSimulatedModem::ProfileCommands() {
  typedef CSimulatedModem M;
  static const std::vector<Entry> kCommands = {
      {"^SYSINFO", &M::OnSystemInfo},
      {"+CPINR", &M::OnPinTries},
  };
  return kCommands;
}

/// <srv_status>,<srv_domain>,<roam_status>,<sys_mode>,<sim_state>
CSimulatedModem::Result CSimulatedModem::OnSystemInfo(const AtCommand& command) {
  const std::string service = Registered() ? "2,3," : "0,0,";
  const std::string roaming = m_network == NetworkState::Roaming ? "1," : "0,";
  const std::string card = m_card == CardState::Absent ? "255" : CardReady() ? "1" : "0";
  return Inform(command,
                "^SYSINFO:" + service + roaming + (Registered() ? m_options.profile->systemMode : "0") + ',' + card);
}

/// 3GPP TS 27.007, 8.65.
CSimulatedModem::Result CSimulatedModem::OnPinTries(const AtCommand& command) {
  if (m_card == CardState::Absent || m_card == CardState::Busy) return CardLocked();
  if (command.form == AtCommand::Form::Execute) {
    Inform("+CPINR: SIM PIN," + std::to_string(m_iPinTries) + ",3");
    return Inform(command, "+CPINR: SIM PUK," + std::to_string(m_iPukTries) + ",10");
  }
  return command.form == AtCommand::Form::Test ? Ok() : Cme(kCmeIncorrectParameters);
}

/// AT+CPIN="PUK","new PIN"; without a try left the card is lost (3GPP TS 31.101, 9.3).
CSimulatedModem::Result CSimulatedModem::Unblock(const CValues& values) {
  std::string puk;
  std::string pin;
  if (!values.Text(0, &puk) || !values.Text(1, &pin) || !IsPin(pin)) {
    return Cme(kCmePukRequired);
  }
  if (m_iPukTries == 0 || puk != m_options.puk) {
    m_iPukTries = std::max(m_iPukTries - 1, 0);
    return Cme(kCmeIncorrectPassword);
  }
  SetCard(CardState::Ready, pin);
  return Ok();
}

}  // namespace modem_sim
