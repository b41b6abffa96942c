// A sink that writes down what it is told, one line an event.
#pragma once

#include "Await.h"
#include "SMSDef.h"
#include "services/IDeviceMgrEvent.h"
#include "services/IUniCommEvent.h"

#include <deque>
#include <functional>
#include <string>

/// Threads: any.
class CRecordingSink : public IUniCommEvent, public IDeviceMgrEvent {
public:
  bool OnUniCommEvent(unsigned long dwEvent, void* pData) override;
  bool OnDeviceMgrEvent(unsigned long dwEvent, void* pData) override { return OnUniCommEvent(dwEvent, pData); }

  /// The next event, "verdict 0"; "nothing" when none comes in time.
  std::string Next();
  /// What nobody has looked at.
  std::deque<std::string> Rest() const {
    return m_monitor.Peek([this] { return m_lines; });
  }
  /// What it answers from now on.
  void Answer(bool bAnswer) {
    m_monitor.Locked([&] { m_bAnswer = bAnswer; });
  }

private:
  CMonitor m_monitor;
  std::deque<std::string> m_lines;
  bool m_bAnswer = true;
};

/// Text of a message, "unread +491710000002 Hello (part 1 of 2)".
std::string TextOf(const SMReadRecord& record);
