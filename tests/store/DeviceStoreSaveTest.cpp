// The device store: writing a message into the memory.
#include "DeviceHome.h"
#include "Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <ostream>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// Keeps every part that is to be stored, as it came.
class CNotingShortMessage : public CFakeShortMessage {
public:
  bool SMSSaveMsg(SMS_MEM enMem, SMS_PARAM* pstParam, MSG_HANDLE* phMsg, DWORD* pdwStatus) override {
    m_parts.push_back(*pstParam);
    return CFakeShortMessage::SMSSaveMsg(enMem, pstParam, phMsg, pdwStatus);
  }
  std::vector<SMS_PARAM> m_parts;
};

struct SaveHome : CDeviceHome {
  SaveHome() {
    device.container.Offer(SHORT_MESSAGE_CLSID, SHORT_MESSAGE_INTERFACE, static_cast<IShortMessage*>(&sms));
  }
  ~SaveHome() { device.OfferSms(true); }  // the service outlives the double
  CNotingShortMessage sms;
};

CSMSRecordImpl MakeSimRecord(const VELK_wstring& content, const VELK_wstring& number = u"+49171") {
  CSMSRecordImpl record = MakeRecord(content, NS_SMS::SEND_BOX_SIM);
  record.SetNumber(number.c_str());
  return record;
}

TEST(DeviceStoreSave, WritesOneMessageAndGivesItsIndex) {
  SaveHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  store.Init();
  CSMSRecordImpl record = MakeSimRecord(u"text");
  const SaveResult saved = Save(store, record);
  EXPECT_EQ(0, saved.result);
  EXPECT_EQ(1, saved.id);
  EXPECT_EQ(1, saved.saved);
  EXPECT_EQ(1, record.GetMSGID());
  ASSERT_THAT(home.sms.m_parts, SizeIs(1));
  const SMS_PARAM& part = home.sms.m_parts[0];
  EXPECT_EQ("text", Utf8(part.wszContent));
  EXPECT_STREQ("+49171", part.szAddress);
  EXPECT_EQ(SMS_STAT_SENT, part.enSMSStat);
  EXPECT_EQ(SMS_IDENTIFYER_ORDINARILY, part.enType);
  EXPECT_EQ(SM_PRIORITY_NORMAL, part.enPri);
  EXPECT_FALSE(part.bLongSms);
  EXPECT_EQ(2026, part.utTime.wYear);
  EXPECT_EQ(11, part.utTime.btMonth);
  EXPECT_EQ(20, part.utTime.btDay);
  EXPECT_EQ(12, part.utTime.btHour);
  const std::vector<CSMSRecordImpl> mirror = Records(*store.GetReocrdList());
  ASSERT_THAT(mirror, SizeIs(1));
  EXPECT_EQ(1, mirror[0].GetMSGID());
  EXPECT_EQ("text", Utf8(mirror[0].GetContent()));
  EXPECT_EQ(NS_SMS::SEND_BOX_SIM, mirror[0].GetPosition());
}

struct StateRow {
  const char* name;
  int position, sendResult, isRead;
  SMS_STAT expected;
};

void PrintTo(const StateRow& row, std::ostream* out) { *out << row.name; }

class DeviceStoreState : public testing::TestWithParam<StateRow> {};

TEST_P(DeviceStoreState, FollowsTheBoxOfTheRecord) {
  SaveHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CSMSRecordImpl record = MakeSimRecord(u"text");
  record.SetPosition(GetParam().position);
  record.SetSendResult(GetParam().sendResult);
  record.SetIsRead(GetParam().isRead);
  EXPECT_EQ(0, Save(store, record).result);
  EXPECT_EQ(GetParam().expected, home.sms.m_parts.at(0).enSMSStat);
}

INSTANTIATE_TEST_SUITE_P(Rows, DeviceStoreState,
                         testing::Values(StateRow{"SimSent", NS_SMS::SEND_BOX_SIM, 0, 1, SMS_STAT_SENT},
                                         StateRow{"SimFailed", NS_SMS::SEND_BOX_SIM, 1, 0, SMS_STAT_UNSENT},
                                         StateRow{"SimOddResult", NS_SMS::SEND_BOX_SIM, -3, 0, SMS_STAT_UNSENT},
                                         StateRow{"ModemSent", NS_SMS::SEND_BOX_NV, 0, 1, SMS_STAT_SENT},
                                         StateRow{"ModemFailed", NS_SMS::SEND_BOX_NV, 1, 0, SMS_STAT_UNSENT},
                                         StateRow{"SimRead", NS_SMS::RECEIVE_BOX_SIM, 1, 0, SMS_STAT_READ},
                                         StateRow{"SimUnread", NS_SMS::RECEIVE_BOX_SIM, 1, 1, SMS_STAT_UNREAD},
                                         StateRow{"ModemRead", NS_SMS::RECEIVE_BOX_NV, 1, 0, SMS_STAT_READ},
                                         StateRow{"ModemOddTag", NS_SMS::RECEIVE_BOX_NV, 1, 7, SMS_STAT_READ},
                                         StateRow{"ModemUnread", NS_SMS::RECEIVE_BOX_NV, 1, 1, SMS_STAT_UNREAD},
                                         StateRow{"OtherBox", NS_SMS::DRAFT_BOX, 1, 1, SMS_STAT_ALL}),
                         [](const testing::TestParamInfo<StateRow>& row) { return std::string(row.param.name); });

TEST(DeviceStoreSave, CarriesThePriorityOverWhenTheDeviceKnowsIt) {
  for (const int priority : {-1, 0, 1, 2, 3, 4, 99}) {
    SaveHome home;
    CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
    CSMSRecordImpl record = MakeSimRecord(u"text");
    record.SetSMSPriority(priority);
    EXPECT_EQ(0, Save(store, record).result);
    EXPECT_EQ(priority >= 0 && priority <= 3 ? priority : 0, home.sms.m_parts.at(0).enPri) << priority;
  }
}

TEST(DeviceStoreSave, CarriesTheKindOver) {
  for (const int type : {NS_SMS::MSG_ORDINARY, NS_SMS::MSG_REPORT, NS_SMS::MSG_MMS_ALERT, NS_SMS::MSG_VOICE_MAIL,
                         NS_SMS::MSG_CELL_BROADCAST}) {
    SaveHome home;
    CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
    CSMSRecordImpl record = MakeSimRecord(u"text");
    record.SetMSGType(type);
    EXPECT_EQ(0, Save(store, record).result);
    EXPECT_EQ(type, static_cast<int>(home.sms.m_parts.at(0).enType));
  }
}

TEST(DeviceStoreSave, LeavesTheTimeZeroWhenTheTextIsShort) {
  SaveHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CSMSRecordImpl record = MakeSimRecord(u"text");
  record.SetTime(u"2026112012000");
  EXPECT_EQ(0, Save(store, record).result);
  EXPECT_EQ(0, home.sms.m_parts.at(0).utTime.wYear);
}

TEST(DeviceStoreSave, WritesEveryPartForEveryNumberWithReferenceAndPartCountedFromZero) {
  SaveHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CSMSRecordImpl record = MakeSimRecord(Repeat(u"0123456789", 400), u"1;2,,3");
  record.SetMSGInfo(99, 98, 97);
  long ids[9] = {};
  long count = 9;
  EXPECT_EQ(0, store.SaveRecord(&record, ids, count));
  EXPECT_EQ(9, count);
  EXPECT_THAT(ids, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
  EXPECT_EQ(1, record.GetMSGID());
  ASSERT_THAT(home.sms.m_parts, SizeIs(9));
  for (unsigned i = 0; i < 9; ++i) {
    const SMS_PARAM& part = home.sms.m_parts[i];
    EXPECT_EQ(std::to_string(i / 3 + 1), part.szAddress);
    EXPECT_TRUE(part.bLongSms);
    EXPECT_EQ(i / 3, part.stLongSMS_info.btMR);
    EXPECT_EQ(3, part.stLongSMS_info.btTotalPack);
    EXPECT_EQ(i % 3, part.stLongSMS_info.btPack);
  }
  EXPECT_EQ(9, store.GetReocrdList()->GetRecordCount());
}

TEST(DeviceStoreSave, GivesASinglePartTheRecordsOwnLongMessageInformation) {
  SaveHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CSMSRecordImpl record = MakeSimRecord(u"part");
  record.SetMSGInfo(300, 3, 2);
  EXPECT_EQ(0, Save(store, record).result);
  EXPECT_TRUE(home.sms.m_parts.at(0).bLongSms);
  EXPECT_EQ(300 % 256, home.sms.m_parts.at(0).stLongSMS_info.btMR);
  EXPECT_EQ(3, home.sms.m_parts.at(0).stLongSMS_info.btTotalPack);
  EXPECT_EQ(2, home.sms.m_parts.at(0).stLongSMS_info.btPack);
}

TEST(DeviceStoreSave, WritesAnEmptyTextAsOnePart) {
  SaveHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CSMSRecordImpl record = MakeSimRecord(u"");
  EXPECT_EQ(0, Save(store, record).result);
  EXPECT_THAT(home.sms.m_parts, SizeIs(1));
}

TEST(DeviceStoreSave, WritesNothingWithoutANumberAndAnswersZero) {
  SaveHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CSMSRecordImpl record = MakeSimRecord(u"text", u",;");
  const SaveResult saved = Save(store, record);
  EXPECT_EQ(0, saved.result);
  EXPECT_EQ(0, saved.saved);
  EXPECT_EQ(-1, saved.id);
  EXPECT_THAT(home.sms.m_parts, IsEmpty());
}

TEST(DeviceStoreSave, CutsANumberAtThirtyTwoCharacters) {
  SaveHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CSMSRecordImpl record = MakeSimRecord(u"text", Repeat(u"1234567890", 40));
  EXPECT_EQ(0, Save(store, record).result);
  EXPECT_STREQ("12345678901234567890123456789012", home.sms.m_parts.at(0).szAddress);
}

TEST(DeviceStoreSave, WritesNoMoreIndexesThanThereIsRoomFor) {
  struct Row {
    long count;
    long written;
  };
  for (const Row& row : {Row{0, 0}, Row{-5, 0}, Row{std::numeric_limits<long>::min(), 0}, Row{2, 2}, Row{5, 3}}) {
    SaveHome home;
    CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
    CSMSRecordImpl record = MakeSimRecord(u"text", u"1,2,3");
    long ids[6] = {-7, -7, -7, -7, -7, -7};
    long count = row.count;
    EXPECT_EQ(0, store.SaveRecord(&record, ids, count));
    EXPECT_EQ(row.written, count) << row.count;
    EXPECT_EQ(-7, ids[row.written]);
    EXPECT_EQ(row.written > 0 ? 1 : -1, record.GetMSGID());
    EXPECT_THAT(home.sms.m_parts, SizeIs(3));
  }
}

TEST(DeviceStoreSave, TakesNoIndexesWithoutAnArray) {
  SaveHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CSMSRecordImpl record = MakeSimRecord(u"text");
  long count = 5;
  EXPECT_EQ(0, store.SaveRecord(&record, nullptr, count));
  EXPECT_EQ(0, count);
  EXPECT_EQ(-1, store.SaveRecord(nullptr, nullptr, count));
}

TEST(DeviceStoreSave, GoesOnAfterARefusedPartAndAnswersMinusOne) {
  SaveHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  store.Init();
  home.sms.Fail("SMSSaveMsg", 1);
  CTraceCapture trace;
  CSMSRecordImpl record = MakeSimRecord(u"text", u"1,2,3");
  long ids[3] = {};
  long count = 3;
  EXPECT_EQ(-1, store.SaveRecord(&record, ids, count));
  EXPECT_EQ(2, count);
  EXPECT_EQ(1, trace.Count("SMSSaveMsg Fail"));
  EXPECT_EQ(-1, record.GetMSGID());
  EXPECT_EQ(2, store.GetReocrdList()->GetRecordCount());
}

TEST(DeviceStoreSave, StopsAtAFullMemory) {
  SaveHome home;
  home.sms.SetCapacity(SMS_MEM_SM, 2);
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  store.Init();
  CSMSRecordImpl record = MakeSimRecord(u"text", u"1,2,3,4,5");
  long ids[5] = {};
  long count = 5;
  EXPECT_EQ(-1, store.SaveRecord(&record, ids, count));
  EXPECT_EQ(2, count);
  EXPECT_THAT(home.sms.m_parts, SizeIs(3));
}

TEST(DeviceStoreSave, WritesNothingAfterItWasSentBackAndAnswersMinusOne) {
  SaveHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  store.Init();
  store.BackBeforeInit();
  CTraceCapture trace;
  CSMSRecordImpl record = MakeSimRecord(u"text");
  const SaveResult saved = Save(store, record);
  EXPECT_EQ(-1, saved.result);
  EXPECT_EQ(0, saved.saved);
  EXPECT_EQ(1, trace.Count("Have been ~CDeviceSMSImpl(), break!"));
  EXPECT_THAT(home.sms.m_parts, IsEmpty());
  store.Init();
  EXPECT_EQ(0, Save(store, record).result);
}

TEST(DeviceStoreSave, NeedsTheMessageServiceAndTheOwningService) {
  SaveHome home;
  CTraceCapture trace;
  CDeviceSMSImpl alone(SMS_MEM_SM, nullptr);
  CSMSRecordImpl record = MakeSimRecord(u"text");
  EXPECT_EQ(-1, Save(alone, record).result);
  EXPECT_FALSE(trace.Contains("GetUniCommService fail"));
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  home.device.OfferSms(false);
  EXPECT_EQ(-1, Save(store, record).result);
  EXPECT_TRUE(trace.Contains("GetUniCommService fail"));
}

TEST(DeviceStoreSave, AnswersMinusOneWhenTheDeviceThrows) {
  SaveHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  home.sms.Throw("SMSSaveMsg", 1);
  CSMSRecordImpl record = MakeSimRecord(u"text");
  EXPECT_EQ(-1, Save(store, record).result);
}

TEST(DeviceStoreSave, HasNoRuleForFlashMessages) {
  SaveHome home;
  CDeviceSMSImpl store(SMS_MEM_SM, home.Service());
  CSMSRecordImpl record = MakeRecord(u"flash", NS_SMS::RECEIVE_BOX_SIM);
  record.SetSMSClass(NS_SMS::MS_CLASS_0);
  EXPECT_EQ(0, Save(store, record).result);
  EXPECT_THAT(home.sms.m_parts, SizeIs(1));
}

}  // namespace
