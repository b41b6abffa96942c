// Raises the services' events from a thread of its own, in order, never from inside a call to a service.
#pragma once

#include "platform/JEvent.h"
#include "platform/JThread.h"
#include "services/IDeviceMgrEvent.h"
#include "services/IUniCommEvent.h"

#include <array>
#include <atomic>
#include <deque>
#include <functional>
#include <mutex>
#include <vector>

namespace modem {

/// Life:    Begin, End; may begin again. Sinks stay over that.
/// Threads: any but, for End, the event thread.
/// Errors:  an exception of a sink counts as false. Raise throws when memory is short, and has then done nothing.
class CEventRaiser : private JThread {
public:
  enum class Source { kMessages, kNetwork, kManager };
  typedef std::function<void(bool bTaken)> RaisedCall;

  CEventRaiser();
  ~CEventRaiser() override;

  /// @return false: the system refuses a thread.
  bool Begin();
  /// Takes no more events, raises those that are queued, and ends the thread.
  void End();

  bool AddSink(Source source, IUniCommEvent* pSink);
  /// Of the device manager.
  bool AddSink(IDeviceMgrEvent* pSink);
  /// Returns when no call of the sink is under way, and never again will be; called from inside a call of a sink it
  /// does not wait. So the caller must not hold a lock that a sink takes.
  bool RemoveSink(Source source, IUniCommEvent* pSink) { return Remove(source, pSink); }
  bool RemoveSink(IDeviceMgrEvent* pSink) { return Remove(Source::kManager, pSink); }

  /// Queues an event with a payload that is copied.
  /// @param onRaised  called on the event thread afterwards with whether a sink has answered true; may be empty.
  template <class Payload>
  void Raise(Source source, unsigned long event, const Payload& payload, const RaisedCall& onRaised = {}) {
    Post(
        source, [event, copy = Payload(payload)](const Sink& sink) mutable { return sink.call(event, &copy); },
        onRaised);
  }
  void Raise(Source source, unsigned long event) {
    Post(source, [event](const Sink& sink) { return sink.call(event, nullptr); }, {});
  }

private:
  struct Sink {
    const void* id;
    std::function<bool(unsigned long event, void* pData)> call;
  };
  /// Calls one sink; answers what the sink answered.
  typedef std::function<bool(const Sink&)> SinkCall;
  struct Item {
    Source source;
    SinkCall call;
    RaisedCall onRaised;
  };

  void* Thread() override;
  void Post(Source source, const SinkCall& call, const RaisedCall& onRaised);
  bool RaiseNext();
  bool CallSinks(const Item& item);
  void Add(Source source, const Sink& sink);
  bool Remove(Source source, const void* id);
  bool IsRegistered(Source source, const void* id);
  std::vector<Sink>& SinksOf(Source source) { return m_sinks[static_cast<std::size_t>(source)]; }

  std::mutex m_lock;
  std::deque<Item> m_items;  // guarded by m_lock, as all below
  std::array<std::vector<Sink>, 3> m_sinks;
  bool m_bEnd = false;
  JEvent m_hQueued;      // something is queued, or the end has come
  std::mutex m_calling;  // held during a call of a sink
  std::atomic<pthread_t> m_thread{};
};

}  // namespace modem
