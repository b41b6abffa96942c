// The local store: loading, starting over, and ageing broadcasts out.
#include "StoreSupport.h"
#include "Text.h"
#include "TraceCapture.h"
#include "platform/JClock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ostream>
#include <thread>

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const char* const kBroadcastsOn = "[CBS]\nenable=true\n";

std::string BroadcastsOn(const std::string& days) {
  return "[CBS]\nenable=true\n[CBSSettingPlugin]\nAutoCleanup=" + days + "\n";
}

void SaveAll(CStoreHome& home, std::vector<CSMSRecordImpl> records) {
  for (CSMSRecordImpl& record : records) {
    ASSERT_EQ(0, Save(home.Store(), record).result);
  }
}

/// Saves broadcasts and dates their rows: a save stamps them with the present time. The next load sees the dates.
void SaveDated(CStoreHome& home, const std::vector<CSMSRecordImpl>& broadcasts) {
  SaveAll(home, broadcasts);
  CRawDatabase raw(home.Home().DatabaseFile());
  for (const CSMSRecordImpl& record : broadcasts) {
    raw.Execute("UPDATE SmsLocalRecord SET TIME = '" + Utf8(record.GetTime()) + "' WHERE CONTENT = '" +
                Utf8(record.GetContent()) + "'");
  }
}

// --- The set ---------------------------------------------------------------------------------------------------------

TEST(LocalStoreLoad, BeginsByItselfAndMarksTheStoreInitialised) {
  CStoreHome home;
  EXPECT_TRUE(home.Store().GetInitFlag());
  EXPECT_EQ(0, home.Set().GetRecordCount());
}

TEST(LocalStoreLoad, BringsAllRowsBackInTheOrderOfTheirArrival) {
  CStoreHome home;
  SaveAll(home, {MakeRecord(u"1"), MakeRecord(u"2"), MakeRecord(u"3"), MakeRecord(u"4")});
  const std::vector<CSMSRecordImpl> before = Records(home.Set());
  EXPECT_EQ(0, home.Store().RemoveRecord(before[1].GetMSGID()));
  home.Restart();
  EXPECT_THAT(Contents(home.Set()), ElementsAre("1", "3", "4"));
  for (const CSMSRecordImpl& record : Records(home.Set())) {
    EXPECT_THAT(before, Contains(testing::Property(&CSMSRecordImpl::GetMSGID, record.GetMSGID())));
  }
}

TEST(LocalStoreLoad, HandsOutOneAndTheSameSet) {
  CStoreHome home;
  EXPECT_EQ(home.Store().GetReocrdList(), home.Store().GetReocrdList());
}

TEST(LocalStoreLoad, StartsAfreshAfterGoingBack) {
  CStoreHome home;
  SaveAll(home, {MakeRecord(u"1")});
  home.Store().BackBeforeInit();
  EXPECT_TRUE(home.Store().GetInitFlag());
  EXPECT_THAT(Contents(home.Set()), ElementsAre("1"));
  home.Store().BackBeforeInit();
  home.Store().BackBeforeInit();
  home.Store().StartThread();
  EXPECT_THAT(Contents(home.Set()), ElementsAre("1"));
}

TEST(LocalStoreLoad, CanBeAskedToStartWhileItRuns) {
  CStoreHome home;
  for (int i = 0; i < 50; ++i) {
    home.Store().StartThread();
  }
  EXPECT_EQ(0, home.Set().GetRecordCount());
}

TEST(LocalStoreLoad, EndsWithTheStoreAtAnyMoment) {
  CStoreHome home;
  home.Close();
  {
    CRawDatabase raw(home.Home().DatabaseFile());
    raw.Execute(
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 5000) INSERT INTO SmsLocalRecord "
        "(NUMBER, CONTENT, INITIALPOSITION) SELECT '1', i, '1' FROM n");
  }
  for (int i = 0; i < 20; ++i) {
    const CFileSMSImpl store(nullptr);
    for (int turn = 0; turn < i; ++turn) {
      std::this_thread::yield();
    }
  }
  home.Open();
  EXPECT_EQ(5000, home.Set().GetRecordCount());
}

TEST(LocalStoreLoad, LosesNothingWhenSentBackInItsMiddle) {
  CStoreHome home;
  home.Close();
  {
    CRawDatabase raw(home.Home().DatabaseFile());
    raw.Execute(
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3000) INSERT INTO SmsLocalRecord "
        "(NUMBER, CONTENT, INITIALPOSITION) SELECT '1', i, '1' FROM n");
  }
  for (int i = 0; i < 20; ++i) {
    CFileSMSImpl store(nullptr);
    std::thread back([&store] { store.BackBeforeInit(); });
    CSMSRecordSetImpl* const set = store.GetReocrdList();
    back.join();
    EXPECT_NE(nullptr, set);
    EXPECT_EQ(3000, store.GetReocrdList()->GetRecordCount());
  }
}

TEST(LocalStoreLoad, ShowsEachMessageOnceThatIsSavedMeanwhile) {
  CStoreHome home;
  home.Close();
  {
    CRawDatabase raw(home.Home().DatabaseFile());
    raw.Execute(
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 2000) INSERT INTO SmsLocalRecord "
        "(NUMBER, CONTENT, INITIALPOSITION) SELECT '1', 'old', '1' FROM n");
  }
  for (int i = 0; i < 10; ++i) {
    CFileSMSImpl store(nullptr);
    CSMSRecordImpl record = MakeRecord(u"new");
    ASSERT_EQ(0, Save(store, record).result);
    EXPECT_EQ(2000 + i + 1, store.GetReocrdList()->GetRecordCount());
    EXPECT_NE(nullptr, store.GetReocrdList()->GetRecord(record.GetMSGID()));
  }
}

TEST(LocalStoreLoad, TakesChangesInThatAreMadeMeanwhile) {
  for (int i = 0; i < 20; ++i) {
    CStoreHome home;
    SaveAll(home, {MakeRecord(u"changed"), MakeRecord(u"deleted"), MakeRecord(u"removed")});
    const std::vector<CSMSRecordImpl> records = Records(home.Set());
    home.Close();
    CFileSMSImpl store(nullptr);
    CSMSRecordImpl changed = records[0];
    changed.SetContent(u"anew");
    EXPECT_EQ(0, store.UpdateRecord(&changed));
    EXPECT_EQ(0, store.DeleteRecord(records[1].GetMSGID()));
    store.RemoveRecord(records[2].GetMSGID());
    const std::vector<CSMSRecordImpl> now = Records(*store.GetReocrdList());
    ASSERT_EQ(2u, now.size());
    EXPECT_EQ("anew", Utf8(now[0].GetContent()));
    EXPECT_EQ(NS_SMS::RECYCLE_BOX, now[1].GetPosition());
  }
}

// --- A table from elsewhere ------------------------------------------------------------------------------------------

TEST(LocalStoreLoad, MakesTheTableInAnEmptyDatabase) {
  CStoreHome home;
  CRawDatabase raw(home.Home().DatabaseFile());
  EXPECT_EQ(1, raw.Number("SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name = 'SmsLocalRecord'"));
}

TEST(LocalStoreLoad, ReadsATableWithFurtherColumnsByTheTwelveNames) {
  CStoreHome home;
  SaveAll(home, {MakeRecord(u"text")});
  const std::string before = DescribeAll(Records(home.Set()).at(0));
  home.Close();
  {
    CRawDatabase raw(home.Home().DatabaseFile());
    raw.Execute("ALTER TABLE SmsLocalRecord ADD COLUMN COLOUR TEXT DEFAULT 'red'");
  }
  home.Open();
  EXPECT_EQ(before, DescribeAll(Records(home.Set()).at(0)));
  SaveAll(home, {MakeRecord(u"more")});
  home.Restart();
  EXPECT_THAT(Contents(home.Set()), ElementsAre("text", "more"));
  CRawDatabase raw(home.Home().DatabaseFile());
  EXPECT_EQ(1, raw.Number("SELECT count(*) FROM SmsLocalRecord WHERE COLOUR = 'red' AND CONTENT = 'text'"));
}

TEST(LocalStoreLoad, AddsTheColumnsThatATableLacks) {
  CStoreHome home;
  SaveAll(home, {MakeRecord(u"text")});
  home.Close();
  {
    CRawDatabase raw(home.Home().DatabaseFile());
    raw.Execute("ALTER TABLE SmsLocalRecord DROP COLUMN PRIORITY");
  }
  home.Open();
  EXPECT_THAT(Contents(home.Set()), ElementsAre("text"));
  CSMSRecordImpl record = MakeRecord(u"more");
  record.SetSMSPriority(NS_SMS::SMS_EMERGENCY_PRIORITY);
  EXPECT_EQ(0, Save(home.Store(), record).result);
  home.Restart();
  EXPECT_EQ(NS_SMS::SMS_EMERGENCY_PRIORITY, Records(home.Set()).at(1).GetSMSPriority());
}

// --- Broadcasts ------------------------------------------------------------------------------------------------------

struct EnableRow {
  const char* name;
  const char* settings;
  bool shown;
};

void PrintTo(const EnableRow& row, std::ostream* out) { *out << row.name; }

class LocalStoreBroadcast : public testing::TestWithParam<EnableRow> {};

TEST_P(LocalStoreBroadcast, IsInTheSetOnlyWhenTheSettingIsExactlyTrueAndAlwaysInTheDatabase) {
  CStoreHome home(GetParam().settings);
  SaveAll(home, {MakeBroadcast(u"page", DaysFromToday(0)), MakeRecord(u"text")});
  home.Restart();
  if (GetParam().shown) {
    EXPECT_THAT(Contents(home.Set()), ElementsAre("page", "text"));
  } else {
    EXPECT_THAT(Contents(home.Set()), ElementsAre("text"));
  }
  EXPECT_EQ(2u, home.Rows().size());
}

INSTANTIATE_TEST_SUITE_P(Settings, LocalStoreBroadcast,
                         testing::Values(EnableRow{"Absent", "", false}, EnableRow{"True", kBroadcastsOn, true},
                                         EnableRow{"Capital", "[CBS]\nenable=True\n", false},
                                         EnableRow{"False", "[CBS]\nenable=false\n", false},
                                         EnableRow{"Empty", "[CBS]\nenable=\n", false},
                                         EnableRow{"One", "[CBS]\nenable=1\n", false},
                                         EnableRow{"Longer", "[CBS]\nenable=true1\n", false}),
                         [](const testing::TestParamInfo<EnableRow>& row) { return std::string(row.param.name); });

TEST(LocalStoreBroadcasts, AreToldByTheBoxOfOrigin) {
  CStoreHome home;
  CSMSRecordImpl moved = MakeBroadcast(u"moved", DaysFromToday(0));
  moved.SetPosition(NS_SMS::FAVORITE_BOX);
  CSMSRecordImpl elsewhere = MakeRecord(u"elsewhere");
  elsewhere.SetPosition(NS_SMS::CBS_BOX);
  SaveAll(home, {moved, elsewhere});
  home.Restart();
  EXPECT_THAT(Contents(home.Set()), ElementsAre("elsewhere"));
}

struct AgeRow {
  const char* name;
  const char* days;
  int dated;  // days from today
  bool kept;
};

void PrintTo(const AgeRow& row, std::ostream* out) { *out << row.name; }

class LocalStoreCleanup : public testing::TestWithParam<AgeRow> {};

TEST_P(LocalStoreCleanup, RemovesBroadcastsFromTheMidnightThatStartsTheirDay) {
  const JManualClock clock(1795176000);  // no midnight passes meanwhile
  CStoreHome home(BroadcastsOn(GetParam().days));
  SaveDated(home, {MakeBroadcast(u"page", DaysFromToday(GetParam().dated)), MakeRecord(u"text")});
  home.Restart();
  home.Restart();
  if (GetParam().kept) {
    EXPECT_THAT(Contents(home.Set()), ElementsAre("page", "text"));
    EXPECT_EQ(2u, home.Rows().size());
  } else {
    EXPECT_THAT(Contents(home.Set()), ElementsAre("text"));
    EXPECT_EQ(1u, home.Rows().size());
  }
}

INSTANTIATE_TEST_SUITE_P(
    Ages, LocalStoreCleanup,
    testing::Values(AgeRow{"OneDayLessIsKept", "7", -6, true}, AgeRow{"AsManyDaysIsRemoved", "7", -7, false},
                    AgeRow{"OneDayMoreIsRemoved", "7", -8, false}, AgeRow{"TodayIsKeptForADay", "1", 0, true},
                    AgeRow{"YesterdayIsRemovedAfterADay", "1", -1, false},
                    AgeRow{"ZeroSwitchesItOff", "0", -5000, true}, AgeRow{"TextSwitchesItOff", "never", -5000, true},
                    AgeRow{"TheFutureIsKept", "1", 3, true}, AgeRow{"NegativeRemovesToday", "-1", 0, false},
                    AgeRow{"HugeKeepsAll", "2147483647", -5000, true}),
    [](const testing::TestParamInfo<AgeRow>& row) { return std::string(row.param.name); });

TEST(LocalStoreBroadcasts, AreRemovedAsSoonAsTheDayHasBegun) {
  // 2026-11-20 00:00:01 local time
  std::tm fields{};
  fields.tm_year = 126;
  fields.tm_mon = 10;
  fields.tm_mday = 20;
  fields.tm_sec = 1;
  fields.tm_isdst = -1;
  const JManualClock clock(mktime(&fields));
  CStoreHome home(BroadcastsOn("2"));
  SaveDated(home, {MakeBroadcast(u"two days", u"20261118235959"), MakeBroadcast(u"one day", u"20261119000000")});
  home.Restart();
  EXPECT_THAT(Contents(home.Set()), ElementsAre("one day"));
}

TEST(LocalStoreBroadcasts, WithoutAReadableDateAreKept) {
  CStoreHome home(BroadcastsOn("1"));
  SaveDated(home, {MakeBroadcast(u"short", u"2001010100000"), MakeBroadcast(u"empty", u""),
                   MakeBroadcast(u"year", u"18991231000000"), MakeBroadcast(u"month", u"20011301000000"),
                   MakeBroadcast(u"day", u"20010132000000"), MakeBroadcast(u"letters", u"abcdefghijklmn")});
  home.Restart();
  EXPECT_EQ(6, home.Set().GetRecordCount());
}

TEST(LocalStoreBroadcasts, StayWhenOnlyOrdinaryMessagesAreOld) {
  CStoreHome home(BroadcastsOn("1"));
  CSMSRecordImpl old = MakeRecord(u"old");
  old.SetTime(u"20010101000000");
  SaveAll(home, {old});
  home.Restart();
  EXPECT_THAT(Contents(home.Set()), ElementsAre("old"));
}

TEST(LocalStoreBroadcasts, AreJudgedAloneByTheirDate) {
  CStoreHome home(BroadcastsOn("1"));
  SaveAll(home, {MakeBroadcast(u"old", u""), MakeBroadcast(u"new", u"")});
  std::vector<CSMSRecordImpl> stored = Records(home.Set());
  stored[0].SetTime(u"20010101000000");
  EXPECT_FALSE(home.Store().AutoCleanupCBS(nullptr));
  EXPECT_FALSE(home.Store().AutoCleanupCBS(&stored[1]));
  EXPECT_TRUE(home.Store().AutoCleanupCBS(&stored[0]));
  EXPECT_THAT(Contents(home.Set()), ElementsAre("new"));
  EXPECT_TRUE(home.Store().AutoCleanupCBS(&stored[0])) << "answers for the age, whatever the removal does";
}

}  // namespace
