// The reader of the AT dialogue: whatever a modem says, every command ends, nothing but what was asked for is written,
// and it does not matter in which pieces the bytes come.
#include "AtDialogue.h"
#include "Property.h"
#include "platform/JClock.h"

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

using namespace fuzz;
using namespace modem;

namespace {

const char kOctets[] = "0001000B911111111111F100000131";

/// Whoever waits with a limit waits for nothing: the modem has said what it says. So the limit comes at once.
class CTimeGoesOn {
public:
  CTimeGoesOn() : m_thread([this] { Run(); }) {}
  ~CTimeGoesOn() {
    m_bEnd = true;
    m_thread.join();
  }

private:
  void Run() {
    const int kLookAgainMs = 50;
    const std::int64_t kLongestLimitMs = 60 * 1000;
    while (!m_bEnd) {
      if (m_clock.AwaitTimedWaiters(1, 1, kLookAgainMs)) m_clock.Advance(kLongestLimitMs);
    }
  }

  JManualClock m_clock;
  std::atomic<bool> m_bEnd{false};
  std::thread m_thread;
};

/// What the modem says, one answer to each thing that is written to it.
struct Script {
  BYTE commands = 0;  // two bits each, see Ask
  BYTE options = 0;
  std::vector<std::string> answers;  // the first one before anything is asked

  bool NoEcho() const { return options & 1; }
  bool HangsUp() const { return options & 2; }  // when there is no further answer
  bool Wedges() const { return options & 4; }   // takes no bytes then
  bool BeginsAnew() const { return options & 8; }
};

Script ReadScript(const std::uint8_t* data, std::size_t size) {
  CInput input(data, size);
  Script script;
  script.commands = input.Octet();
  script.options = input.Octet();
  const char* const rest = reinterpret_cast<const char*>(input.Rest());
  std::string answer;
  for (std::size_t i = 0; i < input.Left(); ++i) {
    if (rest[i] != '\0') answer += rest[i];
    if (rest[i] != '\0' && i + 1 < input.Left()) continue;
    script.answers.push_back(answer);
    answer.clear();
  }
  return script;
}

/// The modem's end of the line, and a transcript of everything that was to be seen of the dialogue.
class CModemEnd : public IByteStream {
public:
  CModemEnd(const Script& script, bool byOctet) : m_script(script), m_bByOctet(byOctet) {}

  bool Read(std::string&) override { return false; }
  void Close() override { m_transcript += "close\n"; }
  bool Write(const std::string& bytes) override {
    m_transcript += "write " + bytes + '\n';
    RequireAskedFor(bytes);
    if (m_uNext >= m_script.answers.size() && m_script.Wedges()) return false;
    Answer();
    return true;
  }

  void Play() {
    if (m_script.NoEcho()) m_dialogue.ExpectNoEcho();
    Answer();
    for (unsigned shift = 0; shift < 8; shift += 2) {
      Ask(m_script.commands >> shift & 3);
      if (m_script.BeginsAnew()) m_dialogue.BeginAnew();
    }
  }
  const std::string& Transcript() const { return m_transcript; }

private:
  /// Nothing that the modem said is written back to it.
  void RequireAskedFor(const std::string& bytes) {
    if (bytes == std::string(kOctets) + "\x1A") {
      Require(!m_bOctetsWritten, "octets are written once");
      Require(m_bPromptSaid, "octets are written to a prompt");
      m_bOctetsWritten = true;
      return;
    }
    const bool question = bytes == "AT+CMGF?\r" || bytes == "AT+CSMS?\r" || bytes == "AT+CNMI?\r" || bytes == "\x1B";
    Require(question || bytes == m_command + '\r', "only what was asked for is written");
    Require(std::all_of(bytes.begin(), bytes.end() - 1, [](char c) { return c >= 0x20; }), "a command is one line");
  }

  void Answer() {
    if (m_uNext >= m_script.answers.size()) {
      if (m_script.HangsUp()) m_dialogue.LineGone();
      return;
    }
    const std::string& answer = m_script.answers[m_uNext++];
    m_bPromptSaid = m_bPromptSaid || answer.find('>') != std::string::npos;
    if (!m_bByOctet) {
      m_dialogue.Feed(answer);
      return;
    }
    for (const char octet : answer) m_dialogue.Feed(std::string(1, octet));
  }

  void Ask(unsigned which) {
    const unsigned int kLimitMs = 1000;
    m_bOctetsWritten = m_bPromptSaid = false;
    switch (which) {
      case 0:
        return Take(CAtCommand("+CMGL=").Number(4),
                    [&](const CAtCommand& command) { return m_dialogue.Execute(command, "+CMGL:", kLimitMs); });
      case 1:
        return Take(CAtCommand("+CMGS=").Number(14), [&](const CAtCommand& command) {
          return m_dialogue.ExecuteWithOctets(command, kOctets, "+CMGS:", kLimitMs);
        });
      case 2:
        return Take(CAtCommand("+CGMM"),
                    [&](const CAtCommand& command) { return m_dialogue.Execute(command, nullptr, kLimitMs); });
      default:  // a field that came from the modem
        return Take(CAtCommand("+CSCA=").Quoted(m_script.answers.empty() ? "" : m_script.answers[0]),
                    [&](const CAtCommand& command) { return m_dialogue.Execute(command, "+CREG:", kLimitMs); });
    }
  }

  template <class Run>
  void Take(const CAtCommand& command, const Run& run) {
    m_command = command.Text();
    const AtReply reply = run(command);
    Require((reply.final == AtReply::Final::kRefused) == !command.IsValid(), "a clean command is sent, no other is");
    Require(!reply.IsOk() || reply.Status() == 0, "what went well has no status");
    Require(reply.IsOk() || reply.Status() != 0, "what did not go well has a status");
    m_transcript += "reply " + std::to_string(static_cast<int>(reply.final)) + ' ' + std::to_string(reply.code) + '\n';
    for (const std::string& line : reply.lines) TakeLine("line ", line);
  }

  void TakeLine(const char* what, const std::string& line) {
    Require(line.find_first_of("\r\n") == std::string::npos, "a line is one line");
    m_transcript += what + line + '\n';
  }

  const Script& m_script;
  const bool m_bByOctet;
  std::size_t m_uNext = 0;
  bool m_bPromptSaid = false;
  bool m_bOctetsWritten = false;
  std::string m_command;
  std::string m_transcript;
  CAtDialogue m_dialogue{*this, [this](const std::string& line, const std::string& data) {
                           Require(!line.empty(), "an unsolicited line says something");
                           TakeLine("unsolicited ", line);
                           TakeLine("data ", data);
                         }};
};

}  // namespace

/// Input: which commands, how the modem behaves, and its answers with a zero octet between them.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static CTimeGoesOn time;
  const Script script = ReadScript(data, size);
  CModemEnd whole(script, false);
  whole.Play();
  CModemEnd byOctet(script, true);
  byOctet.Play();
  Require(whole.Transcript() == byOctet.Transcript(), "it does not matter in which pieces the bytes come");
  return 0;
}
