// The driver on real pseudo-terminals.
#include "MessageService.h"
#include "PtyPort.h"
#include "RecordingSink.h"
#include "SerialPort.h"
#include "SimulatedModem.h"
#include "TempHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <set>
#include <thread>

namespace {

using modem::CSerialPort;
using testing::HasSubstr;

/// Both ends of a pseudo-terminal; the test holds the master.
class CPair {
public:
  CPair() : m_iMaster(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    EXPECT_EQ(0, grantpt(m_iMaster));
    EXPECT_EQ(0, unlockpt(m_iMaster));
    char path[64] = {};
    EXPECT_EQ(0, ptsname_r(m_iMaster, path, sizeof path));
    m_strPath = path;
  }
  ~CPair() { HangUp(); }
  const std::string& Path() const { return m_strPath; }
  int Master() const { return m_iMaster; }
  void HangUp() {
    if (m_iMaster >= 0) {
      close(m_iMaster);
    }
    m_iMaster = -1;
  }

private:
  int m_iMaster;
  std::string m_strPath;
};

std::string ErrorOf(const std::string& path) {
  std::string error;
  EXPECT_EQ(nullptr, CSerialPort::Open(path, error));
  EXPECT_EQ(std::string::npos, error.find('\n'));
  return error;
}

TEST(SerialPort, NamesThePathTheCauseAndWhatToDo) {
  const CTempHome home;
  EXPECT_THAT(ErrorOf(home.Path("ttyNone")), HasSubstr(home.Path("ttyNone")));
  EXPECT_THAT(ErrorOf(home.Path("ttyNone")), HasSubstr("--device"));
  home.WriteFile("plain", "x");
  EXPECT_THAT(ErrorOf(home.Path("plain")), HasSubstr(home.Path("plain")));
  EXPECT_THAT(ErrorOf(home.Path("plain")), HasSubstr("--device"));
  EXPECT_THAT(ErrorOf("/dev/null"), HasSubstr("/dev/null is no modem's port"));
  EXPECT_THAT(ErrorOf(home.Path()), HasSubstr(home.Path()));
}

TEST(SerialPort, CarriesOctetsWhereThereIsNoTerminal) {
  const CTempHome home;
  const std::string path = home.Path("wwan0at0");
  ASSERT_EQ(0, mkfifo(path.c_str(), 0600));  // gives back what it gets
  std::string error;
  const auto port = CSerialPort::Open(path, error);
  ASSERT_TRUE(port) << error;
  EXPECT_THAT(ErrorOf(path), HasSubstr("in use"));
  ASSERT_TRUE(port->Write("AT\r"));
  std::string back;
  ASSERT_TRUE(port->Read(back));
  EXPECT_EQ("AT\r", back);
  ASSERT_EQ(0, mkfifo(home.Path("wwan0mbim0").c_str(), 0600));
  EXPECT_THAT(ErrorOf(home.Path("wwan0mbim0")), HasSubstr("no modem's port"));
}

TEST(SerialPort, IsForOneProgramAtATime) {
  const CPair pair;
  std::string error;
  auto port = CSerialPort::Open(pair.Path(), error);
  ASSERT_TRUE(port) << error;
  EXPECT_THAT(ErrorOf(pair.Path()), HasSubstr("in use"));
  port.reset();
  EXPECT_TRUE(CSerialPort::Open(pair.Path(), error)) << error;
}

TEST(SerialPort, CarriesEveryOctetBothWays) {
  const CPair pair;
  std::string error;
  const auto port = CSerialPort::Open(pair.Path(), error);
  ASSERT_TRUE(port) << error;
  std::string all;
  for (int octet = 0; octet < 256; ++octet) {
    all += static_cast<char>(octet);
  }
  ASSERT_EQ(256, write(pair.Master(), all.data(), all.size()));
  std::string got;
  while (got.size() < all.size() && port->Read(got)) {
  }
  EXPECT_EQ(all, got);
  ASSERT_TRUE(port->Write(all));
  std::string back(all.size(), '\0');
  std::size_t size = 0;
  while (size < back.size()) {
    const ssize_t count = read(pair.Master(), &back[size], back.size() - size);
    ASSERT_GT(count, 0);
    size += static_cast<std::size_t>(count);
  }
  EXPECT_EQ(all, back);
}

TEST(SerialPort, EndsAWaitingReadAndAWriteThatIsHeldBack) {
  const CPair pair;
  std::string error;
  const auto port = CSerialPort::Open(pair.Path(), error);
  ASSERT_TRUE(port) << error;
  std::thread reader([&] {
    std::string bytes;
    EXPECT_FALSE(port->Read(bytes));
  });
  std::atomic<bool> ended{false};
  std::thread writer([&] {
    const std::string kMore(1 << 20, 'x');  // than a terminal keeps for a reader that does not come
    EXPECT_FALSE(port->Write(kMore));
    ended = true;
  });
  char first = 0;
  ASSERT_EQ(1, read(pair.Master(), &first, 1));
  EXPECT_FALSE(ended);
  port->Close();
  port->Close();
  reader.join();
  writer.join();
  std::string bytes;
  EXPECT_FALSE(port->Read(bytes));
  EXPECT_FALSE(port->Write("x"));
}

TEST(SerialPort, TellsThatTheOtherEndIsGone) {
  CPair pair;
  std::string error;
  const auto port = CSerialPort::Open(pair.Path(), error);
  ASSERT_TRUE(port) << error;
  ASSERT_EQ(2, write(pair.Master(), "ok", 2));
  std::string bytes;
  ASSERT_TRUE(port->Read(bytes));
  EXPECT_EQ("ok", bytes);
  pair.HangUp();
  EXPECT_FALSE(port->Read(bytes));
  EXPECT_FALSE(port->Write("x"));
}

/// A simulated modem with a thread of its own.
class CRunningModem {
public:
  explicit CRunningModem(const modem_sim::ModemOptions& options = modem_sim::ModemOptions())
      : m_modem(options, m_port) {
    std::string error;
    EXPECT_TRUE(m_port.Open(&error)) << error;
    m_port.Start(m_modem);
  }
  ~CRunningModem() {
    m_context.stop();
    m_thread.join();
  }
  void Link(const std::string& link) {
    std::string error;
    EXPECT_TRUE(m_port.Link(link, &error)) << error;
  }
  void Run() {
    m_thread = std::thread([this] { m_context.run(); });
  }

private:
  boost::asio::io_context m_context;
  modem_sim::CPtyPort m_port{m_context};
  modem_sim::CSimulatedModem m_modem;
  std::thread m_thread;
};

/// Notes when the driver begins to send a message.
class CStopwatch : public modem::IByteStream {
public:
  CStopwatch(std::unique_ptr<modem::IByteStream> stream, std::atomic<std::int64_t>& sentUs)
      : m_stream(std::move(stream)), m_sentUs(sentUs) {}
  bool Read(std::string& bytes) override { return m_stream->Read(bytes); }
  bool Write(const std::string& bytes) override {
    if (bytes.rfind("AT+CMGS", 0) == 0) {
      m_sentUs = NowUs();
    }
    return m_stream->Write(bytes);
  }
  void Close() override { m_stream->Close(); }
  static std::int64_t NowUs() {
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
  }

private:
  const std::unique_ptr<modem::IByteStream> m_stream;
  std::atomic<std::int64_t>& m_sentUs;
};

class DriverOnPort : public testing::Test {
protected:
  DriverOnPort() {
    m_service.RegEventSink(&m_sink);
    m_driver.Events().AddSink(modem::CEventRaiser::Source::kNetwork, &m_sink);
  }
  ~DriverOnPort() override { m_driver.Stop(); }

  std::unique_ptr<CRunningModem> Plug(const modem_sim::ModemOptions& options = modem_sim::ModemOptions()) {
    auto modem = std::make_unique<CRunningModem>(options);
    modem->Link(m_strPath);
    modem->Run();
    return modem;
  }
  bool Send(const std::string& number, const std::string& text) {
    SMS_PARAM part;
    number.copy(part.szAddress, 32);
    std::copy(text.begin(), text.end(), part.wszContent);
    part.iContentLen = static_cast<int>(text.size());
    return m_service.SMSSendMsg(part, nullptr);
  }
  std::unique_ptr<modem::IByteStream> Open(std::string& error) {
    auto port = CSerialPort::Open(m_strPath, error);
    return port ? std::make_unique<CStopwatch>(std::move(port), m_sentUs) : nullptr;
  }

  const CTempHome m_home;
  const std::string m_strPath = m_home.Path("modem");
  std::atomic<std::int64_t> m_sentUs{0};
  CRecordingSink m_sink;
  modem::CModem m_driver{[this](std::string& error) { return Open(error); }};
  modem::CMessageService m_service{m_driver};
  std::string m_strError;
};

TEST_F(DriverOnPort, ReceivesWhatItSendsToItself) {
  const auto modem = Plug();
  ASSERT_TRUE(m_driver.Start(m_strError)) << m_strError;
  ASSERT_TRUE(Send("+491710000001", "Hello"));
  const std::set<std::string> events = {m_sink.Next(), m_sink.Next()};
  ASSERT_EQ((std::set<std::string>{"stored SM 1", "verdict 0"}), events);
  SMS_LIST list;
  ASSERT_TRUE(m_service.SMSGetMsgList(SMS_MEM_SM, &list, nullptr));
  EXPECT_EQ(1u, list.dwCount);
  m_service.SMSReleaseMsgList(&list);
  SMReadRecord record;
  ASSERT_TRUE(m_service.SMSReadMsg(SMS_MEM_SM, 1, &record, nullptr));
  EXPECT_EQ("unread +491710000001 Hello", TextOf(record));
  DWORD used = 0;
  EXPECT_TRUE(m_service.SMSGetMemInfo(SMS_MEM_SM, nullptr, &used, nullptr));
  EXPECT_EQ(1u, used);
  EXPECT_TRUE(m_service.SMSDeleteMsg(SMS_MEM_SM, 1, nullptr));
  EXPECT_TRUE(m_service.SMSGetMemInfo(SMS_MEM_SM, nullptr, &used, nullptr));
  EXPECT_EQ(0u, used);
}

TEST_F(DriverOnPort, UnderstandsAModemThatInterruptsItsReplies) {
  modem_sim::ModemOptions options;
  options.interrupt = true;
  const auto modem = Plug(options);
  ASSERT_TRUE(m_driver.Start(m_strError)) << m_strError;
  for (int message = 1; message <= 5; ++message) {
    ASSERT_TRUE(Send("+491710000001", "Hello"));
    std::vector<std::string> events = {m_sink.Next(), m_sink.Next()};
    std::sort(events.begin(), events.end());
    EXPECT_EQ((std::vector<std::string>{"stored SM " + std::to_string(message), "verdict 0"}), events);
  }
}

TEST_F(DriverOnPort, FindsAnotherPortUnderTheSameName) {
  auto modem = Plug();
  ASSERT_TRUE(m_driver.Start(m_strError)) << m_strError;
  auto other = Plug();
  modem.reset();
  for (const char* event : {"unavailable", "available", "sim 1", "network 2", "ready"}) {
    EXPECT_EQ(event, m_sink.Next());
  }
  ASSERT_TRUE(Send("+491710000002", "Hello"));
  EXPECT_EQ("verdict 0", m_sink.Next());
}

TEST_F(DriverOnPort, BeginsToSendAtOnce) {
  const auto modem = Plug();
  ASSERT_TRUE(m_driver.Start(m_strError)) << m_strError;
  std::vector<std::int64_t> delaysUs;
  for (int message = 0; message < 51; ++message) {
    const std::int64_t begun = CStopwatch::NowUs();
    ASSERT_TRUE(Send("+491710000002", "Hello"));
    ASSERT_EQ("verdict 0", m_sink.Next());
    delaysUs.push_back(m_sentUs - begun);
  }
  std::sort(delaysUs.begin(), delaysUs.end());
  const std::int64_t median = delaysUs[delaysUs.size() / 2];
  RecordProperty("median_us", static_cast<int>(median));
  RecordProperty("worst_us", static_cast<int>(delaysUs.back()));
  EXPECT_LT(median, 20000);
}

TEST_F(DriverOnPort, KeepsItsPromisesWhileThreadsSendReadAndStop) {
  const auto modem = Plug();
  ASSERT_TRUE(m_driver.Start(m_strError)) << m_strError;
  std::atomic<int> queued{0};
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&, thread] {
      for (int turn = 0; turn < 25; ++turn) {
        queued += Send("+491710000002", "Hello") ? 1 : 0;
        SMS_LIST list;
        if (m_service.SMSGetMsgList(thread % 2 == 0 ? SMS_MEM_SM : SMS_MEM_ME, &list, nullptr)) {
          m_service.SMSReleaseMsgList(&list);
        }
        CRecordingSink passing;
        m_service.RegEventSink(&passing);
        m_service.UnRegEventSink(&passing);
      }
    });
  }
  EXPECT_EQ("verdict 0", m_sink.Next());
  m_driver.Stop();
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(static_cast<std::size_t>(queued - 1), m_sink.Rest().size());
}

}  // namespace
