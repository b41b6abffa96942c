// Follows one send from its first part to its records in the send box.
#pragma once

#include "ISMSEvent.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace smsctl {

/// What became of one recipient.
struct Recipient {
  std::string number;
  int partsSent = 0;
  bool sent = false;
  bool stored = false;  // its record is in the send box
};

/// "sent", "stopped after 2 of 5 parts" or "not sent". A cancelled send counts a recipient whose last tried part got
/// through as sent; the parts tell.
std::string Outcome(const Recipient& recipient, long parts);
bool IsWhole(const Recipient& recipient, long parts);

/// A part got its verdict. Called on the service's threads.
struct PartReport {
  std::string number;
  int part;  // of this number, counted from 1
  bool sent;
};

/// Threads: Begin, the waits and the answers on the client's thread; the events on the service's.
class CSendWatcher : public ISMSEvent {
public:
  /// Forgets the last send; call before SendMsg.
  void Begin(const std::vector<std::string>& numbers, const std::function<void(const PartReport&)>& onReport);
  /// Waits until every recipient is settled.
  bool AwaitEnd(std::chrono::seconds limit);
  /// Waits until so many parts have their verdict.
  bool AwaitReports(int count, std::chrono::seconds limit);
  /// Waits until the network lets messages through.
  bool AwaitCanSend(std::chrono::seconds limit);
  std::vector<Recipient> Recipients() const;

  void OnSendReport(const ISMSRecord* pRecord) override;
  void OnNewMessage(const ISMSRecord* /*pRecord*/) override {}
  void OnServiceState(int iState) override;
  void OnRecordAdded(const ISMSRecord* pRecord) override;
  void OnStoreReady(int /*iStorage*/) override {}
  void OnRecordChanged(const ISMSRecord* /*pRecord*/, DWORD /*dwCode*/) override {}

private:
  mutable std::mutex m_lock;
  std::condition_variable m_changed;
  // guarded by m_lock
  std::vector<Recipient> m_recipients;
  std::size_t m_settled = 0;
  int m_reports = 0;
  bool m_canSend = false;
  std::map<std::string, int> m_reportsOfNumber;
  std::function<void(const PartReport&)> m_onReport;
};

}  // namespace smsctl
