// Making and ending the service, and its small objects.

#include "PassTest.h"
#include "SMSRecordSetImpl.h"

#include <memory>
#include <ostream>
#include <thread>

namespace {

class ServiceLife : public CServiceTest {
protected:
  CSMSServiceImpl& Service() { return *m_pService; }
};

struct SettingRow {
  const char* name;
  const char* settings;
  bool on;
};

void PrintTo(const SettingRow& row, std::ostream* out) { *out << row.name; }

class BroadcastSetting : public ServiceLife, public ::testing::WithParamInterface<SettingRow> {};

TEST_P(BroadcastSetting, IsOnForTheExactWordOnly) {
  m_home.WriteSettings(GetParam().settings);
  Start();
  EXPECT_EQ(GetParam().on, CServiceAccess::HasBroadcasts(Service()));
  EXPECT_EQ(GetParam().on ? 1 : 0, m_trace.Count("m_bExistCBS = true"));
  EXPECT_EQ(GetParam().on ? 0 : 1, m_trace.Count("m_bExistCBS = false"));
}

INSTANTIATE_TEST_SUITE_P(Values, BroadcastSetting,
                         ::testing::Values(SettingRow{"Exact", "[CBS]\nenable=true\n", true},
                                           SettingRow{"CapitalT", "[CBS]\nenable=True\n", false},
                                           SettingRow{"Capitals", "[CBS]\nenable=TRUE\n", false},
                                           SettingRow{"Longer", "[CBS]\nenable=trueish\n", false},
                                           SettingRow{"One", "[CBS]\nenable=1\n", false},
                                           SettingRow{"Absent", "", false}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(ServiceLife, RegistersWithAllThreeServices) {
  Start();
  EXPECT_EQ(1, m_device.sms.SinkCount());
  EXPECT_EQ(1, m_device.manager.SinkCount());
  EXPECT_EQ(1, m_device.net.SinkCount());
  EXPECT_TRUE(CServiceAccess::IsCheckRunning(Service()));
}

TEST_F(ServiceLife, ExistsWithoutADeviceManagerButChecksNothing) {
  m_home.WriteSettings("[DualModeCard]\nHideDoubleModeCardNode=true\n");
  m_device.OfferManager(false);
  Start();
  ASSERT_NE(nullptr, m_pService);
  EXPECT_EQ(1, m_trace.Count("CSMSServiceImpl construct error"));
  EXPECT_EQ(1, m_device.sms.SinkCount());
  EXPECT_EQ(0, m_device.net.SinkCount());
  EXPECT_FALSE(CServiceAccess::IsCheckRunning(Service()));
  EXPECT_FALSE(CServiceAccess::HidesDoubleModeCard(Service())) << "the setting is read after the device manager";
  EXPECT_NE(nullptr, m_pService->GetSMSRecordSet(NS_SMS::SMS_LOCAL)) << "the stores are there";
  Stop();
  EXPECT_EQ(0, m_trace.Count("Start Thread CheckFileAndDeviceInit()"));
}

TEST_F(ServiceLife, ExistsWithoutAMessageService) {
  m_device.OfferSms(false);
  Start();
  ASSERT_NE(nullptr, m_pService);
  EXPECT_EQ(1, m_trace.Count("CSMSServiceImpl construct error"));
  EXPECT_EQ(0, m_device.manager.SinkCount());
  EXPECT_FALSE(CServiceAccess::IsCheckRunning(Service()));
}

TEST_F(ServiceLife, ExistsWhenAnotherPlugInThrows) {
  m_device.sms.Throw("RegEventSink", 1);
  Start();
  ASSERT_NE(nullptr, m_pService);
  EXPECT_EQ(1, m_trace.Count("CSMSServiceImpl construct error"));
}

TEST_F(ServiceLife, IsCompleteWithoutANetworkService) {
  m_device.OfferNet(false);
  Start();
  EXPECT_EQ(0, m_trace.Count("CSMSServiceImpl construct error"));
  EXPECT_EQ(1, m_device.manager.SinkCount());
  EXPECT_TRUE(CServiceAccess::IsCheckRunning(Service()));
}

TEST_F(ServiceLife, ReadsTheDoubleModeCardSetting) {
  m_home.WriteSettings("[DualModeCard]\nHideDoubleModeCardNode=true\n");
  Start();
  EXPECT_TRUE(CServiceAccess::HidesDoubleModeCard(Service()));
}

TEST_F(ServiceLife, IsOneObjectUntilItIsDestroyed) {
  EXPECT_EQ(nullptr, CSMSServiceImpl::GetInstance());
  Start();
  EXPECT_EQ(m_pService, CSMSServiceImpl::instance());
  EXPECT_EQ(m_pService, CSMSServiceImpl::GetInstance());
  Stop();
  EXPECT_EQ(nullptr, CSMSServiceImpl::GetInstance());
  CSMSServiceImpl::Destroy();
  Start();
  EXPECT_NE(nullptr, m_pService);
  EXPECT_EQ(m_pService, CSMSServiceImpl::GetInstance());
}

TEST_F(ServiceLife, IsOneObjectAlsoForThreadsThatAskAtOnce) {
  std::vector<CSMSServiceImpl*> seen(4);
  std::vector<std::thread> threads;
  for (CSMSServiceImpl*& slot : seen) {
    threads.emplace_back([&slot] { slot = CSMSServiceImpl::instance(); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  Start();
  EXPECT_EQ(std::vector<CSMSServiceImpl*>(4, m_pService), seen);
}

TEST_F(ServiceLife, TakesItsSinksBackAndForgetsItsClients) {
  StartWithClient();
  m_pService->OnDestroy();
  EXPECT_EQ(0, m_device.sms.SinkCount());
  EXPECT_EQ(0, m_device.manager.SinkCount());
  EXPECT_EQ(0, m_device.net.SinkCount());
  m_client.Clear();
  m_pService->OnDeviceMgrEvent(NETSRV_DATA::EVENT_SRV_MS_AVAILABLE, nullptr);
  m_pService->CallBackParamFunc(9);
  EXPECT_TRUE(m_client.Lines().empty());
}

TEST_F(ServiceLife, LetsTheOthersGoWhenOneServiceThrows) {
  StartWithClient();
  m_device.sms.Throw("UnRegEventSink", 1);
  m_pService->OnDestroy();
  EXPECT_EQ(0, m_device.manager.SinkCount());
  EXPECT_EQ(0, m_device.net.SinkCount());
}

TEST_F(ServiceLife, DoesNothingOnRelease) {
  Start();
  m_pService->Release();
  EXPECT_EQ(0, m_pService->GetLastError());
  EXPECT_EQ(m_pService, CSMSServiceImpl::GetInstance());
}

TEST_F(ServiceLife, GivesTheSettings) {
  Start();
  ISMSSetting* setting = nullptr;
  EXPECT_EQ(-1, m_pService->GetSMSSetting(nullptr));
  EXPECT_EQ(0, m_pService->GetSMSSetting(&setting));
  EXPECT_EQ(CSMSSettingImpl::instance(), setting);
}

TEST_F(ServiceLife, MakesRecordsAndSetsForTheirCaller) {
  Start();
  EXPECT_EQ(-1, m_pService->CreateSMSRecord(nullptr, 7));
  EXPECT_EQ(-1, m_pService->CreateSMSRecordSet(nullptr));
  ISMSRecord* record = nullptr;
  ISMSRecordSet* set = nullptr;
  ASSERT_EQ(0, m_pService->CreateSMSRecord(&record, 7));
  ASSERT_EQ(0, m_pService->CreateSMSRecordSet(&set));
  EXPECT_EQ(7, record->GetMSGID());
  EXPECT_EQ(NS_SMS::RECYCLE_BOX, record->GetPosition());
  EXPECT_EQ(0, set->GetRecordCount());
  record->Release();
  set->Release();
}

// Two descriptions of ReleaseSMSRecord once stood side by side: one left the record alive, one freed it. A client that
// frees its records this way would leak under the first, so the second holds; both answer 0.
TEST_F(ServiceLife, FreesARecordWithItsTextsAndClearsThePointer) {
  Start();
  ISMSRecord* record = nullptr;
  m_pService->CreateSMSRecord(&record, 7);
  record->SetContent(Repeat(u"a text too long to be kept in place ", 500).c_str());
  EXPECT_EQ(0, m_pService->ReleaseSMSRecord(&record));
  EXPECT_EQ(nullptr, record);
}

TEST_F(ServiceLife, TrustsWhatItIsGivenToRelease) {
  Start();
  ISMSRecord* none = nullptr;
  EXPECT_EQ(0, m_pService->ReleaseSMSRecord(&none));
  EXPECT_EQ(-1, m_pService->ReleaseSMSRecord(nullptr));
}

class ServiceEnd : public CPassTest {};

TEST_F(ServiceEnd, KillsASendThatWaitsForItsVerdictAfterFiveSeconds) {
  StartWithClient();
  m_device.sms.OnSend([](const SMS_PARAM&) { return SendAnswer::kSilent; });
  m_pService->SendMsg(u"111", u"text");
  ASSERT_TRUE(m_device.sms.AwaitSent(1));
  ASSERT_TRUE(m_clock.AwaitTimedWaiters(1, 70000, 10000));
  std::thread end([] { CSMSServiceImpl::Destroy(); });
  EXPECT_TRUE(m_trace.AwaitLine("CSMSServiceImpl::Send() send cancel"));
  m_clock.Advance(5000);
  end.join();
  EXPECT_EQ(0, m_trace.Count("send end")) << "unwound in the middle";
  m_pService = nullptr;
  CSMSSettingImpl::Destroy();
  Start();
  EXPECT_TRUE(Stored().empty()) << "what was in flight is in no box";
}

TEST_F(ServiceEnd, DoesNotWaitForTheTimeOutsOfIdleThreads) {
  ASSERT_TRUE(StartIdle());
  Stop();  // the clock stands still: threads that waited for it would have to be killed
  EXPECT_EQ(1, m_trace.Count("Info: Leave CSMSServiceImpl::Receive()"));
  EXPECT_EQ(1, m_trace.Count("End Thread CheckFileAndDeviceInit()"));
}

}  // namespace
