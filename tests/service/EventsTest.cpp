// Events of the device services, and the start-up checks.

#include "PassTest.h"

#include <ostream>

namespace {

const char kEnter[] = "InfoAT: Enter CSMSServiceImpl::OnDeviceMgrEvent() ";
const char kLeave[] = "InfoAT: Leave CSMSServiceImpl::OnDeviceMgrEvent() ";

typedef std::vector<std::string> Lines;
typedef std::vector<unsigned long> Numbers;

/// No message is taken: no client has registered.
class ServiceEvents : public CServiceTest {
protected:
  bool Event(unsigned long number, void* data = nullptr) { return m_pService->OnDeviceMgrEvent(number, data); }
  bool Number(unsigned long number, DWORD value) { return Event(number, &value); }
  /// What a client is told, by events on the calling thread.
  Lines Told() {
    const Lines lines = m_client.Lines();
    m_client.Clear();
    return lines;
  }
  int Bracketed(const std::string& name) {
    EXPECT_EQ(m_trace.Count(kEnter + name), m_trace.Count(kLeave + name)) << name;
    return m_trace.Count(kEnter + name);
  }
};

TEST_F(ServiceEvents, KnowsItsNumbersAndNoOther) {
  Start();
  for (unsigned long number : Numbers{4, 6, 8, 9, 6601, 6604, 6650, 20401, 20402, 20403, 20404, 20407, 20408, 20409}) {
    EXPECT_TRUE(Event(number)) << number;
    EXPECT_TRUE(m_pService->OnUniCommEvent(number, nullptr)) << number;
  }
  m_trace.Clear();
  for (unsigned long number : Numbers{0, 1, 3, 5, 7, 10, 6600, 6602, 6603, 20400, 20405, 20406, 20410, 99999}) {
    EXPECT_FALSE(Event(number)) << number;
    EXPECT_FALSE(m_pService->OnUniCommEvent(number, nullptr)) << number;
  }
}

TEST_F(ServiceEvents, DoNothingWithoutTheirDataButEnterAndLeave) {
  StartWithClient();
  for (unsigned long number : Numbers{4, 6, 20401, 20402, 20403, 20404, 20407}) {
    EXPECT_TRUE(Event(number)) << number;
  }
  EXPECT_TRUE(Told().empty());
  EXPECT_FALSE(CServiceAccess::IsSendOk(*m_pService));
  EXPECT_FALSE(CServiceAccess::IsSendFailed(*m_pService));
  EXPECT_EQ(2, Bracketed("WMS_REPORT_STATUS_DIRECT")) << "both direct events";
  EXPECT_EQ(1, Bracketed("WMS_NEW_SMS_DIRECT_NOTIFY or WMS_RECEIVE_SMS_NOTIFY"));
  EXPECT_EQ(1, Bracketed("WMS_MO_SMS_STATUS"));
  EXPECT_EQ(1, Bracketed("EVENT_SRV_SIM_STATE"));
  EXPECT_EQ(1, Bracketed("EVENT_NET_SERVER_STATUS"));
}

TEST_F(ServiceEvents, QueueDirectMessagesAndReportsAlike) {
  Start();
  SMReadRecord message = MakeReadRecord("111", u"one");
  SMReadRecord report = MakeReadRecord("222", u"two");
  EXPECT_TRUE(Event(WMS_NEW_SMS_DIRECT_NOTIFY, &message));
  EXPECT_TRUE(Event(WMS_REPORT_STATUS_DIRECT, &report));
  EXPECT_EQ(2, Bracketed("WMS_REPORT_STATUS_DIRECT"));
  const std::vector<SMReadRecord> queued = CServiceAccess::Direct(*m_pService);
  ASSERT_EQ(2u, queued.size());
  EXPECT_STREQ("111", queued[0].szAddress);
  EXPECT_STREQ("222", queued[1].szAddress);
}

TEST_F(ServiceEvents, QueueNoticesOfStoredMessages) {
  Start();
  SNewSmsNotifyType notice{SMS_MEM_ME, 7};
  EXPECT_TRUE(Event(WMS_RECEIVE_SMS_NOTIFY, &notice));
  EXPECT_EQ(1u, CServiceAccess::Notices(*m_pService));
  EXPECT_EQ(1, Bracketed("WMS_NEW_SMS_DIRECT_NOTIFY or WMS_RECEIVE_SMS_NOTIFY"));
}

CBSMessage Page(BYTE total, BYTE sequence, const VELK_wstring& text) {
  CBSMessage page{};
  page.SerialNumber = 0x12345;
  page.MessageId = 3000000000u;
  page.TotalNumber = total;
  page.Sequence = sequence;
  text.copy(page.wszContent, 96);
  return page;
}

TEST_F(ServiceEvents, IgnoreBroadcastsThatAreNotConfigured) {
  Start();
  CBSMessage page = Page(1, 1, u"warning");
  m_trace.Clear();
  EXPECT_TRUE(Event(CBS_CONTENT_DIRECT_NOTIFY, &page));
  EXPECT_TRUE(CServiceAccess::Direct(*m_pService).empty());
  EXPECT_EQ(0, m_trace.Count(kEnter + std::string("CBS_CONTENT_DIRECT_NOTIFY")));
}

class BroadcastEvent : public ServiceEvents {
protected:
  BroadcastEvent() {
    m_home.WriteSettings("[CBS]\nenable=true\n");
    m_device.device.m_enStatus = DevDataDef::DEVICE_STATUS_UNKNOW;  // no loads beside the events
    Start();
  }
  SMReadRecord Queue(CBSMessage page) {
    EXPECT_TRUE(Event(CBS_CONTENT_DIRECT_NOTIFY, &page));
    return CServiceAccess::Direct(*m_pService).back();
  }
};

TEST_F(BroadcastEvent, BecomesAnUnreadMessageFromItsChannel) {
  const SMReadRecord record = Queue(Page(1, 1, u"warning"));
  EXPECT_STREQ("3000000000", record.szAddress);
  EXPECT_EQ("warning", Utf8(record.wszContent));
  EXPECT_EQ(SMS_IDENTIFYER_CELL_BROADCAST, record.enType);
  EXPECT_EQ(SMS_STAT_UNREAD, record.enSMStat);
  EXPECT_EQ(0u, record.dwLength);
  EXPECT_LT(2000, record.stTime.wYear);
}

TEST_F(BroadcastEvent, LeavesWithTheTextOfTheReportEvent) {
  ASSERT_TRUE(m_trace.AwaitLine("Start Thread CheckFileAndDeviceInit()"));
  m_trace.Clear();
  Queue(Page(1, 1, u"warning"));
  EXPECT_EQ(
      (Lines{kEnter + std::string("CBS_CONTENT_DIRECT_NOTIFY"), kLeave + std::string("WMS_REPORT_STATUS_DIRECT")}),
      m_trace.Lines());
}

TEST_F(BroadcastEvent, OfOnePageHasNoLongMessageInformation) {
  for (BYTE total : {BYTE(0), BYTE(1)}) {
    const SMReadRecord record = Queue(Page(total, 1, u"warning"));
    EXPECT_EQ(0, record.stLongSMS_info.btMR);
    EXPECT_EQ(0, record.stLongSMS_info.btTotalPack);
    EXPECT_EQ(0, record.stLongSMS_info.btPack);
  }
}

TEST_F(BroadcastEvent, OfSeveralPagesCarriesTheLowByteOfItsSerialNumber) {
  const SMReadRecord record = Queue(Page(3, 2, u"warning"));
  EXPECT_EQ(0x45, record.stLongSMS_info.btMR);
  EXPECT_EQ(3, record.stLongSMS_info.btTotalPack);
  EXPECT_EQ(2, record.stLongSMS_info.btPack);
}

TEST_F(BroadcastEvent, MayFillItsPageWithoutATerminator) {
  const SMReadRecord record = Queue(Page(1, 1, Repeat(u"w", 96)));
  EXPECT_EQ(Utf8(Repeat(u"w", 96)), Utf8(record.wszContent));
}

TEST_F(BroadcastEvent, QueuesNothingWithoutItsData) {
  EXPECT_TRUE(Event(CBS_CONTENT_DIRECT_NOTIFY));
  EXPECT_TRUE(CServiceAccess::Direct(*m_pService).empty());
  EXPECT_EQ(1, m_trace.Count(kEnter + std::string("CBS_CONTENT_DIRECT_NOTIFY")));
}

TEST_F(ServiceEvents, OnlyLogAFullMemory) {
  StartWithClient();
  Number(WMS_MEMORY_STORE_FULL, 0);
  Number(WMS_MEMORY_STORE_FULL, 1);
  Number(WMS_MEMORY_STORE_FULL, 2);
  EXPECT_EQ(3, Bracketed("WMS_MEMORY_STORE_FULL"));
  EXPECT_EQ(1, m_trace.Count("WMS_SIM_MEMORY_STORE_FULL"));
  EXPECT_EQ(1, m_trace.Count("WMS_NV_MEMORY_STORE_FULL"));
  EXPECT_EQ(1, m_trace.Count("Info: CSMSServiceImpl::OnDeviceMgrEvent() unknow short message MEMORY STORE FULL"));
  EXPECT_TRUE(Told().empty());
}

struct SimRow {
  DWORD state;
  Lines told;
};

void PrintTo(const SimRow& row, std::ostream* out) { *out << "state " << row.state; }

class SimStateEvent : public ServiceEvents, public ::testing::WithParamInterface<SimRow> {};

TEST_P(SimStateEvent, IsGoodForEverythingButInvalidAndNone) {
  StartWithClient();
  Number(NETSRV_DATA::EVENT_SRV_SIM_STATE, GetParam().state);
  EXPECT_EQ(GetParam().told, Told());
  EXPECT_EQ(1, Bracketed("EVENT_SRV_SIM_STATE"));
  EXPECT_EQ(GetParam().told.size() == 2 ? 1 : 0,
            m_trace.Count("Info: CSMSServiceImpl::OnDeviceMgrEvent()SIM_NOT_AVAILABLE!"));
}

const Lines kSimOk{"OnServiceState 1"};
const Lines kSimGone{"OnServiceState 5", "OnServiceState 8"};
INSTANTIATE_TEST_SUITE_P(States, SimStateEvent,
                         ::testing::Values(SimRow{0, kSimGone}, SimRow{255, kSimGone}, SimRow{1, kSimOk},
                                           SimRow{2, kSimOk}, SimRow{240, kSimOk}, SimRow{3, kSimOk}));

TEST_F(ServiceEvents, AllowSendingOnFullNetworkServiceOnly) {
  StartWithClient();
  Number(NETSRV_DATA::EVENT_NET_SERVER_STATUS, SYS_SRV_STATUS_SRV);
  EXPECT_EQ((Lines{"OnServiceState 7"}), Told());
  Number(NETSRV_DATA::EVENT_NET_SERVER_STATUS, SYS_SRV_STATUS_LIMITED);
  Number(NETSRV_DATA::EVENT_NET_SERVER_STATUS, SYS_SRV_STATUS_NONE);
  EXPECT_EQ((Lines{"OnServiceState 8", "OnServiceState 8"}), Told());
  EXPECT_EQ(1, m_trace.Count("Info: CSMSServiceImpl::OnDeviceMgrEvent() CAN_SEND_SMS!"));
  EXPECT_EQ(2, m_trace.Count("Info: CSMSServiceImpl::OnDeviceMgrEvent() CANNOT_SEND_SMS!"));
}

TEST_F(ServiceEvents, StartTheReceiverOnceWhenTheDeviceIsAvailable) {
  m_device.device.m_enStatus = DevDataDef::DEVICE_STATUS_UNKNOW;
  Start();
  EXPECT_FALSE(CServiceAccess::IsReceiving(*m_pService));
  Event(NETSRV_DATA::EVENT_SRV_MS_AVAILABLE);
  Event(NETSRV_DATA::EVENT_SRV_MS_AVAILABLE);
  EXPECT_TRUE(CServiceAccess::IsReceiving(*m_pService));
  EXPECT_TRUE(CServiceAccess::IsDeviceUsable(*m_pService));
  EXPECT_EQ(1, m_trace.Count("Info: CSMSServiceImpl::OnDeviceMgrEvent()  Receiver StartThread()"));
  EXPECT_EQ(2, Bracketed("EVENT_SRV_MS_AVAILABLE"));
}

class DeviceLoss : public ServiceEvents, public ::testing::WithParamInterface<unsigned long> {};

TEST_P(DeviceLoss, ClearsTheStateAndFailsAWaitingSend) {
  StartWithClient();
  ASSERT_TRUE(CServiceAccess::IsDeviceUsable(*m_pService));
  Event(GetParam());
  EXPECT_FALSE(CServiceAccess::IsDeviceUsable(*m_pService));
  EXPECT_FALSE(CServiceAccess::Sim(*m_pService)->GetInitFlag());
  EXPECT_FALSE(CServiceAccess::Modem(*m_pService)->GetInitFlag());
  EXPECT_TRUE(CServiceAccess::IsSendFailed(*m_pService));
  const Lines told = Told();
  ASSERT_LE(2u, told.size());
  EXPECT_EQ((Lines{"OnServiceState 3", "OnServiceState 8"}), Lines(told.end() - 2, told.end()));
  EXPECT_EQ(1, Bracketed("EVENT_SRV_MS_UNAVAILABLE or EVENT_DEVICE_REJECT"));
}

INSTANTIATE_TEST_SUITE_P(Events, DeviceLoss, ::testing::Values(9, 6601, 6604));

TEST_F(ServiceEvents, StartTheLoadOfTheSimFirst) {
  m_device.device.m_enStatus = DevDataDef::DEVICE_STATUS_UNKNOW;
  Start();
  m_trace.Clear();
  Event(WMS_EVENT_READY);
  const Lines lines = m_trace.Lines();
  const auto sim =
      std::find(lines.begin(), lines.end(), "Info: CSMSServiceImpl::OnDeviceMgrEvent()  SimSMS StartThread()");
  const auto modem =
      std::find(lines.begin(), lines.end(), "Info: CSMSServiceImpl::OnDeviceMgrEvent()  NVSMS StartThread()");
  ASSERT_NE(lines.end(), sim);
  ASSERT_NE(lines.end(), modem);
  EXPECT_LT(sim, modem);
  EXPECT_EQ(1, Bracketed("WMS_EVENT_READY"));
}

TEST_F(ServiceEvents, TakeTheStoresBackWhenTheSystemModeChanges) {
  Start();
  ASSERT_TRUE(m_trace.AwaitLine("m_MutexReadNewMsg Unlock()", 5000, 2));
  m_trace.Clear();
  Event(IDeviceMgrEvent::EVENT_DEVICE_SYSMODE_CHANGED);
  EXPECT_EQ(-1, CServiceAccess::Sim(*m_pService)->CheckIsFull());
  EXPECT_EQ(-1, CServiceAccess::Modem(*m_pService)->CheckIsFull());
  for (const std::string& line : m_trace.Lines()) {
    EXPECT_EQ(std::string::npos, line.find("OnDeviceMgrEvent")) << line;
  }
}

TEST_F(ServiceEvents, SkipAStoreThatIsMissing) {
  m_device.device.m_enStatus = DevDataDef::DEVICE_STATUS_UNKNOW;
  Start();
  CServiceAccess::DropModemStore(*m_pService);
  for (unsigned long number : Numbers{9, 6601, 6604, 6650, 20408}) {
    EXPECT_TRUE(Event(number)) << number;
  }
  EXPECT_EQ(0, m_trace.Count("Info: CSMSServiceImpl::OnDeviceMgrEvent()  NVSMS StartThread()"));
}

// --- the verdict of a part -------------------------------------------------------------------------------------------

TEST_F(ServiceEvents, ReportAVerdictToEveryClientAndFreeTheRecord) {
  CFakeClient second;
  StartWithClient();
  m_pService->RegCallBack(&second);
  m_client.Clear();
  CServiceAccess::SetReport(*m_pService, u"111", u"text");
  Number(WMS_MO_SMS_STATUS, 0);
  EXPECT_EQ((Lines{"OnSendReport number=111 content=text result=0"}), Told());
  EXPECT_EQ(1, second.Count("OnSendReport number=111 content=text result=0"));
  EXPECT_FALSE(CServiceAccess::HasReport(*m_pService));
  EXPECT_TRUE(CServiceAccess::IsSendOk(*m_pService));
  EXPECT_EQ(1, m_trace.Count("CSMSServiceImpl::OnDeviceMgrEvent() WMS_MO_SMS_STATUS EventSendOK"));
  CServiceAccess::SetReport(*m_pService, u"111", u"text");
  Number(WMS_MO_SMS_STATUS, 0xFFFFFFFFu);
  EXPECT_EQ((Lines{"OnSendReport number=111 content=text result=1"}), Told());
  EXPECT_TRUE(CServiceAccess::IsSendFailed(*m_pService));
  EXPECT_EQ(1, m_trace.Count("CSMSServiceImpl::OnDeviceMgrEvent() WMS_MO_SMS_STATUS EventSendFail"));
  m_pService->DeRegCallBack(&second);
}

TEST_F(ServiceEvents, FreeTheReportRecordWithoutAClient) {
  Start();
  CServiceAccess::SetReport(*m_pService, u"111", Repeat(u"a text that does not fit in place ", 150).c_str());
  Number(WMS_MO_SMS_STATUS, 0);
  EXPECT_FALSE(CServiceAccess::HasReport(*m_pService));
  EXPECT_TRUE(CServiceAccess::IsSendOk(*m_pService));
}

TEST_F(ServiceEvents, SignalAVerdictThatNoRecordWaitsFor) {
  StartWithClient();
  Number(WMS_MO_SMS_STATUS, 38);
  EXPECT_TRUE(Told().empty());
  EXPECT_TRUE(CServiceAccess::IsSendFailed(*m_pService));
}

TEST_F(ServiceEvents, TellTheOtherClientsOfAVerdictWhenOneThrows) {
  CFakeClient second;
  StartWithClient();
  m_pService->RegCallBack(&second);
  m_client.SetHook([](const std::string&) { throw 42; });
  CServiceAccess::SetReport(*m_pService, u"111", u"text");
  EXPECT_TRUE(Number(WMS_MO_SMS_STATUS, 0));
  EXPECT_EQ(1, second.Count("OnSendReport"));
  EXPECT_TRUE(CServiceAccess::IsSendOk(*m_pService));
  EXPECT_FALSE(CServiceAccess::HasReport(*m_pService));
  m_pService->DeRegCallBack(&second);
}

TEST_F(ServiceEvents, StayKnownWhenAClientThrows) {
  StartWithClient();
  m_client.SetHook([](const std::string&) { throw 42; });
  for (unsigned long number : Numbers{8, 9}) {
    EXPECT_TRUE(Event(number)) << number;
  }
  EXPECT_EQ(1, Bracketed("EVENT_SRV_MS_AVAILABLE"));
  m_client.SetHook(nullptr);
  EXPECT_TRUE(Event(9)) << "no lock was left behind";
  EXPECT_EQ(1, m_client.Count("OnServiceState 3"));
}

// --- start-up checks -------------------------------------------------------------------------------------------------

TEST_F(ServiceEvents, CheckOfTheDeviceNeedsDeviceAndNetworkService) {
  m_device.OfferNet(false);
  Start();
  EXPECT_EQ(1, m_trace.Count("CheckSimAndDevice()"));
  EXPECT_EQ(1, m_trace.Count("CheckSimAndDevice() GetUniCommService fail"));
  EXPECT_FALSE(CServiceAccess::IsReceiving(*m_pService));
  EXPECT_FALSE(CServiceAccess::IsDeviceUsable(*m_pService));
}

TEST_F(ServiceEvents, CheckOfTheDeviceTakesEveryOtherStatusForUnknown) {
  m_device.device.m_enStatus = static_cast<DevDataDef::DEVICE_STATUS>(2);
  Start();
  EXPECT_EQ(1, m_trace.Count("CheckSimAndDevice() DEVICE_STATUS_UNKNOW"));
  EXPECT_FALSE(CServiceAccess::IsReceiving(*m_pService));
}

TEST_F(ServiceEvents, CheckOfTheDeviceStartsLoadsAndReceiver) {
  Start();
  EXPECT_EQ(1, m_trace.Count("CheckSimAndDevice() DEVICE_STATUS_AVAILABLE"));
  EXPECT_TRUE(CServiceAccess::IsReceiving(*m_pService));
  EXPECT_TRUE(CServiceAccess::IsDeviceUsable(*m_pService));
  EXPECT_TRUE(m_trace.AwaitLine("Info: Enter CDeviceSMSImpl::Init()", 5000, 2));
}

class StartUpCheck : public CPassTest {
protected:
  /// One look of the check: its period ends, and it waits for the next one, or has ended.
  bool Look() {
    m_clock.Advance(1000);
    return AwaitIdle();
  }
};

TEST_F(StartUpCheck, ReportsNothingWithoutAClientAndKeepsLooking) {
  StartLocal();
  for (int look = 0; look < 5; ++look) {
    ASSERT_TRUE(Look());
  }
  EXPECT_TRUE(CServiceAccess::IsCheckRunning(*m_pService));
  m_pService->RegCallBack(&m_client);
  ASSERT_TRUE(Look());
  ASSERT_TRUE(m_client.Await("OnStoreReady 0"));
}

TEST_F(StartUpCheck, ReportsAStoreOnceAndGoesOnWhileOneIsNotReady) {
  StartWithClient();
  ASSERT_TRUE(AwaitIdle());
  ASSERT_TRUE(Look());
  ASSERT_TRUE(Look());
  EXPECT_EQ(1, m_client.Count("OnStoreReady"));
  EXPECT_EQ(1, m_client.Count("OnStoreReady 0"));
  EXPECT_TRUE(CServiceAccess::IsCheckRunning(*m_pService));
}

TEST_F(StartUpCheck, EndsWhenAllThreeStoresAreReported) {
  HaveMemories(true, true);
  StartWithClient();
  ASSERT_TRUE(m_trace.AwaitLine("m_MutexReadNewMsg Unlock()", 5000, 2));
  ASSERT_TRUE(AwaitIdle());
  m_clock.Advance(1000);
  ASSERT_TRUE(m_trace.AwaitLine("End Thread CheckFileAndDeviceInit()"));
  EXPECT_EQ((std::vector<std::string>{"OnStoreReady 0", "OnStoreReady 2", "OnStoreReady 1"}), m_client.Lines());
}

TEST_F(StartUpCheck, SurvivesAClientThatThrows) {
  StartWithClient();
  ASSERT_TRUE(AwaitIdle());
  m_client.SetHook([](const std::string&) { throw 42; });
  ASSERT_TRUE(Look());
  EXPECT_TRUE(CServiceAccess::IsCheckRunning(*m_pService));
}

}  // namespace
