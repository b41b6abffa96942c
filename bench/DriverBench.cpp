// Sending through the modem driver to modem-sim, a process of its own at no latency, over a pseudo-terminal. The next
// message goes when the verdict of the one before is there, as the service sends. Processor time is this process's.
#include "MessageService.h"
#include "SerialPort.h"
#include "platform/JEvent.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

extern char** environ;

namespace {

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

class CVerdicts : public IUniCommEvent {
public:
  CVerdicts() { m_hVerdict.Init(false, false); }
  bool OnUniCommEvent(unsigned long dwEvent, void* pData) override {
    if (dwEvent == WMS_MO_SMS_STATUS) {
      m_bSent = *static_cast<DWORD*>(pData) == 0;
      m_hVerdict.SetEvent();
    }
    return true;
  }
  bool Await() { return m_hVerdict.WaitForSingleObject(70000) == 0 && m_bSent; }

private:
  JEvent m_hVerdict;
  std::atomic<bool> m_bSent{false};
};

double CpuSeconds() {
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void SinglePartsThroughTheDriver(benchmark::State& state) {
  const CModemProcess process;
  modem::CModem modem([&](std::string& error) { return modem::CSerialPort::Open(process.Path(), error); });
  modem::CMessageService service(modem);
  CVerdicts verdicts;
  service.RegEventSink(&verdicts);
  std::string error;
  if (!modem.Start(error)) {
    state.SkipWithError(error.c_str());
    return;
  }
  SMS_PARAM part;
  std::string("+491710000002").copy(part.szAddress, 32);
  const VELK_wstring text = u"See you at the station at eight, and bring the papers we talked about.";
  part.iContentLen = static_cast<int>(text.copy(part.wszContent, 160));
  const double before = CpuSeconds();
  for (auto _ : state) {
    if (!service.SMSSendMsg(part, nullptr) || !verdicts.Await()) {
      state.SkipWithError("a message was not sent");
      break;
    }
  }
  const double messages = static_cast<double>(state.iterations());
  state.counters["messages/s"] = benchmark::Counter(messages, benchmark::Counter::kIsRate);
  state.counters["cpu us/message"] = (CpuSeconds() - before) * 1e6 / messages;
  modem.Stop();
}
BENCHMARK(SinglePartsThroughTheDriver)->UseRealTime()->Unit(benchmark::kMicrosecond)->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
