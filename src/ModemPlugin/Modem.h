// The modem: its line, its dialogue, what it told of itself, and the work that is queued for it.
#pragma once

#include "AtDialogue.h"
#include "EventRaiser.h"
#include "MessageConversion.h"
#include "ModemFacts.h"
#include "StoredMessages.h"
#include "platform/JThread.h"

#include <array>
#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace modem {

/// Opens the line anew: at the start, and after a loss. Tests give another one.
typedef std::function<std::unique_ptr<IByteStream>(std::string& error)> StreamOpener;

/// Life:    Start, use, Stop; may be started again. While the line is lost, commands fail at once and the line is tried
///          again once a second; what was queued for sending gets a failed verdict. Stop ends every command under way.
/// Threads: Start and Stop on one thread, everything else on any. Threads of its own: one reads the line, one works off
///          the queue, one raises events.
class CModem {
public:
  explicit CModem(const StreamOpener& open);
  ~CModem();
  CModem(const CModem&) = delete;
  CModem& operator=(const CModem&) = delete;

  /// @param error  out: one line for a person, when the result is false.
  bool Start(std::string& error);
  void Stop();

  /// Told by whoever watches the bus. Absent: the line is closed and not tried again before the modem is present.
  /// Without anybody who tells it counts as present.
  void SetPresent(bool bPresent);

  bool IsAvailable() const { return m_bAvailable; }
  ModemFacts Facts() const;
  CEventRaiser& Events() { return m_events; }

  AtReply Execute(const CAtCommand& command, const char* prefix, unsigned int limitMs);
  AtReply ExecuteWithOctets(const CAtCommand& command, const std::string& octets, const char* prefix,
                            unsigned int limitMs);
  /// Queues a part for sending; the verdict comes as WMS_MO_SMS_STATUS whatever happens.
  /// @return false: the modem is not there, nothing is queued.
  bool QueueSend(const PduLine& line);

  /// Makes the memory the one that is read and written; commands about it follow under the same hold.
  class CMemoryHold {
  public:
    CMemoryHold(CModem& modem, SMS_MEM enMem);
    /// @param name  as the modem names it, "SR"; empty: none.
    CMemoryHold(CModem& modem, const std::string& name);
    /// The modem has taken the memory.
    bool IsOk() const { return m_bOk; }

  private:
    bool Choose(CModem& modem, const std::string& name);

    const CTurn m_hold;
    const bool m_bOk;
  };

  /// Of the memory that is held. An empty place answers OK and leaves the message empty.
  /// @param bQuietly  where the modem can, the message does not become read by it.
  AtReply ReadHeld(MSG_HANDLE hMsg, bool bQuietly, StoredPdu& message);
  /// Quietly where the modem can.
  AtReply ListHeld(CStoredMessages::Listing& messages);
  AtReply DeleteHeld(MSG_HANDLE hMsg);
  /// A memory was found full or not; that it has become full is told once.
  void NoteFull(SMS_MEM enMem, bool bFull);
  bool ReadsQuietly() const;
  CStoredMessages& Stored() { return m_stored; }
  /// How received messages are read; the times by the settings.
  ReadRules Rules() { return ReadRules{m_bNetworkTime, &m_pushes}; }
  /// Times of received messages stay those of the network, from the next message on.
  void KeepNetworkTime(bool bKeep) { m_bNetworkTime = bKeep; }
  void SetServiceCentre(const std::string& number);
  /// Asks for broadcast pages, or for none, now and whenever the modem is started.
  AtReply SetBroadcasts(bool bOn);
  /// Asks for new messages themselves, or for notices of stored ones, now and whenever the modem is started.
  AtReply SetDirect(bool bDirect);
  /// The same before the modem is started.
  void PreferDirect(bool bDirect) { m_bDirect = bDirect; }

private:
  /// A thread that runs one function of the modem.
  class CWorker : public JThread {
  public:
    explicit CWorker(const std::function<void()>& body) : m_body(body) {}
    ~CWorker() override;

  private:
    void* Thread() override;
    const std::function<void()> m_body;
  };
  struct Connection {
    explicit Connection(std::unique_ptr<IByteStream> stream, const CAtDialogue::UnsolicitedHandler& handler)
        : pStream(std::move(stream)), dialogue(*pStream, handler) {}
    std::unique_ptr<IByteStream> pStream;
    CAtDialogue dialogue;
    bool bGone = false;  // guarded by m_lock of the modem
  };
  enum class Next { kRetryLater, kGoOn, kAwaitWork };

  bool StartThreads(std::string& error);
  bool Connect(std::string& error);
  bool IsGone(const Connection& connection) const;
  bool Install(const std::shared_ptr<Connection>& connection);
  bool TakeIntoUse(Connection& connection, const ModemFacts& facts);
  void ReadLine(Connection& connection);
  AtReply Converse(const std::function<AtReply(CAtDialogue&)>& say);
  void Work();
  Next WorkOnce();
  void AskAgain();
  void AskCardAgain();
  void AskOperatorAgain();
  bool Reconnect();
  void TellWhyAway(const std::string& error);
  void TellChange(const ModemFacts& before);
  void SendOne(const PduLine& line);
  void KeepLink();
  void FailQueued();
  void RaiseVerdict(DWORD dwStatus);
  void OnLost(Connection& connection);
  void OnUnsolicited(const std::string& line, const std::string& data);
  void OnDirectMessage(const std::string& line, const std::string& data);
  bool OnRegistration(const std::string& line);
  void OnStored(const std::string& line);
  void OnFull(const std::string& line);
  bool OnCard(const std::string& line);
  void ApplyCard(SimState sim, DevDataDef::PinStatus pin);
  void RaiseMessage(const std::string& hex, const CEventRaiser::RaisedCall& onRaised);
  void RaisePages(const std::string& hex, const CEventRaiser::RaisedCall& onRaised);
  void Fetch(const std::string& memory, MSG_HANDLE hMsg, bool bPage);
  void Acknowledge(bool bTaken);
  void KeepInMemory(const std::string& hex);
  bool StartOn(CAtDialogue& dialogue, ModemFacts& facts, std::string& error);
  AtReply SetIndication(std::size_t place, int value);
  AtReply QueryHeld(const char* name, const char* ownName, long value, bool bQuietly, unsigned int limitMs);
  void Queue(const std::function<void()>& task);
  void AnnounceState();
  std::shared_ptr<Connection> CurrentConnection() const;

  const StreamOpener m_open;
  CEventRaiser m_events;
  std::atomic<bool> m_bAvailable{false};  // this and the next are changed under m_lock
  std::atomic<bool> m_bStop{true};
  std::atomic<bool> m_bBroadcasts{true};
  std::atomic<bool> m_bPresent{true};
  std::atomic<bool> m_bNetworkTime{false};
  std::atomic<bool> m_bDirect{false};
  std::atomic<bool> m_bKeepsLink{true};  // until the modem refuses AT+CMMS
  std::string m_strWhyAway;  // on the worker: what was traced last
  JEvent m_hWork;                        // something is queued, the line is lost, or the end has come

  mutable std::mutex m_lock;  // the next five
  std::shared_ptr<Connection> m_pConnection;
  ModemFacts m_facts;
  std::array<std::optional<SysSrvStatus>, DOMAIN_COUNT> m_told;  // since the start began, by the modem itself
  std::deque<std::function<void()>> m_tasks;
  std::deque<PduLine> m_sends;

  CTurnstile m_memory;  // the chosen memory and commands about it
  std::string m_strChosen;
  CStoredMessages m_stored;
  CWapPushes m_pushes;
  std::array<std::atomic<bool>, 2> m_full{};  // SIM, modem

  // of the thread that connects: at first that of Start, then the worker
  bool m_bRefused = false;  // the modem is there and of no use
  int m_iRefused = 0;       // times in succession

  std::unique_ptr<CWorker> m_pReader;
  std::unique_ptr<CWorker> m_pWorker;
};

}  // namespace modem
