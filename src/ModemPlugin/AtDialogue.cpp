#include "AtDialogue.h"

#include "Lines.h"
#include "platform/TraceSrv.h"

#include <algorithm>
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
  m_hGone.Init(true, false);
}

bool CAtDialogue::Pause(unsigned int milliseconds) { return m_hGone.WaitForSingleObject(milliseconds) != 0; }

AtReply CAtDialogue::Execute(const CAtCommand& command, const char* prefix, unsigned int limitMs) {
  return command.IsValid() ? Run(command, nullptr, prefix, limitMs) : Ended(AtReply::Final::kRefused);
}

AtReply CAtDialogue::ExecuteWithOctets(const CAtCommand& command, const std::string& octets, const char* prefix,
                                       unsigned int limitMs) {
  const bool clean = octets.find_first_not_of("0123456789ABCDEFabcdef") == std::string::npos;
  return command.IsValid() && clean ? Run(command, &octets, prefix, limitMs) : Ended(AtReply::Final::kRefused);
}

AtReply CAtDialogue::Run(const CAtCommand& command, const std::string* octets, const char* prefix,
                         unsigned int limitMs) {
  const CTurn turn(m_turn);
  const AtReply reply = RunOnce(command, octets, prefix, limitMs);
  // A modem that waited for somebody's message took the command for its text. What may be given once only, a message or
  // a secret, is not repeated: the prompt may have been noise.
  const bool repeatable = octets == nullptr && !command.HoldsSecret();
  return repeatable && WasSwallowed() ? RunOnce(command, octets, prefix, limitMs) : reply;
}

AtReply CAtDialogue::RunOnce(const CAtCommand& command, const std::string* octets, const char* prefix,
                             unsigned int limitMs) {
  if (HasRestarted()) {
    return Ended(AtReply::Final::kNoAnswer);
  }
  if ((m_bOutOfStep || HasUnaskedPrompt()) && !GetBackIntoStep()) {
    m_stream.Close();  // it is dumb or was started anew: whoever opens the line again also starts the modem again
    return Ended(AtReply::Final::kNoAnswer);
  }
  m_bOutOfStep = true;  // until the reply is there, also when this thread is cancelled while it waits
  Begin(octets == nullptr ? State::kReply : State::kPrompt, command, prefix);
  const AtReply reply = Converse(command, octets, limitMs);
  m_bOutOfStep = reply.final == AtReply::Final::kNoAnswer;
  return reply;
}

bool CAtDialogue::RestoreForms(unsigned int limitMs) {
  // S3 may be either of two; a half line in front, also our own, ends at the first ones. Some refuse the whole line
  static const char kBefore[] = "\x1B\n\r";
  static const char kBehind[] = "\r\nATQ0V1E0\r\n";
  const CTurn turn(m_turn);
  const CAtCommand command("Q0V1E0S3=13S4=10S5=8");
  m_bOutOfStep = true;
  Begin(State::kReply, command, nullptr);
  if (!Send(kBefore + command.Text() + kBehind, command.Shown())) {
    return false;
  }
  const AtReply reply = Await(limitMs);
  return reply.final != AtReply::Final::kNoAnswer && reply.final != AtReply::Final::kLineGone;
}

AtReply CAtDialogue::Converse(const CAtCommand& command, const std::string* octets, unsigned int limitMs) {
  if (!Send(command.Text() + "\r", command.Shown())) {
    return Ended(AtReply::Final::kLineGone);
  }
  if (octets == nullptr || !AwaitPrompt(*octets)) {
    return Await(octets == nullptr ? limitMs : kNoWait);
  }
  return Send(*octets + kCtrlZ, *octets) ? Await(limitMs) : Ended(AtReply::Final::kLineGone);
}

void CAtDialogue::Begin(State state, const CAtCommand& command, const char* prefix) {
  const std::lock_guard<std::mutex> guard(m_lock);
  m_hDone.ResetEvent();
  m_state = state;
  m_bPromptSeen = false;
  m_bEnded = false;
  m_bDataFollows = false;
  m_bUnaskedPrompt = false;
  m_strEcho = command.Text();
  m_strPrefix = prefix == nullptr ? "" : prefix;
  m_reply = AtReply();
  if (m_bGone) {
    EndReply(AtReply::Final::kLineGone, 0);
  }
}

/// What cannot be written leaves the line in an unknown state: it is given up.
bool CAtDialogue::Send(const std::string& bytes, const std::string& shown) {
  TraceLine("-> ", shown);
  if (m_stream.Write(bytes)) {
    return true;
  }
  m_stream.Close();
  return false;
}

/// @return false: the command has ended, or there is silence.
bool CAtDialogue::AwaitPrompt(const std::string& octets) {
  m_hDone.WaitForSingleObject(kPromptLimitMs);
  const std::lock_guard<std::mutex> guard(m_lock);
  if (m_bEnded || !m_bPromptSeen) {
    return false;
  }
  m_hDone.ResetEvent();
  m_strEcho = octets;
  return true;
}

bool CAtDialogue::HasRestarted() const {
  const std::lock_guard<std::mutex> guard(m_lock);
  return m_bRestarted;
}

void CAtDialogue::BeginAnew() {
  const std::lock_guard<std::mutex> guard(m_lock);
  m_bRestarted = false;
  m_bNoEcho = false;
}

void CAtDialogue::ExpectNoEcho() {
  const std::lock_guard<std::mutex> guard(m_lock);
  m_bNoEcho = true;
}

bool CAtDialogue::HasUnaskedPrompt() {
  const std::lock_guard<std::mutex> guard(m_lock);
  return m_bUnaskedPrompt;
}

bool CAtDialogue::WasSwallowed() {
  const std::lock_guard<std::mutex> guard(m_lock);
  return m_bUnaskedPrompt && m_bSwallowed;
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
    const CAtCommand command((std::string(question) + "?").c_str());
    Begin(State::kStep, command, prefix.c_str());
    if (!Send(kEscape, "escape") || !Send(command.Text() + "\r", command.Shown())) {
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
  m_hGone.SetEvent();
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
    const std::string line = Cleaned(m_strPending);
    m_strPending.clear();
    if (!line.empty()) {
      TakeLine(line, unsolicited);
    }
  } else if (octet == '>' && Cleaned(m_strPending).empty()) {
    m_strPending.clear();  // the prompt is no line, nothing ends it
    TakePrompt();
  } else if (m_strPending.size() < kLongestLine) {
    m_strPending += octet;
  }
}

/// A modem that asks for text without being asked takes what comes next for text.
void CAtDialogue::TakePrompt() {
  if (m_state == State::kPrompt) {
    m_bPromptSeen = true;
    m_state = State::kReply;
    m_hDone.SetEvent();
  } else if (m_state == State::kIdle) {
    m_bUnaskedPrompt = true;
    m_bSwallowed = false;
  } else if (m_state == State::kReply && !m_bPromptSeen) {
    m_bUnaskedPrompt = true;
    m_bSwallowed = true;
    EndReply(AtReply::Final::kNoAnswer, 0);
  }
}

void CAtDialogue::TakeLine(const std::string& line, Unsolicited& unsolicited) {
  const bool replying = m_state != State::kIdle;
  const bool echo = replying && line == m_strEcho;
  TraceLine("<- ", echo ? "(echo)" : line);
  AtReply::Final final = AtReply::Final::kOk;
  int code = 0;
  if (echo) {
    TakeEcho();
  } else if (TakeOctets(line, unsolicited)) {
    return;
  } else if (FindFinal(line, final, code)) {
    TakeFinal(final, code);
  } else if (AnnouncesOctets(line)) {
    AwaitOctets(line);
  } else if (replying && BelongsToReply(line)) {
    TakeReplyLine(line);
  } else if (IsTagged(line)) {
    unsolicited.emplace_back(line, std::string());
    if (TellsRestart(line)) {
      NoteRestart();
    }
  }
}

void CAtDialogue::TakeEcho() {
  if (m_bNoEcho) {
    NoteRestart();
  }
}

/// The reply will not come; above all no octets may follow: in text mode they would be a message to somebody.
void CAtDialogue::NoteRestart() {
  m_bRestarted = true;
  if (m_state != State::kIdle) {
    EndReply(AtReply::Final::kNoAnswer, 0);
  }
}

void CAtDialogue::AwaitOctets(const std::string& line) {
  if (!m_strAwaitingOctets.empty()) {
    TraceLine("no octets behind ", m_strAwaitingOctets);
  }
  m_strAwaitingOctets = line;
  m_bOctetsNext = true;
}

/// Other lines may come between a notice and its octets, as long as these cannot be taken for those of a reply.
bool CAtDialogue::TakeOctets(const std::string& line, Unsolicited& unsolicited) {
  const bool next = std::exchange(m_bOctetsNext, false);
  if (m_strAwaitingOctets.empty() || !LooksLikeOctets(line)) {
    return false;
  }
  const bool fits = IsLengthOf(m_strAwaitingOctets, line);
  const bool fitsReply = m_bDataFollows && IsLengthOf(m_reply.lines.back(), line);
  const bool nobodyElse = m_state == State::kIdle || (!m_strPrefix.empty() && !m_bDataFollows);
  if (!fits && (fitsReply || !(next || nobodyElse))) {
    return false;
  }
  unsolicited.emplace_back(std::exchange(m_strAwaitingOctets, std::string()), line);
  return true;
}

/// Lines of a listing come in pairs: what belongs to a message, and its octets; some write both on one.
void CAtDialogue::TakeReplyLine(const std::string& line) {
  const bool data = m_bDataFollows && LooksLikeOctets(line);
  if (m_bDataFollows && !data) {
    m_reply.lines.push_back(std::string());  // a message without octets
  }
  const bool message = StartsWith(line, "+CMGR:") || StartsWith(line, "+CMGL:") || StartsWith(line, "^SMGR:") ||
                       StartsWith(line, "^SMGL:");
  std::string head = line;
  std::string octets;
  const bool whole = message && SplitOctets(line, head, octets);
  m_reply.lines.push_back(head);
  if (whole) {
    m_reply.lines.push_back(octets);
  }
  m_bDataFollows = message && !whole;
}

bool CAtDialogue::BelongsToReply(const std::string& line) const {
  if (m_strPrefix.empty()) {
    // "AT+CGMM" is answered by the bare text, by some with "+CGMM: " before it; a single digit is a result code
    const std::string name = m_strEcho.substr(0, m_strEcho.find_first_of("=?"));
    const std::string own = name.substr(std::min<std::size_t>(2, name.size())) + ":";
    return IsTagged(line) ? StartsWith(line, own.c_str()) : line.size() > 1;
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
