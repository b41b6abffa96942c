// The program modem-sim on a real pseudo-terminal.
#include "SimProgram.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

TEST(ModemSimProgram, SendsAMessageToItselfOverTheTerminal) {
  CSimProgram program({"--number", "+491710000001"});
  const int port = OpenPort(program.Path());
  Send(port, "ATE0+CNMI=2,1\r");
  EXPECT_NE(ReadUntil(port, "OK\r\n").find("OK\r\n"), std::string::npos);
  Send(port, "AT+CMGS=18\r");
  EXPECT_EQ(ReadUntil(port, "> "), "\r\n> ");
  Send(port, "0001000C91947101000010000005E8329BFD06\x1A");
  EXPECT_EQ(ReadUntil(port, "+CMTI: \"SM\",1\r\n"), "\r\n+CMGS: 0\r\n\r\nOK\r\n\r\n+CMTI: \"SM\",1\r\n");
  close(port);
}

TEST(ModemSimProgram, KeepsItsStateWhileThePortIsClosedAndOpenedAgain) {
  CSimProgram program({});
  for (int i = 0; i < 5; ++i) {
    const int port = OpenPort(program.Path());
    Send(port, "ATE0\r");
    ReadUntil(port, "OK\r\n");
    Send(port, "AT+CMGW=18\r");
    ReadUntil(port, "> ");
    Send(port, "0001000C91947101000010000005E8329BFD06\x1A");
    const std::string reply = ReadUntil(port, "OK\r\n");
    EXPECT_EQ(reply, "\r\n+CMGW: " + std::to_string(i + 1) + "\r\n\r\nOK\r\n");
    close(port);
  }
}

TEST(ModemSimProgram, ForgetsAnOpenPromptWhenThePortIsClosed) {
  CSimProgram program({});
  int port = OpenPort(program.Path());
  Send(port, "ATE0\r");
  ReadUntil(port, "OK\r\n");
  Send(port, "AT+CMGS=18\r");
  ReadUntil(port, "> ");
  close(port);
  port = OpenPort(program.Path());
  // Closing and opening are told apart from writing by another descriptor of the modem, so the first try may be early.
  std::string reply;
  for (int i = 0; i < 100 && reply.find("20,99") == std::string::npos; ++i) {
    Send(port, "AT+CSQ\r");
    pollfd waiting{port, POLLIN, 0};
    if (poll(&waiting, 1, 100) > 0) reply += ReadUntil(port, "OK\r\n");
  }
  EXPECT_NE(reply.find("+CSQ: 20,99"), std::string::npos);
  close(port);
}

TEST(ModemSimProgram, LinksItsPortAndTakesTheLinkAwayAtTheEnd) {
  const std::string folder = TemporaryFolder();
  const std::string link = folder + "/modem";
  {
    CSimProgram program({"--link", link});
    char target[256] = {};
    ASSERT_GT(readlink(link.c_str(), target, sizeof target - 1), 0);
    EXPECT_EQ(program.Path(), target);
    const int port = OpenPort(link);
    Send(port, "AT\r");
    EXPECT_EQ(ReadUntil(port, "OK\r\n"), "AT\r\r\nOK\r\n");
    close(port);
    program.Signal(SIGTERM);
    EXPECT_EQ(program.AwaitEnd(), 0);
  }
  EXPECT_FALSE(Exists(link));
  rmdir(folder.c_str());
}

TEST(ModemSimProgram, ReplacesALinkThatAKilledOneLeftBehind) {
  const std::string folder = TemporaryFolder();
  const std::string link = folder + "/modem";
  ASSERT_EQ(symlink("/dev/pts/nowhere", link.c_str()), 0);
  CSimProgram program({"--link", link});
  const int port = OpenPort(link);
  EXPECT_GE(port, 0);
  close(port);
  program.Signal(SIGINT);
  EXPECT_EQ(program.AwaitEnd(), 0);
  EXPECT_FALSE(Exists(link));
  rmdir(folder.c_str());
}

TEST(ModemSimProgram, LeavesAFileThatIsNoLinkAlone) {
  const std::string folder = TemporaryFolder();
  const std::string file = folder + "/modem";
  close(open(file.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
  CSimProgram program({"--link", file});
  EXPECT_EQ(program.AwaitEnd(), 1);
  EXPECT_TRUE(Exists(file));
  unlink(file.c_str());
  rmdir(folder.c_str());
}

TEST(ModemSimProgram, EndsWithItsStandardInputWhenAsked) {
  CSimProgram program({"--exit-with-stdin"});
  EXPECT_EQ(program.Path().rfind("/dev/", 0), 0U);
  program.CloseInput();
  EXPECT_EQ(program.AwaitEnd(), 0);
}

TEST(ModemSimProgram, RefusesOptionsThatMakeNoSense) {
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{"--refuse", "nobody"},
                                             {"--number", "abc"},
                                             {"--pin", "12"},
                                             {"--sim-capacity", "-1"},
                                             {"--profile", "umts"},
                                             {"--puk", "123456789"},
                                             {"--sim", "gone"},
                                             {"--network", "away"},
                                             {"--signal", "32"},
                                             {"--latency-of", "+COPS"},
                                             {"--latency-of", "=5"},
                                             {"--baud", "-1"},
                                             {"--tcp", "65536"},
                                             {"--tcp", "0", "--link", "/tmp/x"},
                                             {"--no-network", "--network", "home"},
                                             {"--fault", "lunch"},
                                             {"--fault", "drop,every"},
                                             {"--fault", "drop,every=x"},
                                             {"--fault", ""},
                                             {"--link", ""},
                                             {"--control", ""},
                                             {"--record", ""},
                                             {"--replay", ""},
                                             {"--nonsense"}}) {
    CSimProgram program(arguments);
    EXPECT_EQ(program.AwaitEnd(), 2) << arguments[0];
  }
}

TEST(ModemSimProgram, StartsInTheStateOfItsOptions) {
  const std::string folder = TemporaryFolder();
  const std::string path = folder + "/control";
  CSimProgram program({"--control",     path,        "--profile",    "lte",     "--sim",      "ready",
                       "--network",     "roaming",   "--signal",     "5",       "--sim-full", "--me-full",
                       "--me-capacity", "3",         "--latency-of", "+cops=1", "--fault",    "refuse,every=2",
                       "--fault",       "late,ms=1", "--refuse-nth", "3"});
  CControlClient client(path);
  const int port = OpenPort(program.Path());
  Send(port, "ATE0+CMEE=2;+CREG?;+CSQ;+CPMS?;+COPS?;+CGMM\r");
  const std::string reply = ReadUntil(port, "OK\r\n");
  for (const char* const part : {"+CREG: 0,5", "+CSQ: 5,99", "\"SM\",20,20", "Test Net\",7", "Simulated LTE Modem"}) {
    EXPECT_NE(reply.find(part), std::string::npos) << part << " in " << reply;
  }
  EXPECT_NE(client.Ask(R"({"do":"state"})").find("\"faults\":3"), std::string::npos);
  EXPECT_NE(client.Ask(R"({"do":"memory","name":"ME"})").find("\"used\":3"), std::string::npos);
  close(port);
  program.Signal(SIGTERM);
  EXPECT_EQ(program.AwaitEnd(), 0);
  rmdir(folder.c_str());
}

TEST(ModemSimProgram, StartsWithABlockedCard) {
  CSimProgram program({"--sim", "puk", "--puk", "87654321"});
  const int port = OpenPort(program.Path());
  Send(port, "AT+CPIN?\r");
  EXPECT_NE(ReadUntil(port, "OK\r\n").find("+CPIN: SIM PUK"), std::string::npos);
  Send(port, "AT+CPIN=87654321,1111;+CPIN?\r");
  EXPECT_NE(ReadUntil(port, "OK\r\n").find("+CPIN: READY"), std::string::npos);
  close(port);
}

TEST(ModemSimProgram, TellsItsVersion) {
  CSimProgram program({"--version"});
  EXPECT_EQ(program.Path().rfind("modem-sim ", 0), 0U);
  EXPECT_EQ(program.AwaitEnd(), 0);
}
