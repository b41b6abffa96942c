// Completing a long message among 100 stored records and among 100,000, and one of 255 parts. Inside a transaction, so
// that the disk's flush stays out of it: that is the same for any message.
#include "BenchFolder.h"
#include "FileSMSImpl.h"
#include "SMSRecordImpl.h"
#include "SMSRecordSetImpl.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <memory>

namespace {

typedef std::chrono::steady_clock Clock;

const int kSmall = 100;
const int kLarge = 100000;
const int kMostParts = 255;
const VELK_wstring kText = u"See you at the station at eight, and bring the papers we talked about.";

void Check(bool bDone, const char* pszWhat) {
  if (!bDone) {
    throw std::runtime_error(std::string("failed: ") + pszWhat);
  }
}

VELK_wstring Wide(const std::string& text) { return VELK_wstring(text.begin(), text.end()); }

CSMSRecordImpl Received(int number, int part, int total) {
  CSMSRecordImpl record;
  record.SetNumber(Wide("+4917" + std::to_string(10000000 + number)).c_str());
  record.SetContent(kText.c_str());
  record.SetTime(u"20240506070809");
  record.SetPosition(NS_SMS::RECEIVE_BOX);
  record.SetInitialPosition(NS_SMS::RECEIVE_BOX);
  record.SetMSGInfo(total == 0 ? 0 : number % 256, total, part);
  return record;
}

class CFilledStore {
public:
  explicit CFilledStore(int rows) {
    Transact([&] {
      for (int row = 0; row < rows; ++row) {
        Save(Received(row, 1, row % 10 == 0 ? 3 : 0));  // parts among them that wait for others
      }
    });
  }

  /// @return microseconds that the last part of a long message takes.
  double Complete(int total) {
    double microseconds = 0;
    Transact([&] {
      const int number = 1000000 + ++m_nMessages;
      for (int part = 1; part < total; ++part) {
        Save(Received(number, part, total));
      }
      CSMSRecordImpl last = Received(number, total, total);
      const auto begin = Clock::now();
      Save(last);
      microseconds = std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
      const std::size_t uLength = VELK_wstring(last.GetContent()).size();
      Check(uLength == static_cast<std::size_t>(total) * kText.size(), "the message is not whole");
      Check(m_store.RemoveRecord(last.GetMSGID()) == 0, "remove");
    });
    return microseconds;
  }

private:
  void Save(CSMSRecordImpl&& record) { Save(record); }
  void Save(CSMSRecordImpl& record) {
    long id = -1;
    long saved = 1;
    Check(m_store.SaveRecord(&record, &id, saved) == 0, "save");
  }
  template <class Work>
  void Transact(Work&& work) {
    Check(m_store.BeginTransaction() == 0, "begin");
    work();
    Check(m_store.EndTransaction() == 0, "end");
  }

  CFileSMSImpl m_store{nullptr};
  int m_nMessages = 0;
};

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

void Complete(benchmark::State& state, CFilledStore& store, int total, double& median) {
  std::vector<double> times;
  for (auto _ : state) {
    times.push_back(store.Complete(total));
    state.SetIterationTime(times.back() / 1e6);
  }
  median = Median(times);
}

benchmark::internal::Benchmark* Register(const std::string& name, CFilledStore& store, int total, double& median) {
  return benchmark::RegisterBenchmark(
             name.c_str(), [&store, total, &median](benchmark::State& state) { Complete(state, store, total, median); })
      ->UseManualTime()
      ->Unit(benchmark::kMicrosecond);
}

/// A store in a folder of its own.
struct Case {
  explicit Case(int rows) : store(rows) {}
  CBenchFolder folder;
  CFilledStore store;
  double medianUs = 0;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  try {
    Case small(kSmall);
    Case large(kLarge);
    double mostPartsUs = 0;
    Register("last of 3 parts among 100", small.store, 3, small.medianUs)->Iterations(1000);
    Register("last of 3 parts among 100000", large.store, 3, large.medianUs)->Iterations(1000);
    Register("last of 255 parts among 100000", large.store, kMostParts, mostPartsUs)->Iterations(20);
    benchmark::RunSpecifiedBenchmarks();
    std::printf("\ncombination, medians: %.1f us among %d, %.1f us among %d: ratio %.2f (aim: at most 2)\n",
                small.medianUs, kSmall, large.medianUs, kLarge, large.medianUs / small.medianUs);
    std::printf("%d parts: %.2f ms (aim: under 20)\n", kMostParts, mostPartsUs / 1e3);
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "bench_combination: %s\n", fault.what());
    return 1;
  }
  return 0;
}
