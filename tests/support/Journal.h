// A transcript of a journey: what each thread traced and told, in its own order, as text to compare with a file.
#pragma once

#include "FakeClient.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

/// Threads take turns as the system likes, so a transcript has one lane a thread; within a lane the order is the
/// program's. Lanes are named by their first line; the thread that made the journal is "test".
/// At most one at a time, and no CTraceCapture beside it.
class CJournal {
public:
  CJournal();
  ~CJournal();
  CJournal(const CJournal&) = delete;
  CJournal& operator=(const CJournal&) = delete;

  /// Writes down what the client is told, among the trace lines of the telling thread.
  void Follow(CFakeClient& client);
  /// A line of the calling thread.
  void Note(const std::string& line);
  /// A block behind the lanes.
  void Add(const std::string& heading, const std::vector<std::string>& lines);
  /// Forgets everything so far.
  void Clear();
  /// Waits until a lane has the line so often.
  bool Await(const std::string& line, int times = 1, int milliseconds = 10000) const;

  std::string Text() const;

private:
  struct Lane {
    std::string name;
    std::vector<std::string> lines;
  };
  std::size_t LaneOfThread(const std::string& firstLine);

  CMonitor m_monitor;
  int m_iGeneration;          // tells this journal's lanes from an earlier one's
  std::vector<Lane> m_lanes;  // guarded by m_monitor
  std::vector<std::pair<std::string, std::vector<std::string>>> m_blocks;  // the test's own thread
};

/// Compares with the file, or writes it when SMS_REGENERATE is set; empty: equal or written.
std::string CompareWithGolden(const std::string& path, const std::string& text);
