// What the demo says when the simulated modem does not do what it is asked.
#include "SimulatorControl.h"
#include "TempHome.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <string>
#include <thread>

namespace {

/// A control socket whose owner answers one line with some octets and closes.
class CListener {
public:
  CListener(const std::string& path, const std::string& answer) : m_fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(0, bind(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    EXPECT_EQ(0, listen(m_fd, 1));
    m_thread = std::thread([this, answer] {
      const int client = accept(m_fd, nullptr, nullptr);
      char octet = 0;
      while (recv(client, &octet, 1, 0) == 1 && octet != '\n') {
      }
      send(client, answer.data(), answer.size(), MSG_NOSIGNAL);
      close(client);
    });
  }
  ~CListener() {
    m_thread.join();
    close(m_fd);
  }

private:
  const int m_fd;
  std::thread m_thread;
};

class SimulatorControl : public ::testing::Test {
protected:
  std::string ErrorOf(const std::string& answer) {
    const CListener listener(m_home.Path("control"), answer);
    std::string error;
    EXPECT_FALSE(m_control.Do("{}", error));
    return error;
  }

  CTempHome m_home;
  smsctl::CSimulatorControl m_control{m_home.Path("control")};
};

TEST_F(SimulatorControl, SaysThatTheModemHasClosedTheConnection) {
  EXPECT_EQ("the simulated modem cannot be asked at " + m_home.Path("control") + ": it has closed the connection",
            ErrorOf("{\"ok\":"));
}

TEST_F(SimulatorControl, SaysWhatTheModemAnswers) {
  EXPECT_EQ("the simulated modem answers {\"ok\":false}", ErrorOf("{\"ok\":false}\n"));
}

TEST_F(SimulatorControl, SaysWhyThereIsNoConnection) {
  std::string error;
  EXPECT_FALSE(m_control.Do("{}", error));
  EXPECT_NE(std::string::npos, error.find(": No such file or directory")) << error;
  EXPECT_FALSE(smsctl::CSimulatorControl(std::string(200, 'x')).Do("{}", error));
  EXPECT_NE(std::string::npos, error.find(": File name too long")) << error;
}

}  // namespace
