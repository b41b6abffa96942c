// Pipes, processes and sockets.
#include "SimProgram.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

namespace {

const int kDeadlineMs = 10000;

int RemainingMs(std::chrono::steady_clock::time_point end) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
  return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

}  // namespace

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

CSimProgram::CSimProgram(std::vector<std::string> arguments) {
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

CSimProgram::~CSimProgram() {
  CloseInput();
  close(m_iOut);
  if (m_pid <= 0) return;
  kill(m_pid, SIGKILL);
  waitpid(m_pid, nullptr, 0);
}

void CSimProgram::Signal(int number) { kill(m_pid, number); }

void CSimProgram::CloseInput() {
  if (m_iIn >= 0) close(m_iIn);
  m_iIn = -1;
}

int CSimProgram::AwaitEnd() {
  ReadUntil(m_iOut, "\x01never");  // until its output is closed
  int status = 0;
  if (waitpid(m_pid, &status, 0) != m_pid) return -1;
  m_pid = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int OpenPort(const std::string& path) {
  const int port = open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  EXPECT_GE(port, 0) << path;
  return port;
}

void Send(int port, const std::string& text) {
  EXPECT_EQ(write(port, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

CControlClient::CControlClient(const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  m_iSocket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (connect(m_iSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return;
  close(m_iSocket);
  m_iSocket = -1;
}

CControlClient::~CControlClient() {
  if (m_iSocket >= 0) close(m_iSocket);
}

void CControlClient::Write(const std::string& bytes) { Send(m_iSocket, bytes); }

std::string CControlClient::ReadLine() {
  const std::string line = ReadUntil(m_iSocket, "\n");
  return line.substr(0, line.find('\n'));
}

std::string CControlClient::Ask(const std::string& request) {
  Write(request + '\n');
  return ReadLine();
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
