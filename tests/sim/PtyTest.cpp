// The program modem-sim on a real pseudo-terminal.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <vector>

namespace {

const int kDeadlineMs = 10000;

int RemainingMs(std::chrono::steady_clock::time_point end) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
  return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

/// Reads until the text has come, at most kDeadlineMs.
std::string ReadUntil(int descriptor, const std::string& text) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kDeadlineMs);
  std::string got;
  while (got.find(text) == std::string::npos) {
    pollfd waiting{descriptor, POLLIN, 0};
    if (poll(&waiting, 1, RemainingMs(end)) <= 0) break;
    char bytes[512];
    const ssize_t count = read(descriptor, bytes, sizeof bytes);
    if (count <= 0) break;
    got.append(bytes, static_cast<std::size_t>(count));
  }
  return got;
}

/// The running program, its standard output read, its standard input held open.
class CProgram {
public:
  explicit CProgram(std::vector<std::string> arguments) {
    int out[2];
    int in[2];
    EXPECT_EQ(pipe2(out, O_CLOEXEC), 0);
    EXPECT_EQ(pipe2(in, O_CLOEXEC), 0);
    arguments.insert(arguments.begin(), MODEM_SIM);
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    m_pid = fork();
    if (m_pid == 0) {
      dup2(in[0], STDIN_FILENO);
      dup2(out[1], STDOUT_FILENO);
      execv(argv[0], argv.data());
      _exit(127);
    }
    close(in[0]);
    close(out[1]);
    m_iOut = out[0];
    m_iIn = in[1];
    const std::string line = ReadUntil(m_iOut, "\n");
    m_strPath = line.substr(0, line.find('\n'));
  }

  ~CProgram() {
    CloseInput();
    close(m_iOut);
    if (m_pid <= 0) return;
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
  }

  const std::string& Path() const { return m_strPath; }
  void Signal(int number) { kill(m_pid, number); }
  void CloseInput() {
    if (m_iIn >= 0) close(m_iIn);
    m_iIn = -1;
  }

  /// @return the exit status, -1 when it did not end by itself in time.
  int AwaitEnd() {
    ReadUntil(m_iOut, "\x01never");  // until its output is closed
    int status = 0;
    if (waitpid(m_pid, &status, 0) != m_pid) return -1;
    m_pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

private:
  pid_t m_pid = -1;
  int m_iOut = -1;
  int m_iIn = -1;
  std::string m_strPath;
};

int OpenPort(const std::string& path) {
  const int port = open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  EXPECT_GE(port, 0) << path;
  return port;
}

void Send(int port, const std::string& text) {
  EXPECT_EQ(write(port, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

std::string TemporaryFolder() {
  std::string folder = testing::TempDir() + "modem-sim-XXXXXX";
  EXPECT_NE(mkdtemp(folder.data()), nullptr);
  return folder;
}

bool Exists(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

}  // namespace

TEST(ModemSimProgram, SendsAMessageToItselfOverTheTerminal) {
  CProgram program({"--number", "+491710000001"});
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
  CProgram program({});
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
  CProgram program({});
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
    CProgram program({"--link", link});
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
  CProgram program({"--link", link});
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
  CProgram program({"--link", file});
  EXPECT_EQ(program.AwaitEnd(), 1);
  EXPECT_TRUE(Exists(file));
  unlink(file.c_str());
  rmdir(folder.c_str());
}

TEST(ModemSimProgram, EndsWithItsStandardInputWhenAsked) {
  CProgram program({"--exit-with-stdin"});
  EXPECT_EQ(program.Path().rfind("/dev/", 0), 0U);
  program.CloseInput();
  EXPECT_EQ(program.AwaitEnd(), 0);
}

TEST(ModemSimProgram, RefusesOptionsThatMakeNoSense) {
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
           {"--refuse", "nobody"}, {"--number", "abc"}, {"--pin", "12"}, {"--sim-capacity", "-1"}, {"--nonsense"}}) {
    CProgram program(arguments);
    EXPECT_EQ(program.AwaitEnd(), 2) << arguments[0];
  }
}

TEST(ModemSimProgram, TellsItsVersion) {
  CProgram program({"--version"});
  EXPECT_EQ(program.Path().rfind("modem-sim ", 0), 0U);
  EXPECT_EQ(program.AwaitEnd(), 0);
}
