// Looking for the stored parts of a long message.
#include "RecordSetSupport.h"

#include <limits>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace {

class RecordSetParts : public ::testing::Test {
protected:
  RecordSetParts() { UseUtc(); }

  CSMSRecordSetImpl m_set;
};

const std::time_t kSeconds = 1230865445;  // 2009-01-02 03:04:05 UTC, the time of MakeRecord
const VELK_wchar_t* const kNumber = u"+491701234567";

CSMSRecordImpl MakePart(long lID, int iMR, int iTotal, int iPart) {
  CSMSRecordImpl record = MakeRecord(lID, "part" + std::to_string(iPart));
  record.SetMSGInfo(iMR, iTotal, iPart);
  return record;
}

std::string Parts(CSMSRecordSetImpl& set, int iMR, int iTotal, const VELK_wstring& number, std::time_t tTime) {
  std::vector<CSMSRecordImpl> found;
  set.GetLongSMSRecord(iMR, iTotal, number, tTime, found);
  std::string ids;
  for (const CSMSRecordImpl& record : found) {
    ids += (ids.empty() ? "" : " ") + std::to_string(record.GetMSGID());
  }
  return ids;
}

TEST_F(RecordSetParts, FindsThePartsOfALongMessageInTheOrderOfTheListWhateverTheirNumber) {
  Push(m_set, MakePart(30, 7, 3, 3));
  Push(m_set, MakePart(10, 7, 3, 1));
  Push(m_set, MakePart(20, 7, 3, 1));
  Push(m_set, MakePart(25, 7, 3, 99));
  EXPECT_EQ("30 10 20 25", Parts(m_set, 7, 3, kNumber, kSeconds));
}

TEST_F(RecordSetParts, TakesOnlyPartsWithThisNumberReferenceAndTotal) {
  Push(m_set, MakePart(1, 7, 3, 1));
  Push(m_set, MakePart(2, 8, 3, 1));
  Push(m_set, MakePart(3, 7, 4, 1));
  CSMSRecordImpl other = MakePart(4, 7, 3, 1);
  other.SetNumber(u"01701234567");
  m_set.PushSMSRecord(other);
  EXPECT_EQ("1", Parts(m_set, 7, 3, kNumber, kSeconds));
  EXPECT_EQ("4", Parts(m_set, 7, 3, u"01701234567", kSeconds));
  EXPECT_EQ("", Parts(m_set, 7, 3, u"+49170123456", kSeconds));
  EXPECT_EQ("", Parts(m_set, 7, 3, u"", kSeconds));
}

TEST_F(RecordSetParts, PassesOverPartsInTheRecycleBox) {
  for (int iPosition = 0; iPosition < NS_SMS::MSG_POSITION_NUM; ++iPosition) {
    CSMSRecordImpl part = MakePart(100 + iPosition, 7, 2, 1);
    part.SetPosition(iPosition);
    m_set.PushSMSRecord(part);
  }
  EXPECT_EQ("100 101 102 103 105 106 107 108 109 110 111", Parts(m_set, 7, 2, kNumber, kSeconds));
}

TEST_F(RecordSetParts, TakesAPart86400SecondsAwayButNot86401) {
  Push(m_set, MakePart(1, 7, 2, 1));
  EXPECT_EQ("1", Parts(m_set, 7, 2, kNumber, kSeconds + 86400));
  EXPECT_EQ("1", Parts(m_set, 7, 2, kNumber, kSeconds - 86400));
  EXPECT_EQ("", Parts(m_set, 7, 2, kNumber, kSeconds + 86401));
  EXPECT_EQ("", Parts(m_set, 7, 2, kNumber, kSeconds - 86401));
}

TEST_F(RecordSetParts, SurvivesTimesAtTheEndsOfTheScale) {
  Push(m_set, MakePart(1, 7, 2, 1));
  EXPECT_EQ("", Parts(m_set, 7, 2, kNumber, std::numeric_limits<std::time_t>::max()));
  EXPECT_EQ("", Parts(m_set, 7, 2, kNumber, std::numeric_limits<std::time_t>::min()));
}

struct TimeRow {
  const char* pszName;
  const char* pszTime;
  bool bTaken;
};

void PrintTo(const TimeRow& row, std::ostream* pOut) { *pOut << row.pszName; }

const TimeRow kTimes[] = {
    {"FourteenDigits", "20090102030405", true},
    {"LongerText", "20090102030405 and more", true},
    {"ThirteenDigits", "2009010203040", false},
    {"Empty", "", false},
    {"Year1899", "18990102030405", false},
    {"Month0", "20090002030405", false},
    {"Month13", "20091302030405", false},
    {"Day0", "20090100030405", false},
    {"Day32", "20090132030405", false},
    {"Letters", "abcdefghijklmn", false},
    {"HourOutOfRangeCarriesOver", "20090102990000", false},
    {"MinuteOutOfRangeCarriesOver", "20090102026405", true},
};

class RecordSetPartTime : public ::testing::TestWithParam<TimeRow> {};

TEST_P(RecordSetPartTime, DecidesWhetherAPartCounts) {
  UseUtc();
  CSMSRecordSetImpl set;
  CSMSRecordImpl part = MakePart(1, 7, 2, 1);
  part.SetTime(Utf16(GetParam().pszTime).c_str());
  set.PushSMSRecord(part);
  EXPECT_EQ(GetParam().bTaken ? "1" : "", Parts(set, 7, 2, kNumber, kSeconds));
}

INSTANTIATE_TEST_SUITE_P(Times, RecordSetPartTime, ::testing::ValuesIn(kTimes),
                         [](const auto& row) { return std::string(row.param.pszName); });

TEST_F(RecordSetParts, AppendsCopiesToWhatTheVectorHolds) {
  Push(m_set, MakePart(1, 7, 2, 1));
  std::vector<CSMSRecordImpl> found(1, MakeRecord(99));
  m_set.GetLongSMSRecord(7, 2, kNumber, kSeconds, found);
  ASSERT_EQ(2U, found.size());
  EXPECT_EQ(99, found[0].GetMSGID());
  m_set.ClearSMSRecord();
  EXPECT_EQ(Describe(MakePart(1, 7, 2, 1)), Describe(found[1]));
}

TEST_F(RecordSetParts, LookingForPartsPutsTheCursorOnTheFirstRecord) {
  PushMany(m_set, {1, 2});
  for (const int iTotal : {0, 1, 2}) {
    m_set.MoveFirst();
    m_set.MoveNext();
    Parts(m_set, 7, iTotal, kNumber, kSeconds);
    EXPECT_EQ(1, m_set.GetMSGID()) << iTotal;
  }
}

TEST_F(RecordSetParts, FindsPartsOfTotalsBelow2AsWell) {
  Push(m_set, MakePart(1, 0, 0, 0));
  Push(m_set, MakePart(2, 5, 1, 1));
  Push(m_set, MakePart(3, 5, -1, 1));
  EXPECT_EQ("1", Parts(m_set, 0, 0, kNumber, kSeconds));
  EXPECT_EQ("2", Parts(m_set, 5, 1, kNumber, kSeconds));
  EXPECT_EQ("3", Parts(m_set, 5, -1, kNumber, kSeconds));
}

TEST_F(RecordSetParts, FollowsPartsThatAreReplacedRemovedAndChangedInPlace) {
  Push(m_set, MakePart(1, 7, 2, 1));
  Push(m_set, MakePart(2, 9, 2, 1));
  Push(m_set, MakePart(3, 7, 2, 2));
  Push(m_set, MakePart(2, 7, 2, 1));
  EXPECT_EQ("1 2 3", Parts(m_set, 7, 2, kNumber, kSeconds));
  Push(m_set, MakePart(1, 0, 0, 0));
  EXPECT_EQ("2 3", Parts(m_set, 7, 2, kNumber, kSeconds));
  m_set.GetRecord(1)->SetMSGInfo(7, 2, 1);
  m_set.GetRecord(3)->SetNumber(u"1");
  EXPECT_EQ("1 2", Parts(m_set, 7, 2, kNumber, kSeconds));
  m_set.RemoveSMSRecord(2);
  m_set.GetRecord(1)->SetPosition(NS_SMS::RECYCLE_BOX);
  EXPECT_EQ("", Parts(m_set, 7, 2, kNumber, kSeconds));
}

TEST_F(RecordSetParts, FollowsAPartWhoseTextsAreMovedAway) {
  Push(m_set, MakePart(1, 7, 2, 1));
  CSMSRecordImpl taken = std::move(*m_set.GetRecord(1));
  m_set.GetRecord(1)->SetTime(taken.GetTime());
  EXPECT_EQ("", Parts(m_set, 7, 2, kNumber, kSeconds));
  EXPECT_EQ("1", Parts(m_set, 7, 2, u"", kSeconds));
}

}  // namespace
