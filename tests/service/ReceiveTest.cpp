// Receiving: notices of stored messages, direct messages, fullness, and moves to the local store.

#include "PassTest.h"

#include <chrono>
#include <memory>
#include <thread>

namespace {

typedef std::vector<std::string> Lines;

const char kKeepOnDevice[] = "[SMSSERVICE]\nReceviceMode=0\n";

class Receiving : public CPassTest {
protected:
  bool StartKeeping() {
    m_home.WriteSettings(kKeepOnDevice);
    return StartIdle();
  }
  int Deleted() { return m_device.sms.Calls("SMSDeleteMsg"); }
  Lines LocalContents() {
    Lines contents;
    ISMSRecordSet* const set = m_pService->GetSMSRecordSet(NS_SMS::SMS_LOCAL);
    for (long state = set->MoveFirst(); state == 0; state = set->MoveNext()) {
      contents.push_back(Utf8(set->GetContent()));
    }
    return contents;
  }
};

TEST_F(Receiving, TakesNothingUntilAClientHasRegistered) {
  StartLocal();
  ASSERT_TRUE(AwaitIdle());
  Direct(MakeReadRecord("111", u"direct"));
  Arrive(MakeReadRecord("222", u"stored"));
  ASSERT_TRUE(Pass(3));
  EXPECT_EQ(1u, CServiceAccess::Notices(*m_pService));
  EXPECT_EQ(1u, CServiceAccess::Direct(*m_pService).size());
  m_pService->RegCallBack(&m_client);
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ(1, m_client.Count("OnNewMessage id=1 number=222 content=stored")) << "notices come first";
  EXPECT_EQ(1, m_client.Count("OnNewMessage id=2 number=111 content=direct"));
}

TEST_F(Receiving, DiscardsAllNoticesWhileTheDeviceIsNotUsable) {
  ASSERT_TRUE(StartIdle());
  m_pService->OnDeviceMgrEvent(NETSRV_DATA::EVENT_SRV_MS_UNAVAILABLE, nullptr);
  for (int message = 0; message < 3; ++message) {
    Arrive(MakeReadRecord("111", u"text"));
  }
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ(0u, CServiceAccess::Notices(*m_pService));
  EXPECT_EQ(0, m_device.sms.Calls("SMSReadMsg"));
  EXPECT_EQ(3u, m_device.sms.Held(SMS_MEM_SM).size());
}

// --- keep on the device ----------------------------------------------------------------------------------------------

TEST_F(Receiving, LeavesAMessageOnTheDeviceAndAnnouncesItWithItsIndex) {
  ASSERT_TRUE(StartKeeping());
  const MSG_HANDLE index = Arrive(MakeReadRecord("111", u"stay"), SMS_MEM_ME);
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ(1, m_client.Count("OnNewMessage id=" + std::to_string(index) + " number=111 content=stay"));
  EXPECT_EQ(0, Deleted());
  EXPECT_TRUE(LocalContents().empty());
}

TEST_F(Receiving, AddsAKeptMessageToTheLoadedMirror) {
  HaveMemories(true, true);
  m_home.WriteSettings(kKeepOnDevice);
  StartWithClient();
  ASSERT_TRUE(m_trace.AwaitLine("m_MutexReadNewMsg Unlock()", 5000, 2));
  ASSERT_TRUE(AwaitIdle());
  Arrive(MakeReadRecord("111", u"stay"));
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ(1, m_pService->GetSMSRecordSet(NS_SMS::SMS_SIM)->GetRecordCount());
}

TEST_F(Receiving, NeverAnnouncesAReportOrBroadcastKeptOnTheDevice) {
  ASSERT_TRUE(StartKeeping());
  Arrive(OfType(SMS_IDENTIFYER_REPORT));
  Arrive(OfType(SMS_IDENTIFYER_CELL_BROADCAST));
  ASSERT_TRUE(AwaitIdle());
  EXPECT_TRUE(m_client.Lines().empty());
  EXPECT_EQ(2, m_device.sms.Calls("SMSReadMsg"));
  EXPECT_EQ(2, m_trace.Count("m_MutexReadNewMsg Unlock()"));
}

TEST_F(Receiving, HandsAKeptMmsNotificationOverAndDeletesIt) {
  ASSERT_TRUE(StartKeeping());
  Arrive(OfType(SMS_IDENTIFYER_MMS_NOTIFY));
  ASSERT_TRUE(AwaitIdle());
  EXPECT_TRUE(m_client.Lines().empty());
  EXPECT_EQ(1u, CServiceAccess::KeptMms(*m_pService));
  EXPECT_TRUE(m_device.sms.Held(SMS_MEM_SM).empty());
}

TEST_F(Receiving, AnnouncesNothingKeptOnAHiddenDoubleModeCard) {
  m_home.WriteSettings("[SMSSERVICE]\nReceviceMode=0\n[DualModeCard]\nHideDoubleModeCardNode=true\n");
  m_device.manager.m_bDoubleMode = true;
  ASSERT_TRUE(StartIdle());
  Arrive(MakeReadRecord("111", u"text"));
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ(1, m_device.sms.Calls("SMSReadMsg"));
  EXPECT_TRUE(m_client.Lines().empty());
}

TEST_F(Receiving, AnnouncesNothingThatCannotBeRead) {
  ASSERT_TRUE(StartKeeping());
  Notify(SMS_MEM_SM, 99);
  Notify(SMS_MEM_UNKNOW, 1);
  m_home.WriteSettings("[SMSSERVICE]\nReceviceMode=1\n");
  ASSERT_TRUE(AwaitIdle());
  Notify(SMS_MEM_SM, 99);
  ASSERT_TRUE(AwaitIdle());
  EXPECT_TRUE(m_client.Lines().empty());
  EXPECT_EQ(3, m_trace.Count("m_MutexReadNewMsg Unlock()"));
}

// --- move to the local store -----------------------------------------------------------------------------------------

TEST_F(Receiving, MovesAMessageAndAnnouncesItWithItsLocalIdentifier) {
  ASSERT_TRUE(StartIdle());
  Arrive(MakeReadRecord("111", u"first"));
  Arrive(MakeReadRecord("222", u"second"), SMS_MEM_ME);
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ((Lines{"OnNewMessage id=1 number=111 content=first", "OnNewMessage id=2 number=222 content=second"}),
            m_client.Lines());
  EXPECT_EQ((Lines{"1 111 first 1", "1 222 second 1"}), Stored());
  EXPECT_EQ(2, m_pService->GetSMSRecordSet(NS_SMS::SMS_LOCAL)->GetUnReadSMSCount());
  EXPECT_TRUE(m_device.sms.Held(SMS_MEM_SM).empty());
  EXPECT_TRUE(m_device.sms.Held(SMS_MEM_ME).empty());
}

TEST_F(Receiving, DeletesTheDeviceCopyOnlyAfterTheMessageIsStored) {
  ASSERT_TRUE(StartIdle());
  std::size_t storedBefore = 99;
  m_device.sms.OnCall("SMSDeleteMsg", [&] { storedBefore = LocalContents().size(); });
  Arrive(MakeReadRecord("111", u"text"));
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ(1u, storedBefore);
  m_device.sms.OnCall("SMSDeleteMsg", nullptr);
}

TEST_F(Receiving, KeepsTheDeviceCopyWhenTheLocalSaveFails) {
  ASSERT_TRUE(StartIdle());
  CServiceAccess::DropLocalStore(*m_pService);
  Arrive(MakeReadRecord("111", u"text"));
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ(1, m_trace.Count("SaveMsg error"));
  EXPECT_EQ(1u, m_device.sms.Held(SMS_MEM_SM).size());
  EXPECT_TRUE(m_client.Lines().empty());
}

TEST_F(Receiving, AnnouncesAMessageThatCouldNotBeDeletedOnTheDevice) {
  ASSERT_TRUE(StartIdle());
  m_device.sms.Fail("SMSDeleteMsg", 1);
  Arrive(MakeReadRecord("111", u"text"));
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ(1, m_trace.Count("delete me's msg error"));
  EXPECT_EQ(1, m_client.Count("OnNewMessage id=1"));
}

TEST_F(Receiving, ClearsAStoredReportExceptOnACdmaDevice) {
  ASSERT_TRUE(StartIdle());
  Arrive(OfType(SMS_IDENTIFYER_REPORT, u"\u0001delivered"));
  ASSERT_TRUE(AwaitIdle());
  m_device.device.m_enProduct = DevDataDef::PRODUCT_TYPE_CDMA;
  Arrive(OfType(SMS_IDENTIFYER_REPORT, u"delivered"));
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ((Lines{"", "delivered"}), LocalContents());
  EXPECT_EQ(2, m_client.Count("OnNewMessage"));
}

TEST_F(Receiving, ShowsAStoredFlashMessageWithoutStoringItAndDeletesIt) {
  ASSERT_TRUE(StartIdle());
  Arrive(Flash());
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ((Lines{"OnNewMessage id=-1 number=+491701234567 content=look!"}), m_client.Lines());
  EXPECT_TRUE(LocalContents().empty());
  EXPECT_TRUE(m_device.sms.Held(SMS_MEM_SM).empty());
}

TEST_F(Receiving, ReadsWithoutMarkingTheMessageRead) {
  ASSERT_TRUE(StartIdle());
  Arrive(MakeReadRecord("111", u"text"));
  ASSERT_TRUE(AwaitIdle());
  const Lines calls = m_device.sms.CallLines();
  EXPECT_NE(calls.end(), std::find(calls.begin(), calls.end(), "SMSReadMsg 0 1 1"));
}

TEST_F(Receiving, GivesTheReadLockBackWhenTheDeviceThrows) {
  ASSERT_TRUE(StartIdle());
  m_device.sms.Throw("SMSReadMsg", 1);
  Arrive(MakeReadRecord("111", u"text"));
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ(1, m_trace.Count("CSMSServiceImpl::Receive() exception!"));
  EXPECT_EQ(1, m_trace.Count("m_MutexReadNewMsg Unlock()"));
  Notify(SMS_MEM_SM, 1);
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ(1, m_client.Count("OnNewMessage"));
}

TEST_F(Receiving, SkipsANoticeWithoutAMessageService) {
  ASSERT_TRUE(StartIdle());
  m_device.OfferSms(false);
  Arrive(MakeReadRecord("111", u"text"));
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ(0u, CServiceAccess::Notices(*m_pService));
  EXPECT_EQ(0, m_trace.Count("Enter ReadNewMsgLock()"));
  m_device.OfferSms(true);
}

// --- direct messages -------------------------------------------------------------------------------------------------

TEST_F(Receiving, StoresADirectMessageUnreadAndAnnouncesIt) {
  ASSERT_TRUE(StartIdle());
  SMReadRecord message = MakeReadRecord("111", u"direct", SMS_STAT_READ);
  Direct(message);
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ((Lines{"OnNewMessage id=1 number=111 content=direct"}), m_client.Lines());
  EXPECT_EQ(1, m_pService->GetSMSRecordSet(NS_SMS::SMS_LOCAL)->GetUnReadSMSCount());
  EXPECT_EQ(0, Deleted());
}

TEST_F(Receiving, AnnouncesADirectFlashMessageWithoutAnIdentifierAndStoresItNowhere) {
  ASSERT_TRUE(StartIdle());
  Direct(Flash());
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ((Lines{"OnNewMessage id=-1 number=+491701234567 content=look!"}), m_client.Lines());
  EXPECT_TRUE(LocalContents().empty());
}

TEST_F(Receiving, StoresDirectReportsBroadcastsAndVoiceMailAsTheyAre) {
  m_home.WriteSettings("[CBS]\nenable=true\n");
  ASSERT_TRUE(StartIdle());
  Direct(OfType(SMS_IDENTIFYER_REPORT, u"report"));
  Direct(OfType(SMS_IDENTIFYER_CELL_BROADCAST, u"page"));
  Direct(OfType(SMS_IDENTIFYER_VOICE_MAIL, u"mail"));
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ((Lines{"report", "page", "mail"}), LocalContents());
  EXPECT_EQ(3, m_client.Count("OnNewMessage"));
}

TEST_F(Receiving, DropsADirectMessageThatCannotBeStored) {
  ASSERT_TRUE(StartIdle());
  CServiceAccess::DropLocalStore(*m_pService);
  Direct(MakeReadRecord("111", u"text"));
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ(1, m_trace.Count("SaveMsg error"));
  EXPECT_TRUE(m_client.Lines().empty());
  EXPECT_TRUE(CServiceAccess::Direct(*m_pService).empty());
}

TEST_F(Receiving, HasStoredADirectMessageWhenItsEventReturns) {
  ASSERT_TRUE(StartIdle());
  for (int message = 1; message <= 20; ++message) {
    Direct(MakeReadRecord("111", u"text"));
    EXPECT_EQ(message, m_pService->GetSMSRecordSet(NS_SMS::SMS_LOCAL)->GetRecordCount());
  }
}

TEST_F(Receiving, KeepsADirectMessageUntilTheTransactionOfAClientEnds) {
  ASSERT_TRUE(StartIdle());
  ASSERT_EQ(0, m_pService->BeginTransaction());
  std::thread driver([this] { Direct(MakeReadRecord("111", u"patient")); });
  ASSERT_TRUE(m_clock.AwaitTimedWaiters(3, 100, 10000)) << "it waits for the database, and its event for it";
  for (int times = 1; times <= 3; ++times) {
    m_clock.Advance(10000);
    ASSERT_TRUE(m_trace.AwaitLine("SaveMsg error", 5000, times));
    ASSERT_TRUE(AwaitIdle());
  }
  driver.join();
  EXPECT_EQ(0, m_client.Count("OnNewMessage"));
  EXPECT_EQ(0, m_pService->EndTransaction());
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ(1, m_client.Count("OnNewMessage id=1 number=111 content=patient"));
}

TEST_F(Receiving, StoresAtItsEndTheDirectMessagesThatWaitedForAClientInVain) {
  StartLocal();
  Direct(MakeReadRecord("+491701234567", u"first"));
  Direct(Flash());
  Direct(MakeReadRecord("+491701234567", u"second"));
  EXPECT_EQ(std::vector<std::string>(), Stored());
  Stop();
  StartLocal();
  EXPECT_EQ((std::vector<std::string>{"1 +491701234567 first 1", "1 +491701234567 second 1"}), Stored());
}

TEST_F(Receiving, GoesOnAfterAClientThatThrowsAndDoesNotRepeatTheMessage) {
  ASSERT_TRUE(StartIdle());
  m_client.SetHook([](const std::string& line) {
    if (line.find("bad") != std::string::npos) {
      throw 42;
    }
  });
  Direct(MakeReadRecord("111", u"bad"));
  ASSERT_TRUE(AwaitIdle()) << "sleeps after an exception like after an idle pass";
  EXPECT_EQ(1, m_trace.Count("CSMSServiceImpl::Receive() exception 2!"));
  Direct(MakeReadRecord("222", u"good"));
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ((Lines{"OnNewMessage id=2 number=222 content=good"}), m_client.Lines());
  EXPECT_EQ(1, m_trace.Count("CSMSServiceImpl::Receive() exception 2!"));
}

TEST_F(Receiving, AsksForTheStateAgainAfterTheDeviceCameBack) {
  ASSERT_TRUE(StartIdle());
  m_pService->OnDeviceMgrEvent(NETSRV_DATA::EVENT_SRV_MS_AVAILABLE, nullptr);
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ((Lines{"OnServiceState 0", "OnServiceState 1", "OnServiceState 7"}), m_client.Lines());
  ASSERT_TRUE(Pass(2));
  EXPECT_EQ(3u, m_client.Lines().size());
}

// --- MMS notifications -----------------------------------------------------------------------------------------------

std::vector<std::string> g_delivered;

void Hook(void* data) { g_delivered.push_back(Utf8(static_cast<SMReadRecord*>(data)->wszContent)); }

TEST_F(Receiving, DeliversOneWaitingMmsNotificationAPassOnceAHookIsThere) {
  ASSERT_TRUE(StartIdle());
  for (const VELK_wchar_t* content : {u"one", u"two", u"three"}) {
    Arrive(OfType(SMS_IDENTIFYER_MMS_NOTIFY, content));
  }
  Direct(MakeReadRecord("111", u"later messages do not write over them"));
  ASSERT_TRUE(Pass(3));
  EXPECT_TRUE(m_device.sms.Held(SMS_MEM_SM).empty());
  EXPECT_EQ(3u, CServiceAccess::KeptMms(*m_pService));
  g_delivered.clear();
  m_pService->RegisterCallBackForMms(&Hook);
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ((Lines{"one"}), g_delivered);
  ASSERT_TRUE(Pass());
  EXPECT_EQ((Lines{"one", "two"}), g_delivered);
  ASSERT_TRUE(Pass(2));
  EXPECT_EQ((Lines{"one", "two", "three"}), g_delivered);
  EXPECT_EQ(1u, CServiceAccess::KeptMms(*m_pService)) << "the last one is kept for a hook that reads late";
  EXPECT_EQ(0, m_pService->UnRegisterCallBackForMms(&Hook));
}

TEST_F(Receiving, DeletesMemoryTwoForADirectMmsNotification) {
  ASSERT_TRUE(StartIdle());
  Direct(OfType(SMS_IDENTIFYER_MMS_NOTIFY));
  ASSERT_TRUE(AwaitIdle());
  const Lines calls = m_device.sms.CallLines();
  EXPECT_NE(calls.end(), std::find(calls.begin(), calls.end(), "SMSDeleteMsg 2 4294967295"))
      << "kept so, with an index that names no message";
  EXPECT_TRUE(m_client.Lines().empty());
}

TEST_F(Receiving, DoesNotCallAThrowingMmsHookAgainForTheSameNotification) {
  ASSERT_TRUE(StartIdle());
  static int calls;
  calls = 0;
  m_pService->RegisterCallBackForMms([](void*) {
    ++calls;
    throw 42;
  });
  Arrive(OfType(SMS_IDENTIFYER_MMS_NOTIFY));
  ASSERT_TRUE(Pass(2));
  EXPECT_EQ(1, calls);
  EXPECT_EQ(1, m_trace.Count("CSMSServiceImpl::Receive() exception 2!"));
}

/// The hand-over never fails by itself; here it does.
class CRefusingService : public CSMSServiceImpl {
public:
  bool SendMMSNotify(const SMReadRecord&) override { return false; }
};

class RefusedMms : public CPassTest {
protected:
  /// The receive thread starts when the object is whole.
  bool StartRefusing() {
    m_device.device.m_enStatus = DevDataDef::DEVICE_STATUS_UNKNOW;
    m_own = std::make_unique<CRefusingService>();
    EXPECT_TRUE(CServiceAccess::AwaitLocalLoad(*m_own));
    m_own->RegCallBack(&m_client);
    m_own->OnDeviceMgrEvent(NETSRV_DATA::EVENT_SRV_MS_AVAILABLE, nullptr);
    const bool idle = AwaitIdle();
    m_client.Clear();
    return idle;
  }
  ~RefusedMms() override {
    m_own->OnDestroy();
    m_own.reset();
    CSMSSettingImpl::Destroy();
  }
  std::unique_ptr<CRefusingService> m_own;
};

TEST_F(RefusedMms, IsAnOrdinaryMessageWhenItCameAsANotice) {
  ASSERT_TRUE(StartRefusing());
  Arrive(OfType(SMS_IDENTIFYER_MMS_NOTIFY, u"picture"));
  ASSERT_TRUE(AwaitIdle());
  EXPECT_EQ((Lines{"OnNewMessage id=1 number=+491701234567 content=picture"}), m_client.Lines());
  EXPECT_TRUE(m_device.sms.Held(SMS_MEM_SM).empty());
  EXPECT_EQ(0u, CServiceAccess::KeptMms(*m_own));
}

TEST_F(RefusedMms, IsDroppedWhenItCameDirectly) {
  ASSERT_TRUE(StartRefusing());
  Direct(OfType(SMS_IDENTIFYER_MMS_NOTIFY, u"picture"));
  ASSERT_TRUE(AwaitIdle());
  EXPECT_TRUE(m_client.Lines().empty());
  EXPECT_EQ(0, m_own->GetSMSRecordSet(NS_SMS::SMS_LOCAL)->GetRecordCount());
  EXPECT_EQ(0, m_device.sms.Calls("SMSDeleteMsg"));
  EXPECT_EQ(0u, CServiceAccess::KeptMms(*m_own));
}

// --- messages moved while loading ------------------------------------------------------------------------------------

class MovedWhileLoading : public CPassTest {
protected:
  bool StartLoaded() {
    HaveMemories(true, true);
    StartLocal();
    m_pService->RegCallBack(&m_client);
    return m_trace.AwaitLine("m_MutexReadNewMsg Unlock()", 5000, 2) && AwaitLoaded() && Pass(2);
  }

private:
  /// A load gives the read lock back a moment before it says that it is over.
  bool AwaitLoaded() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!CServiceAccess::AreLoaded(*m_pService)) {
      if (std::chrono::steady_clock::now() > deadline) {
        return false;
      }
      std::this_thread::yield();
    }
    return true;
  }
};

TEST_F(MovedWhileLoading, IsAnnouncedWhenBothMemoriesAreLoaded) {
  m_device.sms.Put(SMS_MEM_SM, MakeReadRecord("111", u"waited"));
  m_device.sms.Put(SMS_MEM_SM, MakeReadRecord("222", u"seen", SMS_STAT_READ));
  ASSERT_TRUE(StartLoaded());
  EXPECT_EQ(1, m_client.Count("OnNewMessage id=1 number=111 content=waited"));
  EXPECT_EQ(1, m_client.Count("OnNewMessage"));
  EXPECT_EQ((Lines{"1 111 waited 1"}), Stored());
  EXPECT_EQ(1u, m_device.sms.Held(SMS_MEM_SM).size());
}

TEST_F(MovedWhileLoading, IsShownWhenItIsAFlashMessage) {
  m_device.sms.Put(SMS_MEM_SM, Flash());
  ASSERT_TRUE(StartLoaded());
  EXPECT_EQ(1, m_client.Count("OnNewMessage id=-1 number=+491701234567 content=look!"));
  EXPECT_TRUE(Stored().empty());
  EXPECT_TRUE(m_device.sms.Held(SMS_MEM_SM).empty());
}

TEST_F(MovedWhileLoading, IsAnnouncedThoughAClientThrewAtTheOneBefore) {
  m_client.SetHook([](const std::string& line) {
    if (line.find("bad") != std::string::npos) {
      throw 42;
    }
  });
  m_device.sms.Put(SMS_MEM_SM, MakeReadRecord("111", u"bad"));
  m_device.sms.Put(SMS_MEM_SM, MakeReadRecord("222", u"good"));
  ASSERT_TRUE(StartLoaded());
  EXPECT_EQ(1, m_client.Count("OnNewMessage"));
  EXPECT_EQ(1, m_client.Count("OnNewMessage id=2 number=222 content=good"));
}

TEST_F(MovedWhileLoading, IsNotAnnouncedWhenItIsGoneMeanwhile) {
  HaveMemories(true, true);
  m_device.sms.Put(SMS_MEM_SM, MakeReadRecord("111", u"waited"));
  StartLocal();  // without a client nothing is announced
  ASSERT_TRUE(m_trace.AwaitLine("m_MutexReadNewMsg Unlock()", 5000, 2));
  EXPECT_EQ(0, m_pService->RemoveRecord(1, NS_SMS::SMS_LOCAL));
  m_pService->RegCallBack(&m_client);
  ASSERT_TRUE(Pass(2));
  EXPECT_EQ(0, m_client.Count("OnNewMessage"));
}

// --- fullness --------------------------------------------------------------------------------------------------------

class Fullness : public CPassTest {
protected:
  /// Both memories are loaded and the start-up check has ended, so the receive loop sleeps alone.
  bool StartLoaded() {
    HaveMemories(true, true);
    StartWithClient();
    const bool loaded = m_trace.AwaitLine("m_MutexReadNewMsg Unlock()", 5000, 2) && AwaitIdle();
    m_clock.Advance(1000);
    return loaded && m_trace.AwaitLine("End Thread CheckFileAndDeviceInit()") && AwaitAsleep();
  }
  bool AwaitAsleep() { return m_clock.AwaitTimedWaiters(1, 100, 10000); }
  /// As many idle passes as lie between two looks.
  void PassTenSeconds() {
    for (int pass = 0; pass < 50; ++pass) {
      m_clock.Advance(200);
      ASSERT_TRUE(AwaitAsleep());
    }
  }
  void Fill(SMS_MEM memory) {
    m_device.sms.SetCapacity(memory, 1);
    m_device.sms.Put(memory, MakeReadRecord("111", u"text", SMS_STAT_READ));
  }
};

TEST_F(Fullness, IsReportedOncePerFullPeriod) {
  ASSERT_TRUE(StartLoaded());
  PassTenSeconds();
  Fill(SMS_MEM_SM);
  Fill(SMS_MEM_ME);
  PassTenSeconds();
  EXPECT_EQ(1, m_client.Count("OnServiceState 4"));
  EXPECT_EQ(1, m_client.Count("OnServiceState 2"));
  EXPECT_EQ(1, m_trace.Count("SIM Full!!!!!!!!!!!"));
  EXPECT_EQ(1, m_trace.Count("Device Full!!!!!!!!!!!"));
  PassTenSeconds();
  EXPECT_EQ(1, m_client.Count("OnServiceState 4"));
  m_device.sms.SetCapacity(SMS_MEM_SM, 2);
  PassTenSeconds();
  EXPECT_FALSE(CServiceAccess::IsSimFullReported(*m_pService));
  m_device.sms.SetCapacity(SMS_MEM_SM, 1);
  PassTenSeconds();
  EXPECT_EQ(2, m_client.Count("OnServiceState 4"));
  EXPECT_EQ(1, m_client.Count("OnServiceState 2"));
}

TEST_F(Fullness, IsNeverLookedAtWhileTheDeviceManagerIsBusy) {
  m_device.manager.m_iState = 1;
  ASSERT_TRUE(StartLoaded());
  PassTenSeconds();
  PassTenSeconds();
  EXPECT_EQ(0, m_device.sms.Calls("SMSGetMemInfo"));
  m_device.manager.m_iState = 0;
  PassTenSeconds();
  EXPECT_LT(0, m_device.sms.Calls("SMSGetMemInfo"));
}

TEST_F(Fullness, WaitsForAClientToTell) {
  ASSERT_TRUE(StartLoaded());
  m_pService->DeRegCallBack(&m_client);
  Fill(SMS_MEM_SM);
  PassTenSeconds();
  EXPECT_FALSE(CServiceAccess::IsSimFullReported(*m_pService));
  m_pService->RegCallBack(&m_client);
  PassTenSeconds();
  EXPECT_EQ(1, m_client.Count("OnServiceState 4"));
}

// --- moving a memory to the local store ------------------------------------------------------------------------------

class CutToLocal : public CServiceTest {
protected:
  void StartLoaded() {
    StartWithClient();
    ASSERT_TRUE(m_trace.AwaitLine("m_MutexReadNewMsg Unlock()", 5000, 2));
    m_client.Clear();
  }
};

TEST_F(CutToLocal, MovesEveryMessageOfTheMemory) {
  m_home.WriteSettings(kKeepOnDevice);
  m_device.sms.Put(SMS_MEM_SM, MakeReadRecord("111", u"one", SMS_STAT_READ));
  m_device.sms.Put(SMS_MEM_SM, MakeReadRecord("222", u"two", SMS_STAT_READ));
  StartLoaded();
  EXPECT_EQ(0, m_pService->CutAllToLocal(NS_SMS::SMS_SIM));
  EXPECT_EQ((Lines{"OnServiceState 10", "OnServiceState 10", "OnServiceState 9"}), m_client.Lines());
  EXPECT_EQ((Lines{"1 111 one 1", "1 222 two 1"}), Stored());
  EXPECT_TRUE(m_device.sms.Held(SMS_MEM_SM).empty());
  EXPECT_TRUE(Stored(NS_SMS::SMS_SIM).empty());
}

TEST_F(CutToLocal, TellsOfACopyThatStaysOnTheDevice) {
  m_home.WriteSettings(kKeepOnDevice);
  m_device.sms.Put(SMS_MEM_ME, MakeReadRecord("111", u"one", SMS_STAT_READ));
  StartLoaded();
  m_device.sms.Fail("SMSDeleteMsg", 1);
  EXPECT_EQ(0, m_pService->CutAllToLocal(NS_SMS::SMS_NV));
  EXPECT_EQ((Lines{"OnServiceState 11", "OnServiceState 9"}), m_client.Lines());
  EXPECT_EQ(1u, m_device.sms.Held(SMS_MEM_ME).size());
}

TEST_F(CutToLocal, LeavesAFlashMessageOnTheDevice) {
  m_home.WriteSettings(kKeepOnDevice);
  SMReadRecord flash = MakeReadRecord("111", u"look!", SMS_STAT_READ);
  flash.enSmClass = SMS_CLASS_0;
  m_device.sms.Put(SMS_MEM_SM, flash);
  StartLoaded();
  EXPECT_EQ(0, m_pService->CutAllToLocal(NS_SMS::SMS_SIM));
  EXPECT_EQ((Lines{"OnServiceState 9"}), m_client.Lines());
  EXPECT_EQ(1u, m_device.sms.Held(SMS_MEM_SM).size());
}

TEST_F(CutToLocal, MovesNoMessageThatANoticeIsMoving) {
  StartLoaded();
  std::thread cut;
  m_device.sms.OnCall("SMSDeleteMsg", [&] {
    if (!cut.joinable()) {
      cut = std::thread([&] { EXPECT_EQ(0, m_pService->CutAllToLocal(NS_SMS::SMS_SIM)); });
      EXPECT_TRUE(m_trace.AwaitLine("Start CutAllToLocal"));
      EXPECT_FALSE(m_device.sms.AwaitCalls("SMSGetMsgList", 3, 100)) << "listed, though it is about to go";
    }
  });
  SNewSmsNotifyType notice{SMS_MEM_SM, m_device.sms.Put(SMS_MEM_SM, MakeReadRecord("111", u"one"))};
  m_device.sms.Raise(WMS_RECEIVE_SMS_NOTIFY, &notice);
  ASSERT_TRUE(m_device.sms.AwaitCalls("SMSGetMsgList", 3));
  cut.join();
  EXPECT_EQ((Lines{"1 111 one 1"}), Stored());
}

TEST_F(CutToLocal, RefusesWhatIsNoDeviceMemory) {
  Start();
  for (int storage : {NS_SMS::SMS_LOCAL + 0, 3, -1}) {
    EXPECT_EQ(-1, m_pService->CutAllToLocal(storage));
  }
  EXPECT_EQ(3, m_trace.Count("error: SMSMgr's  point is Null"));
  EXPECT_EQ(3, m_trace.Count("Start CutAllToLocal"));
  EXPECT_EQ(3, m_trace.Count("Levaed CutAllToLocal"));
}

TEST_F(CutToLocal, MovesOnlyFullMemoriesOfAHiddenDoubleModeCard) {
  m_home.WriteSettings("[DualModeCard]\nHideDoubleModeCardNode=true\n");
  m_device.manager.m_bDoubleMode = true;
  m_device.sms.SetCapacity(SMS_MEM_ME, 1);
  m_device.sms.Put(SMS_MEM_SM, MakeReadRecord("111", u"one", SMS_STAT_READ));
  m_device.sms.Put(SMS_MEM_ME, MakeReadRecord("222", u"two", SMS_STAT_READ));
  StartLoaded();
  EXPECT_EQ(0, m_pService->CutAllToLocal(NS_SMS::SMS_SIM)) << "whichever is asked for, the full ones are moved";
  EXPECT_EQ((Lines{"1 222 two 1"}), Stored());
  EXPECT_EQ(-1, m_pService->CutAllToLocal(NS_SMS::SMS_SIM)) << "none is full";
}

}  // namespace
