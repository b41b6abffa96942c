// The dialogue with the modem: one command at a time, unsolicited lines told apart from replies.
#pragma once

#include "AtCommandBuilder.h"
#include "ByteStream.h"
#include "ModemLine.h"
#include "Turn.h"

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace modem {

/// What a command was answered.
struct AtReply {
  using Final = AtFinal;
  Final final = Final::kNoAnswer;
  int code = 0;
  std::vector<std::string> lines;  // what came before the end, without the echo

  bool IsOk() const { return final == Final::kOk; }
  /// 0, or the code, or "unknown error" (3GPP TS 27.005, 3.2.5).
  DWORD Status() const {
    const DWORD kUnknownError = 500;
    // codes of +CME ERROR count otherwise and would be taken for other causes
    return IsOk() ? 0 : final == Final::kCmsError && code > 0 ? static_cast<DWORD>(code) : kUnknownError;
  }
};

/// Purpose: one owner of the line. Callers queue for it; each has it until its reply is complete.
/// Threads: Execute on any thread but the reader's; Feed and LineGone on the reader's. Unsolicited lines are handed
///          over on the reader's thread, one call each, outside of all locks.
/// Errors:  in the reply. After a reply that did not come, or a prompt that nobody asked for, the next command first
///          finds its way back into step; a modem that stays dumb, or a line that takes no more, is closed.
class CAtDialogue {
public:
  /// @param data  the line of octets that belongs to it (+CMT, +CDS, +CBM), else empty.
  typedef std::function<void(const std::string& line, const std::string& data)> UnsolicitedHandler;

  CAtDialogue(IByteStream& stream, const UnsolicitedHandler& onUnsolicited);
  CAtDialogue(const CAtDialogue&) = delete;
  CAtDialogue& operator=(const CAtDialogue&) = delete;

  /// A modem that begins anew by itself loses its settings: until BeginAnew() all commands get no answer. It tells so,
  /// or it echoes though it was told not to.
  bool HasRestarted() const;
  /// The modem is about to get its settings.
  void BeginAnew();
  /// The modem has been told not to echo, and agreed.
  void ExpectNoEcho();

  /// @param prefix  beginning of the reply's own lines ("+CMGR:"); null: any line is part of the reply.
  AtReply Execute(const CAtCommand& command, const char* prefix, unsigned int limitMs);
  /// A command that asks for octets with a prompt: sends them with the closing Ctrl-Z.
  /// @param octets  hexadecimal digits.
  AtReply ExecuteWithOctets(const CAtCommand& command, const std::string& octets, const char* prefix,
                            unsigned int limitMs);

  /// Undoes what another program may have left on a modem that seems silent: results suppressed or as digits, other
  /// characters at the end of lines (ITU-T V.250, 6.2.1 to 6.2.6).
  /// @return whether the modem has answered; what it answered is still to be sorted out by the next command.
  bool RestoreForms(unsigned int limitMs);

  /// @return false: the line is gone.
  bool Pause(unsigned int milliseconds);

  /// Bytes from the line.
  void Feed(const std::string& bytes);
  /// The line is gone: whoever waits is told, and every later command fails at once.
  void LineGone();

private:
  enum class State { kIdle, kReply, kPrompt, kStep };
  typedef std::vector<std::pair<std::string, std::string>> Unsolicited;  // line and octets

  AtReply Run(const CAtCommand& command, const std::string* octets, const char* prefix, unsigned int limitMs);
  AtReply RunOnce(const CAtCommand& command, const std::string* octets, const char* prefix, unsigned int limitMs);
  AtReply Converse(const CAtCommand& command, const std::string* octets, unsigned int limitMs);
  AtReply Await(unsigned int limitMs);
  bool AwaitPrompt(const std::string& octets);
  bool HasUnaskedPrompt();
  bool WasSwallowed();
  void Begin(State state, const CAtCommand& command, const char* prefix);
  bool GetBackIntoStep();
  bool Send(const std::string& bytes, const std::string& shown);

  // m_lock held
  void TakeOctet(char octet, Unsolicited& unsolicited);
  void TakePrompt();
  void TakeLine(const std::string& line, Unsolicited& unsolicited);
  bool TakeOctets(const std::string& line, Unsolicited& unsolicited);
  void AwaitOctets(const std::string& line);
  void TakeEcho();
  void NoteRestart();
  void TakeReplyLine(const std::string& line);
  void TakeFinal(AtReply::Final final, int code);
  bool BelongsToReply(const std::string& line) const;
  void EndReply(AtReply::Final final, int code);

  IByteStream& m_stream;
  const UnsolicitedHandler m_onUnsolicited;
  CTurnstile m_turn;          // of the caller whose command runs
  JEvent m_hGone;             // set for good
  JEvent m_hDone;             // the reply has ended, or the prompt is there
  bool m_bOutOfStep = false;  // guarded by m_turn

  mutable std::mutex m_lock;  // the rest
  State m_state = State::kIdle;
  bool m_bGone = false;
  bool m_bPromptSeen = false;
  bool m_bEnded = false;
  bool m_bRestarted = false;
  bool m_bNoEcho = false;
  bool m_bUnaskedPrompt = false;    // the modem waits for text that nobody wants to give
  bool m_bSwallowed = false;        // it did when the last command was sent
  bool m_bDataFollows = false;      // octets belong to the last line of the reply
  bool m_bOctetsNext = false;       // nothing has come since m_strAwaitingOctets
  std::string m_strAwaitingOctets;  // an unsolicited line whose octets follow
  std::string m_strEcho;            // of what was sent last
  std::string m_strPrefix;          // empty: any line is part of the reply
  AtReply m_reply;
  std::string m_strPending;  // bytes after the last line end
};

}  // namespace modem
