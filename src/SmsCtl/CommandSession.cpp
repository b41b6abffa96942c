#include "CommandSession.h"

#include "Boxes.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace smsctl {

namespace {

const std::chrono::seconds kLoadLimit(60);  // a full SIM on a slow modem

/// Hears of the first load of a store.
class CStoreWatcher : public ISMSEvent {
public:
  explicit CStoreWatcher(int iStorage) : m_iStorage(iStorage) {}
  bool Await(std::chrono::seconds limit) {
    std::unique_lock<std::mutex> guard(m_lock);
    return m_changed.wait_for(guard, limit, [this] { return m_ready; });
  }
  void OnSendReport(const ISMSRecord* /*pRecord*/) override {}
  void OnNewMessage(const ISMSRecord* /*pRecord*/) override {}
  void OnServiceState(int /*iState*/) override {}
  void OnRecordAdded(const ISMSRecord* /*pRecord*/) override {}
  void OnStoreReady(int iStorage) override {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_ready = m_ready || iStorage == m_iStorage;
    m_changed.notify_all();
  }
  void OnRecordChanged(const ISMSRecord* /*pRecord*/, DWORD /*dwCode*/) override {}

private:
  const int m_iStorage;
  std::mutex m_lock;
  std::condition_variable m_changed;
  bool m_ready = false;
};

}  // namespace

CCommandSession::CCommandSession(const host::HostOptions& options, int iStorage)
    : m_iStorage(iStorage),
      m_session(iStorage == NS_SMS::SMS_LOCAL ? host::Modem::kNone : host::Modem::kConfigured,
                !options.settingsFile.empty()) {}

bool CCommandSession::Open() {
  std::string error;
  if (!m_session.Start(error)) {
    Fail(error);
    return false;
  }
  return m_iStorage == NS_SMS::SMS_LOCAL ? HasLocalStore() : AwaitStore();
}

bool CCommandSession::HasLocalStore() {
  int capacity = 0;
  int used = 0;
  const bool usable = Service().GetRecordInfo(capacity, used, NS_SMS::SMS_LOCAL) == ISMSService::SUCCESS;
  if (!usable && !host::IsGraveFaultTold()) {
    Fail("the message store cannot be read; see the trace file");
  }
  return usable;
}

bool CCommandSession::AwaitStore() {
  CStoreWatcher watcher(m_iStorage);
  Service().RegCallBack(&watcher);
  const bool ready = watcher.Await(kLoadLimit);
  Service().DeRegCallBack(&watcher);
  if (!ready) {
    Fail(m_iStorage == NS_SMS::SMS_SIM ? "the SIM's messages cannot be read; see \"smsctl status\""
                                       : "the modem has no message memory of its own that can be read");
  }
  return ready;
}

}  // namespace smsctl
