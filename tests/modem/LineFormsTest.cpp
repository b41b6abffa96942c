// A modem whose line forms (ITU-T V.250, 6.2) another program has changed.
#include "Modem.h"
#include "PortProbe.h"
#include "ScriptedModem.h"
#include "TempHome.h"
#include "platform/JClock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cctype>
#include <future>
#include <ostream>
#include <tuple>

namespace {

struct Forms {
  int q = 0;
  int v = 1;
  int e = 1;
  int s3 = '\r';
  int s4 = '\n';
  int s5 = '\b';
  bool fixed = false;  // refuses a line that sets the last three
};

void PrintTo(const Forms& forms, std::ostream* out) {
  *out << "Q" << forms.q << " V" << forms.v << " E" << forms.e << " S3=" << forms.s3 << " S4=" << forms.s4
       << (forms.fixed ? " for good" : "");
}

/// A line with its forms, in front of a modem that knows the usual ones only.
class CFormedLine : public modem::IByteStream {
public:
  /// @param idle  kept true while the driver waits for octets and there are none.
  CFormedLine(CScriptedModem& modem, Forms& forms, std::atomic<bool>& idle)
      : m_forms(forms), m_idle(idle), m_modem(modem.Open()) {}

  bool Read(std::string& bytes) override {
    m_monitor.Locked([this] { m_idle = m_strToHost.empty(); });
    m_monitor.Await([this] { return m_bClosed || !m_strToHost.empty(); }, 24 * 3600 * 1000);
    return m_monitor.Locked([&] {
      m_idle = false;
      bytes += m_strToHost;
      m_strToHost.clear();
      return !m_bClosed;
    });
  }
  bool Write(const std::string& bytes) override {
    m_monitor.Locked([&] {
      for (const char octet : bytes) {
        TakeLocked(octet);
      }
      m_idle = m_idle && m_strToHost.empty();
    });
    return true;
  }
  void Close() override {
    m_monitor.Locked([this] { m_bClosed = true; });
  }

private:
  void TakeLocked(char octet) {
    m_strToHost += m_forms.e == 1 ? std::string(1, octet) : "";
    if (octet == m_forms.s3) {
      const std::size_t begin = m_strPending.find("AT");  // 5.2.1: what stands before does not matter
      const std::string line = begin == std::string::npos ? "" : m_strPending.substr(begin);
      m_strPending.clear();
      line.empty() ? void() : ObeyLocked(line);
    } else if (octet == m_forms.s5) {
      m_strPending.resize(m_strPending.empty() ? 0 : m_strPending.size() - 1);
    } else if (octet >= ' ') {  // 5.2.2: other control characters do not matter
      m_strPending += octet;
    }
  }
  void ObeyLocked(const std::string& line) {
    if (line.size() > 2 && line[2] != '+') {
      TellLocked(SetLocked(line) ? "OK" : "ERROR");
      return;
    }
    std::string reply;
    m_modem->Write(line + "\r");
    m_modem->Read(reply);
    for (std::size_t begin = 2; begin < reply.size();) {
      const std::size_t end = reply.find("\r\n", begin);
      TellLocked(reply.substr(begin, end - begin));
      begin = end + 4;
    }
  }
  bool SetLocked(const std::string& line) {
    if (m_forms.fixed && line.find('S') != std::string::npos) {
      return false;
    }
    std::size_t at = 2;
    const auto number = [&] {
      int value = 0;
      for (; at < line.size() && std::isdigit(line[at]) != 0; ++at) {
        value = value * 10 + (line[at] - '0');
      }
      return value;
    };
    while (at < line.size()) {
      const char name = line[at++];
      const int which = number();
      int* const form = FormOf(name, which);
      if (form == nullptr) {
        return false;
      }
      *form = name != 'S' ? which : (at++, number());
    }
    return true;
  }
  int* FormOf(char name, int which) {
    switch (name) {
      case 'Q':
        return &m_forms.q;
      case 'V':
        return &m_forms.v;
      case 'E':
        return &m_forms.e;
      case 'S':
        return which == 3 ? &m_forms.s3 : which == 4 ? &m_forms.s4 : which == 5 ? &m_forms.s5 : nullptr;
      default:
        ADD_FAILURE() << "a command that calls or answers: " << name;
        return nullptr;
    }
  }
  /// 5.7.1: a result code or a line of text as the forms want it.
  void TellLocked(const std::string& text) {
    const std::string s3(1, static_cast<char>(m_forms.s3));
    const std::string end = s3 + static_cast<char>(m_forms.s4);
    const bool ok = text == "OK";
    const bool words = m_forms.v == 1;
    if (ok || text == "ERROR") {
      m_strToHost += m_forms.q == 1 ? "" : words ? end + text + end : (ok ? "0" : "4") + s3;
    } else {
      m_strToHost += (words ? end : "") + text + end;
    }
  }

  Forms& m_forms;
  std::atomic<bool>& m_idle;
  const std::unique_ptr<modem::IByteStream> m_modem;
  CMonitor m_monitor;
  std::string m_strPending;
  std::string m_strToHost;
  bool m_bClosed = false;
};

/// The characters that are left behind: S3 and S4.
typedef std::tuple<int, int> Ends;

class LineForms : public testing::TestWithParam<Ends> {
protected:
  /// Waits for the end of what is under way; time goes on while nothing else does.
  template <class Result>
  Result Outcome(std::future<Result> running) {
    while (running.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
      m_clock.Advance(m_idle ? 100 : 0);
    }
    return running.get();
  }
  /// With everything else that may be left beside.
  static std::vector<Forms> All() {
    std::vector<Forms> all;
    const bool usual = GetParam() == Ends('\r', '\n');
    for (int bits = 0; bits < (usual ? 16 : 8); ++bits) {
      all.push_back({bits & 1, (bits >> 1) & 1, (bits >> 2) & 1, std::get<0>(GetParam()), std::get<1>(GetParam()), '\b',
                     (bits & 8) != 0});
    }
    return all;
  }

  const CTempHome m_home;
  JManualClock m_clock;
  CScriptedModem m_script;
  std::atomic<bool> m_idle{false};
};

TEST_P(LineForms, AreUndoneByTheStart) {
  for (Forms forms : All()) {
    SCOPED_TRACE(testing::PrintToString(forms));
    modem::CModem modem([&](std::string&) { return std::make_unique<CFormedLine>(m_script, forms, m_idle); });
    std::string error;
    EXPECT_TRUE(Outcome(std::async(std::launch::async, [&] { return modem.Start(error); }))) << error;
    const modem::ModemFacts facts = modem.Facts();
    EXPECT_EQ("SmsApp Scripted", facts.model);
    EXPECT_EQ(DevDataDef::PIN_READY, facts.pin);
    EXPECT_EQ("+491710760000", facts.serviceCentre);
    EXPECT_EQ("26201", facts.operatorCode);
    modem.Stop();
    EXPECT_EQ("Q0 V1 E0", testing::PrintToString(forms).substr(0, 8));
  }
}

TEST_P(LineForms, HideNoModemFromTheSearch) {
  for (Forms forms : All()) {
    SCOPED_TRACE(testing::PrintToString(forms));
    const auto open = [&](const std::string&, std::string&) {
      return std::make_unique<CFormedLine>(m_script, forms, m_idle);
    };
    const modem::PortAnswer answer =
        Outcome(std::async(std::launch::async, [&] { return modem::ProbePort("port", open); }));
    EXPECT_EQ(FoundPort::State::kAnswers, answer.state);
    EXPECT_EQ("Scripted", answer.model);
  }
}

INSTANTIATE_TEST_SUITE_P(
    All, LineForms, testing::Combine(testing::Values('\r', '\n'), testing::Values('\n', '\r', '\0', ' ', 'A', '0')),
    [](const auto& testInfo) {
      return "S3_" + std::to_string(std::get<0>(testInfo.param)) + "_S4_" + std::to_string(std::get<1>(testInfo.param));
    });

}  // namespace
