// A modem that answers as a test says, on a line in memory.
#pragma once

#include "Await.h"
#include "ByteStream.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// What the host writes, line by line, and what it is answered. Threads: any.
class CScriptedModem {
public:
  /// Answers the start of a plain modem; "AT+CMGS=..." gets a prompt and its octets "+CMGS: 7" and OK.
  CScriptedModem();

  /// A line to the host for the driver; the line before it is gone then.
  std::unique_ptr<modem::IByteStream> Open();

  /// Answers a command line that begins so; "" answers nothing. Texts stand as on the line, CR LF included.
  void Answer(const std::string& command, const std::string& reply);
  /// Answers the octets after a prompt.
  void AnswerOctets(const std::string& reply) { Answer("octets", reply); }
  /// Called when such a command comes, before it is answered.
  void OnCommand(const std::string& command, const std::function<void()>& hook);
  /// Bytes from the modem by itself.
  void Say(const std::string& bytes);
  /// The line is gone.
  void HangUp();
  /// Writing fails, and reading does not notice that the line is closed; or that is over.
  void Block(bool bBlocked);
  /// Open() fails from now on, or works again.
  void SetPresent(bool bPresent);

  std::vector<std::string> Commands() const;
  int Count(const std::string& command) const;
  /// Waits until the host has read everything that was said.
  bool AwaitRead() const;
  bool AwaitCommand(const std::string& command, int times = 1, int milliseconds = 5000) const;

private:
  class CLine;
  void Take(const std::string& bytes);
  void TakeLine(const std::string& line);
  int CountLocked(const std::string& command) const;

  CMonitor m_monitor;
  std::map<std::string, std::string> m_answers;
  std::map<std::string, std::function<void()>> m_hooks;
  std::vector<std::string> m_commands;
  std::string m_strPending;  // of the host, without an end yet
  std::string m_strToHost;
  bool m_bGone = false;
  bool m_bBlocked = false;
  bool m_bPresent = true;
  int m_iLine = 0;  // counts the lines opened: an old one is gone
};
