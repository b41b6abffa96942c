// The local store: parts become one message.
#include "StoreSupport.h"
#include "Text.h"
#include "TraceCapture.h"
#include "platform/JClock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <algorithm>
#include <limits>
#include <ostream>

using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace {

const char* const kLongMsgError = "long msg error";

/// The triple of a record as "reference total part".
std::string Triple(const ISMSRecord& record) {
  int reference = 0;
  int total = 0;
  int part = 0;
  record.GetMSGInfo(reference, total, part);
  return std::to_string(reference) + " " + std::to_string(total) + " " + std::to_string(part);
}

std::vector<std::string> SaveInOrder(CStoreHome& home, std::vector<CSMSRecordImpl> parts) {
  for (CSMSRecordImpl& part : parts) {
    EXPECT_EQ(0, Save(home.Store(), part).result);
  }
  return Contents(home.Set());
}

// --- The whole message -----------------------------------------------------------------------------------------------

TEST(Combination, JoinsThreePartsInPartOrderInAllSixOrdersOfArrivalWithADuplicate) {
  std::vector<int> order = {1, 2, 3};
  do {
    for (int duplicated = 0; duplicated < 2; ++duplicated) {
      CStoreHome home;
      std::vector<CSMSRecordImpl> parts;
      for (const int part : order) {
        parts.push_back(MakePart(VELK_wstring(1, static_cast<VELK_wchar_t>(u'0' + part)), part, 3));
      }
      parts.insert(parts.begin() + duplicated, parts[static_cast<std::size_t>(duplicated)]);
      EXPECT_THAT(SaveInOrder(home, parts),
                  UnorderedElementsAre("123", std::to_string(order[static_cast<std::size_t>(duplicated)])))
          << order[0] << order[1] << order[2] << " twice " << duplicated;
      home.Restart();
      EXPECT_EQ(2, home.Set().GetRecordCount());
    }
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST(Combination, StoresPartsAsSeparateRecordsUntilTheLastOneComes) {
  CStoreHome home;
  EXPECT_THAT(SaveInOrder(home, {MakePart(u"b", 2, 3), MakePart(u"a", 1, 3)}), ElementsAre("b", "a"));
  EXPECT_EQ("7 3 2", Triple(Records(home.Set()).at(0)));
}

TEST(Combination, ReportsTheNewRowToItsCallerAndChangesTheRecordInPlace) {
  CStoreHome home;
  SaveInOrder(home, {MakePart(u"a", 1, 3), MakePart(u"b", 2, 3)});
  const long lastId = Records(home.Set()).at(1).GetMSGID();
  CSMSRecordImpl last = MakePart(u"c", 3, 3, 7, u"20261120120003");
  const SaveResult saved = Save(home.Store(), last);
  EXPECT_EQ(0, saved.result);
  EXPECT_EQ(1, saved.saved);
  EXPECT_GT(saved.id, lastId);
  EXPECT_EQ(saved.id, last.GetMSGID());
  EXPECT_EQ("abc", Utf8(last.GetContent()));
  EXPECT_EQ("0 0 0", Triple(last));
  ASSERT_EQ(1, home.Set().GetRecordCount());
  const CSMSRecordImpl whole = Records(home.Set()).at(0);
  EXPECT_EQ(DescribeAll(last), DescribeAll(whole));
  EXPECT_EQ("20261120120003", Utf8(whole.GetTime()));
  EXPECT_THAT(home.Rows(), ElementsAre(std::to_string(saved.id) + "|" + Describe(last)));
}

TEST(Combination, TakesEveryOtherFieldFromTheIncomingPart) {
  const JManualClock clock(1795176000);  // the day of the parts: what is not received is stamped with the present
  CStoreHome home;
  CSMSRecordImpl first = MakePart(u"a", 1, 2);
  first.SetIsRead(NS_SMS::IS_READ);
  first.SetPosition(NS_SMS::FAVORITE_BOX);
  CSMSRecordImpl last = MakePart(u"b", 2, 2);
  last.SetSMSPriority(NS_SMS::SMS_URGENT_PRIORITY);
  last.SetMSGType(NS_SMS::MSG_VOICE_MAIL);
  last.SetSMSClass(NS_SMS::MS_CLASS_1);
  SaveInOrder(home, {first, last});
  const CSMSRecordImpl whole = Records(home.Set()).at(0);
  EXPECT_EQ(NS_SMS::IS_NOT_READ, whole.GetIsRead());
  EXPECT_EQ(NS_SMS::RECEIVE_BOX, whole.GetPosition());
  EXPECT_EQ(NS_SMS::SMS_URGENT_PRIORITY, whole.GetSMSPriority());
  EXPECT_EQ(NS_SMS::MSG_VOICE_MAIL, whole.GetMSGType());
  EXPECT_EQ(NS_SMS::MS_CLASS_1, whole.GetSMSClass());
}

TEST(Combination, StampsAWholeMessageThatWasNotReceived) {
  const JManualClock clock(1800000000);
  CStoreHome home;
  CSMSRecordImpl first = MakePart(u"a", 1, 2);
  first.SetPosition(NS_SMS::SEND_BOX);
  ASSERT_EQ(0, Save(home.Store(), first).result);
  CSMSRecordImpl last = MakePart(u"b", 2, 2, 7, DaysFromToday(0));
  last.SetPosition(NS_SMS::SEND_BOX);
  ASSERT_EQ(0, Save(home.Store(), last).result);
  ASSERT_EQ(1, home.Set().GetRecordCount());
  EXPECT_EQ(Utf8(first.GetTime()), Utf8(Records(home.Set()).at(0).GetTime()));
  EXPECT_NE(Utf8(DaysFromToday(0)), Utf8(first.GetTime()));
}

TEST(Combination, JoinsTwoHundredAndFiftyFivePartsSentBackwards) {
  CStoreHome home;
  std::vector<CSMSRecordImpl> parts;
  std::string expected;
  for (int part = 255; part >= 1; --part) {
    parts.push_back(MakePart(Utf16(std::to_string(part) + " "), part, 255));
  }
  for (int part = 1; part <= 255; ++part) {
    expected += std::to_string(part) + " ";
  }
  EXPECT_THAT(SaveInOrder(home, parts), ElementsAre(expected));
}

TEST(Combination, MergesHalvesOfASurrogatePairBackTogether) {
  CStoreHome home;
  EXPECT_THAT(SaveInOrder(home, {MakePart(VELK_wstring(1, 0xD83D), 1, 2), MakePart(VELK_wstring(1, 0xDE00), 2, 2)}),
              ElementsAre("😀"));
  home.Restart();
  EXPECT_THAT(Contents(home.Set()), ElementsAre("😀"));
}

TEST(Combination, CountsAPartNumberedZeroAsOne) {
  CStoreHome home;
  EXPECT_THAT(SaveInOrder(home, {MakePart(u"one", 1, 2), MakePart(u"zero", 0, 2)}), ElementsAre("zeroone"));
}

TEST(Combination, DoesNotCompleteWithOnePartTooMany) {
  CStoreHome home;
  EXPECT_THAT(SaveInOrder(home, {MakePart(u"0", 0, 3), MakePart(u"1", 1, 3), MakePart(u"2", 2, 3)}),
              ElementsAre("012"));
  EXPECT_THAT(SaveInOrder(home, {MakePart(u"1", 1, 3, 8), MakePart(u"2", 2, 3, 8), MakePart(u"2", 2, 3, 8)}),
              ElementsAre("012", "1", "2", "2"));
}

// --- What is no part -------------------------------------------------------------------------------------------------

struct AloneRow {
  const char* name;
  int total;
  int part;
  int lines;  // of "long msg error"
};

void PrintTo(const AloneRow& row, std::ostream* out) { *out << row.name; }

class CombinationAlone : public testing::TestWithParam<AloneRow> {};

TEST_P(CombinationAlone, IsStoredAsItIs) {
  CStoreHome home;
  CTraceCapture trace;
  CSMSRecordImpl record = MakePart(u"text", GetParam().part, GetParam().total);
  EXPECT_EQ(0, Save(home.Store(), record).result);
  EXPECT_EQ(GetParam().lines, trace.Count(kLongMsgError));
  EXPECT_EQ(DescribeAll(record), DescribeAll(Records(home.Set()).at(0)));
}

INSTANTIATE_TEST_SUITE_P(Rows, CombinationAlone,
                         testing::Values(AloneRow{"NumberBeyondTheTotal", 2, 3, 1}, AloneRow{"TotalZero", 0, 0, 1},
                                         AloneRow{"TotalOne", 1, 1, 1}, AloneRow{"NegativeTotal", -5, -6, 1},
                                         AloneRow{"NegativeNumber", 2, -1, 0},
                                         AloneRow{"LeastNumber", 2, std::numeric_limits<int>::min(), 0},
                                         AloneRow{"HugeNumber", 3, std::numeric_limits<int>::max(), 1},
                                         AloneRow{"HugeTotal", std::numeric_limits<int>::max(), 1, 0},
                                         AloneRow{"FirstOfTwo", 2, 1, 0}),
                         [](const testing::TestParamInfo<AloneRow>& row) { return std::string(row.param.name); });

TEST(Combination, IgnoresStoredPartsWithNegativeOrHugeNumbers) {
  CStoreHome home;
  SaveInOrder(home, {MakePart(u"x", -1, 2), MakePart(u"y", 99, 2), MakePart(u"z", std::numeric_limits<int>::min(), 2)});
  EXPECT_THAT(SaveInOrder(home, {MakePart(u"2", 2, 2)}), ElementsAre("x", "y", "z", "2"));
  EXPECT_THAT(SaveInOrder(home, {MakePart(u"1", 1, 2)}), ElementsAre("x", "y", "z", "12"));
}

TEST(Combination, NeverCombinesAPartWhoseTimeIsShortOrNoDate) {
  for (const VELK_wchar_t* const time :
       {u"", u"2026112012000", u"18991120120000", u"20261320120000", u"20261100120000", u"abcdefghijklmn"}) {
    CStoreHome home;
    EXPECT_THAT(SaveInOrder(home, {MakePart(u"1", 1, 2), MakePart(u"2", 2, 2, 7, time)}), ElementsAre("1", "2"))
        << Utf8(time);
    EXPECT_THAT(SaveInOrder(home, {MakePart(u"x", 1, 2, 8, time), MakePart(u"y", 2, 2, 8)}),
                ElementsAre("1", "2", "x", "y"))
        << Utf8(time);
  }
}

TEST(Combination, RefusesANullRecord) {
  CStoreHome home;
  EXPECT_EQ(-1, home.Store().CombinationLongMsg(nullptr));
}

TEST(Combination, StoresNoReceivedFlashPart) {
  CStoreHome home;
  SaveInOrder(home, {MakePart(u"1", 1, 2)});
  CSMSRecordImpl flash = MakePart(u"2", 2, 2);
  flash.SetSMSClass(NS_SMS::MS_CLASS_0);
  EXPECT_EQ(0, Save(home.Store(), flash).result);
  EXPECT_THAT(Contents(home.Set()), ElementsAre("1"));
}

// --- Which stored parts count ----------------------------------------------------------------------------------------

TEST(Combination, DoesNotCountAPartInTheRecycleBox) {
  CStoreHome home;
  SaveInOrder(home, {MakePart(u"1", 1, 2)});
  EXPECT_EQ(0, home.Store().DeleteRecord(Records(home.Set()).at(0).GetMSGID()));
  EXPECT_THAT(SaveInOrder(home, {MakePart(u"2", 2, 2)}), ElementsAre("1", "2"));
}

TEST(Combination, DoesNotCountAPartOfAnotherNumberReferenceOrTotal) {
  const VELK_wchar_t* const time = u"20261120120000";
  for (const CSMSRecordImpl& other : {MakePart(u"1", 1, 2, 7, time, u"+4917000000"), MakePart(u"1", 1, 2, 8),
                                      MakePart(u"1", 1, 3), MakePart(u"1", 1, 2, 7, time, u"+491700000 ")}) {
    CStoreHome home;
    EXPECT_THAT(SaveInOrder(home, {other, MakePart(u"2", 2, 2)}), ElementsAre("1", "2")) << DescribeAll(other);
  }
}

struct GapRow {
  const char* name;
  const VELK_wchar_t* stored;
  const VELK_wchar_t* incoming;
  bool combined;
};

void PrintTo(const GapRow& row, std::ostream* out) { *out << row.name; }

class CombinationGap : public testing::TestWithParam<GapRow> {};

TEST_P(CombinationGap, CountsPartsUpToOneDayApart) {
  CStoreHome home;
  SaveInOrder(home, {MakePart(u"1", 1, 2, 7, GetParam().stored), MakePart(u"2", 2, 2, 7, GetParam().incoming)});
  EXPECT_EQ(GetParam().combined ? 1 : 2, home.Set().GetRecordCount());
}

INSTANTIATE_TEST_SUITE_P(Rows, CombinationGap,
                         testing::Values(GapRow{"SameSecond", u"20260115120000", u"20260115120000", true},
                                         GapRow{"ADayBefore", u"20260114120000", u"20260115120000", true},
                                         GapRow{"ADayAndASecondBefore", u"20260114115959", u"20260115120000", false},
                                         GapRow{"ADayAfter", u"20260116120000", u"20260115120000", true},
                                         GapRow{"ADayAndASecondAfter", u"20260116120001", u"20260115120000", false},
                                         GapRow{"AcrossTheYear", u"20251231235959", u"20260101235959", true},
                                         GapRow{"YearsApart", u"20160115120000", u"20260115120000", false}),
                         [](const testing::TestParamInfo<GapRow>& row) { return std::string(row.param.name); });

// --- Duplicates ------------------------------------------------------------------------------------------------------

TEST(Combination, UsesTheCopyNearerInTimeAndLeavesTheOtherStored) {
  for (const bool nearerFirst : {false, true}) {
    CStoreHome home;
    CSMSRecordImpl far = MakePart(u"far", 2, 3, 7, u"20261120120010");
    CSMSRecordImpl near = MakePart(u"near", 2, 3, 7, u"20261120120015");
    SaveInOrder(home, {MakePart(u"1", 1, 3, 7, u"20261120120020"), nearerFirst ? near : far, nearerFirst ? far : near});
    EXPECT_THAT(SaveInOrder(home, {MakePart(u"3", 3, 3, 7, u"20261120120020")}), ElementsAre("far", "1near3"));
  }
}

TEST(Combination, LooksForTheNearerCopyInBothDirections) {
  CStoreHome home;
  SaveInOrder(home, {MakePart(u"before", 1, 2, 7, u"20261120115950"), MakePart(u"after", 1, 2, 7, u"20261120120009")});
  EXPECT_THAT(SaveInOrder(home, {MakePart(u"2", 2, 2)}), ElementsAre("before", "after2"));
}

TEST(Combination, KeepsTheEarlierCopyOnATie) {
  CStoreHome home;
  SaveInOrder(home, {MakePart(u"first", 1, 2, 7, u"20261120120005"), MakePart(u"second", 1, 2, 7, u"20261120115955")});
  EXPECT_THAT(SaveInOrder(home, {MakePart(u" 2", 2, 2)}), ElementsAre("second", "first 2"));
}

TEST(Combination, PrefersTheIncomingPartToAStoredOneOfItsNumber) {
  CStoreHome home;
  SaveInOrder(home, {MakePart(u"old2", 2, 3), MakePart(u"1", 1, 3)});
  SaveInOrder(home, {MakePart(u"old2 again", 2, 3)});
  EXPECT_THAT(Contents(home.Set()), ElementsAre("old2", "1", "old2 again"));
  EXPECT_THAT(SaveInOrder(home, {MakePart(u"3", 3, 3)}), ElementsAre("old2 again", "1old23"));
}

TEST(Combination, LeavesAStoredPartWithTheIncomingNumberWhereItIs) {
  CStoreHome home;
  SaveInOrder(home, {MakePart(u"stored 2", 2, 2)});
  SaveInOrder(home, {MakePart(u"1 late", 1, 2, 7, u"20261130120000")});
  EXPECT_THAT(SaveInOrder(home, {MakePart(u"stored 2b", 2, 2, 7, u"20261130120000")}),
              ElementsAre("stored 2", "1 latestored 2b"));
}

TEST(Combination, OfADuplicateThatComesAfterwardsStoresItAlone) {
  CStoreHome home;
  SaveInOrder(home, {MakePart(u"1", 1, 2), MakePart(u"2", 2, 2)});
  EXPECT_THAT(SaveInOrder(home, {MakePart(u"2", 2, 2)}), ElementsAre("12", "2"));
}

TEST(Combination, StartsFromPartsThatAnEarlierRunStored) {
  CStoreHome home;
  SaveInOrder(home, {MakePart(u"1", 1, 3), MakePart(u"3", 3, 3)});
  home.Restart();
  EXPECT_THAT(SaveInOrder(home, {MakePart(u"2", 2, 3)}), ElementsAre("123"));
}

TEST(Combination, LoadsTheSetWhenThereIsNone) {
  CStoreHome home;
  SaveInOrder(home, {MakePart(u"1", 1, 2)});
  home.Store().BackBeforeInit();
  CSMSRecordImpl last = MakePart(u"2", 2, 2);
  EXPECT_EQ(0, home.Store().CombinationLongMsg(&last));
  EXPECT_EQ("12", Utf8(last.GetContent()));
  EXPECT_THAT(Contents(home.Set()), ElementsAre("12"));
}

TEST(Combination, WithoutTheLastPartChangesNothing) {
  CStoreHome home;
  SaveInOrder(home, {MakePart(u"1", 1, 3)});
  CSMSRecordImpl second = MakePart(u"2", 2, 3);
  const std::string before = DescribeAll(second);
  EXPECT_EQ(-1, home.Store().CombinationLongMsg(&second));
  EXPECT_EQ(before, DescribeAll(second));
  EXPECT_THAT(Contents(home.Set()), ElementsAre("1"));
}

}  // namespace
