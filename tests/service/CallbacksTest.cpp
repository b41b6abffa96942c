// Clients, the fan-out to them, and the hook for MMS notifications.

#include "PassTest.h"

#include <ostream>

namespace {

typedef std::vector<std::string> Lines;

class Clients : public CServiceTest {
protected:
  CFakeClient m_second;
};

TEST_F(Clients, AreKeptOnceThoughEveryRegistrationTellsAllOfTheState) {
  Start();
  EXPECT_EQ(0, m_pService->RegCallBack(&m_client));
  EXPECT_EQ((Lines{"OnServiceState 1", "OnServiceState 7"}), m_client.Lines());
  EXPECT_EQ(0, m_pService->RegCallBack(&m_second));
  EXPECT_EQ(0, m_pService->RegCallBack(&m_second));
  EXPECT_EQ((Lines{"OnServiceState 1", "OnServiceState 7", "OnServiceState 1", "OnServiceState 7"}), m_second.Lines());
  EXPECT_EQ(6u, m_client.Lines().size());
}

TEST_F(Clients, AreCalledInTheOrderOfRegistration) {
  Start();
  m_pService->RegCallBack(&m_client);
  m_pService->RegCallBack(&m_second);
  std::string order;
  m_client.SetHook([&](const std::string&) { order += "1"; });
  m_second.SetHook([&](const std::string&) { order += "2"; });
  CSMSRecordImpl record;
  m_pService->CallBackToUI(&record, RECORD_MERGED_INTO_LONG_SMS);
  EXPECT_EQ("12", order);
  EXPECT_EQ(1, m_client.Count("OnRecordChanged id=0 code=20410"));
}

TEST_F(Clients, IgnoreANullOneButTellTheOthersTheState) {
  Start();
  EXPECT_EQ(0, m_pService->RegCallBack(nullptr));
  EXPECT_FALSE(CServiceAccess::IsRegistered(*m_pService));
  m_pService->RegCallBack(&m_client);
  m_client.Clear();
  EXPECT_EQ(0, m_pService->RegCallBack(nullptr));
  EXPECT_EQ(2u, m_client.Lines().size());
}

TEST_F(Clients, AreRegisteredButToldNothingWithoutDeviceOrNetworkService) {
  Start();
  m_device.OfferNet(false);
  EXPECT_EQ(0, m_pService->RegCallBack(&m_client));
  m_device.OfferNet(true);
  m_device.OfferDevice(false);
  EXPECT_EQ(0, m_pService->RegCallBack(&m_second));
  EXPECT_TRUE(m_client.Lines().empty());
  EXPECT_EQ(2, m_trace.Count("Error: CSMSServiceImpl::RegCallBack() GetUniCommService fail"));
  EXPECT_EQ(2, m_trace.Count("Info: Leave CSMSServiceImpl::RegCallBack()"));
  EXPECT_TRUE(CServiceAccess::IsRegistered(*m_pService));
  m_pService->CallBackParamFunc(9);
  EXPECT_EQ(1, m_client.Count("OnServiceState 9"));
  EXPECT_EQ(1, m_second.Count("OnServiceState 9"));
}

TEST_F(Clients, AreForgottenOnceWhileTheRegistrationStays) {
  Start();
  m_pService->RegCallBack(&m_client);
  m_client.Clear();
  EXPECT_EQ(0, m_pService->DeRegCallBack(&m_client));
  EXPECT_EQ(0, m_pService->DeRegCallBack(&m_client));
  EXPECT_EQ(0, m_pService->DeRegCallBack(nullptr));
  EXPECT_EQ(3, m_trace.Count("CSMSServiceImpl::DeRegCallBack() Called"));
  m_pService->RegCallBack(nullptr);
  m_pService->CallBackParamFunc(9);
  EXPECT_TRUE(m_client.Lines().empty());
  EXPECT_TRUE(CServiceAccess::IsRegistered(*m_pService));
}

TEST_F(Clients, MayTakeThemselvesOutInsideACall) {
  Start();
  m_pService->RegCallBack(&m_client);
  m_pService->RegCallBack(&m_second);
  m_client.SetHook([&](const std::string&) { m_pService->DeRegCallBack(&m_client); });
  m_second.Clear();
  CSMSRecordImpl record;
  m_pService->CallBackToUI(&record, 1);
  m_pService->CallBackToUI(&record, 2);
  EXPECT_EQ(1, m_client.Count("OnRecordChanged"));
  EXPECT_EQ(2, m_second.Count("OnRecordChanged")) << "the one behind is called all the same";
}

TEST_F(Clients, MayUseRecordOperationsAndSendInsideACall) {
  StartWithClient();
  long saved = -9;
  long sent = -9;
  m_client.SetHook([&](const std::string& line) {
    if (line == "OnServiceState 9") {
      return;
    }
    CSMSRecordImpl draft;
    draft.SetContent(u"from inside");
    long id = -1;
    long count = 1;
    if (saved != 0) {
      saved = m_pService->SaveMsg(&draft, &id, count);
      sent = m_pService->SendMsg(u"111", u"reply");
    }
  });
  m_device.net.RaiseNumber(NETSRV_DATA::EVENT_NET_SERVER_STATUS, SYS_SRV_STATUS_SRV);
  EXPECT_EQ(0, saved);
  EXPECT_EQ(0, sent);
  EXPECT_TRUE(m_client.Await("OnRecordAdded"));
}

TEST_F(Clients, ThatThrowAtRegistrationAreRegistered) {
  Start();
  m_client.SetHook([](const std::string&) { throw 42; });
  EXPECT_EQ(0, m_pService->RegCallBack(&m_client));
  EXPECT_EQ(1, m_trace.Count("Info: Leave CSMSServiceImpl::RegCallBack()"));
  m_client.SetHook(nullptr);
  m_pService->CallBackParamFunc(9);
  EXPECT_EQ((Lines{"OnServiceState 9"}), m_client.Lines());
}

struct StateRow {
  const char* name;
  SimState sim;
  bool simKnown;
  SysSrvStatus network;
  bool networkKnown;
  Lines told;
  bool usable;
  const char* simLog;
  const char* networkLog;  // null: none
};

void PrintTo(const StateRow& row, std::ostream* out) { *out << row.name; }

class RegistrationState : public Clients, public ::testing::WithParamInterface<StateRow> {};

TEST_P(RegistrationState, FollowsSimAndNetwork) {
  const StateRow& row = GetParam();
  m_device.device.m_enStatus = DevDataDef::DEVICE_STATUS_UNKNOW;
  m_device.device.m_enSim = row.sim;
  m_device.device.m_bSimQueryFails = !row.simKnown;
  m_device.net.m_enStatus = row.network;
  m_device.net.m_bStatusQueryFails = !row.networkKnown;
  Start();
  m_trace.Clear();
  m_pService->RegCallBack(&m_client);
  EXPECT_EQ(row.told, m_client.Lines());
  EXPECT_EQ(row.usable, CServiceAccess::IsDeviceUsable(*m_pService));
  const std::string log = "Error: CSMSServiceImpl::RegCallBack() ISMSEvent::";
  Lines expected{"Info: Enter CSMSServiceImpl::RegCallBack()", log + row.simLog};
  if (row.networkLog != nullptr) {
    expected.push_back(log + row.networkLog);
  }
  expected.push_back("Info: Leave CSMSServiceImpl::RegCallBack()");
  Lines lines;
  for (const std::string& line : m_trace.Lines()) {
    if (line.find("RegCallBack") != std::string::npos) {
      lines.push_back(line);
    }
  }
  EXPECT_EQ(expected, lines);
}

const Lines kOkCan{"OnServiceState 1", "OnServiceState 7"};
const Lines kOkCannot{"OnServiceState 1", "OnServiceState 8"};
const Lines kGoneCan{"OnServiceState 5", "OnServiceState 7"};
const Lines kGoneCannot{"OnServiceState 5", "OnServiceState 8"};
INSTANTIATE_TEST_SUITE_P(Rows, RegistrationState,
                         ::testing::Values(StateRow{"Good", SIM_STATE_AVAILABLE, true, SYS_SRV_STATUS_SRV, true, kOkCan,
                                                    true, "SIM_OK", "CAN_SEND_SMS"},
                                           StateRow{"RomSim", SIM_STATE_ROMSIM, true, SYS_SRV_STATUS_LIMITED, true,
                                                    kOkCannot, true, "SIM_OK", "CANNOT_SEND_SMS"},
                                           StateRow{"CsInvalid", SIM_STATE_CS_INVALID, true, SYS_SRV_STATUS_SRV, true,
                                                    kGoneCan, true, "SIM_NOT_AVAILABLE", "CAN_SEND_SMS"},
                                           StateRow{"SimUnknown", SIM_STATE_AVAILABLE, false, SYS_SRV_STATUS_NONE, true,
                                                    kGoneCannot, false, "SIM_NOT_AVAILABLE", "CANNOT_SEND_SMS"},
                                           StateRow{"NetworkUnknown", SIM_STATE_AVAILABLE, true, SYS_SRV_STATUS_SRV,
                                                    false, kOkCannot, true, "SIM_OK", nullptr},
                                           StateRow{"NothingKnown", SIM_STATE_NONE, false, SYS_SRV_STATUS_SRV, false,
                                                    kGoneCannot, false, "SIM_NOT_AVAILABLE", nullptr}),
                         [](const auto& row) { return std::string(row.param.name); });

// --- MMS notifications -----------------------------------------------------------------------------------------------

std::vector<void*> g_given;
void First(void* data) { g_given.push_back(data); }
void Other(void*) {}

/// Without a receive thread: the test delivers.
class MmsHook : public Clients {
protected:
  MmsHook() {
    g_given.clear();
    m_device.device.m_enStatus = DevDataDef::DEVICE_STATUS_UNKNOW;
    Start();
  }
};

TEST_F(MmsHook, IsOneAndALaterRegistrationWins) {
  SMReadRecord record;
  EXPECT_TRUE(m_pService->SendMMSNotify(record));
  EXPECT_EQ(0, m_pService->RegisterCallBackForMms(&First));
  EXPECT_EQ(0, m_pService->RegisterCallBackForMms(&Other));
  m_pService->SendNotifyToMmsUiPlugin();
  EXPECT_TRUE(g_given.empty());
}

TEST_F(MmsHook, IsKeptWhenAnotherFunctionIsTakenBack) {
  m_pService->RegisterCallBackForMms(&First);
  EXPECT_EQ(-1, m_pService->UnRegisterCallBackForMms(&Other));
  SMReadRecord record;
  m_pService->SendMMSNotify(record);
  m_pService->SendNotifyToMmsUiPlugin();
  EXPECT_EQ((std::vector<void*>{&record}), g_given) << "the very address that was handed over";
  EXPECT_EQ(0, m_pService->UnRegisterCallBackForMms(&First));
  EXPECT_EQ(-1, m_pService->UnRegisterCallBackForMms(&First));
}

TEST_F(MmsHook, GetsOneNotificationACallInOrder) {
  SMReadRecord records[3];
  for (SMReadRecord& record : records) {
    m_pService->SendMMSNotify(record);
  }
  m_pService->SendNotifyToMmsUiPlugin();
  EXPECT_TRUE(g_given.empty()) << "they wait for a hook";
  m_pService->RegisterCallBackForMms(&First);
  for (std::size_t given = 1; given <= 3; ++given) {
    m_pService->SendNotifyToMmsUiPlugin();
    EXPECT_EQ(given, g_given.size());
    EXPECT_EQ(&records[given - 1], g_given.back());
  }
  m_pService->SendNotifyToMmsUiPlugin();
  EXPECT_EQ(3u, g_given.size());
}

TEST_F(MmsHook, ReadsACopyThatOutlivesTheRecordItWasMadeFrom) {
  {
    auto record = std::make_unique<SMReadRecord>(MakeReadRecord("111", u"notification"));
    m_pService->SendMMSNotify(m_pService->KeepForMms(*record));
  }
  m_pService->RegisterCallBackForMms(&First);
  m_pService->SendNotifyToMmsUiPlugin();
  ASSERT_EQ(1u, g_given.size());
  EXPECT_EQ("notification", Utf8(static_cast<SMReadRecord*>(g_given[0])->wszContent)) << "also a little late";
}

TEST_F(MmsHook, GivesBackACopyThatNobodyTook) {
  const SMReadRecord& kept = m_pService->KeepForMms(SMReadRecord());
  m_pService->KeepForMms(SMReadRecord());
  m_pService->GiveBackMms(kept);
  EXPECT_EQ(1u, CServiceAccess::KeptMms(*m_pService));
  m_pService->GiveBackMms(SMReadRecord());
  EXPECT_EQ(1u, CServiceAccess::KeptMms(*m_pService)) << "a stranger changes nothing";
}

TEST_F(MmsHook, MayTakeItselfBackInsideItsCall) {
  static CSMSServiceImpl* service;
  service = m_pService;
  struct Local {
    static void Once(void* data) {
      g_given.push_back(data);
      service->UnRegisterCallBackForMms(&Once);
    }
  };
  SMReadRecord records[2];
  m_pService->SendMMSNotify(records[0]);
  m_pService->SendMMSNotify(records[1]);
  m_pService->RegisterCallBackForMms(&Local::Once);
  m_pService->SendNotifyToMmsUiPlugin();
  m_pService->SendNotifyToMmsUiPlugin();
  EXPECT_EQ(1u, g_given.size());
}

}  // namespace
