#include "AtDialogue.h"

#include "platform/TraceSrv.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace modem {

namespace {

const char kEscape[] = "\x1B";
const char kCtrlZ[] = "\x1A";
const unsigned int kPromptLimitMs = 5000;
const unsigned int kStepLimitMs = 2000;
const unsigned int kNoWait = 0;
const int kLateEnd = -1;
const std::size_t kLongestLine = 64 * 1024;  // a line never is as long; garbage is

bool StartsWith(const std::string& line, const char* prefix) {
  return line.compare(0, std::strlen(prefix), prefix) == 0;
}

std::string WithoutBlanks(const std::string& text) {
  const std::size_t first = text.find_first_not_of(' ');
  return first == std::string::npos ? std::string() : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

/// Lines that a modem sends by itself (3GPP TS 27.005, 3.4.1 and 27.007); the first three are followed by octets.
bool IsUnsolicited(const std::string& line) {
  for (const char* prefix : {"+CMT:", "+CDS:", "+CBM:", "+CMTI:", "+CDSI:", "+CBMI:", "+CREG:", "+CGREG:", "+CEREG:",
                             "+CPIN:", "RING", "+CRING", "+CLIP:", "+CUSD:", "NO CARRIER", "^", "*"}) {
    if (StartsWith(line, prefix)) {
      return true;
    }
  }
  return false;
}

bool HasOctets(const std::string& line) {
  return StartsWith(line, "+CMT:") || StartsWith(line, "+CDS:") || StartsWith(line, "+CBM:");
}

/// Octets may be damaged further behind; a line that begins otherwise is another one in their place.
bool LooksLikeOctets(const std::string& line) { return std::isxdigit(static_cast<unsigned char>(line[0])) != 0; }

/// A reply tells the mode first ("+CREG: 1,5"); by itself the modem tells the state alone ("+CREG: 5").
bool IsRegistrationReply(const std::string& line) {
  const std::size_t comma = line.find(',');
  return comma != std::string::npos && comma + 1 < line.size() && line[comma + 1] != '"';
}

bool FindFinal(const std::string& line, AtReply::Final& final, int& code) {
  const std::size_t kCodeAt = 11;
  code = 0;
  if (line == "OK") {
    final = AtReply::Final::kOk;
  } else if (line == "ERROR" || line == "COMMAND NOT SUPPORT") {
    final = AtReply::Final::kError;
  } else if (StartsWith(line, "+CMS ERROR:")) {
    final = AtReply::Final::kCmsError;
    code = static_cast<int>(std::clamp(std::strtol(line.c_str() + kCodeAt, nullptr, 10), 0L, 0xFFFFL));
  } else if (StartsWith(line, "+CME ERROR:")) {
    final = AtReply::Final::kCmeError;
    code = static_cast<int>(std::clamp(std::strtol(line.c_str() + kCodeAt, nullptr, 10), 0L, 0xFFFFL));
  } else {
    return false;
  }
  return true;
}

AtReply Ended(AtReply::Final final) {
  AtReply reply;
  reply.final = final;
  return reply;
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
  return command.IsValid() ? Run(command.Text(), nullptr, prefix, limitMs) : Ended(AtReply::Final::kRefused);
}

AtReply CAtDialogue::ExecuteWithOctets(const CAtCommand& command, const std::string& octets, const char* prefix,
                                       unsigned int limitMs) {
  const bool clean = octets.find_first_not_of("0123456789ABCDEFabcdef") == std::string::npos;
  return command.IsValid() && clean ? Run(command.Text(), &octets, prefix, limitMs) : Ended(AtReply::Final::kRefused);
}

AtReply CAtDialogue::Run(const std::string& text, const std::string* octets, const char* prefix, unsigned int limitMs) {
  const CTurn turn(m_turn);
  if (m_bOutOfStep && !GetBackIntoStep()) {
    m_stream.Close();  // it is dumb or was started anew: whoever opens the line again also starts the modem again
    return Ended(AtReply::Final::kNoAnswer);
  }
  m_bOutOfStep = true;  // until the reply is there, also when this thread is cancelled while it waits
  Begin(octets == nullptr ? State::kReply : State::kPrompt, text, prefix);
  const AtReply reply = Converse(text, octets, limitMs);
  m_bOutOfStep = reply.final == AtReply::Final::kNoAnswer;
  return reply;
}

AtReply CAtDialogue::Converse(const std::string& text, const std::string* octets, unsigned int limitMs) {
  if (!Send(text + "\r")) {
    return Ended(AtReply::Final::kLineGone);
  }
  if (octets == nullptr || !AwaitPrompt()) {
    return Await(octets == nullptr ? limitMs : kNoWait);
  }
  return Send(*octets + kCtrlZ) ? Await(limitMs) : Ended(AtReply::Final::kLineGone);
}

void CAtDialogue::Begin(State state, const std::string& text, const char* prefix) {
  const std::lock_guard<std::mutex> guard(m_lock);
  m_hDone.ResetEvent();
  m_state = state;
  m_bPromptSeen = false;
  m_bEnded = false;
  m_bDataFollows = false;
  m_strEcho = text;
  m_strPrefix = prefix == nullptr ? "" : prefix;
  m_reply = AtReply();
  if (m_strPending[0] == '>') {
    m_strPending.clear();  // a prompt that came too late
  }
  if (m_bGone) {
    EndReply(AtReply::Final::kLineGone, 0);
  }
}

/// What cannot be written leaves the line in an unknown state: it is given up.
bool CAtDialogue::Send(const std::string& bytes) {
  TraceLine("-> ", bytes);
  if (m_stream.Write(bytes)) {
    return true;
  }
  m_stream.Close();
  return false;
}

/// @return false: the command has ended, or there is silence.
bool CAtDialogue::AwaitPrompt() {
  m_hDone.WaitForSingleObject(kPromptLimitMs);
  const std::lock_guard<std::mutex> guard(m_lock);
  if (m_bEnded || !m_bPromptSeen) {
    return false;
  }
  m_hDone.ResetEvent();
  return true;
}

AtReply CAtDialogue::Await(unsigned int limitMs) {
  if (limitMs != kNoWait) {
    m_hDone.WaitForSingleObject(limitMs);
  }
  const std::lock_guard<std::mutex> guard(m_lock);
  m_state = State::kIdle;
  return m_reply;  // kNoAnswer unless it has ended
}

/// A reply that comes late must not be taken for the next command's: leave a prompt, then ask questions whose answers
/// cannot be mistaken for anything else's, each once.
/// @return false: no answer.
bool CAtDialogue::GetBackIntoStep() {
  bool answered = false;
  for (const char* question : {"+CMGF", "+CSMS", "+CNMI"}) {
    const std::string prefix = std::string(question) + ":";
    const std::string text = std::string("AT") + question + "?";
    Begin(State::kStep, text, prefix.c_str());
    if (!Send(kEscape) || !Send(text + "\r")) {
      return false;
    }
    const AtReply reply = Await(kStepLimitMs);
    if (reply.IsOk()) {
      return true;
    }
    if (reply.final == AtReply::Final::kLineGone) {
      return false;
    }
    answered = answered || reply.code == kLateEnd;
  }
  return answered;  // it knows none of the questions, but it refused them, and is quiet now
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
    for (const char octet : bytes) {
      TakeOctet(octet, unsolicited);
    }
  }
  for (const auto& line : unsolicited) {
    m_onUnsolicited(line.first, line.second);
  }
}

void CAtDialogue::TakeOctet(char octet, Unsolicited& unsolicited) {
  if (octet == '\r' || octet == '\n') {
    const std::string line = WithoutBlanks(m_strPending);
    m_strPending.clear();
    if (!line.empty()) {
      TakeLine(line, unsolicited);
    }
  } else if (octet == '>' && m_state == State::kPrompt && WithoutBlanks(m_strPending).empty()) {
    m_strPending.clear();  // the prompt is no line, nothing ends it
    m_bPromptSeen = true;
    m_state = State::kReply;
    m_hDone.SetEvent();
  } else if (m_strPending.size() < kLongestLine) {
    m_strPending += octet;
  }
}

void CAtDialogue::TakeLine(const std::string& line, Unsolicited& unsolicited) {
  TraceLine("<- ", line);
  AtReply::Final final = AtReply::Final::kOk;
  int code = 0;
  const bool isFinal = FindFinal(line, final, code);
  const bool replying = m_state != State::kIdle;
  if (!m_strAwaitingData.empty()) {
    const std::string head = std::exchange(m_strAwaitingData, std::string());
    if (!isFinal && LooksLikeOctets(line)) {
      unsolicited.emplace_back(head, line);
      return;
    }
    TraceLine("no octets behind ", head);
  }
  if (isFinal) {
    TakeFinal(final, code);
  } else if (HasOctets(line)) {
    m_strAwaitingData = line;
  } else if (replying && line != m_strEcho && BelongsToReply(line)) {
    TakeReplyLine(line);
  } else if (IsUnsolicited(line)) {
    unsolicited.emplace_back(line, std::string());
  }
}

/// Lines of a listing come in pairs: what belongs to a message, and its octets.
void CAtDialogue::TakeReplyLine(const std::string& line) {
  const bool data = m_bDataFollows && LooksLikeOctets(line);
  if (m_bDataFollows && !data) {
    m_reply.lines.push_back(std::string());  // a message without octets
  }
  m_reply.lines.push_back(line);
  m_bDataFollows = StartsWith(line, "+CMGR:") || StartsWith(line, "+CMGL:");
}

bool CAtDialogue::BelongsToReply(const std::string& line) const {
  if (m_strPrefix.empty()) {
    return !IsUnsolicited(line);
  }
  if (!StartsWith(line, m_strPrefix.c_str())) {
    return m_bDataFollows && LooksLikeOctets(line);
  }
  const bool registration = StartsWith(line, "+CREG:") || StartsWith(line, "+CGREG:") || StartsWith(line, "+CEREG:");
  return !registration || IsRegistrationReply(line);
}

void CAtDialogue::TakeFinal(AtReply::Final final, int code) {
  if (m_state == State::kStep && m_reply.lines.empty()) {
    m_reply.code = kLateEnd;  // of a command before: the answer to the question is still to come
  } else if (m_state == State::kPrompt && final == AtReply::Final::kOk) {
    TraceLine("no end of this command: ", "OK");  // nothing can be done before its octets are there
  } else if (m_state != State::kIdle) {
    EndReply(final, code);
  }
}

void CAtDialogue::EndReply(AtReply::Final final, int code) {
  m_reply.final = final;
  m_reply.code = code;
  m_bEnded = true;
  m_state = State::kIdle;
  m_hDone.SetEvent();
}

}  // namespace modem
