// Who has a port: the programs that have it open, and lock files.
#include "Await.h"
#include "PortHolder.h"
#include "PortLock.h"
#include "SerialPort.h"
#include "TempHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <csignal>

namespace {

using modem::CPortLock;
using modem::CSerialPort;
using modem::PortHolder;
using testing::HasSubstr;
using testing::Not;

/// A program named "sleep" that has a file open, and does not have the test's own descriptors.
class CHoldingProgram {
public:
  explicit CHoldingProgram(const std::string& path) {
    int ends[2];
    EXPECT_EQ(0, pipe2(ends, O_CLOEXEC));
    m_pid = fork();
    if (m_pid == 0) {
      for (int other = 3; other < 256; ++other) {
        fcntl(other, F_SETFD, FD_CLOEXEC);
      }
      open(path.c_str(), O_RDWR | O_NOCTTY);
      execlp("sleep", "sleep", "600", static_cast<char*>(nullptr));
      _exit(127);
    }
    close(ends[1]);
    char nothing = 0;
    EXPECT_EQ(0, read(ends[0], &nothing, 1));  // ends when the program runs
    close(ends[0]);
  }
  ~CHoldingProgram() { End(); }
  void End() {
    if (m_pid > 0) {
      kill(m_pid, SIGKILL);
      waitpid(m_pid, nullptr, 0);
    }
    m_pid = -1;
  }
  int Pid() const { return m_pid; }

private:
  pid_t m_pid = -1;
};

class PortLock : public testing::Test {
protected:
  PortLock() { m_home.WriteFile("locks/.keep", ""); }
  std::unique_ptr<CPortLock> Take() { return CPortLock::Take("/dev/ttyUSB2", m_home.Path("locks"), m_holder); }
  std::string Content() const { return m_home.ReadFile("locks/LCK..ttyUSB2"); }
  static std::string LineOf(int pid) {
    char line[16];
    std::snprintf(line, sizeof line, "%10d\n", pid);
    return line;
  }

  const CTempHome m_home;
  PortHolder m_holder;
};

TEST_F(PortLock, IsAFileWithTheProcessNumberInTenCharactersWhileItLives) {
  auto lock = Take();
  ASSERT_TRUE(lock);
  EXPECT_EQ(LineOf(getpid()), Content());
  lock.reset();
  EXPECT_NE(0, access(m_home.Path("locks/LCK..ttyUSB2").c_str(), F_OK));
}

TEST_F(PortLock, NamesTheLivingProcessThatHasIt) {
  const CHoldingProgram program("/dev/null");
  m_home.WriteFile("locks/LCK..ttyUSB2", LineOf(program.Pid()));
  EXPECT_FALSE(Take());
  EXPECT_EQ(program.Pid(), m_holder.pid);
  EXPECT_EQ("sleep", m_holder.name);
  EXPECT_EQ(LineOf(program.Pid()), Content());
}

TEST_F(PortLock, IsTakenOverFromAProcessThatHasEnded) {
  CHoldingProgram program("/dev/null");
  const int pid = program.Pid();
  program.End();
  for (const std::string& stale : {LineOf(pid), LineOf(getpid()), std::string(), std::string("nonsense\n")}) {
    m_home.WriteFile("locks/LCK..ttyUSB2", stale);
    EXPECT_TRUE(Take()) << stale;
  }
}

TEST_F(PortLock, IsNotNeededWhereTheFolderCannotBeWritten) {
  EXPECT_TRUE(CPortLock::Take("/dev/ttyUSB2", m_home.Path("nowhere"), m_holder));
}

TEST_F(PortLock, LeavesALockAloneThatSomebodyElseHasTakenMeanwhile) {
  auto lock = Take();
  m_home.WriteFile("locks/LCK..ttyUSB2", LineOf(1));
  lock.reset();
  EXPECT_EQ(LineOf(1), Content());
}

TEST(PortHolder, IsTheProcessThatHasTheFileOpenAlsoThroughALink) {
  const CTempHome home;
  home.WriteFile("port", "");
  EXPECT_FALSE(modem::FindHolder(home.Path("port")));
  const CHoldingProgram program(home.Path("port"));
  ASSERT_EQ(0, symlink(home.Path("port").c_str(), home.Path("link").c_str()));
  const auto holder = modem::FindHolder(home.Path("link"));
  ASSERT_TRUE(holder);
  EXPECT_EQ(program.Pid(), holder->pid);
  EXPECT_EQ("sleep", holder->name);
}

TEST(PortHolder, IsNeverThisProcessItself) {
  const CTempHome home;
  home.WriteFile("port", "");
  const int descriptor = open(home.Path("port").c_str(), O_RDONLY | O_CLOEXEC);
  EXPECT_FALSE(modem::FindHolder(home.Path("port")));
  close(descriptor);
}

TEST(PortHolder, IsNamedWithWhatToDo) {
  EXPECT_EQ(
      "cannot open /dev/ttyUSB2: in use by minicom (pid 812). End that program (kill 812), or choose another port with "
      "--device (\"smsctl modems\" lists them).",
      modem::InUseText("/dev/ttyUSB2", PortHolder{812, "minicom"}));
  EXPECT_THAT(modem::InUseText("/dev/ttyUSB2", PortHolder{812, "ModemManager"}),
              HasSubstr("systemctl stop ModemManager"));
  EXPECT_THAT(modem::InUseText("/dev/ttyUSB2", std::nullopt), HasSubstr("sudo fuser -v /dev/ttyUSB2"));
}

/// A pseudo-terminal whose master the test holds.
class SharedPort : public testing::Test {
protected:
  SharedPort() : m_iMaster(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    char path[64] = {};
    EXPECT_EQ(0, grantpt(m_iMaster) + unlockpt(m_iMaster) + ptsname_r(m_iMaster, path, sizeof path));
    m_strPath = path;
    m_home.WriteFile("locks/.keep", "");
    m_settings.lockFolder = m_home.Path("locks");
  }
  ~SharedPort() override { close(m_iMaster); }
  std::unique_ptr<CSerialPort> Open() { return CSerialPort::Open(m_strPath, m_strError, m_settings); }
  std::string LockFile() const { return "locks/LCK..pts_" + m_strPath.substr(m_strPath.find_last_of('/') + 1); }

  const CTempHome m_home;
  const int m_iMaster;
  std::string m_strPath;
  std::string m_strError;
  modem::SerialSettings m_settings;
};

TEST_F(SharedPort, IsLeftAloneWhileAnotherProgramHasItOpen) {
  CHoldingProgram program(m_strPath);
  EXPECT_FALSE(Open());
  EXPECT_THAT(m_strError, HasSubstr("in use by sleep (pid " + std::to_string(program.Pid()) + ")"));
  EXPECT_EQ("", m_home.ReadFile(LockFile()));
  program.End();
  EXPECT_TRUE(Open()) << m_strError;
}

TEST_F(SharedPort, IsLeftAloneWhileAnotherProgramHasItsLockFile) {
  const CHoldingProgram program("/dev/null");
  m_home.WriteFile(LockFile(), std::to_string(program.Pid()) + "\n");
  EXPECT_FALSE(Open());
  EXPECT_THAT(m_strError, HasSubstr("in use by sleep (pid " + std::to_string(program.Pid()) + ")"));
}

TEST_F(SharedPort, IsLockedInThreeWaysWhileInUse) {
  auto port = Open();
  ASSERT_TRUE(port) << m_strError;
  EXPECT_NE("", m_home.ReadFile(LockFile()));
  const int second = open(m_strPath.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);  // a privileged process may
  if (second >= 0) {
    EXPECT_NE(0, flock(second, LOCK_EX | LOCK_NB));
    int exclusive = 0;
    EXPECT_EQ(0, ioctl(second, TIOCGEXCL, &exclusive));
    EXPECT_EQ(1, exclusive);
    close(second);
  }
  port.reset();
  EXPECT_EQ("", m_home.ReadFile(LockFile()));
}

TEST_F(SharedPort, HasItsFormerSettingsAgainAtTheEnd) {
  const int slave = open(m_strPath.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  termios before;
  ASSERT_EQ(0, tcgetattr(slave, &before));
  cfsetspeed(&before, B9600);
  before.c_lflag |= ICANON | ECHO;
  ASSERT_EQ(0, tcsetattr(slave, TCSANOW, &before));
  m_settings.baud = 460800;
  auto port = Open();
  ASSERT_TRUE(port) << m_strError;
  termios now;
  ASSERT_EQ(0, tcgetattr(slave, &now));
  EXPECT_EQ(static_cast<speed_t>(B460800), cfgetospeed(&now));
  EXPECT_EQ(0u, now.c_lflag & (ICANON | ECHO));
  port.reset();
  ASSERT_EQ(0, tcgetattr(slave, &now));
  EXPECT_EQ(static_cast<speed_t>(B9600), cfgetospeed(&now));
  EXPECT_EQ(before.c_lflag, now.c_lflag);
  EXPECT_EQ(before.c_iflag, now.c_iflag);
  EXPECT_EQ(before.c_oflag, now.c_oflag);
  close(slave);
}

TEST_F(SharedPort, IsNotOpenedAtASpeedThatDoesNotExist) {
  m_settings.baud = 12345;
  EXPECT_FALSE(Open());
  EXPECT_THAT(m_strError, HasSubstr("12345"));
}

}  // namespace
