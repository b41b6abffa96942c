#include "ChildProgram.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>

namespace {

[[noreturn]] void BecomeProgram(const std::vector<std::string>& arguments) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);  // it never outlives the test
  const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
  dup2(nowhere, STDIN_FILENO);
  dup2(nowhere, STDOUT_FILENO);
  std::vector<char*> argv;
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  execv(argv[0], argv.data());
  _exit(127);
}

}  // namespace

CChildProgram::CChildProgram(const std::vector<std::string>& arguments) : m_pid(fork()) {
  if (m_pid == 0) {
    BecomeProgram(arguments);
  }
}

CChildProgram::~CChildProgram() { Kill(); }

bool CChildProgram::Kill() {
  if (!IsRunning()) {
    return false;
  }
  kill(m_pid, SIGKILL);
  int status = 0;
  waitpid(m_pid, &status, 0);
  m_pid = -1;
  return WIFSIGNALED(status);
}

bool CChildProgram::IsRunning() {
  if (m_pid > 0 && waitpid(m_pid, nullptr, WNOHANG) == m_pid) {
    m_pid = -1;
  }
  return m_pid > 0;
}
