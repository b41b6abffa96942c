// The program modem-sim on a TCP port.
#include "SimProgram.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

/// @param path  "tcp:127.0.0.1:7000"
int ConnectTo(const std::string& path) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(path.substr(path.rfind(':') + 1))));
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return socket;
  close(socket);
  return -1;
}

void End(CSimProgram& program) {
  program.Signal(SIGTERM);
  EXPECT_EQ(program.AwaitEnd(), 0);
}

}  // namespace

TEST(ModemSimTcp, ListensOnThisComputerOnly) {
  CSimProgram program({"--tcp", "0"});
  ASSERT_EQ(program.Path().rfind("tcp:127.0.0.1:", 0), 0U) << program.Path();
  const int port = ConnectTo(program.Path());
  ASSERT_GE(port, 0);
  Send(port, "ATE0\r");
  EXPECT_EQ(ReadUntil(port, "OK\r\n"), "ATE0\r\r\nOK\r\n");
  close(port);
  End(program);
}

TEST(ModemSimTcp, TurnsASecondClientAwayAndTakesTheNextOne) {
  CSimProgram program({"--tcp", "0"});
  const int first = ConnectTo(program.Path());
  Send(first, "ATE0\r");
  ReadUntil(first, "OK\r\n");
  const int second = ConnectTo(program.Path());
  EXPECT_EQ(ReadUntil(second, "never"), "");
  close(second);
  Send(first, "AT+CMGS=18\r");
  ReadUntil(first, "> ");
  close(first);
  // The modem learns of the closing when it reads; until then a client is turned away.
  std::string reply;
  for (int i = 0; i < 1000 && reply.empty(); ++i) {
    const int next = ConnectTo(program.Path());
    Send(next, "AT+CSQ\r");
    reply = ReadUntil(next, "OK\r\n");
    close(next);
  }
  EXPECT_EQ(reply, "\r\n+CSQ: 20,99\r\n\r\nOK\r\n");  // no prompt is open, no echo is on
  End(program);
}

TEST(ModemSimTcp, ComesBackOnTheSamePort) {
  const std::string folder = TemporaryFolder();
  CSimProgram program({"--tcp", "0", "--control", folder + "/control"});
  CControlClient client(folder + "/control");
  for (int i = 0; i < 3; ++i) {
    const int port = ConnectTo(program.Path());
    ASSERT_GE(port, 0);
    Send(port, "AT\r");
    ReadUntil(port, "OK\r\n");
    EXPECT_EQ(client.Ask(R"({"do":"unplug"})"), R"({"ok":true})");
    EXPECT_EQ(ReadUntil(port, "never"), "");
    EXPECT_EQ(ConnectTo(program.Path()), -1);
    EXPECT_EQ(client.Ask(R"({"do":"plug"})"), R"({"ok":true})");
    close(port);
  }
  End(program);
  rmdir(folder.c_str());
}

TEST(ModemSimTcp, HangsUpByRule) {
  CSimProgram program({"--tcp", "0", "--fault", "hangup,at=after-prompt,ms=1,times=1"});
  const int port = ConnectTo(program.Path());
  Send(port, "ATE0\r");
  ReadUntil(port, "OK\r\n");
  Send(port, "AT+CMGS=18\r");
  const std::string last = ReadUntil(port, "never");
  EXPECT_TRUE(last.empty() || last == "\r\n> ") << last;
  close(port);
  int again = -1;
  for (int i = 0; i < 100000 && again < 0; ++i) again = ConnectTo(program.Path());
  EXPECT_GE(again, 0);
  close(again);
  End(program);
}

TEST(ModemSimTcp, SaysWhyItCannotListen) {
  CSimProgram first({"--tcp", "0"});
  CSimProgram second({"--tcp", first.Path().substr(first.Path().rfind(':') + 1)});
  EXPECT_EQ(second.AwaitEnd(), 1);
  End(first);
}
