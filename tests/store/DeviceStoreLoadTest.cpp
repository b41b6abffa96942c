// The device store: the load, its end in the middle, and moving everything to the local store.
#include "DeviceHome.h"
#include "Text.h"
#include "platform/JClock.h"
#include "platform/JEvent.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ostream>
#include <thread>

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

const char* const kQuit = "m_bInit || m_bIsQuitThread, ReadNewMsgUnlock and quit ReadRecord()";

/// Every read lock taken was given back.
void ExpectReadLockFree(const CTraceCapture& trace) {
  EXPECT_EQ(trace.Count("m_MutexReadNewMsg"), trace.Count("m_MutexReadNewMsg Unlock()"));
  EXPECT_GT(trace.Count("m_MutexReadNewMsg"), 0);
}

// --- Whether to load -------------------------------------------------------------------------------------------------

TEST(DeviceStoreLoad, OfTheSimReadsWhenSimAndPinAreReady) {
  for (const auto pin : {DevDataDef::PIN_READY, DevDataDef::PIN_DISABLED}) {
    CDeviceHome home;
    home.device.manager.m_enPin = pin;
    home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"text"));
    CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
    CTraceCapture trace;
    store.Init();
    EXPECT_THAT(trace.Lines(),
                testing::IsSupersetOf({"Info: Enter CDeviceSMSImpl::Init()", "Info: Init() SMS_MEM_SM == m_enMem",
                                       "Info: PIN is  ready , begin read record from SIM card"}));
    EXPECT_TRUE(store.GetInitFlag());
    EXPECT_THAT(Mirror(store), ElementsAre("text"));
    EXPECT_EQ(NS_SMS::RECEIVE_BOX_SIM, Records(*store.GetReocrdList()).at(0).GetPosition());
  }
}

TEST(DeviceStoreLoad, OfASimWhosePinIsNotEnteredDoesNotHappenAndFullnessStaysUnknown) {
  for (const auto pin : {DevDataDef::PIN_UNKNOWN, DevDataDef::PIN_ENABLED_NOT_VERIFIED, DevDataDef::PIN_BLOCKED}) {
    CDeviceHome home;
    home.device.manager.m_enPin = pin;
    CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
    store.Init();
    EXPECT_FALSE(store.GetInitFlag());
    EXPECT_EQ(-1, store.CheckIsFull());
    EXPECT_EQ(0, home.device.sms.Calls("SMSGetMsgList"));
  }
}

TEST(DeviceStoreLoad, OfTheSimNeedsAnAvailableSim) {
  for (const auto state : {SIM_STATE_INVALID, SIM_STATE_CS_INVALID, SIM_STATE_ROMSIM, SIM_STATE_NONE}) {
    CDeviceHome home;
    home.device.device.m_enSim = state;
    CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
    store.Init();
    EXPECT_FALSE(store.GetInitFlag()) << state;
  }
  CDeviceHome home;
  home.device.device.m_bSimQueryFails = true;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  store.Init();
  EXPECT_FALSE(store.GetInitFlag());
}

TEST(DeviceStoreLoad, OfTheModemMemoryNeedsNoSim) {
  CDeviceHome home;
  home.device.device.m_enSim = SIM_STATE_NONE;
  home.device.manager.m_enPin = DevDataDef::PIN_BLOCKED;
  home.device.sms.Put(SMS_MEM_ME, MakeReadRecord("1", u"text"));
  CDeviceSMSImpl store(SMS_MEM_ME, home.Service());
  CTraceCapture trace;
  store.Init();
  EXPECT_TRUE(trace.Contains("Info: Init() SMS_MEM_ME == m_enMem"));
  EXPECT_THAT(Mirror(store), ElementsAre("text"));
}

TEST(DeviceStoreLoad, NeedsTheMemoryInTheDevicesList) {
  CDeviceHome home;
  home.device.manager.m_bHasSim = false;
  home.device.manager.m_bHasModemMemory = false;
  CDeviceSMSImpl sim(SMS_MEM_SM, home.Service());
  CDeviceSMSImpl modem(SMS_MEM_ME, home.Service());
  sim.Init();
  modem.Init();
  EXPECT_FALSE(sim.GetInitFlag());
  EXPECT_FALSE(modem.GetInitFlag());
}

TEST(DeviceStoreLoad, NeedsDeviceManagerAndDeviceService) {
  CDeviceHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  home.device.OfferManager(false);
  store.Init();
  EXPECT_FALSE(store.GetInitFlag());
  home.device.OfferManager(true);
  home.device.OfferDevice(false);
  store.Init();
  EXPECT_FALSE(store.GetInitFlag());
  home.device.OfferDevice(true);
  store.Init();
  EXPECT_TRUE(store.GetInitFlag());
}

TEST(DeviceStoreLoad, RunsOnItsOwnThread) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"text"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CTraceCapture trace;
  store.StartThread();
  EXPECT_TRUE(trace.AwaitLine("m_MutexReadNewMsg Unlock()"));
  EXPECT_TRUE(store.GetInitFlag());
  EXPECT_EQ(1, trace.Count("Info: Enter CDeviceSMSImpl::StartThread()"));
}

// --- What becomes of a message ---------------------------------------------------------------------------------------

struct KindRow {
  const char* name;
  SMS_IDENTIFYER enType;
  SMS_STAT enStat;
  bool movedWhenKeeping;
  bool movedWhenSaving;
};

void PrintTo(const KindRow& row, std::ostream* out) { *out << row.name; }

class DeviceStoreKind : public testing::TestWithParam<KindRow> {
protected:
  static void Check(const char* settings, bool moved) {
    CDeviceHome home(settings);
    home.device.sms.Put(SMS_MEM_SM, MakeKind(GetParam().enType, u"text", GetParam().enStat));
    CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
    CTraceCapture trace;
    store.Init();
    EXPECT_EQ(moved ? 1u : 0u, home.Local().size());
    EXPECT_EQ(moved ? 0u : 1u, Mirror(store).size());
    EXPECT_EQ(moved ? 0u : 1u, home.device.sms.HeldIndexes(SMS_MEM_SM).size());
    ExpectReadLockFree(trace);
  }
};

TEST_P(DeviceStoreKind, StaysOrMovesWhenNewMessagesStayOnTheDevice) {
  Check(kKeepOnDevice, GetParam().movedWhenKeeping);
}

TEST_P(DeviceStoreKind, StaysOrMovesInSaveLocalMode) { Check("", GetParam().movedWhenSaving); }

INSTANTIATE_TEST_SUITE_P(
    Rows, DeviceStoreKind,
    testing::Values(KindRow{"OrdinaryUnread", SMS_IDENTIFYER_ORDINARILY, SMS_STAT_UNREAD, false, true},
                    KindRow{"OrdinaryRead", SMS_IDENTIFYER_ORDINARILY, SMS_STAT_READ, false, false},
                    KindRow{"OrdinarySent", SMS_IDENTIFYER_ORDINARILY, SMS_STAT_SENT, false, false},
                    KindRow{"OrdinaryUnsent", SMS_IDENTIFYER_ORDINARILY, SMS_STAT_UNSENT, false, false},
                    KindRow{"ReportUnread", SMS_IDENTIFYER_REPORT, SMS_STAT_UNREAD, true, true},
                    KindRow{"ReportRead", SMS_IDENTIFYER_REPORT, SMS_STAT_READ, true, true},
                    KindRow{"Broadcast", SMS_IDENTIFYER_CELL_BROADCAST, SMS_STAT_READ, true, true},
                    KindRow{"VoiceMailUnread", SMS_IDENTIFYER_VOICE_MAIL, SMS_STAT_UNREAD, false, true}),
    [](const testing::TestParamInfo<KindRow>& row) { return std::string(row.param.name); });

TEST(DeviceStoreLoad, MarksEverythingInTheMirrorReadInSaveLocalMode) {
  CDeviceHome home("");
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"text"));
  home.device.sms.Fail("SMSDeleteMsg", 1);
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  store.Init();
  ASSERT_THAT(Mirror(store), ElementsAre("text")) << "moved, but the device copy could not be deleted";
  EXPECT_THAT(home.Local(), ElementsAre("text"));
  EXPECT_EQ(NS_SMS::IS_READ, Records(*store.GetReocrdList()).at(0).GetIsRead());
  EXPECT_EQ(NS_SMS::IS_NOT_READ, home.LocalRecords().at(0).GetIsRead());
}

TEST(DeviceStoreLoad, KeepsAMessageOnTheDeviceThatTheLocalStoreRefuses) {
  CDeviceHome home("");
  home.Local();
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"text"));
  CRawDatabase raw(home.home.DatabaseFile());
  raw.Execute("CREATE TRIGGER refuse BEFORE INSERT ON SmsLocalRecord BEGIN SELECT RAISE(ABORT, 'full'); END");
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  store.Init();
  EXPECT_EQ(0, home.device.sms.Calls("SMSDeleteMsg"));
  EXPECT_THAT(Mirror(store), ElementsAre("text"));
}

TEST(DeviceStoreLoad, HandsMmsNotificationsOverAndKeepsThemOutOfTheMirror) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_SM, MakeKind(SMS_IDENTIFYER_MMS_NOTIFY, u"mms", SMS_STAT_READ));
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"text"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  store.Init();
  EXPECT_THAT(Mirror(store), ElementsAre("text"));
  EXPECT_THAT(home.device.sms.HeldIndexes(SMS_MEM_SM), ElementsAre(2u));
  static std::vector<std::string> handed;
  handed.clear();
  home.Service()->RegisterCallBackForMms(
      [](void* message) { handed.push_back(Utf8(static_cast<const SMReadRecord*>(message)->wszContent)); });
  home.Service()->SendNotifyToMmsUiPlugin();
  EXPECT_THAT(handed, ElementsAre("mms"));
}

TEST(DeviceStoreLoad, KeepsAnMmsNotificationInTheMirrorThatCannotBeDeleted) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_SM, MakeKind(SMS_IDENTIFYER_MMS_NOTIFY, u"mms", SMS_STAT_READ));
  home.device.sms.Fail("SMSDeleteMsg", 1);
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  store.Init();
  EXPECT_THAT(Mirror(store), ElementsAre("mms"));
}

TEST(DeviceStoreLoad, SkipsAMessageThatCannotBeRead) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"one"));
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"two"));
  home.device.sms.Fail("SMSReadMsg", 1);
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  store.Init();
  EXPECT_THAT(Mirror(store), ElementsAre("two"));
  EXPECT_TRUE(store.GetInitFlag());
}

TEST(DeviceStoreLoad, TracesEveryMessage) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("+49171", u"100%s text"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CTraceCapture trace;
  store.Init();
  EXPECT_THAT(trace.Lines(), Contains(testing::StartsWith("ID=1; Number=+49171; Content=100%s text; Time=")));
}

struct ModeRow {
  const char* name;
  DevDataDef::PRODUCT_TYPE enProduct;
  const char* settings;
  int alterSupport;
  int mode;
};

void PrintTo(const ModeRow& row, std::ostream* out) { *out << row.name; }

class DeviceStoreReadMode : public testing::TestWithParam<ModeRow> {};

TEST_P(DeviceStoreReadMode, IsChosenByProductModeAndSupport) {
  CDeviceHome home(GetParam().settings);
  home.device.device.m_enProduct = GetParam().enProduct;
  home.device.sms.SetAlterSupport(GetParam().alterSupport);
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"one", SMS_STAT_READ));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  store.Init();
  EXPECT_THAT(home.device.sms.CallLines(), Contains("SMSReadMsg 0 1 " + std::to_string(GetParam().mode)));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, DeviceStoreReadMode,
    testing::Values(ModeRow{"CdmaKeeping", DevDataDef::PRODUCT_TYPE_CDMA, kKeepOnDevice, 1, UNREAD_SM_NOT_ALTER},
                    ModeRow{"CdmaSaving", DevDataDef::PRODUCT_TYPE_CDMA, "", 1, UNREAD_SM_NOT_ALTER},
                    ModeRow{"GsmKeepingWithSupport", DevDataDef::PRODUCT_TYPE_WCDMA, kKeepOnDevice, 1, UNREAD_SM_ALTER},
                    ModeRow{"GsmKeepingWithout", DevDataDef::PRODUCT_TYPE_WCDMA, kKeepOnDevice, 0, UNREAD_SM_NOT_ALTER},
                    ModeRow{"GsmSaving", DevDataDef::PRODUCT_TYPE_WCDMA, "", 0, UNREAD_SM_ALTER}),
    [](const testing::TestParamInfo<ModeRow>& row) { return std::string(row.param.name); });

// --- Once, again, and not
// ----------------------------------------------------------------------------------------------

TEST(DeviceStoreLoad, EndsAtOnceWhenTheMirrorHoldsRecords) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"one"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  store.Init();
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"two"));
  store.Init();
  EXPECT_EQ(1, home.device.sms.Calls("SMSGetMsgList"));
  EXPECT_TRUE(store.GetInitFlag());
}

TEST(DeviceStoreLoad, EndsAtOnceWhenTheMirrorHoldsWhatWasSavedBefore) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"held"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CSMSRecordImpl record = MakeRecord(u"saved", NS_SMS::SEND_BOX_SIM);
  ASSERT_EQ(0, Save(store, record).result);
  store.Init();
  EXPECT_THAT(Mirror(store), ElementsAre("saved"));
  EXPECT_FALSE(store.GetInitFlag());
  store.BackBeforeInit();
  store.Init();
  EXPECT_THAT(Mirror(store), ElementsAre("held", "saved"));
}

TEST(DeviceStoreLoad, EmptiesTheMirrorOnceTheListIsMadeAndReadsWhatWasSavedMeanwhile) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"held"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  bool saved = false;
  home.device.sms.OnCall("SMSReleaseMsgList", [&] {  // the list was made without it
    CSMSRecordImpl record = MakeRecord(u"saved", NS_SMS::SEND_BOX_SIM);
    saved = Save(store, record).result == 0;
  });
  std::vector<std::string> atFirstRead;
  home.device.sms.OnCall("SMSReadMsg", [&] {
    if (home.device.sms.Calls("SMSReadMsg") == 1) {
      atFirstRead = Mirror(store);
    }
  });
  store.Init();
  ASSERT_TRUE(saved);
  EXPECT_THAT(atFirstRead, IsEmpty());
  EXPECT_THAT(Mirror(store), ElementsAre("held", "saved"));
  EXPECT_EQ(2, home.device.sms.Calls("SMSReadMsg"));
}

TEST(DeviceStoreLoad, PutsTheCursorOnTheFirstRecord) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"one"));
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"two"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  store.Init();
  EXPECT_EQ("one", Utf8(store.GetReocrdList()->GetContent()));
}

TEST(DeviceStoreLoad, GivesTheReadLockBackWhenTheServiceIsMissing) {
  CDeviceHome home;
  home.device.OfferSms(false);
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CTraceCapture trace;
  store.Init();
  EXPECT_TRUE(trace.Contains("GetUniCommService fail"));
  EXPECT_FALSE(store.GetInitFlag());
  ExpectReadLockFree(trace);
}

TEST(DeviceStoreLoad, GivesTheReadLockBackWhenTheListFails) {
  CDeviceHome home;
  home.device.sms.Fail("SMSGetMsgList", 1);
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CTraceCapture trace;
  store.Init();
  EXPECT_TRUE(trace.Contains("SMSGetMsgList fail"));
  EXPECT_FALSE(trace.Contains("SMSGetMsgList fail , m_bIsQuitThread == true"));
  EXPECT_FALSE(store.GetInitFlag());
  ExpectReadLockFree(trace);
  store.Init();
  EXPECT_TRUE(store.GetInitFlag());
}

TEST(DeviceStoreLoad, EmptiesTheMirrorAndGivesTheReadLockBackOnAnException) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"one"));
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"two"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  int reads = 0;
  home.device.sms.OnCall("SMSReadMsg", [&] {
    if (++reads == 2) {
      throw 42;
    }
  });
  CTraceCapture trace;
  store.Init();
  EXPECT_THAT(Mirror(store), IsEmpty());
  EXPECT_FALSE(store.GetInitFlag());
  ExpectReadLockFree(trace);
}

// --- Its end in the middle -------------------------------------------------------------------------------------------

/// Sends the store back while the named device call is under way on the load thread; the call then fails or not.
void SendBackDuring(CDeviceHome& home, CDeviceSMSImpl& store, const CTraceCapture& trace, const std::string& call,
                    bool fails) {
  home.device.sms.OnCall(call,
                         [&] { trace.AwaitLine("CDeviceSMSImpl::BackBeforeInit(), m_InitThread.EndThread() begin"); });
  home.device.sms.Fail(call, fails ? -1 : 0);
  store.StartThread();
  ASSERT_TRUE(home.device.sms.AwaitCalls(call, 1));
  store.BackBeforeInit();
  home.device.sms.OnCall(call, nullptr);
  home.device.sms.Fail(call, 0);
}

TEST(DeviceStoreLoad, StopsDuringAReadThatFailsWhenSentBack) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"one"));
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"two"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CTraceCapture trace;
  SendBackDuring(home, store, trace, "SMSReadMsg", true);
  EXPECT_EQ(1, home.device.sms.Calls("SMSReadMsg"));
  EXPECT_EQ(1, trace.Count(kQuit));
  EXPECT_EQ(1, trace.Count("CDeviceSMSImpl::BackBeforeInit(), m_InitThread.EndThread() end"));
  EXPECT_FALSE(store.GetInitFlag());
  EXPECT_THAT(Mirror(store), IsEmpty());
  ExpectReadLockFree(trace);
}

TEST(DeviceStoreLoad, StopsAfterAReadThatWorksWhenSentBack) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"one"));
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"two"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CTraceCapture trace;
  SendBackDuring(home, store, trace, "SMSReadMsg", false);
  EXPECT_EQ(1, home.device.sms.Calls("SMSReadMsg"));
  EXPECT_THAT(Mirror(store), IsEmpty());
  ExpectReadLockFree(trace);
  store.Init();
  EXPECT_THAT(Mirror(store), ElementsAre("one", "two")) << "a later load starts afresh";
}

TEST(DeviceStoreLoad, SaysSoWhenTheListFailsBecauseItWasSentBack) {
  CDeviceHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CTraceCapture trace;
  SendBackDuring(home, store, trace, "SMSGetMsgList", true);
  EXPECT_TRUE(trace.Contains("SMSGetMsgList fail , m_bIsQuitThread == true"));
  ExpectReadLockFree(trace);
}

TEST(DeviceStoreLoad, EndsWithTheStoreInItsMiddle) {
  CDeviceHome home;
  for (int i = 0; i < 5; ++i) {
    home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"text"));
  }
  CTraceCapture trace;
  for (int i = 0; i < 20; ++i) {
    CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
    store.StartThread();
    for (int turn = 0; turn < i; ++turn) {
      std::this_thread::yield();
    }
  }
  EXPECT_EQ(trace.Count("m_MutexReadNewMsg"), trace.Count("m_MutexReadNewMsg Unlock()"));
}

TEST(DeviceStoreLoad, CanBeSentBackAndStartedFromSeveralThreads) {
  CDeviceHome home;
  for (int i = 0; i < 3; ++i) {
    home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"text", SMS_STAT_READ));
  }
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([&store] {
      for (int turn = 0; turn < 20; ++turn) {
        store.StartThread();
        store.GetReocrdList()->GetRecordCount();
        store.CheckIsFull();
        store.BackBeforeInit();
      }
    });
  }
  threads.emplace_back([&store] {
    for (int turn = 0; turn < 40; ++turn) {
      CSMSRecordImpl record(1L);
      store.GetRecord(&record);
      store.UpdateRecord(&record);
    }
  });
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_THAT(Mirror(store), IsEmpty());
  store.Init();
  EXPECT_EQ(3u, Mirror(store).size());
}

TEST(DeviceStoreLoad, GivesItsLocksBackWhenADeviceThatDoesNotAnswerGetsItKilled) {
  JManualClock clock(1800000000);
  JEvent never;
  {
    CDeviceHome home;
    home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"text"));
    CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
    home.device.sms.OnCall("SMSReadMsg", [&never] { never.WaitForSingleObject(0); });
    CTraceCapture trace;
    store.StartThread();
    ASSERT_TRUE(home.device.sms.AwaitCalls("SMSReadMsg", 1));
    std::thread back([&store] { store.BackBeforeInit(); });
    EXPECT_TRUE(trace.AwaitLine("CDeviceSMSImpl::BackBeforeInit(), m_InitThread.EndThread() begin"));
    while (!trace.Contains("CDeviceSMSImpl::BackBeforeInit(), m_InitThread.EndThread() end")) {
      clock.Advance(1000);
      std::this_thread::yield();
    }
    back.join();
    ExpectReadLockFree(trace);
    EXPECT_THAT(Mirror(store), IsEmpty());
    home.device.sms.OnCall("SMSReadMsg", nullptr);
    store.Init();
    EXPECT_THAT(Mirror(store), ElementsAre("text"));
  }
}

// --- Moving everything to the local store ----------------------------------------------------------------------------

/// The codes 9 to 11 that a client was told.
std::vector<std::string> MoveCodes(const CFakeClient& client) {
  std::vector<std::string> codes;
  for (const std::string& line : client.Lines()) {
    for (const char* const code : {"OnServiceState 9", "OnServiceState 10", "OnServiceState 11"}) {
      if (line == code) {
        codes.push_back(line.substr(15));
      }
    }
  }
  return codes;
}

TEST(DeviceStoreMove, CopiesDeletesAndTellsMessageByMessage) {
  CDeviceHome home;
  CFakeClient client;
  home.Service()->RegCallBack(&client);
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"one"));
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"two", SMS_STAT_SENT));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  EXPECT_TRUE(store.CutAllToLocal());
  EXPECT_THAT(home.Local(), ElementsAre("one", "two"));
  EXPECT_THAT(home.device.sms.HeldIndexes(SMS_MEM_SM), IsEmpty());
  EXPECT_THAT(Mirror(store), IsEmpty()) << "the mirror shows what the memory holds";
  EXPECT_THAT(MoveCodes(client), ElementsAre("10", "10", "9"));
  home.Service()->DeRegCallBack(&client);
}

TEST(DeviceStoreMove, TellsOfADeleteThatFailsAndKeepsTheEntry) {
  CDeviceHome home;
  CFakeClient client;
  home.Service()->RegCallBack(&client);
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"one"));
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"two"));
  home.device.sms.Fail("SMSDeleteMsg", 1);
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  EXPECT_TRUE(store.CutAllToLocal());
  EXPECT_THAT(home.Local(), ElementsAre("one", "two"));
  EXPECT_THAT(Mirror(store), ElementsAre("one"));
  EXPECT_THAT(MoveCodes(client), ElementsAre("11", "10", "9"));
  home.Service()->DeRegCallBack(&client);
}

TEST(DeviceStoreMove, KeepsOnTheDeviceWhatTheLocalStoreDoesNotTake) {
  CDeviceHome home;
  CFakeClient client;
  home.Service()->RegCallBack(&client);
  SMReadRecord flash = MakeReadRecord("1", u"flash", SMS_STAT_READ);
  flash.enSmClass = SMS_CLASS_0;
  home.device.sms.Put(SMS_MEM_SM, flash);
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  EXPECT_TRUE(store.CutAllToLocal());
  EXPECT_THAT(home.Local(), IsEmpty());
  EXPECT_THAT(home.device.sms.HeldIndexes(SMS_MEM_SM), ElementsAre(1u));
  EXPECT_THAT(Mirror(store), ElementsAre("flash"));
  EXPECT_THAT(MoveCodes(client), ElementsAre("9"));
  home.Service()->DeRegCallBack(&client);
}

TEST(DeviceStoreMove, LeavesAMirrorThatHoldsRecordsUnread) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"one"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  store.Init();
  EXPECT_TRUE(store.CutAllToLocal());
  EXPECT_THAT(home.Local(), IsEmpty());
  EXPECT_TRUE(store.ClearDeviceData());
  EXPECT_TRUE(store.CutAllToLocal());
  EXPECT_THAT(home.Local(), ElementsAre("one"));
}

TEST(DeviceStoreMove, DoesNotTellOfItsEndAfterAnException) {
  CDeviceHome home;
  CFakeClient client;
  home.Service()->RegCallBack(&client);
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"one"));
  home.device.sms.Throw("SMSReadMsg", 1);
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  EXPECT_TRUE(store.CutAllToLocal());
  EXPECT_THAT(MoveCodes(client), IsEmpty());
  store.ReadRecord();
  EXPECT_THAT(home.Local(), IsEmpty()) << "the next load is an ordinary one";
  home.Service()->DeRegCallBack(&client);
}

TEST(DeviceStoreMove, SurvivesAClientThatThrows) {
  CDeviceHome home;
  CFakeClient client;
  home.Service()->RegCallBack(&client);
  client.SetHook([](const std::string& line) {
    if (line == "OnServiceState 9") {
      throw 42;
    }
  });
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  EXPECT_TRUE(store.CutAllToLocal());
  client.SetHook(nullptr);
  home.Service()->DeRegCallBack(&client);
}

TEST(DeviceStoreMove, OfTwoAtOnceMovesEachMessageOnceAndTellsBothEnds) {
  CDeviceHome home;
  CFakeClient client;
  home.Service()->RegCallBack(&client);
  for (int i = 0; i < 10; ++i) {
    home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"text", SMS_STAT_READ));
  }
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  std::thread other([&store] { EXPECT_TRUE(store.CutAllToLocal()); });
  EXPECT_TRUE(store.CutAllToLocal());
  other.join();
  EXPECT_EQ(10u, home.Local().size());
  EXPECT_THAT(Mirror(store), IsEmpty());
  EXPECT_EQ(2, client.Count("OnServiceState 9"));
  home.Service()->DeRegCallBack(&client);
}

}  // namespace
