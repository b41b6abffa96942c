// Sending through the modem driver to modem-sim, a process of its own at no latency, over a pseudo-terminal. The next
// message goes when the verdict of the one before is there, as the service sends. Processor time is this process's.
#include "MessageService.h"
#include "ModemProcess.h"
#include "SerialPort.h"
#include "platform/JEvent.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <string>

namespace {

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
