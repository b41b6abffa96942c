// The device store: operations on one message, the mirror, the memory.
#include "DeviceHome.h"
#include "Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <ostream>
#include <thread>

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// --- The mirror ------------------------------------------------------------------------------------------------------

TEST(DeviceStore, HandsOutOneMirrorForItsWholeLife) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"text", SMS_STAT_READ));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CSMSRecordSetImpl* const mirror = store.GetReocrdList();
  ASSERT_NE(nullptr, mirror);
  EXPECT_EQ(0, mirror->GetRecordCount());
  store.Init();
  EXPECT_THAT(Mirror(store), ElementsAre("text"));
  store.BackBeforeInit();
  EXPECT_THAT(Mirror(store), IsEmpty());
  EXPECT_EQ(mirror, store.GetReocrdList());
}

TEST(DeviceStore, HandsTheSameMirrorToThreadsThatAskFirstAtOnce) {
  CDeviceSMSImpl store(SMS_MEM_SM, nullptr);
  std::vector<std::thread> threads;
  std::vector<CSMSRecordSetImpl*> mirrors(4);
  for (CSMSRecordSetImpl*& mirror : mirrors) {
    threads.emplace_back([&store, &mirror] { mirror = store.GetReocrdList(); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_THAT(mirrors, testing::Each(store.GetReocrdList()));
}

TEST(DeviceStore, EmptiesTheMirrorWhenThereIsOne) {
  CDeviceSMSImpl store(SMS_MEM_SM, nullptr);
  EXPECT_FALSE(store.ClearDeviceData());
  CSMSRecordImpl record = MakeRecord(u"text");
  record.SetMSGID(1);
  store.GetReocrdList()->PushSMSRecord(record);
  EXPECT_TRUE(store.ClearDeviceData());
  EXPECT_EQ(0, store.GetReocrdList()->GetRecordCount());
}

TEST(DeviceStore, AddsANewMessageOnlyAfterTheLoadAndOnlyOnce) {
  CDeviceHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CSMSRecordImpl record = MakeRecord(u"new");
  record.SetMSGID(9);
  store.AddNewMessage(record);
  EXPECT_THAT(Mirror(store), IsEmpty());
  store.Init();
  store.AddNewMessage(record);
  record.SetContent(u"again");
  store.AddNewMessage(record);
  EXPECT_THAT(Mirror(store), ElementsAre("new"));
}

// --- One message -----------------------------------------------------------------------------------------------------

TEST(DeviceStore, FillsARecordFromTheDevice) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_ME, MakeReadRecord("+49171", u"other"));
  const MSG_HANDLE index = home.device.sms.Put(SMS_MEM_ME, MakeReadRecord("+49172", u"text", SMS_STAT_READ));
  CDeviceSMSImpl store(SMS_MEM_ME, home.Service());
  CSMSRecordImpl record(static_cast<long>(index));
  EXPECT_EQ(0, store.GetRecord(&record));
  EXPECT_EQ(static_cast<long>(index), record.GetMSGID());
  EXPECT_EQ("text", Utf8(record.GetContent()));
  EXPECT_EQ("+49172", Utf8(record.GetNumber()));
  EXPECT_EQ("20261120120000", Utf8(record.GetTime()));
  EXPECT_EQ(NS_SMS::RECEIVE_BOX_NV, record.GetPosition());
  EXPECT_EQ(NS_SMS::IS_READ, record.GetIsRead());
}

TEST(DeviceStore, LeavesAMessageUnreadUnlessTheDeviceItselfKeepsTheState) {
  for (const int support : {0, 1, 2}) {
    CDeviceHome home;
    home.device.sms.SetAlterSupport(support);
    const MSG_HANDLE index = home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"text"));
    CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
    CSMSRecordImpl record(static_cast<long>(index));
    EXPECT_EQ(0, store.GetRecord(&record));
    EXPECT_THAT(home.device.sms.CallLines(),
                ElementsAre("SMSGetAlterSupport 1", support == 1 ? "SMSReadMsg 0 1 0" : "SMSReadMsg 0 1 1"));
  }
}

TEST(DeviceStore, AnswersMinusOneWhenAMessageCannotBeRead) {
  CDeviceHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  for (const long id : {0L, 5L, -1L, std::numeric_limits<long>::max(), std::numeric_limits<long>::min()}) {
    CSMSRecordImpl record(id);
    EXPECT_EQ(-1, store.GetRecord(&record)) << id;
    EXPECT_EQ(id, record.GetMSGID());
  }
  EXPECT_EQ(-1, store.GetRecord(nullptr));
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"text"));
  home.device.sms.Throw("SMSReadMsg", 1);
  CSMSRecordImpl record(1L);
  EXPECT_EQ(-1, store.GetRecord(&record));
  home.device.OfferSms(false);
  EXPECT_EQ(-1, store.GetRecord(&record));
  home.device.OfferSms(true);
  EXPECT_EQ(0, store.GetRecord(&record));
}

TEST(DeviceStore, HandsAnMmsNotificationOverAndDeletesItFromTheDevice) {
  static std::vector<std::string> handed;
  handed.clear();
  CDeviceHome home;
  const MSG_HANDLE index = home.device.sms.Put(SMS_MEM_SM, MakeKind(SMS_IDENTIFYER_MMS_NOTIFY, u"mms"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CSMSRecordImpl record(static_cast<long>(index));
  EXPECT_EQ(0, store.GetRecord(&record));
  EXPECT_EQ(NS_SMS::MSG_MMS_ALERT, record.GetMSGType());
  EXPECT_THAT(home.device.sms.HeldIndexes(SMS_MEM_SM), IsEmpty());
  home.Service()->RegisterCallBackForMms(
      [](void* message) { handed.push_back(Utf8(static_cast<const SMReadRecord*>(message)->wszContent)); });
  home.Service()->SendNotifyToMmsUiPlugin();
  EXPECT_THAT(handed, ElementsAre("mms"));
}

TEST(DeviceStore, MarksAMessageReadOnTheDeviceAndInTheMirror) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"text"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  store.Init();
  CSMSRecordImpl record = Records(*store.GetReocrdList()).at(0);
  ASSERT_EQ(NS_SMS::IS_NOT_READ, record.GetIsRead());
  EXPECT_EQ(0, store.UpdateRecord(&record));
  EXPECT_EQ(NS_SMS::IS_READ, record.GetIsRead());
  EXPECT_EQ(NS_SMS::IS_READ, Records(*store.GetReocrdList()).at(0).GetIsRead());
  EXPECT_EQ(SMS_STAT_READ, home.device.sms.Held(SMS_MEM_SM).at(0).enSMStat);
  EXPECT_THAT(home.device.sms.CallLines(), Contains("SMSGetAlterSupport 0"));
  EXPECT_THAT(home.device.sms.CallLines(), Contains("SMSReadMsg 0 1 0"));
}

TEST(DeviceStore, AnswersZeroToEveryChangeAndLeavesTheMirrorWhenNothingCanBeRead) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"text"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CSMSRecordImpl record(1L);
  ASSERT_THAT(Mirror(store), IsEmpty());
  EXPECT_EQ(0, store.UpdateRecord(&record));
  EXPECT_THAT(Mirror(store), IsEmpty()) << "what the mirror does not hold is not added";
  store.Init();
  const std::string before = DescribeAll(Records(*store.GetReocrdList()).at(0));
  home.device.sms.Fail("SMSReadMsg", 1);
  EXPECT_EQ(0, store.UpdateRecord(&record));
  home.device.sms.Throw("SMSReadMsg", 1);
  EXPECT_EQ(0, store.UpdateRecord(&record));
  home.device.OfferSms(false);
  EXPECT_EQ(0, store.UpdateRecord(&record));
  EXPECT_EQ(0, store.UpdateRecord(nullptr));
  EXPECT_EQ(before, DescribeAll(Records(*store.GetReocrdList()).at(0)));
}

struct RemovalRow {
  const char* name;
  long (CDeviceSMSImpl::*remove)(long);
};

void PrintTo(const RemovalRow& row, std::ostream* out) { *out << row.name; }

class DeviceStoreRemoval : public testing::TestWithParam<RemovalRow> {
protected:
  static long Remove(CDeviceSMSImpl& store, long id) { return (store.*GetParam().remove)(id); }
};

TEST_P(DeviceStoreRemoval, TakesTheMessageFromDeviceAndMirrorForGood) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"one"));
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"two"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  store.Init();
  EXPECT_EQ(0, Remove(store, 1));
  EXPECT_THAT(Mirror(store), ElementsAre("two"));
  EXPECT_THAT(home.device.sms.HeldIndexes(SMS_MEM_SM), ElementsAre(2u));
}

TEST_P(DeviceStoreRemoval, AnswersZeroAlsoWhenTheMirrorDoesNotHoldTheMessage) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"one"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  EXPECT_EQ(0, Remove(store, 1));
  EXPECT_THAT(home.device.sms.HeldIndexes(SMS_MEM_SM), IsEmpty());
}

TEST_P(DeviceStoreRemoval, KeepsTheEntryWhenTheDeviceRefuses) {
  CDeviceHome home;
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"one"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  store.Init();
  CTraceCapture trace;
  home.device.sms.Fail("SMSDeleteMsg", 1);
  EXPECT_EQ(-1, Remove(store, 1));
  EXPECT_TRUE(trace.Contains("SMSDeleteMsg fail"));
  for (const long id : {5L, -1L, (1L << 32) + 1, std::numeric_limits<long>::min()}) {
    EXPECT_EQ(-1, Remove(store, id)) << id;
  }
  home.device.sms.Throw("SMSDeleteMsg", 1);
  EXPECT_EQ(-1, Remove(store, 1));
  home.device.OfferSms(false);
  EXPECT_EQ(-1, Remove(store, 1));
  EXPECT_TRUE(trace.Contains("GetUniCommService fail"));
  EXPECT_THAT(Mirror(store), ElementsAre("one"));
}

INSTANTIATE_TEST_SUITE_P(DeleteAndRemoveAreTheSame, DeviceStoreRemoval,
                         testing::Values(RemovalRow{"DeleteRecord", &CDeviceSMSImpl::DeleteRecord},
                                         RemovalRow{"RemoveRecord", &CDeviceSMSImpl::RemoveRecord}),
                         [](const auto& row) { return std::string(row.param.name); });

// --- The memory ------------------------------------------------------------------------------------------------------

TEST(DeviceStore, ReportsTheMemorysFigures) {
  CDeviceHome home;
  home.device.sms.SetCapacity(SMS_MEM_ME, 99);
  home.device.sms.Put(SMS_MEM_ME, MakeReadRecord("1", u"one"));
  CDeviceSMSImpl store(SMS_MEM_ME, home.Service());
  int capacity = 0;
  int used = 0;
  EXPECT_EQ(0, store.GetRecordInfo(capacity, used));
  EXPECT_EQ(99, capacity);
  EXPECT_EQ(1, used);
  home.device.sms.Fail("SMSGetMemInfo", 1);
  EXPECT_EQ(-1, store.GetRecordInfo(capacity, used));
  home.device.sms.Throw("SMSGetMemInfo", 1);
  EXPECT_EQ(-1, store.GetRecordInfo(capacity, used));
  home.device.OfferSms(false);
  EXPECT_EQ(-1, store.GetRecordInfo(capacity, used));
}

TEST(DeviceStore, DoesNotKnowWhetherItIsFullBeforeTheLoad) {
  CDeviceHome home;
  home.device.sms.SetCapacity(SMS_MEM_SM, 1);
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"one"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  EXPECT_EQ(-1, store.CheckIsFull());
  store.Init();
  EXPECT_EQ(1, store.CheckIsFull());
  store.BackBeforeInit();
  EXPECT_EQ(-1, store.CheckIsFull());
}

TEST(DeviceStore, IsFullWhenANonZeroCapacityIsUsedUp) {
  CDeviceHome home;
  home.device.sms.SetCapacity(SMS_MEM_SM, 2);
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"one"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  store.Init();
  EXPECT_EQ(0, store.CheckIsFull());
  home.device.sms.Put(SMS_MEM_SM, MakeReadRecord("1", u"two"));
  EXPECT_EQ(1, store.CheckIsFull());
  home.device.sms.Fail("SMSGetMemInfo", 1);
  EXPECT_EQ(0, store.CheckIsFull());
  store.RetsetHasMemflag();
  EXPECT_EQ(0, store.CheckIsFull());
}

TEST(DeviceStore, IsNotFullWhenTheMemoryReportsZeroOfZero) {
  CDeviceHome home;
  home.device.sms.SetCapacity(SMS_MEM_SM, 0);
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  store.Init();
  EXPECT_EQ(0, store.CheckIsFull());
}

TEST(DeviceStore, IsNotFullWithoutAMemoryAfterAMove) {
  CDeviceHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  EXPECT_TRUE(store.CutAllToLocal());
  EXPECT_TRUE(store.GetInitFlag());
  EXPECT_EQ(0, store.CheckIsFull());
  EXPECT_EQ(0, home.device.sms.Calls("SMSGetMemInfo"));
}

struct SaveLocalRow {
  const char* name;
  const char* settings;
  bool doubleMode;
  bool saveLocal;
};

void PrintTo(const SaveLocalRow& row, std::ostream* out) { *out << row.name; }

class DeviceStoreSaveLocal : public testing::TestWithParam<SaveLocalRow> {};

TEST_P(DeviceStoreSaveLocal, FollowsTheReceiveModeOrTheDoubleModeCard) {
  CDeviceHome home(GetParam().settings);
  home.device.manager.m_bDoubleMode = GetParam().doubleMode;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  EXPECT_EQ(GetParam().saveLocal, store.GetIsSaveLocal());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, DeviceStoreSaveLocal,
    testing::Values(
        SaveLocalRow{"ModeAbsent", "", false, true}, SaveLocalRow{"ModeZero", kKeepOnDevice, false, false},
        SaveLocalRow{"ModeOne", "[SMSSERVICE]\nReceviceMode=1\n", false, true},
        SaveLocalRow{"ModeTwo", "[SMSSERVICE]\nReceviceMode=2\n", false, true},
        SaveLocalRow{"DoubleModeCardAlone", kKeepOnDevice, true, false},
        SaveLocalRow{"HiddenNodeAlone", "[SMSSERVICE]\nReceviceMode=0\n[DualModeCard]\nHideDoubleModeCardNode=true\n",
                     false, false},
        SaveLocalRow{"HiddenNodeOfADoubleModeCard",
                     "[SMSSERVICE]\nReceviceMode=0\n[DualModeCard]\nHideDoubleModeCardNode=true\n", true, true},
        SaveLocalRow{"HiddenNodeNotExactlyTrue",
                     "[SMSSERVICE]\nReceviceMode=0\n[DualModeCard]\nHideDoubleModeCardNode=True\n", true, false}),
    [](const testing::TestParamInfo<SaveLocalRow>& row) { return std::string(row.param.name); });

TEST(DeviceStore, WorksWithoutAServiceOrAContainer) {
  CTempHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, nullptr);
  CSMSRecordImpl record = MakeRecord(u"text", NS_SMS::SEND_BOX_SIM);
  long id = -1;
  long count = 1;
  int capacity = 0;
  int used = 0;
  EXPECT_EQ(-1, store.SaveRecord(&record, &id, count));
  EXPECT_EQ(-1, store.GetRecord(&record));
  EXPECT_EQ(0, store.UpdateRecord(&record));
  EXPECT_EQ(-1, store.RemoveRecord(1));
  EXPECT_EQ(-1, store.GetRecordInfo(capacity, used));
  EXPECT_EQ(-1, store.CheckIsFull());
  store.StartThread();
  EXPECT_TRUE(store.CutAllToLocal());
  store.BackBeforeInit();
}

}  // namespace
