// Sending single parts through the whole stack, from SendMsg to the verdict at the client: host, both plug-ins, and
// modem-sim, a process of its own at no latency, over a pseudo-terminal. One send goes to many numbers; its record is
// saved in the send box once at its end, and that share is told beside. Processor time is this process's.
#include "HostBench.h"
#include "ModemProcess.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>

namespace {

const int kNumbers = 500;

VELK_wstring Numbers() {
  VELK_wstring list;
  for (int number = 0; number < kNumbers; ++number) {
    const std::string text = "+4917200" + std::to_string(10000 + number) + ";";
    list.append(text.begin(), text.end());
  }
  return list;
}

struct Sent {
  double seconds = 0;
  double cpuSeconds = 0;
  double saveSeconds = 0;
  double saveCpuSeconds = 0;
  double messages = 0;
};

void SendOnce(CBenchHost& host, const VELK_wstring& numbers, Sent& sent) {
  host.Client().Forget();
  const double cpu = CpuSeconds();
  const auto begin = BenchClock::now();
  host.Service().SendMsg(numbers.c_str(), u"See you at the station at eight, and bring the papers we talked about.");
  const auto reported = host.Client().Await(&CNotingClient::m_nReports, kNumbers);
  const double cpuReported = CpuSeconds();
  const auto saved = host.Client().Await(&CNotingClient::m_nSaved, 1);
  sent.seconds += MicrosecondsBetween(begin, reported) / 1e6;
  sent.cpuSeconds += cpuReported - cpu;
  sent.saveSeconds += MicrosecondsBetween(reported, saved) / 1e6;
  sent.saveCpuSeconds += CpuSeconds() - cpuReported;
  sent.messages += kNumbers;
}

void SinglePartsThroughTheWholeStack(benchmark::State& state, CBenchHost& host, Sent& sent) {
  const VELK_wstring numbers = Numbers();
  SendOnce(host, numbers, sent);
  sent = Sent();
  for (auto _ : state) {
    const double before = sent.seconds;
    SendOnce(host, numbers, sent);
    state.SetIterationTime(sent.seconds - before);
  }
  state.counters["messages/s"] = sent.messages / sent.seconds;
  state.counters["cpu us/message"] = sent.cpuSeconds * 1e6 / sent.messages;
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  try {
    const CBenchFolder folder;
    Sent sent;
    {
      const CModemProcess modem;
      CBenchHost host(modem.Path());
      benchmark::RegisterBenchmark("single parts through the whole stack",
                                   [&](benchmark::State& state) { SinglePartsThroughTheWholeStack(state, host, sent); })
          ->UseManualTime()
          ->Unit(benchmark::kMillisecond)
          ->Iterations(10);
      benchmark::RunSpecifiedBenchmarks();
    }
    std::printf(
        "\n%.0f messages a second (aim: 1500); host and plug-ins %.1f us of processor time a message (aim: 150)\n",
        sent.messages / sent.seconds, sent.cpuSeconds * 1e6 / sent.messages);
    std::printf("save in the send box: %.1f us a message, %.1f us of processor time; modem-sim: %.1f us\n",
                sent.saveSeconds * 1e6 / sent.messages, sent.saveCpuSeconds * 1e6 / sent.messages,
                CpuSeconds(RUSAGE_CHILDREN) * 1e6 / (sent.messages + kNumbers));
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "bench_send: %s\n", fault.what());
    return 1;
  }
  return 0;
}
