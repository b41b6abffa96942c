// The local store: saving, reading, changing and deleting.
#include "SMSLocalRecordSaveInfo.h"
#include "StoreSupport.h"
#include "Text.h"
#include "TraceCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// --- Saving ----------------------------------------------------------------------------------------------------------

TEST(LocalStore, GivesASavedMessageTheIndexOfItsRow) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"hello");
  const SaveResult saved = Save(home.Store(), record);
  EXPECT_EQ(0, saved.result);
  EXPECT_GE(saved.id, 1);
  EXPECT_EQ(1, saved.saved);
  EXPECT_EQ(saved.id, record.GetMSGID());
  EXPECT_THAT(home.Rows(), ElementsAre(std::to_string(saved.id) + "|" + Describe(record)));
  EXPECT_THAT(Contents(home.Set()), ElementsAre("hello"));
}

TEST(LocalStore, SetsTheCountToOne) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"hello");
  long id = -1;
  long saved = 99;
  EXPECT_EQ(0, home.Store().SaveRecord(&record, &id, saved));
  EXPECT_EQ(1, saved);
}

TEST(LocalStore, RefusesToSaveWithoutRecordOrIdentifier) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"hello");
  long id = -1;
  long saved = 5;
  EXPECT_EQ(-1, home.Store().SaveRecord(nullptr, &id, saved));
  EXPECT_EQ(-1, home.Store().SaveRecord(&record, nullptr, saved));
  EXPECT_EQ(5, saved);
  EXPECT_THAT(home.Rows(), IsEmpty());
}

class LocalStoreFlash : public testing::TestWithParam<int> {};

TEST_P(LocalStoreFlash, StoresNoReceivedClassZeroMessageAndAnswersZero) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"flash", GetParam());
  record.SetSMSClass(NS_SMS::MS_CLASS_0);
  long id = -7;
  long saved = 9;
  EXPECT_EQ(0, home.Store().SaveRecord(&record, &id, saved));
  EXPECT_EQ(-7, id);
  EXPECT_EQ(9, saved);
  EXPECT_EQ(-1, record.GetMSGID());
  EXPECT_THAT(home.Rows(), IsEmpty());
  EXPECT_EQ(0, home.Set().GetRecordCount());
}

INSTANTIATE_TEST_SUITE_P(ReceiveBoxes, LocalStoreFlash,
                         testing::Values(NS_SMS::RECEIVE_BOX, NS_SMS::RECEIVE_BOX_SIM, NS_SMS::RECEIVE_BOX_NV));

TEST(LocalStore, StoresClassZeroMessagesThatWereNotReceived) {
  CStoreHome home;
  for (int box = 0; box <= NS_SMS::MSG_POSITION_NUM; ++box) {
    if (box != NS_SMS::RECEIVE_BOX && box != NS_SMS::RECEIVE_BOX_SIM && box != NS_SMS::RECEIVE_BOX_NV) {
      CSMSRecordImpl record = MakeRecord(u"flash", box);
      record.SetSMSClass(NS_SMS::MS_CLASS_0);
      EXPECT_EQ(0, Save(home.Store(), record).result) << box;
    }
  }
  EXPECT_EQ(NS_SMS::MSG_POSITION_NUM + 1 - 3, home.Set().GetRecordCount());
}

TEST(LocalStore, ReadsAStoredRecordBackAsClassThreeWhateverItWas) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"text");
  record.SetSMSClass(NS_SMS::MS_CLASS_1);
  const long id = Save(home.Store(), record).id;
  EXPECT_EQ(NS_SMS::MS_CLASS_3, Records(home.Set()).at(0).GetSMSClass());
  home.Restart();
  EXPECT_EQ(NS_SMS::MS_CLASS_3, Records(home.Set()).at(0).GetSMSClass());
  EXPECT_EQ(id, Records(home.Set()).at(0).GetMSGID());
}

TEST(LocalStore, StampsWhatWasNotReceivedWithThePresentTime) {
  CStoreHome home;
  CSMSRecordImpl sent = MakeRecord(u"sent", NS_SMS::SEND_BOX);
  CSMSRecordImpl received = MakeRecord(u"received");
  sent.SetTime(u"");
  received.SetTime(u"19990101000000");
  Save(home.Store(), sent);
  Save(home.Store(), received);
  EXPECT_EQ(14u, VELK_wstring(sent.GetTime()).size());
  EXPECT_EQ("19990101000000", Utf8(received.GetTime()));
  EXPECT_EQ(Utf8(sent.GetTime()), Utf8(Records(home.Set()).at(0).GetTime()));
}

TEST(LocalStore, KeepsEveryTextAsItIs) {
  const VELK_wstring halfPair = {0x0041, 0xD83D, 0x0042, 0xDE00};
  const VELK_wstring texts[] = {
      u"", halfPair, u"'); DROP TABLE SmsLocalRecord; --", u"\x01\x1f\r\n\t", Repeat(u"long ", 20000), u"€ 😀 ÄÖÜ"};
  CStoreHome home;
  for (const VELK_wstring& text : texts) {
    CSMSRecordImpl record = MakeRecord(text);
    record.SetNumber(text.c_str());
    ASSERT_EQ(0, Save(home.Store(), record).result);
  }
  home.Restart();
  const std::vector<CSMSRecordImpl> records = Records(home.Set());
  ASSERT_EQ(std::size(texts), records.size());
  for (std::size_t i = 0; i < records.size(); ++i) {
    EXPECT_EQ(texts[i], VELK_wstring(records[i].GetContent())) << i;
    EXPECT_EQ(texts[i], VELK_wstring(records[i].GetNumber())) << i;
  }
}

TEST(LocalStore, KeepsTheExtremesOfEveryNumber) {
  CStoreHome home;
  const int least = std::numeric_limits<int>::min();
  const int most = std::numeric_limits<int>::max();
  CSMSRecordImpl record = MakeRecord(u"extremes");
  record.SetIsRead(least);
  record.SetSendResult(most);
  record.SetMSGType(least);
  record.SetMSGInfo(least, -1, -1);
  record.SetSMSPriority(most);
  ASSERT_EQ(0, Save(home.Store(), record).result);
  home.Restart();
  EXPECT_EQ(Describe(record), Describe(Records(home.Set()).at(0)));
}

TEST(LocalStore, NeverGivesAnIdentifierTwice) {
  CStoreHome home;
  CSMSRecordImpl first = MakeRecord(u"first");
  CSMSRecordImpl second = MakeRecord(u"second");
  const long firstId = Save(home.Store(), first).id;
  EXPECT_EQ(0, home.Store().RemoveRecord(firstId));
  home.Restart();
  EXPECT_GT(Save(home.Store(), second).id, firstId);
}

TEST(LocalStore, StoresBeyondItsCapacityAndReportsTheTrueCount) {
  CStoreHome home;
  home.Close();
  {
    CRawDatabase raw(home.Home().DatabaseFile());
    raw.Execute(
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 10000) INSERT INTO SmsLocalRecord "
        "(NUMBER, CONTENT, TIME, ISREAD, POSITION, SENDRESULT, MSGTYPE, LONGSMSID, TOTALPACK, PACK, INITIALPOSITION, "
        "PRIORITY) SELECT '1', 'text ' || i, '20260101000000', '0', '1', '0', '0', '0', '0', '0', '1', '4' FROM n");
  }
  home.Open();
  EXPECT_EQ(10000, home.Set().GetRecordCount());
  CSMSRecordImpl record = MakeRecord(u"one more");
  EXPECT_EQ(0, Save(home.Store(), record).result);
  int capacity = 0;
  int used = 0;
  EXPECT_EQ(-1, home.Store().CheckIsFull());
  EXPECT_EQ(0, home.Store().GetRecordInfo(capacity, used));
  EXPECT_EQ(SMSLocalRecordSaveInfo::FIEL_RECORD_MAXCOUNT, capacity);
  EXPECT_EQ(10001, used);
}

// --- Reading ---------------------------------------------------------------------------------------------------------

TEST(LocalStore, FillsARecordFromItsRow) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"hello");
  const long id = Save(home.Store(), record).id;
  CSMSRecordImpl asked(id);
  asked.SetSMSClass(NS_SMS::MS_CLASS_1);
  EXPECT_EQ(0, home.Store().GetRecord(&asked));
  EXPECT_EQ(Describe(record), Describe(asked));
  EXPECT_EQ(id, asked.GetMSGID());
  EXPECT_EQ(NS_SMS::MS_CLASS_1, asked.GetSMSClass());
}

TEST(LocalStore, RefusesToReadWhatIsNotThere) {
  CStoreHome home;
  CTraceCapture trace;
  for (const long id :
       {0L, -1L, 4711L, std::numeric_limits<long>::max(), std::numeric_limits<long>::min(), (1L << 32) + 1}) {
    CSMSRecordImpl record(id);
    EXPECT_EQ(-1, home.Store().GetRecord(&record)) << id;
  }
  EXPECT_EQ(6, trace.Count("System error: FileManager not initilazed"));
  EXPECT_EQ(-1, home.Store().GetRecord(nullptr));
}

TEST(LocalStore, DoesNotTakeAHugeIdentifierForASmallOne) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"hello");
  const long id = Save(home.Store(), record).id;
  const long alias = (1L << 32) + id;
  EXPECT_EQ(-1, home.Store().RemoveRecord(alias));
  EXPECT_EQ(-1, home.Store().DeleteRecord(alias));
  record.SetMSGID(alias);
  EXPECT_EQ(-1, home.Store().UpdateRecord(&record));
  EXPECT_EQ(1u, home.Rows().size());
}

// --- Changing --------------------------------------------------------------------------------------------------------

TEST(LocalStore, RewritesAllFieldsAndTheEntryOfTheSet) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"before");
  const long id = Save(home.Store(), record).id;
  record.SetContent(u"after");
  record.SetIsRead(NS_SMS::IS_READ);
  record.SetPosition(NS_SMS::FAVORITE_BOX);
  record.SetMSGInfo(1, 2, 3);
  EXPECT_EQ(0, home.Store().UpdateRecord(&record));
  EXPECT_THAT(home.Rows(), ElementsAre(std::to_string(id) + "|" + Describe(record)));
  EXPECT_EQ(DescribeAll(record), DescribeAll(Records(home.Set()).at(0)));
  EXPECT_EQ(1, home.Set().GetRecordCount());
}

TEST(LocalStore, StampsADraftAtEveryChange) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"draft", NS_SMS::DRAFT_BOX);
  Save(home.Store(), record);
  record.SetTime(u"");
  EXPECT_EQ(0, home.Store().UpdateRecord(&record));
  EXPECT_EQ(14u, VELK_wstring(record.GetTime()).size());
  CSMSRecordImpl sent = MakeRecord(u"sent", NS_SMS::SEND_BOX);
  Save(home.Store(), sent);
  sent.SetTime(u"");
  EXPECT_EQ(0, home.Store().UpdateRecord(&sent));
  EXPECT_EQ("", Utf8(sent.GetTime()));
}

TEST(LocalStore, PutsNoGhostIntoTheSetWhenTheRowIsMissing) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"ghost");
  record.SetMSGID(4711);
  EXPECT_EQ(-1, home.Store().UpdateRecord(&record));
  EXPECT_EQ(-1, home.Store().UpdateRecord(nullptr));
  EXPECT_EQ(0, home.Set().GetRecordCount());
}

TEST(LocalStore, ChangesTheRowAlsoWhenNothingIsLoaded) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"before");
  Save(home.Store(), record);
  home.Store().BackBeforeInit();
  record.SetContent(u"after");
  EXPECT_EQ(0, home.Store().UpdateRecord(&record));
  EXPECT_THAT(Contents(home.Set()), ElementsAre("after"));
}

// --- Deleting --------------------------------------------------------------------------------------------------------

TEST(LocalStore, KeepsADeletedMessageInTheRecycleBoxMarkedRead) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"unread");
  const long id = Save(home.Store(), record).id;
  EXPECT_EQ(0, home.Store().DeleteRecord(id));
  record.SetPosition(NS_SMS::RECYCLE_BOX);
  record.SetIsRead(NS_SMS::IS_READ);
  EXPECT_THAT(home.Rows(), ElementsAre(std::to_string(id) + "|" + Describe(record)));
  ASSERT_EQ(1, home.Set().GetRecordCount());
  EXPECT_EQ(Describe(record), Describe(Records(home.Set()).at(0)));
  EXPECT_EQ(0, home.Set().GetUnReadSMSCount());
}

TEST(LocalStore, RefusesToDeleteARecycledMessageOrAReport) {
  CStoreHome home;
  CSMSRecordImpl recycled = MakeRecord(u"recycled", NS_SMS::RECYCLE_BOX);
  CSMSRecordImpl report = MakeRecord(u"report", NS_SMS::RECEIPT_BOX);
  CSMSRecordImpl reportElsewhere = MakeRecord(u"report elsewhere", NS_SMS::RECEIVE_BOX);
  reportElsewhere.SetInitialPosition(NS_SMS::RECEIPT_BOX);
  CSMSRecordImpl movedToReports = MakeRecord(u"moved to reports", NS_SMS::RECEIVE_BOX);
  movedToReports.SetPosition(NS_SMS::RECEIPT_BOX);
  for (CSMSRecordImpl* const record : {&recycled, &report, &reportElsewhere, &movedToReports}) {
    Save(home.Store(), *record);
  }
  const std::vector<std::string> before = home.Rows();
  for (CSMSRecordImpl* const record : {&recycled, &report, &reportElsewhere, &movedToReports}) {
    EXPECT_EQ(-1, home.Store().DeleteRecord(record->GetMSGID())) << Utf8(record->GetContent());
  }
  EXPECT_EQ(before, home.Rows());
}

TEST(LocalStore, RefusesToDeleteOrRemoveWhatIsNotThere) {
  CStoreHome home;
  for (const long id : {0L, -1L, 4711L, std::numeric_limits<long>::max(), std::numeric_limits<long>::min()}) {
    EXPECT_EQ(-1, home.Store().DeleteRecord(id)) << id;
    EXPECT_EQ(-1, home.Store().RemoveRecord(id)) << id;
  }
}

TEST(LocalStore, DeletesIntoTheRecycleBoxAlsoWhenNothingIsLoaded) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"text");
  const long id = Save(home.Store(), record).id;
  home.Store().BackBeforeInit();
  EXPECT_EQ(0, home.Store().DeleteRecord(id));
  EXPECT_EQ(NS_SMS::RECYCLE_BOX, Records(home.Set()).at(0).GetPosition());
}

TEST(LocalStore, RemovesRowAndEntryForGood) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"text");
  const long id = Save(home.Store(), record).id;
  EXPECT_EQ(0, home.Store().RemoveRecord(id));
  EXPECT_EQ(-1, home.Store().RemoveRecord(id));
  EXPECT_THAT(home.Rows(), IsEmpty());
  EXPECT_EQ(0, home.Set().GetRecordCount());
}

TEST(LocalStore, RemovesTheRowButAnswersMinusOneWhenNothingIsLoaded) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"text");
  const long id = Save(home.Store(), record).id;
  home.Store().BackBeforeInit();
  EXPECT_EQ(-1, home.Store().RemoveRecord(id));
  EXPECT_THAT(home.Rows(), IsEmpty());
}

// --- Rows ------------------------------------------------------------------------------------------------------------

TEST(LocalStoreRow, HasTwelveColumnsInTheirOrder) {
  CSMSRecordImpl record = MakeRecord(u"content", NS_SMS::SEND_BOX);
  record.SetPosition(NS_SMS::FAVORITE_BOX);
  record.SetMSGType(NS_SMS::MSG_REPORT);
  record.SetMSGInfo(17, 3, 2);
  record.SetSendResult(NS_SMS::FAILURE);
  record.SetSMSPriority(NS_SMS::SMS_URGENT_PRIORITY);
  LocalDatabaseMgr::FieldType fields;
  CFileSMSImpl::GetFileRecord(&record, fields);
  std::vector<std::string> pairs;
  for (const __ST_FIELD_TYPE& field : fields) {
    pairs.push_back(field.strFieldName + "=" + Utf8(field.strValue));
  }
  EXPECT_THAT(pairs, ElementsAre("NUMBER=+491700000", "CONTENT=content", "TIME=20261120120000", "ISREAD=1",
                                 "POSITION=3", "SENDRESULT=1", "MSGTYPE=1", "LONGSMSID=17", "TOTALPACK=3", "PACK=2",
                                 "INITIALPOSITION=0", "PRIORITY=2"));
}

TEST(LocalStoreRow, LeavesAFilledRowAndANullRecordAlone) {
  const CSMSRecordImpl record = MakeRecord(u"content");
  LocalDatabaseMgr::FieldType fields{{"OTHER", u"value"}};
  CFileSMSImpl::GetFileRecord(&record, fields);
  EXPECT_EQ(1u, fields.size());
  fields.clear();
  CFileSMSImpl::GetFileRecord(nullptr, fields);
  EXPECT_TRUE(fields.empty());
  CFileSMSImpl::GetSMSRecord(1, fields, nullptr);
}

TEST(LocalStoreRow, WithFewerThanTwelveValuesFillsOnlyTheFieldsPresent) {
  CSMSRecordImpl whole = MakeRecord(u"content", NS_SMS::SEND_BOX);
  whole.SetMSGInfo(17, 3, 2);
  whole.SetSendResult(NS_SMS::FAILURE);
  whole.SetSMSPriority(NS_SMS::SMS_URGENT_PRIORITY);
  LocalDatabaseMgr::FieldType all;
  CFileSMSImpl::GetFileRecord(&whole, all);
  for (std::size_t count = 0; count <= all.size(); ++count) {
    const LocalDatabaseMgr::FieldType some(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count));
    CSMSRecordImpl record;
    record.SetMSGInfo(-1, -2, -3);
    CFileSMSImpl::GetSMSRecord(5, some, &record);
    int reference = 0;
    int total = 0;
    int part = 0;
    record.GetMSGInfo(reference, total, part);
    EXPECT_EQ(5, record.GetMSGID());
    EXPECT_EQ(count > 0 ? "+491700000" : "", Utf8(record.GetNumber())) << count;
    EXPECT_EQ(count > 3 ? NS_SMS::IS_NOT_READ : NS_SMS::IS_READ, record.GetIsRead()) << count;
    EXPECT_EQ(count > 9 ? 17 : -1, reference) << count;
    EXPECT_EQ(count > 9 ? 3 : -2, total) << count;
    EXPECT_EQ(count > 9 ? 2 : -3, part) << count;
    EXPECT_EQ(count > 11 ? 2 : 4, record.GetSMSPriority()) << count;
  }
}

TEST(LocalStoreRow, IgnoresWhatFollowsTheTwelfthValue) {
  const CSMSRecordImpl record = MakeRecord(u"content");
  LocalDatabaseMgr::FieldType fields;
  CFileSMSImpl::GetFileRecord(&record, fields);
  fields.push_back({"MORE", u"9"});
  CSMSRecordImpl read;
  CFileSMSImpl::GetSMSRecord(1, fields, &read);
  EXPECT_EQ(Describe(record), Describe(read));
}

TEST(LocalStoreRow, IsKeptInTheFileUnderTheNamesOfItsColumns) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"content");
  Save(home.Store(), record);
  CRawDatabase raw(home.Home().DatabaseFile());
  EXPECT_EQ(1, raw.Number("SELECT count(*) FROM SmsLocalRecord WHERE NUMBER = '+491700000' AND CONTENT = 'content' AND "
                          "TIME = '20261120120000' AND ISREAD = '1' AND POSITION = '1' AND SENDRESULT = '0' AND "
                          "MSGTYPE = '0' AND LONGSMSID = '0' AND TOTALPACK = '0' AND PACK = '0' AND "
                          "INITIALPOSITION = '1' AND PRIORITY = '4'"));
}

TEST(LocalStoreRow, WithoutValuesDoesNotKeepTheStoreFromLoading) {
  CStoreHome home;
  home.Close();
  {
    CRawDatabase raw(home.Home().DatabaseFile());
    raw.Execute("INSERT INTO SmsLocalRecord (CONTENT) VALUES ('half a row')");
    raw.Execute(
        "INSERT INTO SmsLocalRecord (CONTENT, POSITION, TOTALPACK) VALUES ('odd row', 'abc', '99999999999999')");
  }
  home.Open();
  const std::vector<CSMSRecordImpl> records = Records(home.Set());
  ASSERT_EQ(2u, records.size());
  EXPECT_EQ("half a row", Utf8(records[0].GetContent()));
  EXPECT_EQ("odd row", Utf8(records[1].GetContent()));
  EXPECT_EQ(0, records[1].GetPosition());
}

}  // namespace
