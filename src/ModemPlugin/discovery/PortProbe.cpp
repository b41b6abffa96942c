#include "PortProbe.h"

#include "AtDialogue.h"
#include "Guarded.h"
#include "ModemStart.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace modem {

namespace {

const unsigned int kAnswerLimitMs = 1000;
const unsigned int kRestoreLimitMs = 900;
const unsigned int kLimitMs = 1500;
const int kTries = 2;  // what stood in its buffer may spoil the first
const std::size_t kShortestImei = 14;
const std::size_t kShortestIccid = 18;

bool IsDigit(char character) { return character >= '0' && character <= '9'; }

/// The first run of so many digits.
std::string DigitsIn(const std::string& text, std::size_t atLeast) {
  for (auto begin = text.begin(); begin != text.end();) {
    const auto first = std::find_if(begin, text.end(), IsDigit);
    const auto end = std::find_if_not(first, text.end(), IsDigit);
    if (static_cast<std::size_t>(end - first) >= atLeast) {
      return std::string(first, end);
    }
    begin = end;
  }
  return std::string();
}

bool IsSameNumber(const std::string& left, const std::string& right, std::size_t digits) {
  return left.size() >= digits && right.size() >= digits && left.compare(0, digits, right, 0, digits) == 0;
}

/// A dialogue whose reader lives as long as it.
class CProbe {
public:
  explicit CProbe(std::unique_ptr<IByteStream> stream)
      : m_stream(std::move(stream)), m_dialogue(*m_stream, [](const std::string&, const std::string&) {}) {
    m_reader = std::thread([this] { Guarded([this] { Read(); }); });
  }
  ~CProbe() {
    m_stream->Close();
    m_reader.join();
  }
  bool Answers() {
    AtReply reply;
    for (int turn = 0; turn < kTries; ++turn) {
      reply = Say("", nullptr, kAnswerLimitMs);
      if (reply.IsOk() || reply.final == AtReply::Final::kNoAnswer) {
        break;
      }
    }
    return reply.IsOk();
  }
  /// The first line of the reply; empty when there is none.
  std::string Ask(const char* command, const char* prefix) {
    const AtReply reply = Say(command, prefix, kLimitMs);
    return reply.IsOk() && !reply.lines.empty() ? reply.lines[0] : std::string();
  }

private:
  /// Silence may be what another program has left.
  AtReply Say(const char* command, const char* prefix, unsigned int limitMs) {
    const AtReply reply = m_dialogue.Execute(CAtCommand(command), prefix, limitMs);
    const bool silent = reply.final == AtReply::Final::kNoAnswer && !std::exchange(m_bRestored, true);
    const bool again = silent && m_dialogue.RestoreForms(kRestoreLimitMs);
    return again ? m_dialogue.Execute(CAtCommand(command), prefix, limitMs) : reply;
  }
  void Read() {
    std::string bytes;
    while (m_stream->Read(bytes)) {
      m_dialogue.Feed(bytes);
      bytes.clear();
    }
    m_dialogue.LineGone();
  }

  const std::unique_ptr<IByteStream> m_stream;
  CAtDialogue m_dialogue;
  bool m_bRestored = false;  // tried once
  std::thread m_reader;
};

/// What some modems put before the answer is left out.
std::string WithoutPrefix(const std::string& line, const std::string& prefix) {
  const std::size_t begin = line.rfind(prefix, 0) == 0 ? line.find_first_not_of(' ', prefix.size()) : 0;
  return begin == std::string::npos ? std::string() : line.substr(begin);
}

std::string AskIccid(CProbe& probe) {
  const std::string told = DigitsIn(probe.Ask("+CCID", "+CCID:"), kShortestIccid);
  if (!told.empty()) {
    return told;
  }
  const std::string file = probe.Ask("+CRSM=176,12258,0,0,10", "+CRSM:");  // READ BINARY, EF 2FE2 (TS 27.007, 8.18)
  const std::vector<std::string> parameters = ParametersOf(file);
  return parameters.size() < 3 ? std::string() : IccidOfFile(parameters[2]);
}

}  // namespace

PortAnswer ProbePort(const std::string& path, const PortOpener& open) {
  PortAnswer answer;
  std::unique_ptr<IByteStream> stream = open(path, answer.note);
  if (!stream) {
    answer.state = FoundPort::State::kClosed;
    return answer;
  }
  CProbe probe(std::move(stream));
  if (probe.Answers()) {
    answer.state = FoundPort::State::kAnswers;
    answer.maker = WithoutPrefix(probe.Ask("+CGMI", nullptr), "+CGMI:");
    answer.model = WithoutPrefix(probe.Ask("+CGMM", nullptr), "+CGMM:");
    answer.imei = DigitsIn(probe.Ask("+CGSN", nullptr), kShortestImei);
    answer.iccid = AskIccid(probe);
  }
  return answer;
}

bool IsSameImei(const std::string& left, const std::string& right) { return IsSameNumber(left, right, kShortestImei); }

bool IsSameIccid(const std::string& left, const std::string& right) {
  return IsSameNumber(left, right, std::max(kShortestIccid, std::min(left.size(), right.size())));
}

std::string IccidOfFile(const std::string& hex) {
  std::string digits;
  for (std::size_t octet = 0; octet + 1 < hex.size(); octet += 2) {
    digits += hex[octet + 1];
    digits += hex[octet];
  }
  digits.erase(std::find_if_not(digits.begin(), digits.end(), IsDigit), digits.end());
  return digits.size() < kShortestIccid ? std::string() : digits;
}

}  // namespace modem
