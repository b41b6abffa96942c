// The message settings of the device and of the host.
#include "AppSupport.h"
#include "ShortMemory.h"
#include "TraceCapture.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <thread>
#include <utility>
#include <vector>

namespace {

const VELK_wchar_t kMark = 0xABCD;

class Settings : public CAppTest {
protected:
  Settings() : m_settings(*CSMSSettingImpl::instance()) {
    m_config.enSmClass = SMS_CLASS_1;
    m_config.enPri = SM_PRIORITY_INTERACTIVE;
    m_config.dwValidity = 167;
    m_config.bEnableReplyPath = true;
    std::strcpy(m_config.szSCNum, "+491710760000");
    m_config.enRevMode = RECEIVE_NEWSMS_AFTER_STORED;
    m_device.sms.SetConfig(m_config);
  }

  /// What the device holds must be what it held, apart from what the test has changed in m_config.
  void ExpectConfig() const {
    const WMSConfigurationType stHeld = m_device.sms.Config();
    EXPECT_EQ(m_config.enSmClass, stHeld.enSmClass);
    EXPECT_EQ(m_config.enPri, stHeld.enPri);
    EXPECT_EQ(m_config.dwValidity, stHeld.dwValidity);
    EXPECT_EQ(m_config.bEnableStatusReport, stHeld.bEnableStatusReport);
    EXPECT_EQ(m_config.bEnableReplyPath, stHeld.bEnableReplyPath);
    EXPECT_EQ(0, std::memcmp(m_config.szSCNum, stHeld.szSCNum, sizeof stHeld.szSCNum));
    EXPECT_EQ(m_config.enRevMode, stHeld.enRevMode);
  }

  CSMSSettingImpl& m_settings;
  WMSConfigurationType m_config;
};

// --- Service centre --------------------------------------------------------------------------------------------------

TEST_F(Settings, TellTheLengthOfTheCentreNumberWithoutABuffer) {
  VELK_wchar_t szBuffer[4] = {kMark};
  EXPECT_EQ(13, m_settings.GetSMSCentreNumber(nullptr, 0));
  EXPECT_EQ(13, m_settings.GetSMSCentreNumber(nullptr, 30));
  EXPECT_EQ(13, m_settings.GetSMSCentreNumber(szBuffer, 0));
  EXPECT_EQ(13, m_settings.GetSMSCentreNumber(szBuffer, -1));
  EXPECT_EQ(kMark, szBuffer[0]);
}

TEST_F(Settings, CopyTheCentreNumberWithItsTerminatorWhenThereIsRoom) {
  VELK_wchar_t szBuffer[30];
  std::fill_n(szBuffer, 30, kMark);
  EXPECT_EQ(13, m_settings.GetSMSCentreNumber(szBuffer, 29));
  EXPECT_EQ("+491710760000", Utf8(szBuffer));
  EXPECT_EQ(kMark, szBuffer[29]);
}

TEST_F(Settings, CopyAtMostAsMuchOfTheCentreNumberAsTheBufferHolds) {
  for (const int iRoom : {1, 5, 12, 13}) {
    VELK_wchar_t szBuffer[30];
    std::fill_n(szBuffer, 30, kMark);
    EXPECT_EQ(iRoom, m_settings.GetSMSCentreNumber(szBuffer, iRoom));
    EXPECT_EQ(std::string("+491710760000").substr(0, std::size_t(iRoom)),
              Utf8(VELK_wstring(szBuffer, std::size_t(iRoom))));
    EXPECT_EQ(kMark, szBuffer[iRoom]);
  }
}

TEST_F(Settings, ReadACentreNumberWithoutATerminatorToItsLastByte) {
  std::memset(m_config.szSCNum, '7', sizeof m_config.szSCNum);
  m_device.sms.SetConfig(m_config);
  VELK_wchar_t szBuffer[40];
  EXPECT_EQ(21, m_settings.GetSMSCentreNumber(nullptr, 0));
  EXPECT_EQ(21, m_settings.GetSMSCentreNumber(szBuffer, 40));
  EXPECT_EQ(std::string(21, '7'), Utf8(szBuffer));
}

TEST_F(Settings, StoreTheFirst20CharactersOfACentreNumber) {
  EXPECT_EQ(0, m_settings.SetSMSCentreNumber(u"1234567890123456789012345"));
  std::memset(m_config.szSCNum, 0, sizeof m_config.szSCNum);
  std::memcpy(m_config.szSCNum, "12345678901234567890", 20);
  ExpectConfig();
}

TEST_F(Settings, AShorterCentreNumberLeavesNothingOfTheOneBefore) {
  EXPECT_EQ(0, m_settings.SetSMSCentreNumber(u"12"));
  std::memset(m_config.szSCNum, 0, sizeof m_config.szSCNum);
  std::memcpy(m_config.szSCNum, "12", 2);
  ExpectConfig();
}

TEST_F(Settings, TakeAnEmptyAndAHugeCentreNumber) {
  EXPECT_EQ(0, m_settings.SetSMSCentreNumber(u""));
  EXPECT_EQ(0, m_settings.GetSMSCentreNumber(nullptr, 0));
  EXPECT_EQ(0, m_settings.SetSMSCentreNumber(Repeat(u"9", 1000000).c_str()));
  EXPECT_EQ(20, m_settings.GetSMSCentreNumber(nullptr, 0));
}

TEST_F(Settings, RefuseANullCentreNumber) {
  EXPECT_EQ(-1, m_settings.SetSMSCentreNumber(nullptr));
  EXPECT_EQ(0, m_device.sms.Calls("SetWMSConfig"));
}

TEST_F(Settings, ACentreNumberThatTheDeviceRejectsIsAFailure) {
  m_device.sms.Fail("SetWMSConfig", 1);
  EXPECT_EQ(-1, m_settings.SetSMSCentreNumber(u"12"));
  ExpectConfig();
}

// --- Validity, receipts, priority ------------------------------------------------------------------------------------

TEST_F(Settings, PassTheValidityPeriodThrough) {
  long lValue = 0;
  EXPECT_EQ(0, m_settings.GetSMSValidityPeriod(lValue));
  EXPECT_EQ(167, lValue);
  EXPECT_EQ(0, m_settings.SetSMSValidityPeriod(255));
  m_config.dwValidity = 255;
  ExpectConfig();
  EXPECT_EQ(0, m_settings.SetSMSValidityPeriod((1L << 32) + 7));
  m_config.dwValidity = 7;
  ExpectConfig();
  EXPECT_EQ(0, m_settings.SetSMSValidityPeriod(-1));
  EXPECT_EQ(0, m_settings.GetSMSValidityPeriod(lValue));
  EXPECT_EQ(4294967295L, lValue);
}

TEST_F(Settings, TellAndChangeWhetherReceiptsAreAskedFor) {
  int iValue = 7;
  EXPECT_EQ(0, m_settings.GetSMSReceiptNotify(iValue));
  EXPECT_EQ(0, iValue);
  for (const int iOn : {1, -1, 2}) {
    EXPECT_EQ(0, m_settings.SetSMSReceiptNotify(0));
    EXPECT_EQ(0, m_settings.SetSMSReceiptNotify(iOn));
    m_config.bEnableStatusReport = true;
    ExpectConfig();
    EXPECT_EQ(0, m_settings.GetSMSReceiptNotify(iValue));
    EXPECT_EQ(1, iValue);
  }
}

TEST_F(Settings, TellAndChangeThePriority) {
  int iValue = 7;
  EXPECT_EQ(0, m_settings.GetSMSPriority(iValue));
  EXPECT_EQ(SM_PRIORITY_INTERACTIVE, iValue);
  EXPECT_EQ(0, m_settings.SetSMSPriority(2));
  m_config.enPri = SM_PRIORITY_URGENT;
  ExpectConfig();
  for (const int iAny : {99, -1, std::numeric_limits<int>::max()}) {
    EXPECT_EQ(0, m_settings.SetSMSPriority(iAny));
    EXPECT_EQ(0, m_settings.GetSMSPriority(iValue));
    EXPECT_EQ(iAny, iValue);
  }
}

TEST_F(Settings, ReportSuccessEvenWhenTheDeviceRejectsTheWrite) {
  m_device.sms.Fail("SetWMSConfig", -1);
  EXPECT_EQ(0, m_settings.SetSMSPriority(2));
  EXPECT_EQ(0, m_settings.SetSMSValidityPeriod(1));
  EXPECT_EQ(0, m_settings.SetSMSReceiptNotify(1));
  EXPECT_EQ(3, m_device.sms.Calls("SetWMSConfig"));
  ExpectConfig();
}

// --- Failures of the device ------------------------------------------------------------------------------------------

/// Every operation on the device's configuration, with what it answers when that cannot be read.
std::vector<std::pair<const char*, std::function<long(CSMSSettingImpl&)>>> ConfigOperations() {
  return {{"GetSMSCentreNumber", [](CSMSSettingImpl& s) { return long(s.GetSMSCentreNumber(nullptr, 0)); }},
          {"SetSMSCentreNumber", [](CSMSSettingImpl& s) { return s.SetSMSCentreNumber(u"1"); }},
          {"GetSMSValidityPeriod",
           [](CSMSSettingImpl& s) {
             long lValue = 5;
             const long lResult = s.GetSMSValidityPeriod(lValue);
             EXPECT_EQ(5, lValue);
             return lResult;
           }},
          {"SetSMSValidityPeriod", [](CSMSSettingImpl& s) { return s.SetSMSValidityPeriod(1); }},
          {"GetSMSReceiptNotify",
           [](CSMSSettingImpl& s) {
             int iValue = 5;
             const long lResult = s.GetSMSReceiptNotify(iValue);
             EXPECT_EQ(5, iValue);
             return lResult;
           }},
          {"SetSMSReceiptNotify", [](CSMSSettingImpl& s) { return s.SetSMSReceiptNotify(1); }},
          {"GetSMSPriority",
           [](CSMSSettingImpl& s) {
             int iValue = 5;
             const long lResult = s.GetSMSPriority(iValue);
             EXPECT_EQ(5, iValue);
             return lResult;
           }},
          {"SetSMSPriority", [](CSMSSettingImpl& s) { return s.SetSMSPriority(1); }}};
}

TEST_F(Settings, FailWithoutAMessageService) {
  m_device.OfferSms(false);
  for (const auto& operation : ConfigOperations()) {
    EXPECT_EQ(-1, operation.second(m_settings)) << operation.first;
  }
}

TEST_F(Settings, FailWithoutAWriteWhenTheConfigurationCannotBeRead) {
  m_device.sms.Fail("GetWMSConfig", -1);
  for (const auto& operation : ConfigOperations()) {
    EXPECT_EQ(-1, operation.second(m_settings)) << operation.first;
  }
  EXPECT_EQ(0, m_device.sms.Calls("SetWMSConfig"));
}

TEST_F(Settings, FailQuietlyWhenReadingThrows) {
  const CTraceCapture trace;
  m_device.sms.Throw("GetWMSConfig", -1);
  for (const auto& operation : ConfigOperations()) {
    EXPECT_EQ(-1, operation.second(m_settings)) << operation.first;
  }
  EXPECT_TRUE(trace.Lines().empty());
}

TEST_F(Settings, FailQuietlyWhenWritingThrows) {
  const CTraceCapture trace;
  m_device.sms.Throw("SetWMSConfig", -1);
  EXPECT_EQ(-1, m_settings.SetSMSCentreNumber(u"1"));
  EXPECT_EQ(-1, m_settings.SetSMSValidityPeriod(1));
  EXPECT_EQ(-1, m_settings.SetSMSReceiptNotify(1));
  EXPECT_EQ(-1, m_settings.SetSMSPriority(1));
  EXPECT_TRUE(trace.Lines().empty());
}

// --- The host's settings store ---------------------------------------------------------------------------------------

TEST_F(Settings, WithoutAReceiveModeAnswerDirectAndFailure) {
  int iValue = 9;
  EXPECT_EQ(-1, m_settings.GetSMSReceiveMode(iValue));
  EXPECT_EQ(1, iValue);
}

struct NumberRow {
  const char* pszText;
  int iValue;
};

const NumberRow kNumbers[] = {{"2", 2},   {"0", 0},   {"1", 1},
                              {"-3", -3}, {"abc", 0}, {"99999999999999999999", 2147483647}};

TEST_F(Settings, TellTheReceiveModeAsItIsWritten) {
  for (const NumberRow& row : kNumbers) {
    m_home.WriteSettings(std::string("[SMSSERVICE]\nReceviceMode=") + row.pszText + "\n");
    int iValue = 9;
    EXPECT_EQ(0, m_settings.GetSMSReceiveMode(iValue)) << row.pszText;
    EXPECT_EQ(row.iValue, iValue) << row.pszText;
  }
}

TEST_F(Settings, DoNotTakeTheReceiveModeFromTheProperSpelling) {
  m_home.WriteSettings("[SMSSERVICE]\nReceiveMode=2\n");
  int iValue = 9;
  EXPECT_EQ(-1, m_settings.GetSMSReceiveMode(iValue));
  EXPECT_EQ(1, iValue);
}

TEST_F(Settings, TellTheCleanUpAgeOfBroadcastsAsItIsWritten) {
  for (const NumberRow& row : kNumbers) {
    m_home.WriteSettings(std::string("[CBSSettingPlugin]\nAutoCleanup=") + row.pszText + "\n");
    int iValue = 9;
    EXPECT_EQ(0, m_settings.GetCBSAutoCleanup(iValue)) << row.pszText;
    EXPECT_EQ(row.iValue, iValue) << row.pszText;
  }
}

TEST_F(Settings, WithoutACleanUpAgeLeaveTheValueUntouched) {
  int iValue = 9;
  EXPECT_EQ(-1, m_settings.GetCBSAutoCleanup(iValue));
  EXPECT_EQ(9, iValue);
}

TEST_F(Settings, AlwaysLimitAGroupTo20) {
  int iValue = 0;
  EXPECT_EQ(0, m_settings.GetSMSGroupSendLimit(iValue));
  EXPECT_EQ(20, iValue);
  m_device.OfferSms(false);
  EXPECT_EQ(0, m_settings.GetSMSGroupSendLimit(iValue));
  EXPECT_EQ(20, iValue);
}

// --- Cell broadcast --------------------------------------------------------------------------------------------------

std::vector<std::pair<const char*, std::function<bool(CSMSSettingImpl&)>>> BroadcastOperations() {
  return {{"CBSAddChannel", [](CSMSSettingImpl& s) { return s.AddCBSChannel("4352"); }},
          {"CBSRemoveChannel", [](CSMSSettingImpl& s) { return s.RemoveCBSChannel("4352"); }},
          {"CBSGetDetail", [](CSMSSettingImpl& s) { return s.CBSGetDetail(nullptr, nullptr, nullptr, nullptr); }},
          {"CBSReleaseDetail", [](CSMSSettingImpl& s) { return s.CBSReleaseDetail(nullptr, nullptr, nullptr); }},
          {"CBSSetService", [](CSMSSettingImpl& s) { return s.CBSSetService(CBS_STAT_OPEN, nullptr); }}};
}

TEST_F(Settings, AnswerTrueForBroadcastsWithoutAMessageService) {
  m_device.OfferSms(false);
  EXPECT_TRUE(m_settings.AddCBSChannel("4352"));
  for (const auto& operation : BroadcastOperations()) {
    EXPECT_TRUE(operation.second(m_settings)) << operation.first;
  }
}

TEST_F(Settings, AnswerTheDevicesNoForBroadcasts) {
  for (const auto& operation : BroadcastOperations()) {
    EXPECT_TRUE(operation.second(m_settings)) << operation.first;
    m_device.sms.Fail(operation.first, 1);
    EXPECT_FALSE(operation.second(m_settings)) << operation.first;
    EXPECT_EQ(2, m_device.sms.Calls(operation.first));
  }
}

TEST_F(Settings, AnswerTrueForBroadcastsWhenTheDeviceThrows) {
  const CTraceCapture trace;
  for (const auto& operation : BroadcastOperations()) {
    m_device.sms.Throw(operation.first, 1);
    EXPECT_TRUE(operation.second(m_settings)) << operation.first;
  }
  EXPECT_TRUE(trace.Lines().empty());
}

TEST_F(Settings, AddAChannelWithAnEmptyListOfCodings) {
  EXPECT_TRUE(m_settings.AddCBSChannel("4352"));
  EXPECT_TRUE(m_settings.RemoveCBSChannel("0-5"));
  EXPECT_EQ((std::vector<std::string>{"CBSAddChannel \"4352\" \"\"", "CBSRemoveChannel 0-5"}),
            m_device.sms.CallLines());
}

TEST_F(Settings, PassNullChannelsOn) {
  EXPECT_TRUE(m_settings.AddCBSChannel(nullptr));
  EXPECT_TRUE(m_settings.RemoveCBSChannel(nullptr));
  EXPECT_EQ((std::vector<std::string>{"CBSAddChannel (null) \"\"", "CBSRemoveChannel (null)"}),
            m_device.sms.CallLines());
}

TEST_F(Settings, GiveTheBroadcastListsOfTheDeviceAndTakeThemBack) {
  CBSStat enStat = CBS_STAT_CLOSE;
  CbsMidList mids;
  CbsDcsList dcss;
  DWORD dwStatus = 99;
  EXPECT_TRUE(m_settings.CBSGetDetail(&enStat, &mids, &dcss, &dwStatus));
  EXPECT_EQ(CBS_STAT_OPEN, enStat);
  EXPECT_EQ(0U, dwStatus);
  ASSERT_EQ(1U, mids.size);
  EXPECT_EQ(4352U, mids.pCbsMids[0].dwLeft);
  EXPECT_EQ(4359U, mids.pCbsMids[0].dwRight);
  EXPECT_TRUE(m_settings.CBSReleaseDetail(&mids, &dcss, &dwStatus));  // the leak checker sees whether it arrived
  EXPECT_EQ(1, m_device.sms.Calls("CBSReleaseDetail"));
}

TEST_F(Settings, SwitchBroadcastsOnAndOff) {
  DWORD dwStatus = 99;
  EXPECT_TRUE(m_settings.CBSSetService(CBS_STAT_OPEN, &dwStatus));
  EXPECT_EQ(0U, dwStatus);
  EXPECT_TRUE(m_settings.CBSSetService(CBS_STAT_CLOSE, &dwStatus));
  EXPECT_EQ((std::vector<std::string>{"CBSSetService 0", "CBSSetService 1"}), m_device.sms.CallLines());
}

// --- The one object --------------------------------------------------------------------------------------------------

TEST(SettingsLife, IsOneObjectForAll) {
  CSMSSettingImpl* const pSettings = CSMSSettingImpl::instance();
  ASSERT_NE(nullptr, pSettings);
  pSettings->Release();
  EXPECT_EQ(0, pSettings->GetLastError());
  EXPECT_EQ(pSettings, CSMSSettingImpl::instance());
  CSMSSettingImpl::Destroy();
}

TEST(SettingsLife, DestroyingTwiceOrWithoutAnObjectDoesNoHarm) {
  CSMSSettingImpl::Destroy();
  CSMSSettingImpl::instance();
  CSMSSettingImpl::Destroy();
  CSMSSettingImpl::Destroy();
}

TEST(SettingsLife, BeginsAnewAfterTheEnd) {
  for (int iLife = 0; iLife < 3; ++iLife) {
    int iValue = 0;
    ASSERT_NE(nullptr, CSMSSettingImpl::instance());
    EXPECT_EQ(0, CSMSSettingImpl::instance()->GetSMSGroupSendLimit(iValue));
    EXPECT_EQ(20, iValue);
    CSMSSettingImpl::Destroy();
  }
}

TEST(SettingsLife, IsNullWithOneLineWhenMemoryIsShort) {
  const CTempHome home;
  for (int iLife = 0; iLife < 2; ++iLife) {
    const CTraceCapture trace;
    {
      const CShortMemory shortage(0);
      EXPECT_EQ(nullptr, CSMSSettingImpl::instance());
    }
    EXPECT_EQ((std::vector<std::string>{"2 SMSSERVICE CSMSSettingImpl::instance error"}), trace.FullLines());
    EXPECT_NE(nullptr, CSMSSettingImpl::instance());
    CSMSSettingImpl::Destroy();
  }
}

TEST(SettingsLife, ManyThreadsAtOnceGetOneObject) {
  for (int iLife = 0; iLife < 20; ++iLife) {
    std::vector<CSMSSettingImpl*> seen(8);
    std::vector<std::thread> threads;
    for (CSMSSettingImpl*& pSeen : seen) {
      threads.emplace_back([&pSeen] { pSeen = CSMSSettingImpl::instance(); });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
    EXPECT_NE(nullptr, seen[0]);
    EXPECT_EQ(8, std::count(seen.begin(), seen.end(), seen[0]));
    CSMSSettingImpl::Destroy();
  }
}

}  // namespace
