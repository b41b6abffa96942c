#include "EventRaiser.h"

#include <algorithm>

namespace modem {

namespace {

template <class Sink>
bool Add(std::vector<Sink*>& sinks, Sink* sink) {
  if (sink == nullptr) {
    return false;
  }
  if (std::find(sinks.begin(), sinks.end(), sink) == sinks.end()) {
    sinks.push_back(sink);
  }
  return true;
}

template <class Sink>
bool Remove(std::vector<Sink*>& sinks, Sink* sink) {
  const auto it = std::find(sinks.begin(), sinks.end(), sink);
  if (it == sinks.end()) {
    return false;
  }
  sinks.erase(it);
  return true;
}

}  // namespace

CEventRaiser::CEventRaiser() { m_hQueued.Init(false, false); }

CEventRaiser::~CEventRaiser() { End(); }

void CEventRaiser::Begin() {
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_bEnd = false;
  }
  Start();
}

void CEventRaiser::End() {
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_bEnd = true;
    m_items.clear();
  }
  m_hQueued.SetEvent();
  const unsigned int kLookMs = 1000;
  while (!WaitForEnd(kLookMs)) {
  }
}

bool CEventRaiser::AddSink(Source source, IUniCommEvent* pSink) {
  const std::lock_guard<std::mutex> guard(m_lock);
  return Add(SinksOf(source), pSink);
}

bool CEventRaiser::AddSink(IDeviceMgrEvent* pSink) {
  const std::lock_guard<std::mutex> guard(m_lock);
  return Add(m_deviceManager, pSink);
}

bool CEventRaiser::RemoveSink(Source source, IUniCommEvent* pSink) {
  bool removed = false;
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    removed = Remove(SinksOf(source), pSink);
  }
  if (!pthread_equal(m_thread, pthread_self())) {
    const std::lock_guard<std::mutex> barrier(m_calling);
  }
  return removed;
}

bool CEventRaiser::RemoveSink(IDeviceMgrEvent* pSink) {
  const std::lock_guard<std::mutex> guard(m_lock);
  return Remove(m_deviceManager, pSink);
}

void CEventRaiser::Post(Source source, const UniCommCall& call, const std::function<void()>& onTaken) {
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_bEnd) {
      return;
    }
    m_items.push_back(Item{source, call, onTaken});
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
      if (m_bEnd) {
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
  if (CallSinks(item) && item.onTaken) {
    item.onTaken();
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
    taken = item.call(sink) || taken;
  }
  return taken;
}

}  // namespace modem
