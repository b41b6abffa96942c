// The dialogue: characters in, lines carried out, results and unsolicited lines out.
#include "SimulatedModem.h"

#include "ErrorCodes.h"

#include <algorithm>
#include <utility>

namespace modem_sim {
namespace {

const char kCtrlZ = 0x1A;
const char kEscape = 0x1B;
const char kPrompt[] = "\r\n> ";  // whatever ATV and the registers say (3GPP TS 27.005, 3.5.1)
const std::size_t kPromptLimit = 1024;
const std::size_t kHeldLimit = 8192;
const std::size_t kUnsolicitedLimit = 1000;

// S-registers of ITU-T V.250, 6.2.
const std::size_t kTerminator = 3;
const std::size_t kFormatting = 4;
const std::size_t kBackspace = 5;

}  // namespace

CSimulatedModem::CSimulatedModem(const ModemOptions& options, IModemWorld& world)
    : m_options(options),
      m_world(world),
      m_network(options.network),
      m_iSignal(options.signal),
      m_strServiceCentre(options.serviceCentre),
      m_saved{options.serviceCentre, {}},
      m_stores{CMessageStore(options.simCapacity), CMessageStore(options.meCapacity)},
      m_toComputer(world, options.baud, [this](const std::string& bytes) { m_world.Write(bytes); }),
      m_fromComputer(world, options.baud, [this](const std::string& bytes) { Hear(bytes); }) {
  ResetSettings();
  SetCard(options.card == CardState::Ready && !options.pin.empty() ? CardState::Pin : options.card, options.pin);
  if (options.simFull) Fill(Memory::Sim);
  if (options.meFull) Fill(Memory::Equipment);
  for (const Fault& fault : options.faults) m_faults.Add(fault);
}

void CSimulatedModem::ResetSettings() {
  m_bEcho = true;
  m_bQuiet = false;
  m_bVerbose = true;
  ResetRegisters();
  m_iErrorForm = 0;
  m_iFormat = 0;
  m_iCircuitMode = 0;
  m_iPacketMode = 0;
  m_iEpsMode = 0;
  m_iOperatorFormat = 0;
  m_iMoreMessages = 0;
  m_iBearer = 1;
  m_iService = 0;
  m_indications.fill(0);
  m_characterSet = CharacterSet::Gsm;
  m_iShowHeader = 0;
  m_iUssd = 0;
  m_iCallerNumber = 0;
  m_iRingForm = 0;
  m_iNotices = 0;
  m_iRate = 0;
  m_flowControl = kFlowControl;
  m_textParameters = m_saved.textParameters;
}

void CSimulatedModem::Receive(const char* bytes, std::size_t count) {
  if (m_bPowered) m_fromComputer.Take(std::string(bytes, count));
}

void CSimulatedModem::SetBaud(int baud) {
  m_toComputer.SetBaud(baud);
  m_fromComputer.SetBaud(baud);
}

void CSimulatedModem::Hear(const std::string& bytes) {
  const std::size_t count = bytes.size();
  for (std::size_t i = 0; i < count && m_bPowered; ++i) {
    if (m_state == State::Busy) {
      m_strHeld.append(bytes, i, kHeldLimit - m_strHeld.size());
      return;
    }
    if (m_state == State::Prompt) {
      TakePromptCharacter(bytes[i]);
    } else {
      TakeCommandCharacter(bytes[i]);
    }
  }
}

void CSimulatedModem::HangUp() {
  m_fromComputer.Flush();  // a port is closed when everything is out
  m_line.Clear();
  m_strHeld.clear();
  if (m_state != State::Prompt) return;
  m_usePrompt = nullptr;
  m_state = State::Command;
}

void CSimulatedModem::TakeCommandCharacter(char c) {
  if (m_bEcho) Put(std::string(1, c));
  switch (m_line.Take(c, static_cast<char>(m_registers[kTerminator]), static_cast<char>(m_registers[kBackspace]))) {
    case CAtLine::Event::Line:
      m_strBody = m_line.Body();
      if (m_line.TooLong()) {
        End(Error());
      } else {
        StartLine(m_strBody);
      }
      break;
    case CAtLine::Event::Repeat:
      StartLine(m_strBody);
      break;
    case CAtLine::Event::None:
      break;
  }
}

void CSimulatedModem::TakePromptCharacter(char c) {
  if (c == kCtrlZ || c == kEscape) {
    m_state = State::Busy;
    if (HangsUp(HangUpPoint::AfterOctets)) return;
    const std::string text = std::move(m_strPrompt);
    const auto use = std::move(m_usePrompt);
    if (c == kEscape) {
      End(Ok());
      return;
    }
    const Result result = m_bPromptTooLong ? Cms(kCmsInvalidPduParameter) : use(text);
    if (result.kind != Result::Kind::Later) Finish(result);
    return;
  }
  if (m_bEcho) Put(std::string(1, c));
  if (c == static_cast<char>(m_registers[kBackspace])) {
    if (!m_strPrompt.empty()) m_strPrompt.pop_back();
  } else if (m_strPrompt.size() == kPromptLimit) {
    m_bPromptTooLong = true;
  } else if (c == '\r' && m_bPromptLines) {
    m_strPrompt += '\n';
    Put(kPrompt);
  } else if (c != '\r' && c != '\n') {
    m_strPrompt += c;
  }
}

void CSimulatedModem::OpenPrompt(std::function<Result(const std::string&)> use, bool lines) {
  WriteInformation();
  if (HangsUp(HangUpPoint::BeforePrompt)) return;
  m_usePrompt = std::move(use);
  m_strPrompt.clear();
  m_bPromptTooLong = false;
  m_bPromptLines = lines;
  m_state = State::Prompt;
  Put(kPrompt);
  HangsUp(HangUpPoint::AfterPrompt);
}

void CSimulatedModem::StartLine(const std::string& body) {
  m_state = State::Busy;
  m_strBody = body;
  m_uPosition = 0;
  RunLine();
}

void CSimulatedModem::RunLine() {
  AtCommand command;
  while (NextCommand(m_strBody, &m_uPosition, &command)) {
    const int latency = LatencyOf(command.name);
    if (latency == 0) {
      if (!Step(command)) return;
      continue;
    }
    m_world.After(latency, [this, command, life = m_uLife] {
      if (life == m_uLife && Step(command)) RunLine();
    });
    return;
  }
  End(m_uPosition == m_strBody.size() ? Ok() : Error());
}

/// @return whether the line goes on now.
bool CSimulatedModem::Step(const AtCommand& command) {
  m_strCommand = command.name;
  if (Misbehaves(command.name)) return false;
  const Result result = Execute(command);
  if (result.kind == Result::Kind::Later) return false;
  WriteInformation();
  if (result.kind == Result::Kind::Ok) return true;
  End(result);
  return false;
}

int CSimulatedModem::LatencyOf(const std::string& command) const {
  const auto found = m_options.latencies.find(command);
  return found == m_options.latencies.end() ? 0 : found->second;
}

/// @return true: the command is not carried out.
bool CSimulatedModem::Misbehaves(const std::string& command) {
  if (const Fault* const fault = m_faults.Strike(FaultKind::Garbage, command)) {
    Put(std::string(fault->octets.begin(), fault->octets.end()));
  }
  if (m_faults.Strike(FaultKind::Drop, command)) m_bMute = true;
  const Fault* const fault = m_faults.Strike(FaultKind::Restart, command);
  if (fault) Restart(fault->milliseconds);
  return fault != nullptr;
}

/// Whether the line has vanished here.
bool CSimulatedModem::HangsUp(HangUpPoint point) {
  const Fault* const fault = m_faults.StrikeAt(point, m_strCommand);
  if (!fault) return false;
  const int milliseconds = fault->milliseconds;
  Unplug();
  if (milliseconds == 0) return true;
  m_world.After(milliseconds, [this, life = m_uLife] {
    std::string ignored;
    if (life == m_uLife) Plug(&ignored);
  });
  return true;
}

/// The only way out.
void CSimulatedModem::Put(const std::string& bytes) {
  if (!m_bPowered) return;
  m_toComputer.Take(bytes);
}

bool CSimulatedModem::Lacks(const std::string& command) const {
  const std::vector<std::string>& lacks = m_options.profile->lacks;
  return std::find(lacks.begin(), lacks.end(), command) != lacks.end();
}

std::array<const std::vector<CSimulatedModem::Entry>*, 7> CSimulatedModem::Tables() {
  return {&BasicCommands(), &GeneralCommands(), &LineCommands(),   &ProfileCommands(),
          &CardCommands(),  &ServiceCommands(), &MessageCommands()};
}

CSimulatedModem::Result CSimulatedModem::Execute(const AtCommand& command) {
  if (Lacks(command.name)) return Error();
  for (const auto* const table : Tables()) {
    const auto found =
        std::find_if(table->begin(), table->end(), [&](const Entry& entry) { return command.name == entry.name; });
    if (found != table->end()) return (this->*found->handler)(command);
  }
  Result result;
  return FindNumber(command, &result) ? result : Error();
}

const std::vector<CSimulatedModem::NumberEntry>& CSimulatedModem::NumberCommands() {
  static const std::vector<NumberEntry> kNumbers = {
      {"+CMEE", 2, &CSimulatedModem::m_iErrorForm},  {"+CMGF", 1, &CSimulatedModem::m_iFormat},
      {"+CSDH", 1, &CSimulatedModem::m_iShowHeader}, {"+CMMS", 2, &CSimulatedModem::m_iMoreMessages},
      {"+CGSMS", 3, &CSimulatedModem::m_iBearer},    {"+CRC", 1, &CSimulatedModem::m_iRingForm},
      {"^CURC", 1, &CSimulatedModem::m_iNotices},
  };
  return kNumbers;
}

bool CSimulatedModem::FindNumber(const AtCommand& command, Result* out) {
  const std::vector<NumberEntry>& numbers = NumberCommands();
  const auto found = std::find_if(numbers.begin(), numbers.end(),
                                  [&](const NumberEntry& entry) { return command.name == entry.name; });
  if (found == numbers.end()) return false;
  switch (command.form) {
    case AtCommand::Form::Test:
      Inform(command.name + ": (0" + (found->highest == 1 ? ',' : '-') + std::to_string(found->highest) + ")");
      break;
    case AtCommand::Form::Read:
      Inform(command.name + ": " + std::to_string(this->*found->value));
      break;
    case AtCommand::Form::Execute:
      this->*found->value = 0;
      break;
    case AtCommand::Form::Set: {
      const CValues values(command.values, 1);
      if (!values.Valid() || !values.Number(0, 0, found->highest, &(this->*found->value))) {
        *out = Error();
        return true;
      }
      break;
    }
  }
  *out = Ok();
  return true;
}

void CSimulatedModem::Finish(const Result& result) {
  WriteInformation();
  if (result.kind == Result::Kind::Ok) {
    RunLine();
  } else {
    End(result);
  }
}

void CSimulatedModem::End(const Result& result) {
  WriteInformation();
  WriteResult(result);
  m_bMute = false;
  m_state = State::Command;
  FlushUnsolicited();
  const std::string held = std::move(m_strHeld);
  m_strHeld.clear();
  Hear(held);
}

std::string CSimulatedModem::LineEnd() const {
  return {static_cast<char>(m_registers[kTerminator]), static_cast<char>(m_registers[kFormatting])};
}

void CSimulatedModem::Inform(const std::string& line) { m_lstInformation.push_back(line); }

void CSimulatedModem::WriteInformation() {
  if (m_lstInformation.empty()) return;
  std::string text;
  for (const std::string& line : m_lstInformation) text += (text.empty() ? "" : LineEnd()) + line;
  m_lstInformation.clear();
  if (!m_bMute) WriteText(text);
}

void CSimulatedModem::WriteText(const std::string& text) {
  Put((m_bVerbose ? LineEnd() : std::string()) + text + LineEnd());
}

void CSimulatedModem::WriteResult(const Result& result) {
  if (m_bQuiet || m_bMute) return;
  const char* word = "OK";
  char digit = '0';
  switch (result.kind) {
    case Result::Kind::Cme:
      if (m_iErrorForm != 0) {
        WriteText("+CME ERROR: " + (m_iErrorForm == 1 ? std::to_string(result.code) : CmeText(result.code)));
        return;
      }
      word = "ERROR";
      digit = '4';
      break;
    case Result::Kind::Cms:
      // A number in every form of +CMEE: <err> of 3GPP TS 27.005, 3.2.5 has no other.
      WriteText("+CMS ERROR: " + std::to_string(result.code));
      return;
    case Result::Kind::Error:
      word = "ERROR";
      digit = '4';
      break;
    case Result::Kind::NoCarrier:
      word = "NO CARRIER";
      digit = '3';
      break;
    case Result::Kind::Ok:
    case Result::Kind::Later:
      break;
  }
  if (m_bVerbose) {
    WriteText(word);
  } else {
    Put({digit, static_cast<char>(m_registers[kTerminator])});
  }
}

void CSimulatedModem::Unsolicited(const std::string& line) {
  if (m_lstUnsolicited.size() == kUnsolicitedLimit) m_lstUnsolicited.pop_front();
  m_lstUnsolicited.push_back(line);
  FlushUnsolicited();
}

void CSimulatedModem::FlushUnsolicited() {
  if (m_state != State::Command && !m_options.interrupt) return;
  while (!m_lstUnsolicited.empty()) {
    if (!m_bQuiet) WriteText(m_lstUnsolicited.front());
    m_lstUnsolicited.pop_front();
  }
}

}  // namespace modem_sim
