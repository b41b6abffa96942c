// The control socket of the running program.
#include "SimProgram.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// A program with a control socket and a link in a folder of its own.
class ControlSocket : public testing::Test {
protected:
  ~ControlSocket() override { rmdir(folder.c_str()); }

  const std::string folder = TemporaryFolder();
  const std::string path = folder + "/control";
  const std::string link = folder + "/modem";
};

}  // namespace

TEST_F(ControlSocket, AnswersSeveralClientsInTheirOrder) {
  CSimProgram program({"--control", path});
  CControlClient one(path);
  CControlClient other(path);
  one.Write(R"({"do":"deliver","from":"1","text":"a"})"
            "\n\n"
            R"({"do":"dance"})"
            "\n"
            R"({"do":"st)");
  EXPECT_EQ(other.Ask(R"({"do":"signal","value":3})"), R"({"ok":true})");
  EXPECT_EQ(one.ReadLine().find(R"({"ok":true,"parts":1)"), 0U);
  EXPECT_NE(one.Ask(R"(ate"})").find("\"powered\":true"), std::string::npos);
  program.Signal(SIGTERM);
  EXPECT_EQ(program.AwaitEnd(), 0);
  EXPECT_FALSE(Exists(path));
}

TEST_F(ControlSocket, ReachesTheModemOnTheTerminal) {
  CSimProgram program({"--control", path});
  CControlClient client(path);
  const int port = OpenPort(program.Path());
  Send(port, "ATE0+CNMI=2,1\r");
  ReadUntil(port, "OK\r\n");
  client.Ask(R"({"do":"deliver","from":"1","text":"a"})");
  EXPECT_EQ(ReadUntil(port, ",1\r\n"), "\r\n+CMTI: \"SM\",1\r\n");
  close(port);
  program.Signal(SIGTERM);
  program.AwaitEnd();
}

TEST_F(ControlSocket, PullsTheDeviceOutAndPutsItBackUnderTheSameLink) {
  CSimProgram program({"--control", path, "--link", link});
  CControlClient client(path);
  for (int i = 1; i <= 3; ++i) {
    const int port = OpenPort(link);
    Send(port, "ATE0\r");
    ReadUntil(port, "OK\r\n");
    EXPECT_EQ(client.Ask(R"({"do":"unplug"})"), R"({"ok":true})");
    EXPECT_FALSE(Exists(link));
    EXPECT_EQ(ReadUntil(port, "never"), "");  // the end of the device, not a time-out: the test would take too long
    close(port);
    client.Ask(R"({"do":"deliver","from":"1","text":"a"})");
    EXPECT_EQ(client.Ask(R"({"do":"plug"})"), R"({"ok":true})");
    const int again = OpenPort(link);
    Send(again, "AT+CPMS?\r");
    const std::string used = "\"SM\"," + std::to_string(i) + ",20";
    EXPECT_NE(ReadUntil(again, "OK\r\n").find(used), std::string::npos);
    close(again);
  }
  program.Signal(SIGTERM);
  program.AwaitEnd();
  EXPECT_FALSE(Exists(link));
}

TEST_F(ControlSocket, OutlivesAClientThatLeavesInTheMiddle) {
  CSimProgram program({"--control", path});
  for (int i = 0; i < 20; ++i) {
    CControlClient client(path);
    client.Write(R"({"do":"memory","name":"SM"})"
                 "\n"
                 R"({"do":"mem)");
  }
  CControlClient client(path);
  EXPECT_NE(client.Ask(R"({"do":"state"})").find("\"ok\":true"), std::string::npos);
  program.Signal(SIGTERM);
  EXPECT_EQ(program.AwaitEnd(), 0);
}

TEST_F(ControlSocket, LeavesOutALineThatIsTooLong) {
  CSimProgram program({"--control", path});
  CControlClient client(path);
  for (int i = 0; i < 17; ++i) client.Write(std::string(65536, 'x'));
  EXPECT_NE(client.Ask("").find("longer than a request"), std::string::npos);
  EXPECT_NE(client.Ask(R"({"do":"state"})").find("\"ok\":true"), std::string::npos);
  program.Signal(SIGTERM);
  program.AwaitEnd();
}

TEST_F(ControlSocket, IsForItsOwnerOnly) {
  CSimProgram program({"--control", path});
  struct stat status;
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
  program.Signal(SIGTERM);
  program.AwaitEnd();
}

TEST_F(ControlSocket, ReplacesOneThatAKilledProgramLeftBehind) {
  {
    CSimProgram killed({"--control", path});
    killed.Signal(SIGKILL);
    killed.AwaitEnd();
  }
  EXPECT_TRUE(Exists(path));
  CSimProgram program({"--control", path});
  EXPECT_TRUE(CControlClient(path).Connected());
  program.Signal(SIGTERM);
  EXPECT_EQ(program.AwaitEnd(), 0);
}

TEST_F(ControlSocket, LeavesTheSocketOfAnotherProgramAlone) {
  CSimProgram first({"--control", path});
  CSimProgram second({"--control", path});
  EXPECT_EQ(second.AwaitEnd(), 1);
  EXPECT_TRUE(CControlClient(path).Connected());
  first.Signal(SIGTERM);
  EXPECT_EQ(first.AwaitEnd(), 0);
}

TEST_F(ControlSocket, LeavesAFileThatIsNoSocketAlone) {
  close(open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
  CSimProgram program({"--control", path});
  EXPECT_EQ(program.AwaitEnd(), 1);
  EXPECT_TRUE(Exists(path));
  unlink(path.c_str());
}

TEST_F(ControlSocket, RefusesAPathThatIsTooLong) {
  CSimProgram program({"--control", folder + "/" + std::string(200, 'x')});
  EXPECT_EQ(program.AwaitEnd(), 1);
}
