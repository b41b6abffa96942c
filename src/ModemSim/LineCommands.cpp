// Commands of ITU-T V.250 about the line to the computer, which the modem notes and whose port has no need of, and
// about calls, which it does not carry.
#include "SimulatedModem.h"

#include <algorithm>

namespace modem_sim {
namespace {

const int kRates[] = {0, 300, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200, 230400, 460800, 921600};

}  // namespace

const std::vector<CSimulatedModem::Entry>& CSimulatedModem::LineCommands() {
  typedef CSimulatedModem M;
  static const std::vector<Entry> kCommands = {
      {"D", &M::OnCall},    {"A", &M::OnCall},           {"O", &M::OnCall},
      {"+IPR", &M::OnRate}, {"+IFC", &M::OnFlowControl}, {"+FCLASS", &M::OnServiceClass},
  };
  return kCommands;
}

CSimulatedModem::Result CSimulatedModem::OnCall(const AtCommand&) { return NoCarrier(); }

/// V.250, 6.2.10; 0: found out by itself.
CSimulatedModem::Result CSimulatedModem::OnRate(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) {
    std::string rates;
    for (const int rate : kRates) rates += (rates.empty() ? "" : ",") + std::to_string(rate);
    Inform("+IPR: (" + rates + ")");
    return Ok();
  }
  if (command.form == AtCommand::Form::Read) {
    Inform("+IPR: " + std::to_string(m_iRate));
    return Ok();
  }
  const CValues values(command.values, 1);
  int rate = 0;
  if (!values.Valid() || !values.Number(0, 0, *std::rbegin(kRates), &rate) ||
      std::find(std::begin(kRates), std::end(kRates), rate) == std::end(kRates)) {
    return Error();
  }
  m_iRate = rate;
  return Ok();
}

/// V.250, 6.2.12; what is left out is 2, the lines CTS and RTS.
CSimulatedModem::Result CSimulatedModem::OnFlowControl(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) {
    Inform("+IFC: (0-2),(0-2)");
    return Ok();
  }
  if (command.form == AtCommand::Form::Read) {
    Inform("+IFC: " + std::to_string(m_flowControl[0]) + ',' + std::to_string(m_flowControl[1]));
    return Ok();
  }
  const CValues values(command.values, 2);
  std::array<int, 2> flowControl = kFlowControl;
  if (!values.Valid() || !values.Number(0, 0, 2, &flowControl[0]) || !values.Number(1, 0, 2, &flowControl[1])) {
    return Error();
  }
  m_flowControl = flowControl;
  return Ok();
}

/// ITU-T T.31, 8.2; 0: data, no fax.
CSimulatedModem::Result CSimulatedModem::OnServiceClass(const AtCommand& command) {
  if (command.form != AtCommand::Form::Set) {
    Inform("0");
    return Ok();
  }
  return command.values == "0" ? Ok() : Error();
}

}  // namespace modem_sim
