// Records made in one line, and a plug-in with a fake device behind it.
#pragma once

#include "FakeServices.h"
#include "SMSPluginImpl.h"
#include "SMSRecordImpl.h"
#include "SMSSettingImpl.h"
#include "TempHome.h"
#include "Text.h"

#include <gtest/gtest.h>
#include <cstdlib>
#include <ctime>
#include <string>

/// Local time is UTC from here on.
inline void UseUtc() {
  setenv("TZ", "UTC0", 1);
  tzset();
}

inline CSMSRecordImpl MakeRecord(long lID, const std::string& content = "text", int iIsRead = NS_SMS::IS_READ) {
  CSMSRecordImpl record(lID);
  record.SetNumber(u"+491701234567");
  record.SetContent(Utf16(content).c_str());
  record.SetTime(u"20090102030405");
  record.SetPosition(NS_SMS::RECEIVE_BOX);
  record.SetIsRead(iIsRead);
  return record;
}

/// Every field as one line.
inline std::string Describe(const ISMSRecord& record) {
  int iMR = 0;
  int iTotal = 0;
  int iPart = 0;
  record.GetMSGInfo(iMR, iTotal, iPart);
  std::string line = Utf8(record.GetNumber()) + "|" + Utf8(record.GetContent()) + "|" + Utf8(record.GetTime());
  for (const long lValue : {long(record.GetIsRead()), long(record.GetInitialPosition()), long(record.GetPosition()),
                            long(record.GetSendResult()), long(record.GetMSGType()), long(record.GetSMSClass()),
                            record.GetMSGID(), long(iMR), long(iTotal), long(iPart), long(record.GetSMSPriority())}) {
    line += "|" + std::to_string(lValue);
  }
  return line;
}

/// A home of its own, a plug-in object and a fake device in its container.
class CAppTest : public ::testing::Test {
protected:
  CAppTest() { m_plugin.SetPluginContainer(&m_device.container); }
  ~CAppTest() override { CSMSSettingImpl::Destroy(); }

  CTempHome m_home;
  CFakeDevice m_device;
  CSMSPluginImpl m_plugin;
};
