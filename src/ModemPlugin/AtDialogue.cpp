#include "AtDialogue.h"

#include "platform/TraceSrv.h"

#include <cstdlib>
#include <cstring>

namespace modem {

namespace {

const char kEscape[] = "\x1B";
const char kCtrlZ[] = "\x1A";
const unsigned int kPromptLimitMs = 10000;
const unsigned int kStepLimitMs = 2000;
const unsigned int kQuietMs = 100;
const int kStepTries = 3;
const std::size_t kMostPending = 64 * 1024;  // a line never is as long; garbage is

bool StartsWith(const std::string& line, const char* prefix) {
  return line.compare(0, std::strlen(prefix), prefix) == 0;
}

/// Lines that a modem sends by itself (3GPP TS 27.005, 3.4.1 and 27.007); the first three are followed by octets.
bool IsUnsolicited(const std::string& line) {
  for (const char* prefix : {"+CMT:", "+CDS:", "+CBM:", "+CMTI:", "+CDSI:", "+CBMI:", "+CREG:", "+CGREG:", "+CEREG:",
                             "+CPIN:", "RING", "+CRING", "^", "*"}) {
    if (StartsWith(line, prefix)) {
      return true;
    }
  }
  return false;
}

bool HasOctets(const std::string& line) {
  return StartsWith(line, "+CMT:") || StartsWith(line, "+CDS:") || StartsWith(line, "+CBM:");
}

/// A reply tells the mode first ("+CREG: 1,5"); by itself the modem tells the state alone ("+CREG: 5").
bool IsRegistrationReply(const std::string& line) {
  const std::size_t comma = line.find(',');
  return comma != std::string::npos && comma + 1 < line.size() && line[comma + 1] != '"';
}

void TraceLine(const char* direction, const std::string& line) {
  TraceSrv_Trace(Tracelevel::TL_INFO, "MODEM", (direction + line).c_str());
}

}  // namespace

CAtDialogue::CAtDialogue(IByteStream& stream, const UnsolicitedHandler& onUnsolicited)
    : m_stream(stream), m_onUnsolicited(onUnsolicited) {
  m_hDone.Init(false, false);
}

AtReply CAtDialogue::Execute(const CAtCommand& command, const char* prefix, unsigned int limitMs) {
  AtReply refused;
  refused.final = AtReply::Final::kRefused;
  return command.IsValid() ? Run(command.Text(), nullptr, prefix, limitMs) : refused;
}

AtReply CAtDialogue::ExecuteWithOctets(const CAtCommand& command, const std::string& octets, const char* prefix,
                                       unsigned int limitMs) {
  AtReply refused;
  refused.final = AtReply::Final::kRefused;
  const bool clean = octets.find_first_not_of("0123456789ABCDEFabcdef") == std::string::npos;
  return command.IsValid() && clean ? Run(command.Text(), &octets, prefix, limitMs) : refused;
}

AtReply CAtDialogue::Run(const std::string& text, const std::string* octets, const char* prefix, unsigned int limitMs) {
  const std::lock_guard<std::mutex> turn(m_turn);
  if (m_bOutOfStep) {
    GetBackIntoStep();
  }
  Begin(octets == nullptr ? State::kReply : State::kPrompt, text, prefix);
  AtReply reply;
  if (!Send(text + "\r")) {
    reply.final = AtReply::Final::kLineGone;
    return reply;
  }
  if (octets != nullptr) {
    if (!AwaitPrompt(reply)) {
      return reply;
    }
    Send(*octets + kCtrlZ);
  }
  return Await(limitMs);
}

void CAtDialogue::Begin(State state, const std::string& text, const char* prefix) {
  const std::lock_guard<std::mutex> guard(m_lock);
  m_hDone.ResetEvent();
  m_state = state;
  m_bPromptSeen = false;
  m_bEnded = false;
  m_bDataFollows = false;
  m_strEcho = text;
  m_pszPrefix = prefix;
  m_reply = AtReply();
  if (m_bGone) {
    EndReply(AtReply::Final::kLineGone, 0);
  }
}

bool CAtDialogue::Send(const std::string& bytes) {
  TraceLine("-> ", bytes);
  return m_stream.Write(bytes);
}

/// @return false: the command ended instead, as the reply says.
bool CAtDialogue::AwaitPrompt(AtReply& reply) {
  m_hDone.WaitForSingleObject(kPromptLimitMs);
  const std::lock_guard<std::mutex> guard(m_lock);
  if (m_bEnded) {
    reply = m_reply;
    return false;
  }
  if (!m_bPromptSeen) {
    m_state = State::kIdle;
    m_bOutOfStep = true;
    reply.final = AtReply::Final::kNoAnswer;
    return false;
  }
  m_state = State::kReply;
  m_hDone.ResetEvent();
  return true;
}

AtReply CAtDialogue::Await(unsigned int limitMs) {
  m_hDone.WaitForSingleObject(limitMs);
  const std::lock_guard<std::mutex> guard(m_lock);
  m_state = State::kIdle;
  if (!m_bEnded) {
    m_bOutOfStep = true;
    m_reply.final = AtReply::Final::kNoAnswer;
  }
  return m_reply;
}

/// A reply that comes late must not be taken for the next command's: leave a prompt, then wait until a plain AT is
/// answered.
void CAtDialogue::GetBackIntoStep() {
  Send(kEscape);
  for (int tries = 0; tries < kStepTries && m_bOutOfStep; ++tries) {
    Begin(State::kReply, "AT", nullptr);
    m_bOutOfStep = false;
    Send("AT\r");
    Await(kStepLimitMs);  // says so itself when nothing came
    // The answer may have been the late one of the command before; then that of AT is about to come, to nobody.
    m_hDone.ResetEvent();
    m_hDone.WaitForSingleObject(kQuietMs);
  }
}

void CAtDialogue::LineGone() {
  const std::lock_guard<std::mutex> guard(m_lock);
  m_bGone = true;
  if (m_state != State::kIdle) {
    EndReply(AtReply::Final::kLineGone, 0);
  }
}

void CAtDialogue::Feed(const std::string& bytes) {
  std::vector<std::pair<std::string, std::string>> unsolicited;
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_strPending += bytes;
    std::size_t end = 0;
    while ((end = m_strPending.find_first_of("\r\n")) != std::string::npos) {
      const std::string line = m_strPending.substr(0, end);
      m_strPending.erase(0, end + 1);
      if (!line.empty()) {
        TakeLine(line, unsolicited);
      }
    }
    if (m_state == State::kPrompt && !m_strPending.empty() && m_strPending[0] == '>') {
      m_strPending.clear();
      m_bPromptSeen = true;
      m_hDone.SetEvent();
    }
    if (m_strPending.size() > kMostPending) {
      m_strPending.clear();
    }
  }
  for (const auto& line : unsolicited) {
    m_onUnsolicited(line.first, line.second);
  }
}

void CAtDialogue::TakeLine(const std::string& line, std::vector<std::pair<std::string, std::string>>& unsolicited) {
  TraceLine("<- ", line);
  if (!m_strAwaitingData.empty()) {
    unsolicited.emplace_back(m_strAwaitingData, line);
    m_strAwaitingData.clear();
    return;
  }
  const bool replying = m_state != State::kIdle;
  if (replying && (line == m_strEcho || TakeFinal(line))) {
    return;
  }
  if (replying && (m_bDataFollows || BelongsToReply(line))) {
    m_bDataFollows = !m_bDataFollows && (StartsWith(line, "+CMGR:") || StartsWith(line, "+CMGL:"));
    m_reply.lines.push_back(line);
    return;
  }
  if (HasOctets(line)) {
    m_strAwaitingData = line;
  } else if (IsUnsolicited(line)) {
    unsolicited.emplace_back(line, std::string());
  }
}

bool CAtDialogue::BelongsToReply(const std::string& line) const {
  if (m_pszPrefix == nullptr) {
    return !IsUnsolicited(line);
  }
  if (!StartsWith(line, m_pszPrefix)) {
    return false;
  }
  const bool registration = StartsWith(line, "+CREG:") || StartsWith(line, "+CGREG:") || StartsWith(line, "+CEREG:");
  return !registration || IsRegistrationReply(line);
}

bool CAtDialogue::TakeFinal(const std::string& line) {
  if (line == "OK") {
    EndReply(AtReply::Final::kOk, 0);
  } else if (line == "ERROR" || line == "NO CARRIER" || line == "COMMAND NOT SUPPORT") {
    EndReply(AtReply::Final::kError, 0);
  } else if (StartsWith(line, "+CMS ERROR:")) {
    EndReply(AtReply::Final::kCmsError, std::atoi(line.c_str() + 11));
  } else if (StartsWith(line, "+CME ERROR:")) {
    EndReply(AtReply::Final::kCmeError, std::atoi(line.c_str() + 11));
  } else {
    return false;
  }
  return true;
}

void CAtDialogue::EndReply(AtReply::Final final, int code) {
  m_reply.final = final;
  m_reply.code = code;
  m_bEnded = true;
  m_state = State::kIdle;
  m_hDone.SetEvent();
}

}  // namespace modem
