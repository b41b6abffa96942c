// Record operations: which store they reach, and what they answer without one.

#include "PassTest.h"

#include <ostream>
#include <thread>

namespace {

const char kNoStore[] = "error: SMSMgr's  point is Null";

class RecordAccess : public CServiceTest {
protected:
  CSMSRecordImpl Record(int position, const VELK_wchar_t* content = u"text") {
    CSMSRecordImpl record;
    record.SetMSGID(-1);
    record.SetPosition(position);
    record.SetInitialPosition(position);
    record.SetNumber(u"111");
    record.SetContent(content);
    return record;
  }
  long Save(int position, long& id) {
    CSMSRecordImpl record = Record(position);
    long count = 1;
    return m_pService->SaveMsg(&record, &id, count);
  }
};

struct RouteRow {
  const char* name;
  int position;
  int storage;
};

void PrintTo(const RouteRow& row, std::ostream* out) { *out << row.name; }

class RecordRoute : public RecordAccess, public ::testing::WithParamInterface<RouteRow> {};

TEST_P(RecordRoute, LeadsToTheStoreOfThePosition) {
  StartWithClient();
  long id = -1;
  ASSERT_EQ(0, Save(GetParam().position, id));
  const bool local = GetParam().storage == NS_SMS::SMS_LOCAL;
  EXPECT_EQ(local ? 1 : 0, m_pService->GetSMSRecordSet(NS_SMS::SMS_LOCAL)->GetRecordCount());
  EXPECT_EQ(GetParam().storage == NS_SMS::SMS_SIM ? 1u : 0u, m_device.sms.Held(SMS_MEM_SM).size());
  EXPECT_EQ(GetParam().storage == NS_SMS::SMS_NV ? 1u : 0u, m_device.sms.Held(SMS_MEM_ME).size());
  EXPECT_EQ(0, m_pService->RemoveRecord(id, GetParam().storage));
  EXPECT_EQ(-1, m_pService->RemoveRecord(id, GetParam().storage));
}

INSTANTIATE_TEST_SUITE_P(
    Boxes, RecordRoute,
    ::testing::Values(RouteRow{"Send", NS_SMS::SEND_BOX, 0}, RouteRow{"Receive", NS_SMS::RECEIVE_BOX, 0},
                      RouteRow{"Draft", NS_SMS::DRAFT_BOX, 0}, RouteRow{"Favorite", NS_SMS::FAVORITE_BOX, 0},
                      RouteRow{"Recycle", NS_SMS::RECYCLE_BOX, 0}, RouteRow{"Receipt", NS_SMS::RECEIPT_BOX, 0},
                      RouteRow{"SendSim", NS_SMS::SEND_BOX_SIM, 1}, RouteRow{"ReceiveSim", NS_SMS::RECEIVE_BOX_SIM, 1},
                      RouteRow{"SendModem", NS_SMS::SEND_BOX_NV, 2},
                      RouteRow{"ReceiveModem", NS_SMS::RECEIVE_BOX_NV, 2}, RouteRow{"Broadcast", NS_SMS::CBS_BOX, 0},
                      RouteRow{"Timing", NS_SMS::TIMING_BOX, 0}, RouteRow{"Twelve", 12, 0}, RouteRow{"Large", 4711, 0},
                      RouteRow{"Negative", -1, 0}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(RecordAccess, RefusesUnknownStorageWithALogLine) {
  StartWithClient();
  CSMSRecordImpl record = Record(NS_SMS::DRAFT_BOX);
  int capacity = 5;
  int used = 6;
  for (int storage : {3, -1, 99}) {
    m_trace.Clear();
    EXPECT_EQ(-1, m_pService->DeleteMsg(1, storage));
    EXPECT_EQ(-1, m_pService->RemoveRecord(1, storage));
    EXPECT_EQ(-1, m_pService->GetMsg(&record, storage));
    EXPECT_EQ(nullptr, m_pService->GetSMSRecordSet(storage));
    EXPECT_EQ(-1, m_pService->GetRecordInfo(capacity, used, storage));
    EXPECT_EQ(5, m_trace.Count(kNoStore));
  }
  EXPECT_EQ(5, capacity);
}

TEST_F(RecordAccess, RefusesNullRecordsWithoutALogLine) {
  StartWithClient();
  long id = 0;
  long count = 1;
  EXPECT_EQ(-1, m_pService->GetMsg(nullptr, NS_SMS::SMS_LOCAL));
  EXPECT_EQ(-1, m_pService->SaveMsg(nullptr, &id, count));
  EXPECT_EQ(-1, m_pService->UpdateMsg(nullptr));
  EXPECT_EQ(0, m_trace.Count(kNoStore));
  CSMSRecordImpl record = Record(NS_SMS::DRAFT_BOX);
  EXPECT_EQ(-1, m_pService->SaveMsg(&record, nullptr, count));
}

TEST_F(RecordAccess, AnswersFailureForAStoreThatIsNotSetUp) {
  m_device.device.m_enStatus = DevDataDef::DEVICE_STATUS_UNKNOW;
  Start();
  CServiceAccess::DropModemStore(*m_pService);
  EXPECT_EQ(nullptr, m_pService->GetSMSRecordSet(NS_SMS::SMS_NV));
  long id = -1;
  EXPECT_EQ(-1, Save(NS_SMS::SEND_BOX_NV, id));
  CSMSRecordImpl record = Record(NS_SMS::RECEIVE_BOX_NV);
  EXPECT_EQ(-1, m_pService->UpdateMsg(&record));
  EXPECT_EQ(3, m_trace.Count(kNoStore));
}

TEST_F(RecordAccess, HasNoTransactionsWithoutALocalStore) {
  m_device.device.m_enStatus = DevDataDef::DEVICE_STATUS_UNKNOW;
  Start();
  CServiceAccess::DropLocalStore(*m_pService);
  EXPECT_EQ(-1, m_pService->BeginTransaction());
  EXPECT_EQ(-1, m_pService->EndTransaction());
}

TEST_F(RecordAccess, PutsTheCursorOnTheFirstRecord) {
  StartWithClient();
  long id = -1;
  Save(NS_SMS::DRAFT_BOX, id);
  Save(NS_SMS::DRAFT_BOX, id);
  ISMSRecordSet* const set = m_pService->GetSMSRecordSet(NS_SMS::SMS_LOCAL);
  EXPECT_EQ(1, set->GetMSGID());
  set->MoveNext();
  EXPECT_EQ(2, set->GetMSGID());
  EXPECT_EQ(set, m_pService->GetSMSRecordSet(NS_SMS::SMS_LOCAL));
  EXPECT_EQ(1, set->GetMSGID());
}

TEST_F(RecordAccess, ReadsChangesAndRecyclesALocalMessage) {
  StartWithClient();
  long id = -1;
  ASSERT_EQ(0, Save(NS_SMS::RECEIVE_BOX, id));
  CSMSRecordImpl record(id);
  ASSERT_EQ(0, m_pService->GetMsg(&record, NS_SMS::SMS_LOCAL));
  EXPECT_EQ("text", Utf8(record.GetContent()));
  record.SetContent(u"changed");
  EXPECT_EQ(0, m_pService->UpdateMsg(&record));
  EXPECT_EQ(0, m_pService->DeleteMsg(id, NS_SMS::SMS_LOCAL));
  EXPECT_EQ(-1, m_pService->DeleteMsg(id, NS_SMS::SMS_LOCAL)) << "it is in the recycle box";
  EXPECT_EQ((std::vector<std::string>{"4 111 changed 1"}), Stored());
  int capacity = 0;
  int used = 0;
  EXPECT_EQ(0, m_pService->GetRecordInfo(capacity, used, NS_SMS::SMS_LOCAL));
  EXPECT_EQ(10000, capacity);
  EXPECT_EQ(1, used);
}

TEST_F(RecordAccess, ReadsADeviceMessageByItsIndex) {
  StartWithClient();
  const MSG_HANDLE index = m_device.sms.Put(SMS_MEM_SM, MakeReadRecord("222", u"on the SIM", SMS_STAT_READ));
  CSMSRecordImpl record(static_cast<long>(index));
  EXPECT_EQ(0, m_pService->GetMsg(&record, NS_SMS::SMS_SIM));
  EXPECT_EQ("on the SIM", Utf8(record.GetContent()));
  EXPECT_EQ(NS_SMS::RECEIVE_BOX_SIM, record.GetPosition());
  EXPECT_EQ(static_cast<long>(index), record.GetMSGID());
  CSMSRecordImpl missing(77L);
  EXPECT_EQ(-1, m_pService->GetMsg(&missing, NS_SMS::SMS_SIM));
}

TEST_F(RecordAccess, HandsAnMmsNotificationReadByAClientOver) {
  StartWithClient();
  SMReadRecord message = MakeReadRecord("222", u"picture", SMS_STAT_READ);
  message.enType = SMS_IDENTIFYER_MMS_NOTIFY;
  ASSERT_TRUE(m_trace.AwaitLine("m_MutexReadNewMsg Unlock()", 5000, 2));
  const MSG_HANDLE index = m_device.sms.Put(SMS_MEM_SM, message);
  CSMSRecordImpl record(static_cast<long>(index));
  EXPECT_EQ(0, m_pService->GetMsg(&record, NS_SMS::SMS_SIM));
  EXPECT_EQ(NS_SMS::MSG_MMS_ALERT, record.GetMSGType());
  EXPECT_TRUE(m_device.sms.Held(SMS_MEM_SM).empty());
}

TEST_F(RecordAccess, TellsClientsOfPartsThatBecameOneWhileTheirLockIsHeld) {
  StartWithClient();
  int inside = 0;
  m_client.SetHook([&](const std::string& line) {
    if (line.find("OnRecordChanged") == 0) {
      CSMSRecordImpl record(1L);
      inside += m_pService->GetMsg(&record, NS_SMS::SMS_LOCAL) == 0 ? 1 : 0;
    }
  });
  for (int part = 1; part <= 2; ++part) {
    CSMSRecordImpl record = Record(NS_SMS::RECEIVE_BOX, part == 1 ? u"one " : u"two");
    record.SetTime(u"20260101120000");
    record.SetMSGInfo(9, 2, part);
    long id = -1;
    long count = 1;
    EXPECT_EQ(0, m_pService->SaveMsg(&record, &id, count));
  }
  EXPECT_EQ(1, m_client.Count("OnRecordChanged id=1 code=20410"));
  EXPECT_EQ(1, inside);
  EXPECT_EQ((std::vector<std::string>{"1 111 one two 1"}), Stored());
}

TEST_F(RecordAccess, BracketsASeriesOfChanges) {
  StartWithClient();
  EXPECT_EQ(-1, m_pService->EndTransaction());
  EXPECT_EQ(0, m_pService->BeginTransaction());
  long id = -1;
  EXPECT_EQ(0, Save(NS_SMS::DRAFT_BOX, id));
  EXPECT_EQ(0, m_pService->EndTransaction());
  EXPECT_EQ(1u, Stored().size());
}

/// The clock stands still: whoever waited for a limit would wait for ever.
class TransactionOfOne : public CPassTest {
protected:
  long SaveDraft() {
    CSMSRecordImpl record;
    record.SetMSGID(-1);
    long id = -1;
    long count = 1;
    return m_pService->SaveMsg(&record, &id, count);
  }
  /// A client saves inside a callback, on a thread of its own; the save waits.
  std::thread SaveInsideACallback(long& result) {
    m_client.SetHook([&](const std::string&) { result = SaveDraft(); });
    std::thread driver([this] { m_device.net.RaiseNumber(NETSRV_DATA::EVENT_NET_SERVER_STATUS, 2); });
    EXPECT_TRUE(m_clock.AwaitTimedWaiters(1, 10000, 10000));
    return driver;
  }
};

TEST_F(TransactionOfOne, IsWaitedForInsideACallback) {
  ASSERT_TRUE(StartIdle());
  ASSERT_EQ(0, m_pService->BeginTransaction());
  long inside = 9;
  std::thread driver = SaveInsideACallback(inside);
  EXPECT_EQ(0, m_pService->EndTransaction());
  driver.join();
  EXPECT_EQ(0, inside);
}

TEST_F(TransactionOfOne, MakesAChangeInsideACallbackGiveUpWhenItNeedsTheLockOfThatCallback) {
  ASSERT_TRUE(StartIdle());
  ASSERT_EQ(0, m_pService->BeginTransaction());
  long inside = 9;
  std::thread driver = SaveInsideACallback(inside);
  EXPECT_EQ(0, SaveDraft());
  driver.join();
  EXPECT_EQ(-1, inside);
  EXPECT_EQ(0, m_pService->EndTransaction());
}

TEST_F(TransactionOfOne, IsNotHeldUpByTheChangesOfOthersThatWaitForIt) {
  ASSERT_TRUE(StartIdle());
  ASSERT_EQ(0, m_pService->BeginTransaction());
  ASSERT_EQ(0, SaveDraft());
  long others[4] = {9, 9, 9, 9};
  std::thread threads[] = {
      std::thread([&] { others[0] = SaveDraft(); }),
      std::thread([&] { others[1] = m_pService->RemoveRecord(1, NS_SMS::SMS_LOCAL); }),
      std::thread([&] { others[2] = m_pService->BeginTransaction() + m_pService->EndTransaction(); }),
      std::thread([&] { others[3] = m_pService->DeleteMsg(2, NS_SMS::SMS_LOCAL); })};
  ASSERT_TRUE(m_clock.AwaitTimedWaiters(4, 10000, 10000)) << "they wait for the end";
  EXPECT_EQ(0, SaveDraft());
  EXPECT_EQ(0, m_pService->BeginTransaction()) << "nested";
  EXPECT_EQ(0, m_pService->EndTransaction());
  EXPECT_EQ(0, m_pService->EndTransaction());
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(0, others[0]);
  EXPECT_EQ(0, others[1]);
  EXPECT_EQ(0, others[2]);
  EXPECT_EQ(0, others[3]);
  EXPECT_EQ(2, m_pService->GetSMSRecordSet(NS_SMS::SMS_LOCAL)->GetRecordCount());
}

TEST_F(TransactionOfOne, IsForgottenWhenItsThreadHasEndedWithoutEndingIt) {
  ASSERT_TRUE(StartIdle());
  std::thread([this] { EXPECT_EQ(0, m_pService->BeginTransaction()); }).join();
  long result = 9;
  std::thread other([&] { result = m_pService->RemoveRecord(77, NS_SMS::SMS_LOCAL); });
  ASSERT_TRUE(m_clock.AwaitTimedWaiters(1, 10000, 10000));
  m_clock.Advance(10000);
  other.join();
  EXPECT_EQ(-1, result) << "there is no such message";
  EXPECT_EQ(0, m_pService->BeginTransaction());
  EXPECT_EQ(0, m_pService->EndTransaction());
}

TEST_F(RecordAccess, OutlivesADeviceLossWithThePointerToADeviceSet) {
  m_home.WriteSettings("[SMSSERVICE]\nReceviceMode=0\n");
  m_device.sms.Put(SMS_MEM_SM, MakeReadRecord("222", u"on the SIM", SMS_STAT_READ));
  StartWithClient();
  ASSERT_TRUE(m_trace.AwaitLine("m_MutexReadNewMsg Unlock()", 5000, 2));
  ISMSRecordSet* const set = m_pService->GetSMSRecordSet(NS_SMS::SMS_SIM);
  EXPECT_EQ(1, set->GetRecordCount());
  m_pService->OnDeviceMgrEvent(NETSRV_DATA::EVENT_SRV_MS_UNAVAILABLE, nullptr);
  EXPECT_EQ(0, set->GetRecordCount());
  EXPECT_EQ(set, m_pService->GetSMSRecordSet(NS_SMS::SMS_SIM));
}

}  // namespace
