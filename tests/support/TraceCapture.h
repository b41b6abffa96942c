// The trace lines written while it lives.
#pragma once

#include <memory>
#include <string>
#include <vector>

/// Takes lines of every level and module; at most one at a time. Threads: any.
class CTraceCapture {
public:
  CTraceCapture();
  ~CTraceCapture();
  CTraceCapture(const CTraceCapture&) = delete;
  CTraceCapture& operator=(const CTraceCapture&) = delete;

  /// Texts only, in order.
  std::vector<std::string> Lines() const;
  /// "level module text" lines, in order.
  std::vector<std::string> FullLines() const;
  /// How often exactly this text was traced.
  int Count(const std::string& text) const;
  bool Contains(const std::string& text) const { return Count(text) > 0; }
  /// Waits until the text was traced `times` times, at most so many milliseconds.
  bool AwaitLine(const std::string& text, int milliseconds = 5000, int times = 1) const;
  void Clear();

private:
  struct State;
  std::shared_ptr<State> m_pState;
};
