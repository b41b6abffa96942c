#include "TraceCapture.h"

#include "platform/TraceSrv.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

struct CTraceCapture::State {
  std::mutex lock;
  std::condition_variable changed;
  std::vector<std::string> texts;
  std::vector<std::string> lines;

  int CountLocked(const std::string& text) const {
    return static_cast<int>(std::count(texts.begin(), texts.end(), text));
  }
};

CTraceCapture::CTraceCapture() : m_pState(std::make_shared<State>()) {
  const std::shared_ptr<State> state = m_pState;
  TraceSrv_SetSink(Tracelevel::TL_INFO,
                   [state](Tracelevel::TraceLevel level, const std::string& module, const std::string& text) {
                     const std::lock_guard<std::mutex> guard(state->lock);
                     state->texts.push_back(text);
                     state->lines.push_back(std::to_string(level) + " " + module + " " + text);
                     state->changed.notify_all();
                   });
}

CTraceCapture::~CTraceCapture() { TraceSrv_SetSink(Tracelevel::TL_NULL, TraceSink()); }

std::vector<std::string> CTraceCapture::Lines() const {
  const std::lock_guard<std::mutex> guard(m_pState->lock);
  return m_pState->texts;
}

std::vector<std::string> CTraceCapture::FullLines() const {
  const std::lock_guard<std::mutex> guard(m_pState->lock);
  return m_pState->lines;
}

int CTraceCapture::Count(const std::string& text) const {
  const std::lock_guard<std::mutex> guard(m_pState->lock);
  return m_pState->CountLocked(text);
}

bool CTraceCapture::AwaitLine(const std::string& text, int milliseconds, int times) const {
  std::unique_lock<std::mutex> guard(m_pState->lock);
  const auto deadline = std::chrono::system_clock::now() + std::chrono::milliseconds(milliseconds);
  return m_pState->changed.wait_until(guard, deadline, [&] { return m_pState->CountLocked(text) >= times; });
}

void CTraceCapture::Clear() {
  const std::lock_guard<std::mutex> guard(m_pState->lock);
  m_pState->texts.clear();
  m_pState->lines.clear();
}
