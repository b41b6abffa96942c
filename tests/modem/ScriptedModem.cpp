#include "ScriptedModem.h"

namespace {

const char kOk[] = "\r\nOK\r\n";
const char kPrompt[] = "\r\n> ";

bool StartsWith(const std::string& text, const std::string& prefix) { return text.rfind(prefix, 0) == 0; }

}  // namespace

class CScriptedModem::CLine : public modem::IByteStream {
public:
  CLine(CScriptedModem& modem, int line) : m_modem(modem), m_iLine(line) {}

  bool Read(std::string& bytes) override {
    const int kForever = 24 * 3600 * 1000;
    m_modem.m_monitor.Await([this] { return (IsGoneLocked() && !m_modem.m_bBlocked) || !m_modem.m_strToHost.empty(); },
                            kForever);
    return m_modem.m_monitor.Locked([&] {
      if (m_modem.m_strToHost.empty() || m_modem.m_iLine != m_iLine) {
        return false;
      }
      bytes += m_modem.m_strToHost;
      m_modem.m_strToHost.clear();
      return true;
    });
  }
  bool Write(const std::string& bytes) override {
    if (m_modem.m_monitor.Peek([this] { return IsGoneLocked() || m_modem.m_bBlocked; })) {
      return false;
    }
    m_modem.Take(bytes);
    return true;
  }
  void Close() override {
    m_modem.m_monitor.Locked([this] { m_bClosed = true; });
  }

private:
  bool IsGoneLocked() const { return m_bClosed || m_modem.m_bGone || m_modem.m_iLine != m_iLine; }

  CScriptedModem& m_modem;
  const int m_iLine;
  bool m_bClosed = false;
};

CScriptedModem::CScriptedModem() {
  m_answers = {{"AT", kOk},
               {"AT+CGMI", "\r\nSmsApp\r\n\r\nOK\r\n"},
               {"AT+CGMM", "\r\nScripted\r\n\r\nOK\r\n"},
               {"AT+CPIN?", "\r\n+CPIN: READY\r\n\r\nOK\r\n"},
               {"AT+CPMS=?", "\r\n+CPMS: (\"SM\",\"ME\"),(\"SM\",\"ME\"),(\"SM\",\"ME\")\r\n\r\nOK\r\n"},
               {"AT+CPMS=\"", "\r\n+CPMS: 1,20,1,20,1,20\r\n\r\nOK\r\n"},
               {"AT+CPMS?", "\r\n+CPMS: \"SM\",1,20,\"SM\",1,20,\"SM\",1,20\r\n\r\nOK\r\n"},
               {"AT+CSCA?", "\r\n+CSCA: \"+491710760000\",145\r\n\r\nOK\r\n"},
               {"AT+CREG?", "\r\n+CREG: 1,1\r\n\r\nOK\r\n"},
               {"AT+COPS?", "\r\n+COPS: 0,2,\"26201\"\r\n\r\nOK\r\n"},
               {"AT+CMGF?", "\r\n+CMGF: 0\r\n\r\nOK\r\n"},
               {"AT+CSMS?", "\r\n+CSMS: 1,1,1,1\r\n\r\nOK\r\n"},
               {"AT+CNMI?", "\r\n+CNMI: 2,1,2,1,0\r\n\r\nOK\r\n"},
               {"AT+CMGS=", kPrompt},
               {"AT+CMGW=", kPrompt},
               {"octets", "\r\n+CMGS: 7\r\n\r\nOK\r\n"}};
}

std::unique_ptr<modem::IByteStream> CScriptedModem::Open() {
  const int line = m_monitor.Locked([this] {
    if (!m_bPresent) {
      return 0;
    }
    m_bGone = false;
    m_strToHost.clear();
    m_strPending.clear();
    return ++m_iLine;
  });
  return line == 0 ? nullptr : std::make_unique<CLine>(*this, line);
}

void CScriptedModem::Answer(const std::string& command, const std::string& reply) {
  m_monitor.Locked([&] { m_answers[command] = reply; });
}

void CScriptedModem::OnCommand(const std::string& command, const std::function<void()>& hook) {
  m_monitor.Locked([&] { m_hooks[command] = hook; });
}

void CScriptedModem::Say(const std::string& bytes) {
  m_monitor.Locked([&] { m_strToHost += bytes; });
}

void CScriptedModem::HangUp() {
  m_monitor.Locked([this] { m_bGone = true; });
}

void CScriptedModem::Block(bool bBlocked) {
  m_monitor.Locked([&] { m_bBlocked = bBlocked; });
}

void CScriptedModem::SetPresent(bool bPresent) {
  m_monitor.Locked([&] { m_bPresent = bPresent; });
}

std::vector<std::string> CScriptedModem::Commands() const {
  return m_monitor.Peek([this] { return m_commands; });
}

int CScriptedModem::CountLocked(const std::string& command) const {
  int count = 0;
  for (const std::string& line : m_commands) {
    count += StartsWith(line, command) ? 1 : 0;
  }
  return count;
}

int CScriptedModem::Count(const std::string& command) const {
  return m_monitor.Peek([&] { return CountLocked(command); });
}

bool CScriptedModem::AwaitCommand(const std::string& command, int times, int milliseconds) const {
  return m_monitor.Await([&] { return CountLocked(command) >= times; }, milliseconds);
}

bool CScriptedModem::AwaitRead() const {
  return m_monitor.Await([this] { return m_strToHost.empty(); });
}

void CScriptedModem::Take(const std::string& bytes) {
  std::vector<std::string> lines;
  m_monitor.Locked([&] {
    for (const char octet : bytes) {
      if (octet == '\r' || octet == '\x1A') {
        lines.push_back(octet == '\x1A' ? "octets " + m_strPending : m_strPending);
        m_strPending.clear();
      } else if (octet == '\x1B') {
        m_strPending.clear();
        m_commands.push_back("escape");
      } else {
        m_strPending += octet;
      }
    }
  });
  for (const std::string& line : lines) {
    TakeLine(line);
  }
}

void CScriptedModem::TakeLine(const std::string& line) {
  std::function<void()> hook;
  m_monitor.Locked([&] {
    m_commands.push_back(line);
    for (const auto& entry : m_hooks) {
      hook = StartsWith(line, entry.first) ? entry.second : hook;
    }
  });
  if (hook) {
    hook();
  }
  m_monitor.Locked([&] {
    std::string reply = kOk;
    std::size_t longest = 0;
    for (const auto& answer : m_answers) {
      const bool plain = answer.first == "AT" && line != "AT";
      if (!plain && StartsWith(line, answer.first) && answer.first.size() >= longest) {
        longest = answer.first.size();
        reply = answer.second;
      }
    }
    m_strToHost += reply;
  });
}
