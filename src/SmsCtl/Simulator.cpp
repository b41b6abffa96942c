#include "Simulator.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace smsctl {

namespace {

std::string ProgramBeside(const std::string& name) {
  char path[PATH_MAX] = {};
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
  const std::string self(path, length > 0 ? static_cast<std::size_t>(length) : 0);
  return self.substr(0, self.find_last_of('/') + 1) + name;
}

[[noreturn]] void BecomeProgram(const std::string& program, const std::vector<std::string>& arguments, int output) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);  // the simulator never outlives the demo
  dup2(output, STDOUT_FILENO);
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  execv(program.c_str(), argv.data());
  _exit(127);
}

/// The first line of the pipe, without its end; empty when it closes before.
std::string FirstLine(int pipe) {
  std::string line;
  char octet = 0;
  while (read(pipe, &octet, 1) == 1 && octet != '\n') {
    line += octet;
  }
  return octet == '\n' ? line : std::string();
}

}  // namespace

bool CSimulator::Start(const std::vector<std::string>& arguments, std::string& error) {
  const std::string program = ProgramBeside("modem-sim");
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    error = std::string("cannot make a pipe: ") + std::strerror(errno);
    return false;
  }
  m_pid = fork();
  if (m_pid == 0) {
    BecomeProgram(program, arguments, ends[1]);
  }
  close(ends[1]);
  m_port = m_pid > 0 ? FirstLine(ends[0]) : std::string();
  close(ends[0]);
  if (m_port.empty()) {
    error = "cannot start the simulated modem " + program + "; build it with ./run.sh";
    return false;
  }
  return true;
}

CSimulator::~CSimulator() {
  if (m_pid > 0) {
    kill(m_pid, SIGTERM);
    waitpid(m_pid, nullptr, 0);
  }
}

}  // namespace smsctl
