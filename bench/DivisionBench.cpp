// Content division, and counting parts, against a bare loop that looks every unit up in one table and copies it into
// the same number of parts.
#include "DivideSmContent.h"

#include "platform/Gsm7bit.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

struct BenchText {
  const char* pszName;
  VELK_wstring strText;
  double dLimitNs;  // guide for one core
};

VELK_wstring Repeated(const VELK_wstring& strPattern, std::size_t nLength) {
  VELK_wstring strText;
  while (strText.size() < nLength) {
    strText += strPattern;
  }
  return strText.substr(0, nLength);
}

const VELK_wstring kPlain = u"The quick brown fox jumps over the lazy dog, 12 times a day. ";
const VELK_wstring kExtended = u"From {home} to [work]: 12 \u20AC, not more than that, and back again by train ";
const VELK_wstring kCyrillic = u"\u0421\u044A\u0435\u0448\u044C \u0436\u0435 \u0435\u0449\u0451 ";

const std::vector<BenchText>& Texts() {
  static const std::vector<BenchText> texts = {
      {"160 GSM", Repeated(kPlain, 160), 250},          {"70 UCS-2", Repeated(kCyrillic, 70), 150},
      {"5000 GSM", Repeated(kPlain, 5000), 12000},      {"5000 GSM with extensions", Repeated(kExtended, 5000), 12000},
      {"5000 UCS-2", Repeated(kCyrillic, 5000), 12000},
  };
  return texts;
}

int Length(const VELK_wstring& strText) { return static_cast<int>(strText.size()); }

int PartsOf(const VELK_wstring& strText) {
  return CDivideSmContent::DivideSmContent(strText.data(), Length(strText), nullptr, 0, true);
}

void Divide(benchmark::State& state, const VELK_wstring& strText) {
  std::vector<SMS_PARAM> vctParts(static_cast<std::size_t>(PartsOf(strText)));
  for (auto _ : state) {
    const int iParts = CDivideSmContent::DivideSmContent(strText.data(), Length(strText), vctParts.data(),
                                                         static_cast<int>(vctParts.size()), true);
    benchmark::DoNotOptimize(iParts);
    benchmark::ClobberMemory();
  }
}

void BareDivide(benchmark::State& state, const VELK_wstring& strText) {
  std::vector<SMS_PARAM> vctParts(static_cast<std::size_t>(PartsOf(strText)));
  const std::size_t nPerPart = (strText.size() + vctParts.size() - 1) / vctParts.size();
  for (auto _ : state) {
    const BYTE* pTable = Gsm7ClassTable();
    unsigned int uSum = 0;
    std::size_t nDone = 0;
    for (SMS_PARAM& stPart : vctParts) {
      const std::size_t nUnits = std::min(nPerPart, strText.size() - nDone);
      stPart = SMS_PARAM();
      for (std::size_t i = 0; i < nUnits; ++i) {
        uSum += pTable[strText[nDone + i]];
        stPart.wszContent[i] = strText[nDone + i];
      }
      stPart.iContentLen = static_cast<int>(nUnits);
      nDone += nUnits;
    }
    benchmark::DoNotOptimize(uSum);
    benchmark::ClobberMemory();
  }
}

void Count(benchmark::State& state, const VELK_wstring& strText) {
  for (auto _ : state) {
    const int iParts = PartsOf(strText);
    benchmark::DoNotOptimize(iParts);
  }
}

/// Keeps the best time of every benchmark beside printing it.
class CBestTimes : public benchmark::ConsoleReporter {
public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
        double& dBest = m_mapBest.emplace(run.run_name.function_name, run.GetAdjustedCPUTime()).first->second;
        dBest = std::min(dBest, run.GetAdjustedCPUTime());
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }

  void PrintRatio(const std::string& strOurs, const std::string& strBare, double dLimitNs) const {
    const auto itOurs = m_mapBest.find(strOurs);
    const auto itBare = m_mapBest.find(strBare);
    if (itOurs != m_mapBest.end() && itBare != m_mapBest.end()) {
      std::printf("%-40s %9.0f ns (guide %5.0f)   bare loop %9.0f ns   ratio %.2f\n", strOurs.c_str(), itOurs->second,
                  dLimitNs, itBare->second, itOurs->second / itBare->second);
    }
  }

private:
  std::map<std::string, double> m_mapBest;
};

typedef void (*BenchFunction)(benchmark::State&, const VELK_wstring&);

void Register(const std::string& strName, BenchFunction pfn, const VELK_wstring& strText) {
  benchmark::RegisterBenchmark(strName.c_str(), [=](benchmark::State& state) { pfn(state, strText); })
      ->MinTime(0.05)
      ->Repetitions(7);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  for (const BenchText& text : Texts()) {
    const std::string strName(text.pszName);
    Register("divide " + strName, Divide, text.strText);
    Register("bare divide " + strName, BareDivide, text.strText);
    Register("count " + strName, Count, text.strText);
  }
  CBestTimes reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\nBest of the repetitions, against the bare loop of the same run:\n");
  for (const BenchText& text : Texts()) {
    const std::string strName(text.pszName);
    reporter.PrintRatio("divide " + strName, "bare divide " + strName, text.dLimitNs);
    reporter.PrintRatio("count " + strName, "bare divide " + strName, std::min(text.dLimitNs, 8000.0));
  }
  return 0;
}
