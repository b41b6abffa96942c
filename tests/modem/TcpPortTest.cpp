// Modems behind TCP connections, and the addresses that name them.
#include "LineAddress.h"
#include "LineSettings.h"
#include "MessageService.h"
#include "Modem.h"
#include "PtyPort.h"
#include "RecordingSink.h"
#include "SimulatedModem.h"
#include "TcpPort.h"
#include "TempHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <atomic>
#include <thread>

namespace {

using boost::asio::ip::tcp;
using modem::CTcpPort;
using modem::LineAddress;
using testing::HasSubstr;

/// Accepts one connection at a time on a port of its own.
class CListener {
public:
  std::string Port() const { return std::to_string(m_acceptor.local_endpoint().port()); }
  int Descriptor() { return m_acceptor.native_handle(); }
  tcp::socket Accept() { return m_acceptor.accept(); }
  /// Nobody listens any more; the port's number stays taken.
  void Refuse() { m_acceptor.close(); }

private:
  boost::asio::io_context m_context;
  tcp::acceptor m_acceptor{m_context, tcp::endpoint(boost::asio::ip::address_v4::loopback(), 0)};
};

TEST(TcpPort, CarriesEveryOctetBothWays) {
  CListener listener;
  std::string error;
  const auto port = CTcpPort::Open("localhost", listener.Port(), error);
  ASSERT_TRUE(port) << error;
  tcp::socket peer = listener.Accept();
  std::string all;
  for (int octet = 0; octet < 256; ++octet) {
    all += static_cast<char>(octet);
  }
  ASSERT_TRUE(port->Write(all));
  std::string got(all.size(), '\0');
  boost::asio::read(peer, boost::asio::buffer(got));
  EXPECT_EQ(all, got);
  boost::asio::write(peer, boost::asio::buffer(all));
  got.clear();
  while (got.size() < all.size() && port->Read(got)) {
  }
  EXPECT_EQ(all, got);
}

TEST(TcpPort, TellsThatThePeerIsGone) {
  CListener listener;
  std::string error;
  const auto port = CTcpPort::Open("127.0.0.1", listener.Port(), error);
  ASSERT_TRUE(port) << error;
  listener.Accept().close();
  std::string bytes;
  EXPECT_FALSE(port->Read(bytes));
  bool written = true;
  for (int turn = 0; turn < 100 && written; ++turn) {
    written = port->Write("AT\r");  // the first may still leave
  }
  EXPECT_FALSE(written);
}

TEST(TcpPort, EndsAWaitingReadWhenItIsClosed) {
  CListener listener;
  std::string error;
  const auto port = CTcpPort::Open("127.0.0.1", listener.Port(), error);
  ASSERT_TRUE(port) << error;
  std::thread reader([&] {
    std::string bytes;
    EXPECT_FALSE(port->Read(bytes));
  });
  port->Close();
  reader.join();
  EXPECT_FALSE(port->Write("x"));
}

TEST(TcpPort, SaysThatTheConnectionIsRefused) {
  CListener listener;
  const std::string number = listener.Port();
  listener.Refuse();
  std::string error;
  EXPECT_FALSE(CTcpPort::Open("127.0.0.1", number, error));
  EXPECT_THAT(error, HasSubstr("tcp:127.0.0.1:" + number));
  EXPECT_THAT(error, HasSubstr("refused"));
  EXPECT_THAT(error, HasSubstr("--device"));
}

TEST(TcpPort, SaysThatTheHostIsUnknown) {
  std::string error;
  EXPECT_FALSE(CTcpPort::Open("no-such-host.invalid", "7000", error));
  EXPECT_THAT(error, HasSubstr("tcp:no-such-host.invalid:7000: unknown host"));
}

TEST(LineAddress, IsAPeerOrAPath) {
  LineAddress address;
  std::string error;
  ASSERT_TRUE(ParseAddress("tcp:modems.example:7000", address, error));
  EXPECT_EQ(LineAddress::Kind::kTcp, address.kind);
  EXPECT_EQ("modems.example", address.host);
  EXPECT_EQ("7000", address.port);
  ASSERT_TRUE(ParseAddress("tcp:[::1]:65535", address, error));
  EXPECT_EQ("::1", address.host);
  ASSERT_TRUE(ParseAddress("/dev/ttyUSB2", address, error));
  EXPECT_EQ(LineAddress::Kind::kPath, address.kind);
  EXPECT_EQ("/dev/ttyUSB2", address.text);
}

TEST(LineAddress, IsRefusedWithItsFormWhenItMakesNoSense) {
  for (const char* text : {"tcp:", "tcp:host", "tcp:host:", "tcp::7000", "tcp:host:0", "tcp:host:65536", "tcp:host:70x",
                           "tcp:::1:7000", "tcp:[]:7000", "tcp:host:-1"}) {
    LineAddress address;
    std::string error;
    EXPECT_FALSE(ParseAddress(text, address, error)) << text;
    EXPECT_THAT(error, HasSubstr(std::string("\"") + text + "\""));
    EXPECT_THAT(error, HasSubstr("tcp:HOST:PORT"));
  }
  LineAddress address;
  std::string error;
  EXPECT_FALSE(ParseAddress("", address, error));
  EXPECT_THAT(error, HasSubstr("--device"));
}

TEST(LineSettings, NameASpeedThatThePortKnows) {
  const CTempHome home;
  modem::SerialSettings settings;
  std::string error;
  home.WriteSettings("[ModemPlugin]\nBaud=9600\n");
  ASSERT_TRUE(LoadSerialSettings(settings, error)) << error;
  EXPECT_EQ(9600u, settings.baud);
}

TEST(LineSettings, KeepTheUsualSpeedWithoutOne) {
  const CTempHome home;
  modem::SerialSettings settings;
  std::string error;
  ASSERT_TRUE(LoadSerialSettings(settings, error)) << error;
  EXPECT_EQ(115200u, settings.baud);
}

TEST(LineSettings, RefuseASpeedThatDoesNotExist) {
  for (const char* speed : {"fast", "12345", "-9600", "9600x", "99999999999"}) {
    const CTempHome home;
    home.WriteSettings(std::string("[ModemPlugin]\nBaud=") + speed + "\n");
    modem::SerialSettings settings;
    std::string error;
    EXPECT_FALSE(LoadSerialSettings(settings, error)) << speed;
    EXPECT_THAT(error, HasSubstr("\"Baud\""));
    EXPECT_THAT(error, HasSubstr(speed));
  }
}

/// The simulated modem behind a serial-port server that takes one connection at a time.
class CServedModem {
public:
  CServedModem() {
    std::string error;
    EXPECT_TRUE(m_pty.Open(&error)) << error;
    m_pty.Start(m_modem);
    m_slave = open(m_pty.Path().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    m_modemThread = std::thread([this] { m_context.run(); });
    m_serverThread = std::thread([this] { Serve(); });
  }
  ~CServedModem() {
    m_end.Tell();
    m_serverThread.join();
    m_context.stop();
    m_modemThread.join();
    close(m_slave);
  }
  std::string Port() const { return m_listener.Port(); }
  /// The connection under way breaks; the next is served again.
  void HangUp() { shutdown(m_peer, SHUT_RDWR); }

private:
  /// Closing its end tells the server to finish.
  class CEnd {
  public:
    CEnd() { EXPECT_EQ(0, pipe2(m_ends, O_CLOEXEC)); }
    ~CEnd() { close(m_ends[0]); }
    int Told() const { return m_ends[0]; }
    void Tell() { close(m_ends[1]); }

  private:
    int m_ends[2];
  };

  void Serve() {
    while (AwaitAny(m_listener.Descriptor(), -1)) {
      tcp::socket peer = m_listener.Accept();
      m_peer = peer.native_handle();
      while (AwaitAny(m_peer, m_slave) && Copy(m_peer, m_slave) && Copy(m_slave, m_peer)) {
      }
    }
  }
  /// @return false: it is the end.
  bool AwaitAny(int first, int second) const {
    pollfd descriptors[] = {{first, POLLIN, 0}, {second, POLLIN, 0}, {m_end.Told(), POLLIN, 0}};
    poll(descriptors, 3, -1);
    return descriptors[2].revents == 0;
  }
  /// @return false: the line is gone.
  static bool Copy(int from, int to) {
    pollfd descriptor = {from, POLLIN, 0};
    char bytes[512];
    if (poll(&descriptor, 1, 0) == 0) {
      return true;
    }
    const ssize_t count = read(from, bytes, sizeof bytes);
    return count > 0 && write(to, bytes, static_cast<std::size_t>(count)) == count;
  }

  boost::asio::io_context m_context;
  modem_sim::CPtyPort m_pty{m_context};
  modem_sim::CSimulatedModem m_modem{modem_sim::ModemOptions(), m_pty};
  CListener m_listener;
  CEnd m_end;
  int m_slave = -1;
  std::atomic<int> m_peer{-1};
  std::thread m_modemThread;
  std::thread m_serverThread;
};

class DriverOverTcp : public testing::Test {
protected:
  DriverOverTcp() { m_driver.Events().AddSink(modem::CEventRaiser::Source::kNetwork, &m_sink); }
  ~DriverOverTcp() override { m_driver.Stop(); }

  CServedModem m_modem;
  CRecordingSink m_sink;
  modem::CModem m_driver{[this](std::string& error) -> std::unique_ptr<modem::IByteStream> {
    return CTcpPort::Open("127.0.0.1", m_modem.Port(), error);
  }};
  std::string m_strError;
};

TEST_F(DriverOverTcp, SendsToASimulatedModem) {
  modem::CMessageService service(m_driver);
  service.RegEventSink(&m_sink);
  ASSERT_TRUE(m_driver.Start(m_strError)) << m_strError;
  SMS_PARAM part;
  std::string("+491710000002").copy(part.szAddress, 32);
  part.wszContent[0] = 'x';
  part.iContentLen = 1;
  ASSERT_TRUE(service.SMSSendMsg(part, nullptr));
  EXPECT_EQ("verdict 0", m_sink.Next());
}

TEST_F(DriverOverTcp, ComesBackAfterALostConnection) {
  ASSERT_TRUE(m_driver.Start(m_strError)) << m_strError;
  m_modem.HangUp();
  for (const char* event : {"unavailable", "available", "sim 1", "network 2"}) {
    EXPECT_EQ(event, m_sink.Next());
  }
}

}  // namespace
