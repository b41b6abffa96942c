#include "EventRaiser.h"

#include "Guarded.h"

#include <algorithm>

namespace modem {

CEventRaiser::CEventRaiser() { m_hQueued.Init(false, false); }

CEventRaiser::~CEventRaiser() { End(); }

bool CEventRaiser::Begin() {
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_bEnd = false;
  }
  return Start() == 0;
}

void CEventRaiser::End() {
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_bEnd = true;
  }
  m_hQueued.SetEvent();
  const unsigned int kLookMs = 1000;
  while (!WaitForEnd(kLookMs)) {
  }
}

bool CEventRaiser::AddSink(Source source, IUniCommEvent* pSink) {
  const std::lock_guard<std::mutex> guard(m_lock);
  std::vector<IUniCommEvent*>& sinks = SinksOf(source);
  if (pSink != nullptr && std::find(sinks.begin(), sinks.end(), pSink) == sinks.end()) {
    sinks.push_back(pSink);
  }
  return pSink != nullptr;
}

bool CEventRaiser::RemoveSink(Source source, IUniCommEvent* pSink) {
  bool removed = false;
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    std::vector<IUniCommEvent*>& sinks = SinksOf(source);
    const auto it = std::find(sinks.begin(), sinks.end(), pSink);
    removed = it != sinks.end();
    if (removed) {
      sinks.erase(it);
    }
  }
  if (!pthread_equal(m_thread, pthread_self())) {
    const std::lock_guard<std::mutex> barrier(m_calling);
  }
  return removed;
}

void CEventRaiser::Post(Source source, const UniCommCall& call, const RaisedCall& onRaised) {
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_bEnd) {
      return;
    }
    m_items.push_back(Item{source, call, onRaised});
  }
  m_hQueued.SetEvent();
}

void* CEventRaiser::Thread() {
  m_thread = pthread_self();
  ThreadStarted();
  for (;;) {
    while (RaiseNext()) {
    }
    {
      const std::lock_guard<std::mutex> guard(m_lock);
      if (m_bEnd && m_items.empty()) {
        m_thread = pthread_t();
        return nullptr;
      }
    }
    m_hQueued.WaitForSingleObject(0);
  }
}

/// @return false: nothing is queued.
bool CEventRaiser::RaiseNext() {
  Item item;
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_items.empty()) {
      return false;
    }
    item = std::move(m_items.front());
    m_items.pop_front();
  }
  const bool taken = Guarded([&] { return CallSinks(item); });
  if (item.onRaised) {
    Guarded([&] { item.onRaised(taken); });
  }
  return true;
}

bool CEventRaiser::CallSinks(const Item& item) {
  const std::lock_guard<std::mutex> calling(m_calling);
  std::vector<IUniCommEvent*> sinks;
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    sinks = SinksOf(item.source);
  }
  bool taken = false;
  for (IUniCommEvent* sink : sinks) {
    // one may have been removed by the one before
    taken = (IsRegistered(item.source, sink) && Guarded([&] { return item.call(sink); })) || taken;
  }
  return taken;
}

bool CEventRaiser::IsRegistered(Source source, IUniCommEvent* pSink) {
  const std::lock_guard<std::mutex> guard(m_lock);
  const std::vector<IUniCommEvent*>& sinks = SinksOf(source);
  return std::find(sinks.begin(), sinks.end(), pSink) != sinks.end();
}

}  // namespace modem
