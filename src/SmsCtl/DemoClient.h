// What the demo hears from the service, printed and remembered.
#pragma once

#include "SendWatcher.h"

namespace smsctl {

/// A message that came in.
struct Received {
  std::string text;
  int type;  // NS_SMS::MSG_TYPE
  long id;   // -1: it was not stored
};

/// Threads: the waits on the demo's thread; the events on the service's.
class CDemoClient : public CSendWatcher {
public:
  /// Waits until this text has come in whole.
  bool AwaitMessage(const std::string& text, std::chrono::seconds limit, Received& message);
  bool AwaitDeliveryReports(int count, std::chrono::seconds limit);
  /// Waits for the loss or the return of the modem.
  bool AwaitModem(bool bThere, std::chrono::seconds limit);
  /// Waits until all messages of a store are moved, this many of them.
  bool AwaitMoved(int count, std::chrono::seconds limit);

  void OnNewMessage(const ISMSRecord* pRecord) override;
  void OnServiceState(int iState) override;
  void OnRecordChanged(const ISMSRecord* pRecord, DWORD dwCode) override;

private:
  std::mutex m_newLock;
  std::condition_variable m_newChanged;
  // guarded by m_newLock
  std::vector<Received> m_messages;
  int m_deliveryReports = 0;
  bool m_bModemThere = false;
  int m_moved = 0;
  bool m_bAllMoved = false;
};

}  // namespace smsctl
