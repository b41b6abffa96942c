// Receiving through the whole stack from a simulated modem at no latency: from the octets of a notice on the port to
// OnNewMessage on an idle system, and a queue of notices against the rate at which the database flushes rows.
#include "HostBench.h"
#include "PtyPort.h"
#include "SimulatedModem.h"
#include "platform/LocalDatabaseMgr.h"

#include <benchmark/benchmark.h>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <thread>

namespace {

const int kSingles = 200;
const int kQueue = 500;

/// A modem on a thread of its own that notes when it writes a notice.
class CNotingModem : private modem_sim::IModemWorld {
public:
  CNotingModem() : m_port(m_context), m_modem(Options(), *this) {
    std::string error;
    if (!m_port.Open(&error)) {
      throw std::runtime_error(error);
    }
    m_port.Start(m_modem);
    m_thread = std::thread([this] { m_context.run(); });
  }
  ~CNotingModem() {
    m_context.stop();
    m_thread.join();
  }

  const std::string& Path() const { return m_port.Path(); }
  /// Messages arrive, all at once.
  void Arrive(int count) {
    boost::asio::post(m_context, [this, count] {
      for (int message = 0; message < count; ++message) {
        m_modem.Arrive(Message(++m_nArrived));
      }
    });
  }
  /// Of the first notice since Forget().
  BenchClock::time_point Noticed() const { return m_noticed; }
  void Forget() { m_noticed = BenchClock::time_point(); }

private:
  static modem_sim::ModemOptions Options() {
    modem_sim::ModemOptions options;
    options.simCapacity = kQueue;
    return options;
  }
  static sms_pdu::Deliver Message(int number) {
    sms_pdu::Deliver message;
    sms_pdu::MakeAddress("+491720000001", &message.originator);
    message.time.year = 2024;
    message.time.month = 5;
    message.time.day = 6;
    const std::string text = "See you at the station at eight, and bring the papers. Nr " + std::to_string(number);
    const std::u16string wide(text.begin(), text.end());
    sms_pdu::SetText(&message.userData, wide.data(), wide.size());
    return message;
  }

  void Write(const std::string& bytes) override {
    if (m_noticed.load() == BenchClock::time_point() && bytes.find("+CMTI") != std::string::npos) {
      m_noticed = BenchClock::now();
    }
    m_port.Write(bytes);
  }
  void After(int milliseconds, std::function<void()> call) override { m_port.After(milliseconds, call); }
  sms_pdu::TimeStamp Now() override { return m_port.Now(); }

  boost::asio::io_context m_context{1};
  modem_sim::CPtyPort m_port;
  modem_sim::CSimulatedModem m_modem;
  int m_nArrived = 0;
  std::atomic<BenchClock::time_point> m_noticed{};
  std::thread m_thread;
};

/// Seconds that the database takes for so many rows, each flushed.
double FlushSeconds(LocalDatabaseMgr& database, int rows) {
  LocalDatabaseMgr::FieldType fields{{"CONTENT", VELK_wstring(80, u'x')}};
  const auto begin = BenchClock::now();
  for (int row = 0; row < rows; ++row) {
    unsigned int uIndex = 0;
    if (database.AddRecord("Rows", fields, uIndex) != DB_ERROR_OK) {
      throw std::runtime_error("the database does not take rows");
    }
  }
  return MicrosecondsBetween(begin, BenchClock::now()) / 1e6;
}

class CReceiving {
public:
  CReceiving() : m_host(m_modem.Path()) {
    if (m_database.OpenConnection("Bench") != DB_ERROR_OK ||
        m_database.GennerateTable("Rows", {"CONTENT"}) != DB_ERROR_OK) {
      throw std::runtime_error("no database");
    }
    Receive(1);
  }

  /// @return microseconds from the first notice to the last message.
  double Receive(int count) {
    m_host.Client().Forget();
    m_modem.Forget();
    m_modem.Arrive(count);
    const auto end = m_host.Client().Await(&CNotingClient::m_nMessages, count);
    return MicrosecondsBetween(m_modem.Noticed(), end);
  }

  void Latency(benchmark::State& state) {
    std::vector<double> times;
    for (auto _ : state) {
      times.push_back(Receive(1));
      state.SetIterationTime(times.back() / 1e6);
    }
    std::sort(times.begin(), times.end());
    m_medianUs = times[times.size() / 2];
  }

  /// In turn, so that both meet the same disk.
  void Drain(benchmark::State& state) {
    double drained = 0;
    double flushed = 0;
    for (auto _ : state) {
      flushed += FlushSeconds(m_database, kQueue / 2);
      const double seconds = Receive(kQueue) / 1e6;
      flushed += FlushSeconds(m_database, kQueue / 2);
      drained += seconds;
      state.SetIterationTime(seconds);
    }
    const double messages = static_cast<double>(state.iterations()) * kQueue;
    m_drainRate = messages / drained;
    m_flushRate = messages / flushed;
  }

  void Print() const {
    std::printf("\nnotice to OnNewMessage: median %.2f ms (aim: 10)\n", m_medianUs / 1e3);
    std::printf("%d queued messages: %.0f a second; the database flushes %.0f rows a second: %.0f %% (aim: 80)\n",
                kQueue, m_drainRate, m_flushRate, 100 * m_drainRate / m_flushRate);
  }

private:
  CNotingModem m_modem;
  CBenchHost m_host;
  LocalDatabaseMgr m_database;
  double m_medianUs = 0;
  double m_drainRate = 0;
  double m_flushRate = 0;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  try {
    const CBenchFolder folder;
    CReceiving receiving;
    benchmark::RegisterBenchmark("notice to OnNewMessage", [&](benchmark::State& state) { receiving.Latency(state); })
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond)
        ->Iterations(kSingles);
    benchmark::RegisterBenchmark("500 queued messages", [&](benchmark::State& state) { receiving.Drain(state); })
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond)
        ->Iterations(4);
    benchmark::RunSpecifiedBenchmarks();
    receiving.Print();
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "bench_receive: %s\n", fault.what());
    return 1;
  }
  return 0;
}
