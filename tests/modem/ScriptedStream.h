// A line to a modem whose other end is the test.
#pragma once

#include "Await.h"
#include "ByteStream.h"

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <string>

/// Threads: any. Both ends outlive each other: the stream given to the driver only refers to the line.
class CScriptedLine {
public:
  /// The driver's end, opened anew.
  static std::unique_ptr<modem::IByteStream> Open(const std::shared_ptr<CScriptedLine>& line) {
    const int number = line->m_monitor.Locked([&] {
      const int next = line->m_state.number + 1;
      line->m_state = State();
      line->m_state.open = true;
      return line->m_state.number = next;
    });
    return std::make_unique<CEnd>(line, number);
  }

  /// Bytes from the modem; returns when the driver has digested them and waits for more.
  void Say(const std::string& bytes) {
    m_monitor.Locked([&] { m_state.toHost += bytes; });
    m_monitor.Await([this] { return !m_state.open || (m_state.toHost.empty() && m_state.reading); });
  }
  /// Answers a command whenever it comes, so that nobody has to AwaitHost() it; "" answers nothing.
  void Answer(const std::string& command, const std::string& bytes) {
    m_monitor.Locked([&] { m_answers[command] = bytes; });
  }
  /// The same for one time, before all other times.
  void AnswerOnce(const std::string& command, const std::string& bytes) {
    m_monitor.Locked([&] { m_once[command].push_back(bytes); });
  }
  /// The modem gives back what it gets until ATE0 is answered.
  void Echo() {
    m_monitor.Locked([&] { m_bEcho = true; });
  }
  /// The driver reads octet by octet, as on a slow line.
  void Drip() {
    m_monitor.Locked([&] { m_bDrip = true; });
  }
  /// The line breaks, as when the modem is unplugged.
  void HangUp() {
    m_monitor.Locked([&] { m_state.open = false; });
  }
  /// Writing fails from now on.
  void Block() {
    m_monitor.Locked([&] { m_state.blocked = true; });
  }
  /// Waits until the driver has opened the line so often.
  bool AwaitOpen(int number, int milliseconds = 5000) {
    return m_monitor.Await([=] { return m_state.number >= number; }, milliseconds);
  }
  bool AwaitClosed() {
    return m_monitor.Await([this] { return !m_state.open; });
  }
  /// The next thing that the host sent: up to a carriage return, which is left out, a Ctrl-Z or an escape.
  /// @return what is there when nothing whole comes in time.
  std::string AwaitHost() {
    std::string unit;
    m_monitor.Await([&] {
      const std::size_t end = m_state.fromHost.find_first_of("\r\x1A\x1B");
      if (end != std::string::npos) {
        unit = m_state.fromHost.substr(0, end + (m_state.fromHost[end] == '\r' ? 0 : 1));
        m_state.fromHost.erase(0, end + 1);
      }
      return end != std::string::npos;
    });
    return unit.empty() ? Unread() : unit;
  }
  /// What the host has sent and nobody has looked at.
  std::string Unread() {
    return m_monitor.Peek([this] { return m_state.fromHost; });
  }

private:
  struct State {
    int number = 0;  // times that it was opened
    bool open = false;
    bool blocked = false;
    bool reading = false;  // the driver waits for bytes
    std::string toHost;
    std::string fromHost;
  };

  class CEnd : public modem::IByteStream {
  public:
    CEnd(const std::shared_ptr<CScriptedLine>& line, int number) : m_line(line), m_iNumber(number) {}
    bool Read(std::string& bytes) override {
      State& state = m_line->m_state;
      m_line->m_monitor.Locked([&] { state.reading = true; });
      while (!m_line->m_monitor.Await([&] { return !state.open || !state.toHost.empty(); })) {
      }
      return m_line->m_monitor.Locked([&] {
        const std::size_t count = m_line->m_bDrip ? std::min<std::size_t>(state.toHost.size(), 1) : state.toHost.size();
        bytes.append(state.toHost, 0, count);
        state.reading = false;
        state.toHost.erase(0, count);
        return count > 0;
      });
    }
    bool Write(const std::string& bytes) override {
      return m_line->m_monitor.Locked([&] {
        State& state = m_line->m_state;
        if (state.open && !state.blocked) {
          m_line->TakeLocked(bytes);
        }
        return state.open && !state.blocked;
      });
    }
    void Close() override {
      m_line->m_monitor.Locked(
          [&] { m_line->m_state.open = m_line->m_state.open && m_line->m_state.number != m_iNumber; });
    }

  private:
    const std::shared_ptr<CScriptedLine> m_line;
    const int m_iNumber;
  };

  void TakeLocked(const std::string& bytes) {
    m_state.toHost += m_bEcho ? bytes : "";
    m_state.fromHost += bytes;
    const std::size_t begin = m_state.fromHost.find_last_of("\r\x1A\x1B", m_state.fromHost.size() - 2) + 1;
    const std::string command = m_state.fromHost.substr(begin, m_state.fromHost.size() - begin - 1);
    const auto once = m_once.find(command);
    const bool hasOnce = once != m_once.end() && !once->second.empty();
    const auto always = m_answers.find(command);
    if (bytes.back() != '\r' || (!hasOnce && always == m_answers.end())) {
      return;
    }
    m_state.fromHost.erase(begin);
    m_state.toHost += hasOnce ? once->second.front() : always->second;
    m_bEcho = m_bEcho && command.rfind("ATE0", 0) != 0;
    if (hasOnce) {
      once->second.pop_front();
    }
  }

  CMonitor m_monitor;
  State m_state;
  std::map<std::string, std::string> m_answers;
  std::map<std::string, std::deque<std::string>> m_once;
  bool m_bEcho = false;
  bool m_bDrip = false;
};
