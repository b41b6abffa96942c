// Raises the services' events from a thread of its own, in order, never from inside a call to a service.
#pragma once

#include "platform/JEvent.h"
#include "platform/JThread.h"
#include "services/IDeviceMgrEvent.h"
#include "services/IUniCommEvent.h"

#include <atomic>
#include <deque>
#include <functional>
#include <mutex>
#include <vector>

namespace modem {

/// Threads: any.
class CEventRaiser : private JThread {
public:
  enum class Source { kMessages, kNetwork, kDeviceManager };
  /// Calls one sink; answers what the sink answered.
  typedef std::function<bool(IUniCommEvent*)> UniCommCall;

  CEventRaiser();
  ~CEventRaiser() override;

  void Begin();
  /// Raises what is queued no longer, waits for the call under way, and ends the thread.
  void End();

  bool AddSink(Source source, IUniCommEvent* pSink);
  /// Returns when no call of the sink is under way, unless called from inside that very call.
  bool RemoveSink(Source source, IUniCommEvent* pSink);
  bool AddSink(IDeviceMgrEvent* pSink);
  bool RemoveSink(IDeviceMgrEvent* pSink);

  /// Queues an event with a payload that is copied.
  /// @param onTaken  called on the event thread afterwards, when a sink has answered true; may be empty.
  template <class Payload>
  void Raise(Source source, unsigned long event, const Payload& payload, const std::function<void()>& onTaken = {}) {
    Post(
        source,
        [event, copy = Payload(payload)](IUniCommEvent* sink) mutable { return sink->OnUniCommEvent(event, &copy); },
        onTaken);
  }
  void Raise(Source source, unsigned long event) {
    Post(source, [event](IUniCommEvent* sink) { return sink->OnUniCommEvent(event, nullptr); }, {});
  }

private:
  struct Item {
    Source source;
    UniCommCall call;
    std::function<void()> onTaken;
  };

  void* Thread() override;
  void Post(Source source, const UniCommCall& call, const std::function<void()>& onTaken);
  bool RaiseNext();
  bool CallSinks(const Item& item);
  std::vector<IUniCommEvent*>& SinksOf(Source source) { return source == Source::kMessages ? m_messages : m_network; }

  std::mutex m_lock;
  std::deque<Item> m_items;  // guarded by m_lock, as all below
  std::vector<IUniCommEvent*> m_messages;
  std::vector<IUniCommEvent*> m_network;
  std::vector<IDeviceMgrEvent*> m_deviceManager;
  bool m_bEnd = false;
  JEvent m_hQueued;      // something is queued, or the end has come
  std::mutex m_calling;  // held during a call of a sink
  std::atomic<pthread_t> m_thread{};
};

}  // namespace modem
