// The driver on a modem whose every reply may be damaged, late, doubled, lost or cut off, in time that is moved by
// hand.
#include "MessageService.h"
#include "RecordingSink.h"
#include "TempHome.h"
#include "platform/JClock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <map>
#include <random>

namespace {

const char kReport[] = "\r\n+CDS: 25\r\n079194710167000006010C91947101000020425060708090804250607080908000\r\n";
const char kMessage[] = "\r\n+CMT: ,20\r\n0791947101670000040C919471010000200000425060708090800161\r\n";

/// A well-behaved modem, and what a bad line or a bad day makes of it. Threads: any.
class CDamagedModem {
public:
  explicit CDamagedModem(unsigned int uSeed) : m_random(uSeed) {}

  std::unique_ptr<modem::IByteStream> Open() {
    return m_monitor.Locked([this] {
      m_strToHost.clear();
      m_strHeld.clear();
      m_strFromHost.clear();
      m_bText = false;
      m_bOpen = true;
      return std::make_unique<CLine>(*this, ++m_iLine);
    });
  }

  /// One in so many replies is damaged; 0: none.
  void Damage(int iOneIn) {
    m_monitor.Locked([&] { m_iOneIn = iOneIn; });
  }
  void Say(const std::string& bytes) {
    m_monitor.Locked([&] { m_strToHost += m_bOpen ? Damaged(bytes) : ""; });
  }
  int Damages() const {
    return m_monitor.Peek([this] { return m_iDamages; });
  }
  /// How often the modem was given this message to send.
  int Sent(const std::string& hex) const {
    return m_monitor.Peek([&] {
      return static_cast<int>(std::count_if(
          m_sent.begin(), m_sent.end(), [&](const std::string& text) { return text.find(hex) != std::string::npos; }));
    });
  }
  /// Waits until the host has read everything and waits for more, or has no line.
  bool AwaitDigested() const {
    return m_monitor.Await([this] { return !m_bOpen || (m_bReading && m_strToHost.empty()); });
  }
  std::string Journal() const {
    return m_monitor.Peek([this] { return m_strJournal; });
  }

private:
  class CLine : public modem::IByteStream {
  public:
    CLine(CDamagedModem& modem, int line) : m_modem(modem), m_iLine(line) {}
    bool Read(std::string& bytes) override {
      m_modem.m_monitor.Locked([this] { m_modem.m_bReading = true; });
      while (!m_modem.m_monitor.Await([this] { return IsGone() || !m_modem.m_strToHost.empty(); })) {
      }
      return m_modem.m_monitor.Locked([&] {
        m_modem.m_bReading = false;
        const bool some = !IsGone() && !m_modem.m_strToHost.empty();
        if (some) {
          bytes += m_modem.m_strToHost;
          m_modem.m_strToHost.clear();
        }
        return some;
      });
    }
    bool Write(const std::string& bytes) override {
      return m_modem.m_monitor.Locked([&] {
        const bool gone = IsGone();
        if (!gone) {
          m_modem.Take(bytes);
        }
        return !gone;
      });
    }
    void Close() override {
      m_modem.m_monitor.Locked([this] {
        m_bClosed = true;
        m_modem.m_bOpen = m_modem.m_bOpen && m_iLine != m_modem.m_iLine;
      });
    }

  private:
    bool IsGone() const { return m_bClosed || !m_modem.m_bOpen || m_iLine != m_modem.m_iLine; }
    CDamagedModem& m_modem;
    const int m_iLine;
    bool m_bClosed = false;
  };

  void Take(const std::string& bytes) {
    m_strJournal += "-> " + bytes + "\n";
    for (const char octet : bytes) {
      if (octet == '\x1B') {
        const bool text = m_bText;
        m_bText = false;
        m_strFromHost.clear();
        Reply(text ? "\r\nOK\r\n" : "");
      } else if (m_bText && octet == '\x1A') {
        m_bText = false;
        m_sent.push_back(m_strFromHost);
        m_strFromHost.clear();
        Reply("\r\n+CMGS: 7\r\n\r\nOK\r\n");
      } else if (!m_bText && octet == '\r') {
        const std::string command = m_strFromHost;
        m_strFromHost.clear();
        Reply(AnswerTo(command));
      } else {
        m_strFromHost += octet;
      }
    }
  }

  std::string AnswerTo(const std::string& command) {
    static const std::map<std::string, std::string> answers = {
        {"AT+CGMI", "Maker"},
        {"AT+CGMM", "M1"},
        {"AT+CFUN?", "+CFUN: 1"},
        {"AT+CPIN?", "+CPIN: READY"},
        {"AT+CPMS=?", "+CPMS: (\"SM\",\"ME\"),(\"SM\",\"ME\"),(\"SM\",\"ME\")"},
        {"AT+CPMS?", "+CPMS: \"SM\",1,20,\"SM\",1,20,\"SM\",1,20"},
        {"AT+CSCA?", "+CSCA: \"+491710760000\",145"},
        {"AT+CREG?", "+CREG: 1,1"},
        {"AT+COPS?", "+COPS: 0,2,\"26201\""},
        {"AT+CMGF?", "+CMGF: 0"},
        {"AT+CMGL=4", "+CMGL: 1,0,,20\r\n0791947101670000040C919471010000200000425060708090800161"}};
    if (command.rfind("AT+CMGS=", 0) == 0) {
      m_bText = true;
      return "\r\n> ";
    }
    const auto answer = answers.find(command);
    return (answer == answers.end() ? "" : "\r\n" + answer->second + "\r\n") + "\r\nOK\r\n";
  }

  void Reply(const std::string& bytes) {
    m_strToHost += std::exchange(m_strHeld, std::string());
    m_strToHost += Damaged(bytes);
  }

  std::size_t Random(std::size_t below) { return std::uniform_int_distribution<std::size_t>(0, below - 1)(m_random); }

  std::string Damaged(const std::string& bytes) {
    if (m_iOneIn == 0 || bytes.empty() || Random(static_cast<std::size_t>(m_iOneIn)) != 0) {
      m_strJournal += "<- " + bytes + "\n";
      return bytes;
    }
    ++m_iDamages;
    const std::size_t kind = Random(13);
    std::string damaged = Damaged(bytes, kind);
    m_strJournal += "<! " + std::to_string(kind) + " " + damaged + "\n";
    return damaged;
  }

  std::string Damaged(std::string bytes, std::size_t kind) {
    const std::size_t at = Random(bytes.size());
    switch (kind) {
      case 0:
        return "";
      case 1:
        return bytes + bytes;
      case 2:
        bytes[at] = static_cast<char>(Random(256));
        return bytes;
      case 3:
        return bytes.erase(at, 1 + Random(8));
      case 4:
        return bytes.substr(0, at);
      case 5:
        return bytes.insert(at, "\r\n^RSSI: 12\r\n");
      case 6:
        return bytes.insert(at, std::string(1 + Random(20), static_cast<char>(Random(256))));
      case 7:
        return kMessage + bytes;
      case 8:
        return "\r\n> " + bytes;
      case 9:
        m_strHeld += bytes;  // too late: with the next reply
        return "";
      case 10:
        m_bText = true;  // it fell into asking for text
        return "\r\n> ";
      case 11:
        m_bText = false;
        return bytes + "\r\nRDY\r\n";
      default:
        m_bOpen = false;
        return "";
    }
  }

  CMonitor m_monitor;
  std::mt19937 m_random;
  int m_iOneIn = 0;
  int m_iDamages = 0;
  int m_iLine = 0;
  bool m_bOpen = false;
  bool m_bReading = false;
  bool m_bText = false;  // waits for the text of a message
  std::string m_strFromHost;
  std::string m_strToHost;
  std::string m_strHeld;
  std::vector<std::string> m_sent;
  std::string m_strJournal;
};

class Mutations : public testing::TestWithParam<unsigned int> {
protected:
  /// One life of the driver on the damaged modem: everything it promises must be kept in time.
  class CLife {
  public:
    CLife(JManualClock& clock, unsigned int uSeed) : m_clock(clock), m_script(uSeed) {
      m_modem.Events().AddSink(modem::CEventRaiser::Source::kMessages, &m_sink);
    }
    ~CLife() { m_modem.Stop(); }

    int Live() {
      const int kSeldom = 40;
      const int kOften = 3;
      m_script.Damage(kSeldom);
      Start();
      m_script.Damage(kOften);
      Send('1');
      m_script.Say(kMessage);
      InTime([this] { return List(); });
      Send('2');
      m_script.Say(kReport);
      m_script.Damage(0);
      EXPECT_TRUE(Becomes([this] { return m_modem.IsAvailable(); })) << "it does not come back\n" << m_script.Journal();
      ComeBack();
      return m_script.Damages();
    }

  private:
    void Start() {
      std::string error;
      const auto start = [this, &error] { return m_modem.Start(error); };
      if (!InTime(start)) {
        m_script.Damage(0);
        EXPECT_TRUE(InTime(start)) << error << "\n" << m_script.Journal();
      }
    }

    bool List() {
      SMS_LIST list;
      const bool listed = m_service.SMSGetMsgList(SMS_MEM_SM, &list, nullptr);
      m_service.SMSReleaseMsgList(&list);
      return listed;
    }

    /// What the damage left behind, and a loss that is noticed late, may cost some messages; then all is as ever.
    void ComeBack() {
      int inARow = 0;
      for (char digit = '3'; digit <= '9' && inARow < 2; ++digit) {
        EXPECT_TRUE(Becomes([this] { return m_modem.IsAvailable(); }));
        inARow = Send(digit) == "verdict 0" ? inARow + 1 : 0;
      }
      EXPECT_EQ(2, inARow) << m_script.Journal();
      EXPECT_TRUE(InTime([this] { return List(); })) << m_script.Journal();
    }

    /// @return its verdict; empty: it was not queued.
    std::string Send(char digit) {
      SMS_PARAM part;
      std::string("+49171000000").append(1, digit).copy(part.szAddress, sizeof part.szAddress - 1);
      part.iContentLen = 5;
      std::fill_n(part.wszContent, 5, u'A' + digit);
      modem::PduLine line;
      WMSConfigurationType config;
      m_service.GetWMSConfig(&config, nullptr);
      if (!m_service.SMSSendMsg(part, nullptr)) {
        return "";
      }
      std::string verdict;
      EXPECT_TRUE(Becomes([&] { return TakeVerdict(verdict); })) << "no verdict\n" << m_script.Journal();
      EXPECT_EQ(sms_pdu::PduError::None, MakeSubmit(part, config, line));
      const int sent = m_script.Sent(line.hex.substr(line.hex.size() - 10));
      EXPECT_GE(1, sent) << "sent twice\n" << m_script.Journal();
      EXPECT_TRUE(sent == 1 || verdict != "verdict 0") << "not sent\n" << m_script.Journal();
      return verdict;
    }

    bool TakeVerdict(std::string& verdict) {
      for (const std::string& event : m_sink.Rest()) {
        m_sink.Next();
        if (event.rfind("verdict", 0) == 0) {
          verdict = event;
          return true;
        }
      }
      return false;
    }

    bool InTime(const std::function<bool()>& operation) {
      std::future<bool> result = std::async(std::launch::async, operation);
      const auto ended = [&] { return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready; };
      if (!Becomes(ended)) {
        ADD_FAILURE() << "it hangs\n" << m_script.Journal();
        m_modem.Stop();
      }
      return result.get();
    }

    /// Lets time go on whenever nothing but time can help.
    bool Becomes(const std::function<bool()>& condition) {
      const int kLongestMs = 240000;  // a start whose every question times out is the longest that there is
      const int kStepMs = 500;
      int waited = 0;
      const int kLooks = 60000;  // of a millisecond, without anybody waiting for time to go on
      for (int look = 0; look < kLooks && waited < kLongestMs; ++look) {
        if (condition()) {
          return true;
        }
        if (m_script.AwaitDigested() && m_clock.AwaitTimedWaiters(1, 1, 1) && m_script.AwaitDigested()) {
          m_clock.Advance(kStepMs);
          waited += kStepMs;
        }
      }
      return false;
    }

    JManualClock& m_clock;
    CDamagedModem m_script;
    CRecordingSink m_sink;
    modem::CModem m_modem{[this](std::string&) { return m_script.Open(); }};
    modem::CMessageService m_service{m_modem};
  };
};

TEST_P(Mutations, LoseNoVerdictSendNothingTwiceAndHangNobody) {
  const int kDamages = 1000;
  const CTempHome home;
  JManualClock clock;
  int damages = 0;
  for (unsigned int life = 0; damages < kDamages && !HasFailure(); ++life) {
    const unsigned int seed = GetParam() * 100000 + life;
    SCOPED_TRACE("seed " + std::to_string(seed));
    damages += CLife(clock, seed).Live();
  }
  EXPECT_LE(kDamages, damages);
}

INSTANTIATE_TEST_SUITE_P(TenTimesAThousand, Mutations, testing::Range(0u, 10u));

}  // namespace
