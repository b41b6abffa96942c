// The local store when the database fails: nothing is lost, nothing is pretended.
#include "StoreSupport.h"
#include "Text.h"
#include "TraceCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <filesystem>
#include <fstream>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// A trigger that refuses; the engine undoes the step, or with ROLLBACK the whole transaction.
std::string Refuse(const std::string& operation, const std::string& how = "ABORT") {
  return "CREATE TRIGGER refuse BEFORE " + operation + " ON SmsLocalRecord BEGIN SELECT RAISE(" + how +
         ", 'refused'); END";
}

class LocalStoreRefusal : public testing::TestWithParam<const char*> {};

TEST_P(LocalStoreRefusal, OfAnInsertFailsTheSaveAndLeavesNoEntry) {
  CStoreHome home;
  CRawDatabase raw(home.Home().DatabaseFile());
  raw.Execute(Refuse("INSERT", GetParam()));
  CSMSRecordImpl record = MakeRecord(u"text");
  const SaveResult refused = Save(home.Store(), record);
  EXPECT_EQ(-1, refused.result);
  EXPECT_EQ(-1, refused.id);
  EXPECT_EQ(-1, record.GetMSGID());
  EXPECT_EQ(0, home.Set().GetRecordCount());
  raw.Execute("DROP TRIGGER refuse");
  EXPECT_EQ(0, Save(home.Store(), record).result);
  EXPECT_THAT(Contents(home.Set()), ElementsAre("text"));
  EXPECT_THAT(home.Rows(), SizeIs(1));
}

TEST_P(LocalStoreRefusal, OfAnUpdateFailsTheChangeAndKeepsTheEntry) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"before");
  const long id = Save(home.Store(), record).id;
  CRawDatabase raw(home.Home().DatabaseFile());
  raw.Execute(Refuse("UPDATE", GetParam()));
  CTraceCapture trace;
  record.SetContent(u"after");
  EXPECT_EQ(-1, home.Store().UpdateRecord(&record));
  EXPECT_EQ(-1, home.Store().DeleteRecord(id));
  EXPECT_TRUE(trace.Contains("Delete Local Message with id=" + std::to_string(id) + "  Error"));
  const std::vector<CSMSRecordImpl> records = Records(home.Set());
  ASSERT_THAT(records, SizeIs(1));
  EXPECT_EQ("before", Utf8(records[0].GetContent()));
  EXPECT_EQ(NS_SMS::RECEIVE_BOX, records[0].GetPosition());
}

TEST_P(LocalStoreRefusal, OfADeleteFailsTheRemovalAndKeepsTheEntry) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"text");
  const long id = Save(home.Store(), record).id;
  CRawDatabase raw(home.Home().DatabaseFile());
  raw.Execute(Refuse("DELETE", GetParam()));
  EXPECT_EQ(-1, home.Store().RemoveRecord(id));
  EXPECT_THAT(Contents(home.Set()), ElementsAre("text"));
  EXPECT_THAT(home.Rows(), SizeIs(1));
}

TEST_P(LocalStoreRefusal, OfTheWholeMessageStoresThePartAloneAndRemovesNothing) {
  CStoreHome home;
  CSMSRecordImpl first = MakePart(u"1", 1, 2);
  Save(home.Store(), first);
  CRawDatabase raw(home.Home().DatabaseFile());
  raw.Execute(std::string("CREATE TRIGGER refuse BEFORE INSERT ON SmsLocalRecord WHEN NEW.TOTALPACK = '0' BEGIN SELECT "
                          "RAISE(") +
              GetParam() + ", 'refused'); END");
  CTraceCapture trace;
  CSMSRecordImpl last = MakePart(u"2", 2, 2);
  EXPECT_EQ(0, Save(home.Store(), last).result);
  EXPECT_TRUE(trace.Contains("CombinationLongMsg() CreateNewRecord Error"));
  EXPECT_EQ("2", Utf8(last.GetContent()));
  EXPECT_THAT(Contents(home.Set()), ElementsAre("1", "2"));
  home.Restart();
  EXPECT_THAT(Contents(home.Set()), ElementsAre("1", "2"));
}

TEST_P(LocalStoreRefusal, ToRemoveMergedPartsLeavesThemBesideTheWholeMessage) {
  CStoreHome home;
  CSMSRecordImpl first = MakePart(u"1", 1, 2);
  Save(home.Store(), first);
  CRawDatabase raw(home.Home().DatabaseFile());
  raw.Execute(Refuse("DELETE", GetParam()));
  CSMSRecordImpl last = MakePart(u"2", 2, 2);
  EXPECT_EQ(0, Save(home.Store(), last).result);
  EXPECT_THAT(Contents(home.Set()), ElementsAre("1", "12"));
  home.Restart();
  EXPECT_THAT(Contents(home.Set()), ElementsAre("1", "12"));
}

INSTANTIATE_TEST_SUITE_P(Ways, LocalStoreRefusal, testing::Values("ABORT", "ROLLBACK", "FAIL"));

TEST(LocalStoreFault, AFullDiskAtTheCommitFailsTheSaveAndTakesTheEntryBack) {
  CStoreHome home;
  CSMSRecordImpl kept = MakeRecord(u"kept");
  ASSERT_EQ(0, Save(home.Store(), kept).result);
  CSMSRecordImpl record = MakeRecord(Repeat(u"too much ", 20000));
  {
    const CFullDisk full(home.Home().DatabaseFile() + "-wal");
    EXPECT_EQ(-1, Save(home.Store(), record).result);
    EXPECT_EQ(-1, record.GetMSGID());
    EXPECT_THAT(Contents(home.Set()), ElementsAre("kept"));
    EXPECT_THAT(home.Rows(), SizeIs(1));
  }
  EXPECT_EQ(0, Save(home.Store(), record).result);
  home.Restart();
  EXPECT_EQ(2, home.Set().GetRecordCount());
}

TEST(LocalStoreFault, AFullDiskWhileCombiningKeepsTheStoredParts) {
  CStoreHome home;
  CSMSRecordImpl first = MakePart(Repeat(u"1", 5000), 1, 2);
  ASSERT_EQ(0, Save(home.Store(), first).result);
  CSMSRecordImpl last = MakePart(Repeat(u"2", 5000), 2, 2);
  {
    const CFullDisk full(home.Home().DatabaseFile() + "-wal");
    EXPECT_EQ(-1, Save(home.Store(), last).result);
    EXPECT_EQ(1, home.Set().GetRecordCount());
  }
  EXPECT_EQ(5000u, VELK_wstring(last.GetContent()).size());
  EXPECT_EQ(0, Save(home.Store(), last).result);
  ASSERT_EQ(1, home.Set().GetRecordCount());
  EXPECT_EQ(10000u, VELK_wstring(Records(home.Set()).at(0).GetContent()).size());
}

TEST(LocalStoreFault, AFullDiskTakesAChangeAndARemovalBack) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"before");
  const long id = Save(home.Store(), record).id;
  record.SetContent(Repeat(u"too much ", 20000).c_str());
  {
    const CFullDisk full(home.Home().DatabaseFile() + "-wal");
    EXPECT_EQ(-1, home.Store().UpdateRecord(&record));
    EXPECT_THAT(Contents(home.Set()), ElementsAre("before"));
    EXPECT_EQ(-1, home.Store().RemoveRecord(id));
    EXPECT_THAT(Contents(home.Set()), ElementsAre("before"));
    EXPECT_EQ(-1, home.Store().DeleteRecord(id));
    EXPECT_EQ(NS_SMS::RECEIVE_BOX, Records(home.Set()).at(0).GetPosition());
  }
  EXPECT_EQ(0, home.Store().RemoveRecord(id));
}

TEST(LocalStoreFault, WithoutItsTableAnswersEveryOperation) {
  CStoreHome home;
  CSMSRecordImpl record = MakeRecord(u"text");
  const long id = Save(home.Store(), record).id;
  {
    CRawDatabase raw(home.Home().DatabaseFile());
    raw.Execute("DROP TABLE SmsLocalRecord");
  }
  CTraceCapture trace;
  int capacity = 5;
  int used = 5;
  EXPECT_EQ(-1, home.Store().GetRecordInfo(capacity, used));
  EXPECT_EQ(-1, capacity);
  EXPECT_EQ(-1, used);
  EXPECT_TRUE(trace.Contains("System error: FileManager not initilazed"));
  EXPECT_EQ(-1, Save(home.Store(), record).result);
  EXPECT_EQ(-1, home.Store().UpdateRecord(&record));
  EXPECT_EQ(-1, home.Store().DeleteRecord(id));
  EXPECT_EQ(-1, home.Store().RemoveRecord(id));
  EXPECT_EQ(-1, home.Store().GetRecord(&record));
  home.Store().BackBeforeInit();
  EXPECT_EQ(0, home.Set().GetRecordCount());
  EXPECT_TRUE(trace.Contains("ReadRecordindex Fail"));
}

TEST(LocalStoreFault, WithAFolderInPlaceOfItsFileStillHandsOutASet) {
  CTempHome home;
  std::filesystem::create_directories(home.DatabaseFile() + "/in the way");
  CTraceCapture trace;
  CFileSMSImpl store(nullptr);
  ASSERT_NE(nullptr, store.GetReocrdList());
  EXPECT_EQ(0, store.GetReocrdList()->GetRecordCount());
  EXPECT_TRUE(store.GetInitFlag());
  EXPECT_TRUE(trace.Contains("ReadRecordindex Fail"));
  EXPECT_TRUE(trace.Contains("DB stop EndTransaction failed"));
  CSMSRecordImpl record = MakeRecord(u"text");
  EXPECT_EQ(-1, Save(store, record).result);
  EXPECT_EQ(-1, store.BeginTransaction());
  EXPECT_EQ(-1, store.EndTransaction());
}

TEST(LocalStoreFault, TellsOnceThatALoadWithoutADatabaseFailed) {
  CTempHome home;
  std::filesystem::create_directories(home.DatabaseFile() + "/in the way");
  CTraceCapture trace;
  {
    CFileSMSImpl store(nullptr);
    store.GetReocrdList();
    ASSERT_TRUE(store.AwaitLoadThread(20000));
  }
  EXPECT_EQ(1, trace.Count("ReadRecordindex Fail"));
  EXPECT_EQ(1, trace.Count("DB stop EndTransaction failed"));
}

TEST(LocalStoreFault, ADamagedFileIsKeptAsideAndTheStoreStartsEmpty) {
  CStoreHome home;
  home.Close();
  std::ofstream(home.Home().DatabaseFile(), std::ios::binary | std::ios::trunc) << std::string(10000, 'x');
  home.Open();
  EXPECT_EQ(0, home.Set().GetRecordCount());
  CSMSRecordImpl record = MakeRecord(u"text");
  EXPECT_EQ(0, Save(home.Store(), record).result);
  int kept = 0;
  for (const auto& entry : std::filesystem::directory_iterator(home.Home().DataDir() + "/userdata")) {
    kept += entry.path().filename().string().find(".damaged-") != std::string::npos ? 1 : 0;
  }
  EXPECT_GE(kept, 1);
}

// --- Transactions of clients -----------------------------------------------------------------------------------------

TEST(LocalStoreTransaction, BracketsSeveralOperations) {
  CStoreHome home;
  EXPECT_EQ(0, home.Store().BeginTransaction());
  CSMSRecordImpl first = MakeRecord(u"1");
  CSMSRecordImpl second = MakeRecord(u"2");
  EXPECT_EQ(0, Save(home.Store(), first).result);
  EXPECT_EQ(0, Save(home.Store(), second).result);
  EXPECT_THAT(home.Rows(), IsEmpty());
  EXPECT_EQ(0, home.Store().EndTransaction());
  EXPECT_THAT(home.Rows(), SizeIs(2));
}

TEST(LocalStoreTransaction, NestsAndAnswersMinusOneWhenNoneIsOpen) {
  CStoreHome home;
  EXPECT_EQ(-1, home.Store().EndTransaction());
  EXPECT_EQ(0, home.Store().BeginTransaction());
  EXPECT_EQ(0, home.Store().BeginTransaction());
  CSMSRecordImpl record = MakeRecord(u"1");
  EXPECT_EQ(0, Save(home.Store(), record).result);
  EXPECT_EQ(0, home.Store().EndTransaction());
  EXPECT_THAT(home.Rows(), IsEmpty());
  EXPECT_EQ(0, home.Store().EndTransaction());
  EXPECT_THAT(home.Rows(), SizeIs(1));
  EXPECT_EQ(-1, home.Store().EndTransaction());
}

TEST(LocalStoreTransaction, ThatFailsAtItsEndLeavesTheSetAsTheRowsAre) {
  CStoreHome home;
  CSMSRecordImpl changed = MakeRecord(u"before");
  CSMSRecordImpl removed = MakeRecord(u"removed");
  Save(home.Store(), changed);
  Save(home.Store(), removed);
  CSMSRecordImpl added = MakeRecord(Repeat(u"added ", 20000));
  EXPECT_EQ(0, home.Store().BeginTransaction());
  changed.SetContent(u"after");
  EXPECT_EQ(0, home.Store().UpdateRecord(&changed));
  EXPECT_EQ(0, home.Store().RemoveRecord(removed.GetMSGID()));
  EXPECT_EQ(0, Save(home.Store(), added).result);
  EXPECT_EQ(2, home.Set().GetRecordCount());
  {
    const CFullDisk full(home.Home().DatabaseFile() + "-wal");
    EXPECT_EQ(-1, home.Store().EndTransaction());
  }
  EXPECT_THAT(Contents(home.Set()), testing::UnorderedElementsAre("before", "removed"));
  EXPECT_THAT(home.Rows(), SizeIs(2));
  CSMSRecordImpl record = MakeRecord(u"afterwards");
  EXPECT_EQ(0, Save(home.Store(), record).result);
  EXPECT_THAT(home.Rows(), SizeIs(3));
}

}  // namespace
