// A client of the service that writes down what it is told.
#pragma once

#include "Await.h"
#include "ISMSEvent.h"

#include <functional>
#include <string>
#include <vector>

/// One line a call: "OnSendReport number=.. content=.. result=..", "OnNewMessage id=.. number=.. content=..",
/// "OnServiceState 7", "OnRecordAdded id=.. number=.. content=.. result=..", "OnStoreReady 0",
/// "OnRecordChanged id=.. code=..". Threads: any.
class CFakeClient : public ISMSEvent {
public:
  void OnSendReport(const ISMSRecord* pRecord) override;
  void OnNewMessage(const ISMSRecord* pRecord) override;
  void OnServiceState(int iState) override;
  void OnRecordAdded(const ISMSRecord* pRecord) override;
  void OnStoreReady(int iStorage) override;
  void OnRecordChanged(const ISMSRecord* pRecord, DWORD dwCode) override;

  std::vector<std::string> Lines() const;
  /// Lines that begin so.
  int Count(const std::string& prefix) const;
  /// Waits until `times` lines begin so.
  bool Await(const std::string& prefix, int times = 1, int milliseconds = 5000) const;
  void Clear();
  /// Called inside every call with its line, before it is written down; may call the service, or throw.
  void SetHook(const std::function<void(const std::string& line)>& hook);

private:
  void Note(const std::string& line);
  int CountLocked(const std::string& prefix) const;

  CMonitor m_monitor;
  std::vector<std::string> m_lines;
  std::function<void(const std::string&)> m_hook;
};
