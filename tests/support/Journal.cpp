#include "Journal.h"

#include "platform/TraceSrv.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

std::atomic<int> g_generation{0};
thread_local int t_generation = -1;
thread_local std::size_t t_lane = 0;

std::string NameOf(const std::string& firstLine) {
  const struct {
    const char* begin;
    const char* name;
  } kNames[] = {{"Info: Enter CSMSServiceImpl::Receive()", "receive"},
                {"Start Thread CheckFileAndDeviceInit()", "check"},
                {"Info: Enter CDeviceSMSImpl::Init()", "load"},
                {"InfoAT: Enter ", "driver"},
                {"== test", "test"}};
  for (const auto& name : kNames) {
    if (firstLine.compare(0, std::string(name.begin).size(), name.begin) == 0) {
      return name.name;
    }
  }
  return "send";
}

}  // namespace

CJournal::CJournal() : m_iGeneration(++g_generation) {
  m_lanes.push_back({"test", {}});
  t_generation = m_iGeneration;
  t_lane = 0;
  TraceSrv_SetSink(Tracelevel::TL_INFO,
                   [this](Tracelevel::TraceLevel, const std::string&, const std::string& text) { Note(text); });
}

CJournal::~CJournal() { TraceSrv_SetSink(Tracelevel::TL_NULL, TraceSink()); }

std::size_t CJournal::LaneOfThread(const std::string& firstLine) {
  if (t_generation != m_iGeneration) {
    t_generation = m_iGeneration;
    t_lane = m_lanes.size();
    m_lanes.push_back({NameOf(firstLine), {}});
  }
  return t_lane;
}

void CJournal::Follow(CFakeClient& client) {
  client.SetHook([this](const std::string& line) { Note("  client: " + line); });
}

void CJournal::Note(const std::string& line) {
  m_monitor.Locked([&] { m_lanes[LaneOfThread(line)].lines.push_back(line); });
}

void CJournal::Add(const std::string& heading, const std::vector<std::string>& lines) {
  m_blocks.emplace_back(heading, lines);
}

void CJournal::Clear() {
  m_monitor.Locked([this] {
    for (Lane& lane : m_lanes) {
      lane.lines.clear();
    }
  });
}

bool CJournal::Await(const std::string& line, int times, int milliseconds) const {
  return m_monitor.Await(
      [&] {
        std::ptrdiff_t count = 0;
        for (const Lane& lane : m_lanes) {
          count += std::count(lane.lines.begin(), lane.lines.end(), line);
        }
        return count >= times;
      },
      milliseconds);
}

std::string CJournal::Text() const {
  std::map<std::string, std::vector<std::string>> byName;
  m_monitor.Peek([&] {
    for (const Lane& lane : m_lanes) {
      std::vector<std::string>& lines = byName[lane.name];
      lines.insert(lines.end(), lane.lines.begin(), lane.lines.end());
    }
    return 0;
  });
  std::ostringstream text;
  const auto print = [&](const std::string& heading, const std::vector<std::string>& lines) {
    if (!lines.empty()) {
      text << "# " << heading << "\n";
      for (const std::string& line : lines) {
        text << line << "\n";
      }
      text << "\n";
    }
  };
  for (const auto& lane : byName) {
    print("thread " + lane.first, lane.second);
  }
  for (const auto& block : m_blocks) {
    print(block.first, block.second);
  }
  return text.str();
}

std::string CompareWithGolden(const std::string& path, const std::string& text) {
  if (std::getenv("SMS_REGENERATE") != nullptr) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    return out.flush() ? "" : "cannot write " + path;
  }
  std::ifstream in(path, std::ios::binary);
  std::ostringstream expected;
  expected << in.rdbuf();
  if (!in) {
    return "cannot read " + path + "; make it with SMS_REGENERATE=1";
  }
  if (expected.str() == text) {
    return "";
  }
  std::istringstream left(expected.str());
  std::istringstream right(text);
  std::string leftLine;
  std::string rightLine;
  int number = 0;
  do {
    ++number;
    leftLine = rightLine = "(end)";
    std::getline(left, leftLine);
    std::getline(right, rightLine);
  } while (leftLine == rightLine && left && right);
  return path + ":" + std::to_string(number) + "\n  expected: " + leftLine + "\n  is:       " + rightLine +
         "\nWhole transcript:\n" + text;
}
