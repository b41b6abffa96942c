#include "EventRaiser.h"

#include "Guarded.h"

#include <algorithm>

namespace modem {

namespace {

template <class Sinks>
auto FindIn(Sinks& sinks, const void* id) {
  return std::find_if(sinks.begin(), sinks.end(), [id](const auto& sink) { return sink.id == id; });
}

}  // namespace

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
  if (pSink != nullptr) {
    Add(source, {pSink, [pSink](unsigned long event, void* pData) { return pSink->OnUniCommEvent(event, pData); }});
  }
  return pSink != nullptr;
}

bool CEventRaiser::AddSink(IDeviceMgrEvent* pSink) {
  if (pSink != nullptr) {
    Add(Source::kManager,
        {pSink, [pSink](unsigned long event, void* pData) { return pSink->OnDeviceMgrEvent(event, pData); }});
  }
  return pSink != nullptr;
}

void CEventRaiser::Add(Source source, const Sink& sink) {
  const std::lock_guard<std::mutex> guard(m_lock);
  std::vector<Sink>& sinks = SinksOf(source);
  const auto it = FindIn(sinks, sink.id);
  if (it == sinks.end()) {
    sinks.push_back(sink);
  }
}

bool CEventRaiser::Remove(Source source, const void* id) {
  bool removed = false;
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    std::vector<Sink>& sinks = SinksOf(source);
    const auto it = FindIn(sinks, id);
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

void CEventRaiser::Post(Source source, const SinkCall& call, const RaisedCall& onRaised) {
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
  std::vector<Sink> sinks;
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    sinks = SinksOf(item.source);
  }
  bool taken = false;
  for (const Sink& sink : sinks) {
    // one may have been removed by the one before
    taken = (IsRegistered(item.source, sink.id) && Guarded([&] { return item.call(sink); })) || taken;
  }
  return taken;
}

bool CEventRaiser::IsRegistered(Source source, const void* id) {
  const std::lock_guard<std::mutex> guard(m_lock);
  std::vector<Sink>& sinks = SinksOf(source);
  return FindIn(sinks, id) != sinks.end();
}

}  // namespace modem
