// The program modem-sim, started by a test, and the port that it opens.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

/// Reads until the text has come, the other side has closed, or ten seconds are over.
std::string ReadUntil(int descriptor, const std::string& text);

/// The running program, its standard output read, its standard input held open.
class CSimProgram {
public:
  explicit CSimProgram(std::vector<std::string> arguments);
  ~CSimProgram();
  CSimProgram(const CSimProgram&) = delete;
  CSimProgram& operator=(const CSimProgram&) = delete;

  /// The first line that it has written.
  const std::string& Path() const { return m_strPath; }
  void Signal(int number);
  void CloseInput();
  /// @return the exit status, -1 when it did not end by itself in time.
  int AwaitEnd();

private:
  pid_t m_pid = -1;
  int m_iOut = -1;
  int m_iIn = -1;
  std::string m_strPath;
};

int OpenPort(const std::string& path);
void Send(int port, const std::string& text);

/// A Unix socket that answers line by line.
class CControlClient {
public:
  explicit CControlClient(const std::string& path);
  ~CControlClient();
  CControlClient(const CControlClient&) = delete;
  CControlClient& operator=(const CControlClient&) = delete;

  bool Connected() const { return m_iSocket >= 0; }
  /// @return one line without its end; empty when none came.
  std::string Ask(const std::string& request);
  void Write(const std::string& bytes);
  std::string ReadLine();

private:
  int m_iSocket = -1;
};

std::string TemporaryFolder();
/// A link that points nowhere exists too.
bool Exists(const std::string& path);
