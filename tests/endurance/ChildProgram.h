// A program that runs beside the test and can be killed at any moment.
#pragma once

#include <sys/types.h>
#include <string>
#include <vector>

class CChildProgram {
public:
  /// @param arguments  the program's path first.
  explicit CChildProgram(const std::vector<std::string>& arguments);
  /// Kills it if it runs.
  ~CChildProgram();
  CChildProgram(const CChildProgram&) = delete;
  CChildProgram& operator=(const CChildProgram&) = delete;

  /// SIGKILL, and waits until it is gone. @return false: it had ended by itself.
  bool Kill();
  bool IsRunning();

private:
  pid_t m_pid = -1;
};
