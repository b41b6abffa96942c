// Commands of ITU-T V.250: the settings of the dialogue, and hanging up.
#include "SimulatedModem.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace modem_sim {
namespace {

/// ITU-T V.250, 6.2 and 6.3.
struct RegisterRange {
  std::size_t place;
  int lowest;
  int highest;
  int initial;
};
const RegisterRange kRegisters[] = {{0, 0, 255, 0}, {3, 0, 127, '\r'}, {4, 0, 127, '\n'}, {5, 0, 127, '\b'},
                                    {6, 2, 10, 2},  {7, 1, 255, 60},   {8, 0, 255, 2},    {10, 1, 254, 2}};

std::string ThreeDigits(int number) {
  const std::string digits = std::to_string(number);
  return std::string(3 - std::min<std::size_t>(digits.size(), 3), '0') + digits;
}

}  // namespace

const std::vector<CSimulatedModem::Entry>& CSimulatedModem::BasicCommands() {
  typedef CSimulatedModem M;
  static const std::vector<Entry> kCommands = {
      {"E", &M::OnEcho},          {"Q", &M::OnQuiet},      {"V", &M::OnVerbose},        {"Z", &M::OnReset},
      {"&F", &M::OnReset},        {"&C", &M::OnIgnored},   {"&D", &M::OnIgnored},       {"&K", &M::OnIgnored},
      {"&V", &M::OnShowSettings}, {"&W", &M::OnIgnored},   {"X", &M::OnIgnored},        {"L", &M::OnIgnored},
      {"M", &M::OnIgnored},       {"H", &M::OnHangUpCall}, {"+CHUP", &M::OnHangUpCall}, {"S0", &M::OnRegister},
      {"S3", &M::OnRegister},     {"S4", &M::OnRegister},  {"S5", &M::OnRegister},      {"S6", &M::OnRegister},
      {"S7", &M::OnRegister},     {"S8", &M::OnRegister},  {"S10", &M::OnRegister},
  };
  return kCommands;
}

CSimulatedModem::Result CSimulatedModem::OnNumberFlag(const AtCommand& command, bool* flag) {
  if (!command.values.empty() && command.values != "0" && command.values != "1") return Error();
  *flag = command.values == "1";
  return Ok();
}

CSimulatedModem::Result CSimulatedModem::OnEcho(const AtCommand& command) { return OnNumberFlag(command, &m_bEcho); }
CSimulatedModem::Result CSimulatedModem::OnQuiet(const AtCommand& command) { return OnNumberFlag(command, &m_bQuiet); }

CSimulatedModem::Result CSimulatedModem::OnVerbose(const AtCommand& command) {
  return OnNumberFlag(command, &m_bVerbose);
}

CSimulatedModem::Result CSimulatedModem::OnReset(const AtCommand& command) {
  if (!command.values.empty() && command.values != "0") return Error();
  ResetSettings();
  HandOver();
  return Ok();
}

/// Lines, speakers and calls that this modem does not have: any number will do.
CSimulatedModem::Result CSimulatedModem::OnIgnored(const AtCommand&) { return Ok(); }

CSimulatedModem::Result CSimulatedModem::OnHangUpCall(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) return Ok();
  m_strCaller.clear();
  return Ok();
}

void CSimulatedModem::ResetRegisters() {
  for (const RegisterRange& range : kRegisters) m_registers[range.place] = range.initial;
}

/// The settings of the dialogue; a second profile and stored ones do not exist.
CSimulatedModem::Result CSimulatedModem::OnShowSettings(const AtCommand& command) {
  if (!command.values.empty() && command.values != "0") return Error();
  std::string text =
      std::string("E") + (m_bEcho ? "1" : "0") + " Q" + (m_bQuiet ? "1" : "0") + " V" + (m_bVerbose ? "1" : "0");
  for (const RegisterRange& range : kRegisters) {
    text += " S" + std::to_string(range.place) + ':' + ThreeDigits(m_registers[range.place]);
  }
  Inform(text);
  return Ok();
}

CSimulatedModem::Result CSimulatedModem::OnRegister(const AtCommand& command) {
  std::size_t place = 0;
  std::from_chars(command.name.data() + 1, command.name.data() + command.name.size(), place);
  if (command.form == AtCommand::Form::Read) {
    Inform(ThreeDigits(m_registers[place]));
    return Ok();
  }
  const RegisterRange& range = *std::find_if(std::begin(kRegisters), std::end(kRegisters),
                                             [place](const RegisterRange& row) { return row.place == place; });
  int value = range.initial;
  if (!CValues(command.values, 1).Number(0, range.lowest, range.highest, &value)) return Error();
  m_registers[place] = value;
  return Ok();
}

}  // namespace modem_sim
