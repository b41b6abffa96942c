// Pushing, finding and removing by identifier in a set of 10,000 records against one of 1,000,000.
//
// In turn is how a load, a clean-up and a list on a screen go. At random every operation meets memory that no cache
// holds once the set is large; how much of the growth is the machine's shows in the bare counterpart, which does not
// search at all: an array of places in a list, and the same lock.
#include "SMSRecordSetImpl.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <list>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

const long kSmall = 10000;
const long kLarge = 1000000;
const long kBatch = 2000;

enum class Order { kInTurn, kAtRandom };

/// Identifiers 1, 2, ... without searching, cursor, count of unread messages or check.
class CBareSet {
public:
  void PushSMSRecord(const CSMSRecordImpl& record) {
    const CISAPUGuard<JMutex> guard(m_lock);
    const auto uPlace = static_cast<std::size_t>(record.GetMSGID());
    m_vctPlaces.resize(std::max(m_vctPlaces.size(), uPlace + 1));
    m_vctPlaces[uPlace] = m_lstRecord.insert(m_lstRecord.end(), record);
  }
  CSMSRecordImpl* GetRecord(long lID) {
    const CISAPUGuard<JMutex> guard(m_lock);
    return &*m_vctPlaces[static_cast<std::size_t>(lID)];
  }
  void RemoveSMSRecord(long lID) {
    const CISAPUGuard<JMutex> guard(m_lock);
    m_lstRecord.erase(m_vctPlaces[static_cast<std::size_t>(lID)]);
  }

private:
  JMutex m_lock;
  std::list<CSMSRecordImpl> m_lstRecord;
  std::vector<std::list<CSMSRecordImpl>::iterator> m_vctPlaces;
};

CSMSRecordImpl MakeRecord(long lID) {
  CSMSRecordImpl record(lID);
  record.SetNumber(u"+491701234567");
  record.SetContent(u"The quick brown fox jumps over the lazy dog, 12 times a day.");
  record.SetTime(u"20240229235959");
  record.SetPosition(NS_SMS::RECEIVE_BOX);
  return record;
}

/// The set of that size, identifiers 1 to the size; made once, as loading a store makes it.
template <class Set>
Set& SetOf(long lSize) {
  static std::map<long, std::unique_ptr<Set>> sets;
  std::unique_ptr<Set>& holder = sets[lSize];
  if (!holder) {
    holder.reset(new Set);
    for (long lID = 1; lID <= lSize; ++lID) {
      CSMSRecordImpl record = MakeRecord(lID);
      holder->PushSMSRecord(record);
    }
  }
  return *holder;
}

/// Identifiers of one batch after the other.
class CBatches {
public:
  CBatches(long lSize, Order enOrder) : m_vctIDs(static_cast<std::size_t>(lSize)), m_uNext(0) {
    std::iota(m_vctIDs.begin(), m_vctIDs.end(), 1L);
    if (enOrder == Order::kAtRandom) {
      std::shuffle(m_vctIDs.begin(), m_vctIDs.end(), std::mt19937(1));
    }
  }
  std::vector<long> Next() {
    std::vector<long> batch;
    for (long i = 0; i < kBatch; ++i) {
      batch.push_back(m_vctIDs[m_uNext++ % m_vctIDs.size()]);
    }
    return batch;
  }

private:
  std::vector<long> m_vctIDs;
  std::size_t m_uNext;
};

/// Times a batch and tells the time of one operation.
template <class Work>
void TimeBatch(benchmark::State& state, Work&& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  state.SetIterationTime(seconds.count() / kBatch);
}

template <class Set>
void PushBatch(Set& set, std::vector<CSMSRecordImpl>& records) {
  for (CSMSRecordImpl& record : records) {
    set.PushSMSRecord(record);
  }
}

std::vector<CSMSRecordImpl> MakeRecords(const std::vector<long>& ids) {
  std::vector<CSMSRecordImpl> records;
  for (const long lID : ids) {
    records.push_back(MakeRecord(lID));
  }
  return records;
}

template <class Set>
void RemoveBatch(Set& set, const std::vector<long>& ids) {
  for (const long lID : ids) {
    set.RemoveSMSRecord(lID);
  }
}

template <class Set>
void Push(benchmark::State& state, long lSize, Order) {
  Set& set = SetOf<Set>(lSize);
  std::vector<long> ids(kBatch);
  std::iota(ids.begin(), ids.end(), lSize + 1);
  std::vector<CSMSRecordImpl> records = MakeRecords(ids);
  for (auto _ : state) {
    TimeBatch(state, [&] { PushBatch(set, records); });
    RemoveBatch(set, ids);
  }
}

template <class Set>
void Find(benchmark::State& state, long lSize, Order enOrder) {
  Set& set = SetOf<Set>(lSize);
  CBatches batches(lSize, enOrder);
  for (auto _ : state) {
    const std::vector<long> ids = batches.Next();
    TimeBatch(state, [&] {
      for (const long lID : ids) {
        benchmark::DoNotOptimize(set.GetRecord(lID));
      }
    });
  }
}

template <class Set>
void Remove(benchmark::State& state, long lSize, Order enOrder) {
  Set& set = SetOf<Set>(lSize);
  CBatches batches(lSize, enOrder);
  for (auto _ : state) {
    const std::vector<long> ids = batches.Next();
    std::vector<CSMSRecordImpl> records = MakeRecords(ids);
    TimeBatch(state, [&] { RemoveBatch(set, ids); });
    PushBatch(set, records);
  }
}

typedef void (*BenchFunction)(benchmark::State&, long, Order);

struct Case {
  const char* pszName;
  BenchFunction pfn;
  Order enOrder;
};

const Case kCases[] = {{"push", Push<CSMSRecordSetImpl>, Order::kInTurn},
                       {"bare push", Push<CBareSet>, Order::kInTurn},
                       {"find, in turn", Find<CSMSRecordSetImpl>, Order::kInTurn},
                       {"bare find, in turn", Find<CBareSet>, Order::kInTurn},
                       {"remove, in turn", Remove<CSMSRecordSetImpl>, Order::kInTurn},
                       {"bare remove, in turn", Remove<CBareSet>, Order::kInTurn},
                       {"find, at random", Find<CSMSRecordSetImpl>, Order::kAtRandom},
                       {"bare find, at random", Find<CBareSet>, Order::kAtRandom},
                       {"remove, at random", Remove<CSMSRecordSetImpl>, Order::kAtRandom},
                       {"bare remove, at random", Remove<CBareSet>, Order::kAtRandom}};

/// Keeps the best time of every benchmark beside printing it.
class CBestTimes : public benchmark::ConsoleReporter {
public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
        const double dTime = run.GetAdjustedRealTime();
        double& dBest = m_mapBest.emplace(run.run_name.function_name, dTime).first->second;
        dBest = std::min(dBest, dTime);
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }

  void PrintRatio(const std::string& strName) const {
    const auto itSmall = m_mapBest.find(strName + " of 10000");
    const auto itLarge = m_mapBest.find(strName + " of 1000000");
    if (itSmall != m_mapBest.end() && itLarge != m_mapBest.end()) {
      std::printf("%-24s %6.0f ns %6.0f ns   ratio %.2f\n", strName.c_str(), itSmall->second, itLarge->second,
                  itLarge->second / itSmall->second);
    }
  }

private:
  std::map<std::string, double> m_mapBest;
};

void Register(const Case& bench, long lSize) {
  const std::string strName = std::string(bench.pszName) + " of " + std::to_string(lSize);
  benchmark::RegisterBenchmark(strName.c_str(),
                               [=](benchmark::State& state) { bench.pfn(state, lSize, bench.enOrder); })
      ->UseManualTime()
      ->Iterations(100)
      ->Repetitions(5);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  for (const Case& bench : kCases) {
    Register(bench, kSmall);
    Register(bench, kLarge);
  }
  CBestTimes reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\nOne operation, best of the repetitions, 10000 records against 1000000:\n");
  for (const Case& bench : kCases) {
    reporter.PrintRatio(bench.pszName);
  }
  return 0;
}
