// Loading all rows of the local database, and saving one, against bare SQLite on the same rows and with the same
// synchronisation. Ours and the bare one take turns in small steps, so that both meet the same disk and the same clock.
#include "BenchFolder.h"
#include "platform/LocalDatabaseMgr.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

typedef LocalDatabaseMgr::FieldType Fields;
typedef std::chrono::steady_clock Clock;

const char kTable[] = "SmsLocalRecord";
constexpr int kColumns = 12;

const std::vector<std::string>& Columns() {
  static const std::vector<std::string> names = {"NUMBER",          "CONTENT", "TIME",      "ISREAD",    "POSITION",
                                                 "SENDRESULT",      "MSGTYPE", "LONGSMSID", "TOTALPACK", "PACK",
                                                 "INITIALPOSITION", "PRIORITY"};
  return names;
}

Fields Message(int iNumber) {
  Fields fields;
  for (const std::string& name : Columns()) {
    fields.push_back({name, u"1"});
  }
  fields[0].strValue = u"+491701234567";
  fields[1].strValue = u"See you at the station at eight, and bring the papers we talked about. Nr ";
  for (const char c : std::to_string(iNumber)) {
    fields[1].strValue += static_cast<VELK_wchar_t>(c);
  }
  fields[2].strValue = u"20240229123456";
  return fields;
}

[[noreturn]] void Fail(const char* pszWhat) { throw std::runtime_error(std::string("failed: ") + pszWhat); }

void Check(bool bDone, const char* pszWhat) {
  if (!bDone) {
    Fail(pszWhat);
  }
}

void OpenOurs(LocalDatabaseMgr& database, const std::string& name) {
  Check(database.OpenConnection(name.c_str()) == DB_ERROR_OK, "open");
  Check(database.GennerateTable(kTable, Columns()) == DB_ERROR_OK, "table");
}

/// Made once a size, shared by the benchmarks of that size.
std::string FilledDatabase(int iRows) {
  static std::map<int, std::string> made;
  std::string& name = made[iRows];
  if (name.empty()) {
    name = "rows" + std::to_string(iRows);
    LocalDatabaseMgr database;
    OpenOurs(database, name);
    Check(database.BeginTransaction() == DB_ERROR_OK, "begin");
    for (int i = 0; i < iRows; ++i) {
      unsigned int uIndex = 0;
      Check(database.AddRecord(kTable, Message(i), uIndex) == DB_ERROR_OK, "add");
    }
    Check(database.EndTransaction() == DB_ERROR_OK, "end");
  }
  return name;
}

/// SQLite as a careful programmer uses it in thirty lines.
class CBare {
public:
  explicit CBare(const std::string& path) {
    Check(sqlite3_open_v2(path.c_str(), &m_pDb, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) == SQLITE_OK,
          "bare open");
    sqlite3_exec(m_pDb, "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA cache_size=-256", nullptr, nullptr,
                 nullptr);
    std::string columns;
    std::string places;
    for (const std::string& name : Columns()) {
      columns += "," + name;
      places += ",?";
    }
    m_pSelect = Prepare("SELECT ROWINDEX" + columns + " FROM SmsLocalRecord ORDER BY ROWINDEX");
    m_pInsert = Prepare("INSERT INTO SmsLocalRecord (ROWINDEX" + columns + ") VALUES (NULL" + places + ")");
  }
  ~CBare() {
    sqlite3_finalize(m_pSelect);
    sqlite3_finalize(m_pInsert);
    sqlite3_close(m_pDb);
  }
  CBare(const CBare&) = delete;
  CBare& operator=(const CBare&) = delete;

  /// Reads every row's texts into the same strings.
  std::size_t Load() {
    std::array<VELK_wstring, kColumns> texts;
    std::size_t nUnits = 0;
    while (sqlite3_step(m_pSelect) == SQLITE_ROW) {
      for (int i = 0; i < kColumns; ++i) {
        VELK_wstring& text = texts[static_cast<std::size_t>(i)];
        const void* pText = sqlite3_column_text16(m_pSelect, i + 1);
        text.assign(static_cast<const VELK_wchar_t*>(pText),
                    static_cast<std::size_t>(sqlite3_column_bytes16(m_pSelect, i + 1)) / sizeof(VELK_wchar_t));
        nUnits += text.size();
      }
    }
    sqlite3_reset(m_pSelect);
    return nUnits;
  }

  void Save(const Fields& fields) {
    for (int i = 0; i < kColumns; ++i) {
      const VELK_wstring& text = fields[static_cast<std::size_t>(i)].strValue;
      sqlite3_bind_text16(m_pInsert, i + 1, text.data(), static_cast<int>(text.size() * sizeof(VELK_wchar_t)),
                          SQLITE_STATIC);
    }
    Check(sqlite3_step(m_pInsert) == SQLITE_DONE, "bare insert");
    sqlite3_reset(m_pInsert);
  }

private:
  sqlite3_stmt* Prepare(const std::string& sql) {
    sqlite3_stmt* pStatement = nullptr;
    Check(sqlite3_prepare_v3(m_pDb, sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &pStatement, nullptr) == SQLITE_OK,
          "bare statement");
    return pStatement;
  }

  sqlite3* m_pDb = nullptr;
  sqlite3_stmt* m_pSelect = nullptr;
  sqlite3_stmt* m_pInsert = nullptr;
};

enum class Style { kFreshFields, kSameFields };

std::size_t LoadOurs(LocalDatabaseMgr& database, Style enStyle, bool bTransaction) {
  std::size_t nUnits = 0;
  Fields same;
  std::vector<int> indexes;
  Check(!bTransaction || database.BeginTransaction() == DB_ERROR_OK, "begin");
  Check(database.GetAllRecordIndex(kTable, indexes) == DB_ERROR_OK, "indexes");
  for (const int iIndex : indexes) {
    Fields fresh;
    Fields& fields = enStyle == Style::kFreshFields ? fresh : same;
    Check(database.GetOneRecord(kTable, static_cast<unsigned int>(iIndex), fields) == DB_ERROR_OK, "row");
    for (const __ST_FIELD_TYPE& field : fields) {
      nUnits += field.strValue.size();
    }
  }
  Check(!bTransaction || database.EndTransaction() == DB_ERROR_OK, "end");
  return nUnits;
}

template <class Work>
double SecondsOf(Work&& work) {
  const Clock::time_point tStart = Clock::now();
  work();
  return std::chrono::duration<double>(Clock::now() - tStart).count();
}

double Median(std::vector<double>& values) {
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
  return values[values.size() / 2];
}

/// The time of ours is the benchmark's, the bare one's and the ratio are its counters.
void Report(benchmark::State& state, std::vector<double>& ours, std::vector<double>& bare, double dPer) {
  const double dOurs = Median(ours);
  const double dBare = Median(bare);
  state.counters["ours_us"] = dOurs * 1e6 / dPer;
  state.counters["bare_us"] = dBare * 1e6 / dPer;
  state.counters["ratio"] = dOurs / dBare;
}

void Load(benchmark::State& state, int iRows, Style enStyle, bool bTransaction, const CBenchFolder& folder) {
  const std::string name = FilledDatabase(iRows);
  LocalDatabaseMgr database;
  OpenOurs(database, name);
  CBare bare(folder.File(name));
  Check(bare.Load() == LoadOurs(database, enStyle, bTransaction), "both read the same");
  std::vector<double> oursSeconds;
  std::vector<double> bareSeconds;
  for (auto _ : state) {
    oursSeconds.push_back(SecondsOf([&] { benchmark::DoNotOptimize(LoadOurs(database, enStyle, bTransaction)); }));
    bareSeconds.push_back(SecondsOf([&] { benchmark::DoNotOptimize(bare.Load()); }));
    state.SetIterationTime(oursSeconds.back());
  }
  Report(state, oursSeconds, bareSeconds, iRows);
}

void Save(benchmark::State& state, const CBenchFolder& folder) {
  LocalDatabaseMgr database;
  OpenOurs(database, "save-ours");
  {
    LocalDatabaseMgr twin;  // the bare one's table, of the same form
    OpenOurs(twin, "save-bare");
  }
  CBare bare(folder.File("save-bare"));
  std::vector<double> oursSeconds;
  std::vector<double> bareSeconds;
  int iNumber = 0;
  for (auto _ : state) {
    const Fields fields = Message(iNumber++);
    unsigned int uIndex = 0;
    const auto saveOurs = [&] { Check(database.AddRecord(kTable, fields, uIndex) == DB_ERROR_OK, "save"); };
    const auto saveBare = [&] { bare.Save(fields); };
    // who goes first takes turns too: the second finds the disk awake
    const bool bOursFirst = iNumber % 2 == 0;
    if (bOursFirst) {
      oursSeconds.push_back(SecondsOf(saveOurs));
    }
    bareSeconds.push_back(SecondsOf(saveBare));
    if (!bOursFirst) {
      oursSeconds.push_back(SecondsOf(saveOurs));
    }
    state.SetIterationTime(oursSeconds.back());
  }
  Report(state, oursSeconds, bareSeconds, 1);
}

/// Prints the ratios once more at the end.
class CRatioReporter : public benchmark::ConsoleReporter {
public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration && run.counters.count("ratio") != 0) {
        m_runs.push_back(run);
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  void PrintRatios() const {
    std::printf("\nMedians, against bare SQLite of the same run (aims: load at most 2, save at most 1.3):\n");
    for (const Run& run : m_runs) {
      std::printf("%-34s %9.2f us   bare %9.2f us   ratio %.2f\n", run.run_name.function_name.c_str(),
                  run.counters.at("ours_us").value, run.counters.at("bare_us").value, run.counters.at("ratio").value);
    }
  }

private:
  std::vector<Run> m_runs;
};

template <class Work>
benchmark::internal::Benchmark* Register(const std::string& name, Work&& work) {
  return benchmark::RegisterBenchmark(name.c_str(), work)->UseManualTime()->Unit(benchmark::kMillisecond);
}

void RegisterLoads(int iRows, const CBenchFolder& folder) {
  const std::string rows = " " + std::to_string(iRows) + " rows";
  const int iTimes = iRows > 100000 ? 5 : 200;
  const auto add = [&](const std::string& name, Style enStyle, bool bTransaction) {
    Register(name + rows, [=, &folder](benchmark::State& state) {
      Load(state, iRows, enStyle, bTransaction, folder);
    })->Iterations(iTimes);
  };
  add("load", Style::kSameFields, false);
  add("load in a transaction", Style::kSameFields, true);
  add("load, fresh fields", Style::kFreshFields, false);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  try {
    const CBenchFolder folder;
    RegisterLoads(10000, folder);
    RegisterLoads(1000000, folder);
    Register("durable save", [&](benchmark::State& state) { Save(state, folder); })->Iterations(4000);
    CRatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatios();
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "bench_store: %s\n", fault.what());
    return 1;
  }
  return 0;
}
