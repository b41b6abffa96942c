// The simulated modem as a process of its own, and what this process costs beside it.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

extern char** environ;

/// modem-sim, as long as this lives: it ends with its standard input.
class CModemProcess {
public:
  CModemProcess() : m_strFolder("/tmp/sms-bench-XXXXXX") {
    int pipes[2] = {-1, -1};
    if (mkdtemp(m_strFolder.data()) == nullptr || pipe2(pipes, O_CLOEXEC) != 0) {
      throw std::runtime_error("no folder, or no pipe");
    }
    m_iInput = pipes[1];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipes[0], STDIN_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    std::string link = Path();
    char program[] = MODEM_SIM;
    char option[] = "--link";
    char end[] = "--exit-with-stdin";
    char* arguments[] = {program, option, link.data(), end, nullptr};
    const int error = posix_spawn(&m_process, program, &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipes[0]);
    if (error != 0) {
      throw std::runtime_error("cannot start " MODEM_SIM);
    }
    while (access(Path().c_str(), F_OK) != 0) {
      if (waitpid(m_process, nullptr, WNOHANG) != 0) {
        throw std::runtime_error("modem-sim has ended");
      }
      usleep(1000);
    }
  }
  ~CModemProcess() {
    close(m_iInput);
    waitpid(m_process, nullptr, 0);
    rmdir(m_strFolder.c_str());
  }
  CModemProcess(const CModemProcess&) = delete;
  CModemProcess& operator=(const CModemProcess&) = delete;

  std::string Path() const { return m_strFolder + "/modem"; }

private:
  std::string m_strFolder;
  int m_iInput = -1;
  pid_t m_process = -1;
};

/// Processor time so far, of this process or of its children that have ended.
inline double CpuSeconds(int who = RUSAGE_SELF) {
  rusage usage = {};
  getrusage(who, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}
