// A service whose clock stands still, so that a test takes the receive loop through its passes one by one.
#pragma once

#include "ServiceAccess.h"
#include "ServiceTest.h"
#include "platform/JClock.h"

/// The device has no memories unless a test gives it some before Start(): the start-up check then waits for ever, and
/// with the receive loop asleep exactly two timed waits are under way.
class CPassTest : public CServiceTest {
protected:
  CPassTest() : m_clock(1790000000) { HaveMemories(false, false); }
  ~CPassTest() override { Stop(); }

  void HaveMemories(bool sim, bool modem) {
    m_device.manager.m_bHasSim = sim;
    m_device.manager.m_bHasModemMemory = modem;
  }
  /// Waits until the receive loop has nothing to do and sleeps.
  bool AwaitIdle() { return m_clock.AwaitTimedWaiters(2, 100, 10000); }
  /// Lets an idle pass begin, and waits until it sleeps again.
  bool Pass(int times = 1) {
    bool asleep = AwaitIdle();
    for (int pass = 0; pass < times && asleep; ++pass) {
      m_clock.Advance(200);
      asleep = AwaitIdle();
    }
    return asleep;
  }
  bool StartIdle() {
    StartWithClient();
    const bool idle = AwaitIdle();
    m_client.Clear();
    m_trace.Clear();
    return idle;
  }

  void Direct(SMReadRecord record) { m_device.sms.Raise(WMS_NEW_SMS_DIRECT_NOTIFY, &record); }
  /// Puts a message into a memory of the device and gives notice of it.
  MSG_HANDLE Arrive(const SMReadRecord& record, SMS_MEM memory = SMS_MEM_SM) {
    const MSG_HANDLE index = m_device.sms.Put(memory, record);
    Notify(memory, index);
    return index;
  }
  void Notify(SMS_MEM memory, MSG_HANDLE index) {
    SNewSmsNotifyType notice{memory, index};
    m_device.sms.Raise(WMS_RECEIVE_SMS_NOTIFY, &notice);
  }
  static SMReadRecord OfType(SMS_IDENTIFYER type, const VELK_wstring& content = u"text") {
    SMReadRecord record = MakeReadRecord("+491701234567", content);
    record.enType = type;
    return record;
  }
  static SMReadRecord Flash() {
    SMReadRecord record = MakeReadRecord("+491701234567", u"look!");
    record.enSmClass = SMS_CLASS_0;
    return record;
  }

  JManualClock m_clock;
};
