// Commands of 3GPP TS 27.007: identity, card, registration.
#include "ErrorCodes.h"
#include "SimulatedModem.h"

#include <algorithm>

namespace modem_sim {
namespace {

const char kMaker[] = "SmsApp";
const char kSubscriber[] = "001010123456789";    // test network 001 01
const char kOperatorLong[] = "SmsApp Test Net";  // 16 characters at most (3GPP TS 27.007, 7.3)
const char kOperatorShort[] = "SmsApp";
const char kOperatorNumber[] = "00101";

const int kOnlyFormat = 3;  // <mode> of +COPS

std::string Quoted(const std::string& text) { return '"' + text + '"'; }

/// Some programs leave the quotation marks out.
std::string WithQuotes(const std::string& values) {
  if (values.find('"') != std::string::npos) return values;
  const std::size_t comma = values.find(',');
  const std::string first = Quoted(values.substr(0, comma));
  return comma == std::string::npos ? first : first + ',' + Quoted(values.substr(comma + 1));
}

bool Known(const AtCommand& command, const char* name) { return command.name == name; }

}  // namespace

const std::vector<CSimulatedModem::Entry>& CSimulatedModem::GeneralCommands() {
  typedef CSimulatedModem M;
  static const std::vector<Entry> kCommands = {
      {"I", &M::OnIdentity},          {"+CGMI", &M::OnIdentity},     {"+GMI", &M::OnIdentity},
      {"+CGMM", &M::OnIdentity},      {"+GMM", &M::OnIdentity},      {"+CGMR", &M::OnIdentity},
      {"+GMR", &M::OnIdentity},       {"+CGSN", &M::OnSerialNumber}, {"+GSN", &M::OnSerialNumber},
      {"+GCAP", &M::OnCapabilities},  {"+CIMI", &M::OnSubscriber},   {"+CNUM", &M::OnOwnNumber},
      {"+CPIN", &M::OnPin},           {"+CSQ", &M::OnSignal},        {"+CPAS", &M::OnActivity},
      {"+CFUN", &M::OnFunctionality}, {"+CREG", &M::OnRegistration}, {"+CGREG", &M::OnRegistration},
      {"+CEREG", &M::OnRegistration}, {"+COPS", &M::OnOperator},     {"+CGATT", &M::OnAttachment},
      {"+CSCS", &M::OnCharacterSet},  {"+CLAC", &M::OnListCommands}, {"+WS46", &M::OnNetworkKind},
  };
  return kCommands;
}

/// 3GPP TS 27.007, 8.37.
CSimulatedModem::Result CSimulatedModem::OnListCommands(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) return Ok();
  if (command.form != AtCommand::Form::Execute) return Error();
  for (const auto* const table : Tables()) {
    for (const Entry& entry : *table) {
      if (!Lacks(entry.name)) Inform(std::string("AT") + entry.name);
    }
  }
  for (const NumberEntry& entry : NumberCommands()) {
    if (!Lacks(entry.name)) Inform(std::string("AT") + entry.name);
  }
  return Ok();
}

/// The one kind of network that the device uses (3GPP TS 27.007, 5.9).
CSimulatedModem::Result CSimulatedModem::OnNetworkKind(const AtCommand& command) {
  const char* const kind = m_options.profile->networkKind;
  if (command.form == AtCommand::Form::Test) {
    Inform(std::string("+WS46: (") + kind + ')');
    return Ok();
  }
  if (command.form == AtCommand::Form::Read) {
    Inform(std::string("+WS46: ") + kind);
    return Ok();
  }
  return command.values.empty() || command.values == kind ? Ok() : Cme(kCmeIncorrectParameters);
}

/// An execute command that only tells something; its test form is answered with OK alone.
CSimulatedModem::Result CSimulatedModem::Inform(const AtCommand& command, const std::string& text) {
  if (command.form == AtCommand::Form::Test) return Ok();
  if (command.form != AtCommand::Form::Execute) return Error();
  Inform(text);
  return Ok();
}

CSimulatedModem::Result CSimulatedModem::OnIdentity(const AtCommand& command) {
  if (Known(command, "I")) {
    Inform(std::string(kMaker) + ' ' + m_options.profile->model);
    Inform(kVersion);
    return Ok();
  }
  if (Known(command, "+CGMI") || Known(command, "+GMI")) return Inform(command, kMaker);
  if (Known(command, "+CGMM") || Known(command, "+GMM")) return Inform(command, m_options.profile->model);
  return Inform(command, kVersion);
}

/// Bare as ever, or by <snt>: 0 the maker's number, 1 the IMEI, quoted.
CSimulatedModem::Result CSimulatedModem::OnSerialNumber(const AtCommand& command) {
  if (Known(command, "+GSN") || command.form == AtCommand::Form::Execute)
    return Inform(command, m_options.profile->serial);
  if (command.form == AtCommand::Form::Test) {
    Inform("+CGSN: (0,1)");
    return Ok();
  }
  const CValues values(command.values, 1);
  int kind = 0;
  if (command.form != AtCommand::Form::Set || !values.Valid() || !values.Number(0, 0, 1, &kind)) {
    return Cme(kCmeIncorrectParameters);
  }
  Inform(kind == 0 ? std::string(m_options.profile->serial) : "+CGSN: " + Quoted(m_options.profile->serial));
  return Ok();
}

CSimulatedModem::Result CSimulatedModem::OnCapabilities(const AtCommand& command) {
  return Inform(command, m_options.profile->capabilities);
}

CSimulatedModem::Result CSimulatedModem::OnSubscriber(const AtCommand& command) {
  if (command.form == AtCommand::Form::Execute && !CardReady()) return CardLocked();
  return Inform(command, kSubscriber);
}

CSimulatedModem::Result CSimulatedModem::OnOwnNumber(const AtCommand& command) {
  if (command.form == AtCommand::Form::Execute && !CardReady()) return CardLocked();
  const char* const type = m_options.number.rfind('+', 0) == 0 ? "145" : "129";
  return Inform(command, "+CNUM: ," + Quoted(m_options.number) + ',' + type);
}

CSimulatedModem::Result CSimulatedModem::CardLocked() const {
  switch (m_card) {
    case CardState::Absent:
      return Cme(kCmeNoSim);
    case CardState::Busy:
      return Cme(kCmeSimBusy);
    case CardState::Puk:
      return Cme(kCmePukRequired);
    case CardState::Ready:
    case CardState::Pin:
      break;
  }
  return Cme(kCmePinRequired);
}

CSimulatedModem::Result CSimulatedModem::OnPin(const AtCommand& command) {
  switch (command.form) {
    case AtCommand::Form::Test:
      return Ok();
    case AtCommand::Form::Read:
      if (m_card == CardState::Absent || m_card == CardState::Busy) return CardLocked();
      Inform(std::string("+CPIN: ") + (CardReady() ? "READY" : m_card == CardState::Pin ? "SIM PIN" : "SIM PUK"));
      return Ok();
    case AtCommand::Form::Execute:
      return Cme(kCmeIncorrectParameters);
    case AtCommand::Form::Set:
      break;
  }
  if (CardReady()) return Cme(kCmeNotAllowed);
  if (m_card == CardState::Absent || m_card == CardState::Busy) return CardLocked();
  const CValues values(WithQuotes(command.values), 2);
  std::string pin;
  if (!values.Valid() || !values.Text(0, &pin) || !IsPin(pin)) return Cme(kCmeIncorrectParameters);
  if (m_card == CardState::Puk) return Unblock(values);
  if (pin != m_strPin) {
    m_iPinTries = std::max(m_iPinTries - 1, 0);
    if (m_iPinTries == 0) SetCard(CardState::Puk);
    return Cme(kCmeIncorrectPassword);
  }
  SetCard(CardState::Ready);
  return Ok();
}

CSimulatedModem::Result CSimulatedModem::OnSignal(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) {
    Inform("+CSQ: (0-31,99),(0-7,99)");
    return Ok();
  }
  const bool heard = Registered() || (OnAir() && m_network == NetworkState::Denied);
  return Inform(command, "+CSQ: " + std::to_string(heard ? m_iSignal : 99) + ",99");
}

CSimulatedModem::Result CSimulatedModem::OnActivity(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) {
    Inform("+CPAS: (0,3)");
    return Ok();
  }
  return Inform(command, m_strCaller.empty() ? "+CPAS: 0" : "+CPAS: 3");
}

CSimulatedModem::Result CSimulatedModem::OnFunctionality(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) {
    Inform("+CFUN: (0,1,4),(0,1)");
    return Ok();
  }
  if (command.form == AtCommand::Form::Read) {
    Inform("+CFUN: " + std::to_string(m_iFunctionality));
    return Ok();
  }
  const CValues values(command.values, 2);
  int level = 1;
  int reset = 0;
  if (!values.Valid() || !values.Number(0, 0, 4, &level) || !values.Number(1, 0, 1, &reset) || level == 2 ||
      level == 3) {
    return Cme(kCmeIncorrectParameters);
  }
  if (reset == 1) ResetSettings();
  const std::string before = RegistrationState();
  m_iFunctionality = level;
  RegistrationChanged(before);
  return Ok();
}

bool CSimulatedModem::Registered() const {
  return OnAir() && CardReady() && (m_network == NetworkState::Home || m_network == NetworkState::Roaming);
}

/// <stat> of +CREG, +CGREG and +CEREG.
std::string CSimulatedModem::RegistrationState() const {
  return std::to_string(static_cast<int>(OnAir() && CardReady() ? m_network : NetworkState::None));
}

std::string CSimulatedModem::Registration(int mode) const {
  if (mode != 2 || !Registered()) return RegistrationState();
  const int technology = m_options.profile->accessTechnology;
  return RegistrationState() + ",\"0001\",\"0001\"" + (technology < 0 ? "" : ',' + std::to_string(technology));
}

void CSimulatedModem::RegistrationChanged(const std::string& before) {
  if (RegistrationState() == before) return;
  if (m_iCircuitMode != 0) Unsolicited("+CREG: " + Registration(m_iCircuitMode));
  if (m_iPacketMode != 0) Unsolicited("+CGREG: " + Registration(m_iPacketMode));
  if (m_iEpsMode != 0) Unsolicited("+CEREG: " + Registration(m_iEpsMode));
  HandOver();
}

CSimulatedModem::Result CSimulatedModem::OnRegistration(const AtCommand& command) {
  int& mode = Known(command, "+CREG") ? m_iCircuitMode : Known(command, "+CGREG") ? m_iPacketMode : m_iEpsMode;
  switch (command.form) {
    case AtCommand::Form::Test:
      Inform(command.name + ": (0-2)");
      return Ok();
    case AtCommand::Form::Read:
      Inform(command.name + ": " + std::to_string(mode) + ',' + Registration(mode));
      return Ok();
    case AtCommand::Form::Execute:
      mode = 0;
      return Ok();
    case AtCommand::Form::Set:
      break;
  }
  const CValues values(command.values, 1);
  return values.Valid() && values.Number(0, 0, 2, &mode) ? Ok() : Cme(kCmeIncorrectParameters);
}

CSimulatedModem::Result CSimulatedModem::OnAttachment(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) {
    Inform("+CGATT: (0,1)");
    return Ok();
  }
  if (command.form == AtCommand::Form::Read) {
    Inform(std::string("+CGATT: ") + (Registered() ? "1" : "0"));
    return Ok();
  }
  const CValues values(command.values, 1);
  int state = 0;
  if (!values.Valid() || !values.Given(0) || !values.Number(0, 0, 1, &state)) return Cme(kCmeIncorrectParameters);
  if (state == 0) return Cme(kCmeNotAllowed);  // it stays attached as long as it is registered
  return Registered() ? Ok() : Cme(kCmeNoNetwork);
}

CSimulatedModem::Result CSimulatedModem::OnOperator(const AtCommand& command) {
  static const char* const kNames[] = {kOperatorLong, kOperatorShort, kOperatorNumber};
  if (!CardReady()) return CardLocked();
  if (command.form == AtCommand::Form::Read) {
    const std::string format = std::to_string(m_iOperatorFormat);
    const std::string mode = std::to_string(static_cast<int>(m_selection));
    const std::string name = Quoted(kNames[m_iOperatorFormat]);
    const int technology = m_options.profile->accessTechnology;
    const std::string suffix = technology < 0 ? "" : ',' + std::to_string(technology);
    Inform("+COPS: " + mode + (Registered() ? ',' + format + ',' + name + suffix : std::string()));
    return Ok();
  }
  if (command.form == AtCommand::Form::Test) {
    const std::string own =
        "(2," + Quoted(kOperatorLong) + ',' + Quoted(kOperatorShort) + ',' + Quoted(kOperatorNumber) + ",2)";
    Inform("+COPS: " + (Registered() ? own : std::string()) + ",,(0-4),(0-2)");
    return Ok();
  }
  const CValues values(command.values, 4);
  int mode = 0;
  int format = m_iOperatorFormat;
  int technology = 0;  // it has one
  std::string name;
  if (!values.Valid() || !values.Number(0, 0, 4, &mode) || !values.Number(1, 0, 2, &format) || !values.Text(2, &name) ||
      !values.Number(3, 0, 7, &technology)) {
    return Cme(kCmeIncorrectParameters);
  }
  if (mode != kOnlyFormat) {
    const bool manually = mode == static_cast<int>(Selection::Manual);
    if (manually && name != kNames[format]) return Cme(kCmeNoNetwork);
    const bool other = mode == static_cast<int>(Selection::ManualThenAutomatic) && name != kNames[format];
    Select(other ? Selection::Automatic : static_cast<Selection>(mode));
  }
  m_iOperatorFormat = format;
  return Ok();
}

void CSimulatedModem::Select(Selection selection) {
  const std::string before = RegistrationState();
  m_selection = selection;
  RegistrationChanged(before);
}

CSimulatedModem::Result CSimulatedModem::OnCharacterSet(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) {
    std::string names;
    for (const CharacterSet set : kCharacterSets) names += (names.empty() ? "" : ",") + Quoted(CharacterSetName(set));
    Inform("+CSCS: (" + names + ")");
    return Ok();
  }
  if (command.form == AtCommand::Form::Read) {
    Inform("+CSCS: " + Quoted(CharacterSetName(m_characterSet)));
    return Ok();
  }
  std::string name;
  const CValues values(command.values, 1);
  if (!values.Valid() || !values.Text(0, &name)) return Cme(kCmeIncorrectParameters);
  for (const CharacterSet set : kCharacterSets) {
    // the name may be written in the set that is in force, too
    if (name != CharacterSetName(set) && name != Shown(CharacterSetName(set))) continue;
    m_characterSet = set;
    return Ok();
  }
  return Cme(kCmeIncorrectParameters);
}

}  // namespace modem_sim
