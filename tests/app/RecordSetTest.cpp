// The messages of a store with one cursor.
#include "AppSupport.h"
#include "SMSRecordSetImpl.h"
#include "ShortMemory.h"

#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

struct Release {
  void operator()(IBaseInterface* pObject) const { pObject->Release(); }
};

std::string Contents(CSMSRecordSetImpl& set) {
  std::string all;
  for (long lState = set.MoveFirst(); lState == 0; lState = set.MoveNext()) {
    all += (all.empty() ? "" : " ") + std::to_string(set.GetMSGID()) + ":" + Utf8(set.GetContent());
  }
  set.MoveFirst();
  return all;
}

long Push(CSMSRecordSetImpl& set, CSMSRecordImpl record) { return set.PushSMSRecord(record); }

void PushMany(CSMSRecordSetImpl& set, std::initializer_list<long> ids) {
  for (const long lID : ids) {
    Push(set, MakeRecord(lID));
  }
}

class RecordSet : public ::testing::Test {
protected:
  RecordSet() : m_iMissedBefore(CSMSRecordSetImpl::GetMissCount()) { UseUtc(); }

  int Missed() const { return CSMSRecordSetImpl::GetMissCount() - m_iMissedBefore; }

  const int m_iMissedBefore;
  CSMSRecordSetImpl m_set;
};

// --- Empty -----------------------------------------------------------------------------------------------------------

TEST_F(RecordSet, WithoutRecordsHasNoFirstAndNoNext) {
  EXPECT_EQ(-1, m_set.MoveFirst());
  EXPECT_EQ(-1, m_set.MoveNext());
  EXPECT_EQ(-1, NS_SMS::RECORD_EOF);
  EXPECT_EQ(0, m_set.GetRecordCount());
  EXPECT_EQ(0, m_set.GetUnReadSMSCount());
}

void ExpectNothingAtTheCursor(CSMSRecordSetImpl& set) {
  EXPECT_EQ(nullptr, set.GetNumber());
  EXPECT_EQ(nullptr, set.GetContent());
  EXPECT_EQ(nullptr, set.GetTime());
  EXPECT_EQ(0, set.GetIsRead());
  EXPECT_EQ(0, set.GetPosition());
  EXPECT_EQ(0, set.GetSendResult());
  EXPECT_EQ(0, set.GetSMSClass());
  EXPECT_EQ(0, set.GetMSGType());
  EXPECT_EQ(0, set.GetMSGID());
  EXPECT_EQ(0, set.GetSMSPriority());
  EXPECT_EQ(nullptr, set.GetCurRecord());
  EXPECT_EQ(nullptr, set.GetCurSMSRecord());
  int iMR = 7;
  int iTotal = 8;
  int iPart = 9;
  set.GetMSGInfo(iMR, iTotal, iPart);
  EXPECT_EQ(7, iMR);
  EXPECT_EQ(8, iTotal);
  EXPECT_EQ(9, iPart);
}

TEST_F(RecordSet, WithoutRecordsAnswersNullTextsAndZeros) { ExpectNothingAtTheCursor(m_set); }

TEST_F(RecordSet, BehindItsLastRecordAnswersNullTextsAndZeros) {
  PushMany(m_set, {5});
  EXPECT_EQ(-1, m_set.MoveNext());
  ExpectNothingAtTheCursor(m_set);
  EXPECT_EQ(-1, m_set.MoveNext());
}

// --- Cursor ----------------------------------------------------------------------------------------------------------

TEST_F(RecordSet, WalksInTheOrderOfArrival) {
  PushMany(m_set, {30, 10, 20});
  EXPECT_EQ(0, m_set.MoveFirst());
  EXPECT_EQ(30, m_set.GetMSGID());
  EXPECT_EQ(0, m_set.MoveNext());
  EXPECT_EQ(10, m_set.GetMSGID());
  EXPECT_EQ(0, m_set.MoveNext());
  EXPECT_EQ(20, m_set.GetMSGID());
  EXPECT_EQ(-1, m_set.MoveNext());
  EXPECT_EQ(0, m_set.MoveFirst());
  EXPECT_EQ(30, m_set.GetMSGID());
}

TEST_F(RecordSet, ReadsEveryFieldAtTheCursor) {
  CSMSRecordImpl record = MakeRecord(12, "content");
  record.SetIsRead(1);
  record.SetSendResult(2);
  record.SetSMSClass(3);
  record.SetMSGType(4);
  record.SetSMSPriority(5);
  record.SetPosition(6);
  record.SetMSGInfo(7, 8, 9);
  m_set.PushSMSRecord(record);
  EXPECT_EQ("+491701234567", Utf8(m_set.GetNumber()));
  EXPECT_EQ("content", Utf8(m_set.GetContent()));
  EXPECT_EQ("20090102030405", Utf8(m_set.GetTime()));
  EXPECT_EQ(1, m_set.GetIsRead());
  EXPECT_EQ(2, m_set.GetSendResult());
  EXPECT_EQ(3, m_set.GetSMSClass());
  EXPECT_EQ(4, m_set.GetMSGType());
  EXPECT_EQ(5, m_set.GetSMSPriority());
  EXPECT_EQ(6, m_set.GetPosition());
  EXPECT_EQ(12, m_set.GetMSGID());
  int iMR = 0;
  int iTotal = 0;
  int iPart = 0;
  m_set.GetMSGInfo(iMR, iTotal, iPart);
  EXPECT_EQ("7 8 9", std::to_string(iMR) + " " + std::to_string(iTotal) + " " + std::to_string(iPart));
  EXPECT_EQ(Describe(record), Describe(*m_set.GetCurRecord()));
  EXPECT_EQ(m_set.GetCurRecord(), m_set.GetCurSMSRecord());
}

TEST_F(RecordSet, EveryPushPutsTheCursorOnTheFirstRecord) {
  PushMany(m_set, {1, 2});
  m_set.MoveNext();
  PushMany(m_set, {3});
  EXPECT_EQ(1, m_set.GetMSGID());
  m_set.MoveNext();
  PushMany(m_set, {2});
  EXPECT_EQ(1, m_set.GetMSGID());
}

TEST_F(RecordSet, ReplacingTheRecordUnderTheCursorKeepsTheCursorUsable) {
  PushMany(m_set, {1, 2});
  Push(m_set, MakeRecord(1, "new"));
  EXPECT_EQ("new", Utf8(m_set.GetContent()));
  EXPECT_EQ(0, m_set.MoveNext());
  EXPECT_EQ(2, m_set.GetMSGID());
}

TEST_F(RecordSet, RemovingTheRecordUnderTheCursorLeavesItOnTheFirst) {
  PushMany(m_set, {1, 2, 3});
  m_set.MoveNext();
  m_set.RemoveSMSRecord(2);
  EXPECT_EQ(1, m_set.GetMSGID());
  m_set.RemoveSMSRecord(1);
  EXPECT_EQ(3, m_set.GetMSGID());
  m_set.RemoveSMSRecord(3);
  ExpectNothingAtTheCursor(m_set);
}

// --- Push and remove -------------------------------------------------------------------------------------------------

TEST_F(RecordSet, RefusesTheIdentifierOfARecordNotStoredYet) {
  PushMany(m_set, {1, 2});
  m_set.MoveNext();
  EXPECT_EQ(-1, Push(m_set, MakeRecord(-1, "x", NS_SMS::IS_NOT_READ)));
  EXPECT_EQ(2, m_set.GetRecordCount());
  EXPECT_EQ(2, m_set.GetMSGID());  // the cursor has not moved
  EXPECT_EQ(0, Missed());
}

TEST_F(RecordSet, ReplacesTheRecordWithTheSameIdentifierInItsPlace) {
  PushMany(m_set, {1, 2, 3});
  EXPECT_EQ(0, Push(m_set, MakeRecord(2, "new")));
  EXPECT_EQ(3, m_set.GetRecordCount());
  EXPECT_EQ("1:text 2:new 3:text", Contents(m_set));
}

TEST_F(RecordSet, HoldsItsOwnCopyOfWhatIsPushed) {
  CSMSRecordImpl record = MakeRecord(1, "before");
  m_set.PushSMSRecord(record);
  record.SetContent(u"after");
  record.SetMSGID(9);
  EXPECT_EQ("1:before", Contents(m_set));
}

TEST_F(RecordSet, TakesARecordOfItsOwnAgain) {
  PushMany(m_set, {1, 2});
  EXPECT_EQ(0, m_set.PushSMSRecord(*m_set.GetRecord(2)));
  EXPECT_EQ("1:text 2:text", Contents(m_set));
}

TEST_F(RecordSet, RemovesTheRecordWithTheIdentifier) {
  PushMany(m_set, {1, 2, 3});
  m_set.RemoveSMSRecord(2);
  EXPECT_EQ("1:text 3:text", Contents(m_set));
  EXPECT_EQ(nullptr, m_set.GetRecord(2));
}

TEST_F(RecordSet, RemovingAnAbsentIdentifierOnlyMovesTheCursorToTheFirst) {
  PushMany(m_set, {1, 2});
  m_set.MoveNext();
  m_set.RemoveSMSRecord(99);
  m_set.RemoveSMSRecord(-1);
  EXPECT_EQ(1, m_set.GetMSGID());
  EXPECT_EQ("1:text 2:text", Contents(m_set));
}

TEST_F(RecordSet, KnowsIdentifiersOfAnySize) {
  const std::vector<long> ids = {0,   1,       -2,      2147483647, -2147483647L - 1, 127,
                                 128, 2097151, 2097152, 4294967295, 1L << 40,         -(1L << 40)};
  for (const long lID : ids) {
    EXPECT_EQ(0, Push(m_set, MakeRecord(lID, std::to_string(lID))));
  }
  for (const long lID : ids) {
    ASSERT_NE(nullptr, m_set.GetRecord(lID)) << lID;
    EXPECT_EQ(std::to_string(lID), Utf8(m_set.GetRecord(lID)->GetContent()));
  }
  for (const long lID : ids) {
    m_set.RemoveSMSRecord(lID);
    EXPECT_EQ(nullptr, m_set.GetRecord(lID)) << lID;
  }
  EXPECT_EQ(0, m_set.GetRecordCount());
}

TEST_F(RecordSet, IsEmptyAfterClearingWithTheCursorAtTheEnd) {
  PushMany(m_set, {1, 2});
  m_set.ClearSMSRecord();
  ExpectNothingAtTheCursor(m_set);
  EXPECT_EQ(0, m_set.GetRecordCount());
  EXPECT_EQ(nullptr, m_set.GetRecord(1));
  EXPECT_EQ(-1, m_set.MoveNext());
  PushMany(m_set, {2});
  EXPECT_EQ("2:text", Contents(m_set));
  m_set.ClearSMSRecord();
  m_set.ClearSMSRecord();
}

// --- Look-ups --------------------------------------------------------------------------------------------------------

TEST_F(RecordSet, FindsARecordByItsIdentifierAlsoAsAClientSeesIt) {
  PushMany(m_set, {1, 2});
  ASSERT_NE(nullptr, m_set.GetRecord(2));
  EXPECT_EQ(2, m_set.GetRecord(2)->GetMSGID());
  EXPECT_EQ(m_set.GetRecord(2), m_set.GetSMSRecord(2));
  EXPECT_EQ(nullptr, m_set.GetRecord(3));
  EXPECT_EQ(nullptr, m_set.GetSMSRecord(3));
  EXPECT_EQ(nullptr, m_set.GetRecord(-1));
}

TEST_F(RecordSet, LookingUpLeavesTheCursorAlone) {
  PushMany(m_set, {1, 2, 3});
  m_set.MoveNext();
  m_set.GetRecord(3);
  m_set.GetSMSRecord(1);
  m_set.GetUnReadSMSCount();
  EXPECT_EQ(2, m_set.GetMSGID());
}

TEST_F(RecordSet, ACopyOutlivesItsRecordAndTheSet) {
  std::unique_ptr<ISMSRecord, Release> copy;
  {
    CSMSRecordSetImpl set;
    Push(set, MakeRecord(7, "kept"));
    copy.reset(set.GetSMSRecordCopy(7));
    ASSERT_NE(nullptr, copy);
    EXPECT_NE(copy.get(), set.GetSMSRecord(7));
    set.RemoveSMSRecord(7);
    EXPECT_EQ("kept", Utf8(copy->GetContent()));
  }
  EXPECT_EQ(Describe(MakeRecord(7, "kept")), Describe(*copy));
  copy->SetMSGID(8);  // the copy is in no set
}

TEST_F(RecordSet, HasNoCopyOfAnAbsentRecord) { EXPECT_EQ(nullptr, m_set.GetSMSRecordCopy(1)); }

TEST_F(RecordSet, CountsTheUnreadRecords) {
  Push(m_set, MakeRecord(1, "a", NS_SMS::IS_NOT_READ));
  Push(m_set, MakeRecord(2, "b", NS_SMS::IS_READ));
  Push(m_set, MakeRecord(3, "c", NS_SMS::IS_NOT_READ));
  Push(m_set, MakeRecord(4, "d", 2));
  EXPECT_EQ(2, m_set.GetUnReadSMSCount());
  m_set.GetRecord(1)->SetIsRead(NS_SMS::IS_READ);
  EXPECT_EQ(1, m_set.GetUnReadSMSCount());
}

TEST(FindRecord, MatchesByIdentifier) {
  EXPECT_TRUE(CFindSMSRecord(5)(CSMSRecordImpl(5)));
  EXPECT_FALSE(CFindSMSRecord(5)(CSMSRecordImpl(6)));
}

// --- Records changed through their pointer ---------------------------------------------------------------------------

TEST_F(RecordSet, FindsARecordUnderTheIdentifierItWasGivenInPlace) {
  PushMany(m_set, {1, 2, 3});
  m_set.GetRecord(2)->SetMSGID(20);
  EXPECT_EQ(nullptr, m_set.GetRecord(2));
  ASSERT_NE(nullptr, m_set.GetRecord(20));
  Push(m_set, MakeRecord(20, "new"));
  EXPECT_EQ("1:text 20:new 3:text", Contents(m_set));
}

TEST_F(RecordSet, AnswersTheFirstOfTwoRecordsWithOneIdentifier) {
  Push(m_set, MakeRecord(1, "first"));
  Push(m_set, MakeRecord(2, "second"));
  m_set.GetRecord(1)->SetMSGID(2);
  EXPECT_EQ("first", Utf8(m_set.GetRecord(2)->GetContent()));
  m_set.RemoveSMSRecord(2);
  ASSERT_NE(nullptr, m_set.GetRecord(2));
  EXPECT_EQ("second", Utf8(m_set.GetRecord(2)->GetContent()));
  m_set.RemoveSMSRecord(2);
  EXPECT_EQ(nullptr, m_set.GetRecord(2));
}

TEST_F(RecordSet, ReplacesTheFirstOfTwoRecordsWithOneIdentifier) {
  Push(m_set, MakeRecord(1, "first"));
  Push(m_set, MakeRecord(2, "second"));
  m_set.GetRecord(2)->SetMSGID(1);
  Push(m_set, MakeRecord(1, "new"));
  EXPECT_EQ("1:new 1:second", Contents(m_set));
}

TEST_F(RecordSet, FollowsARecordThatIsAssignedInPlace) {
  PushMany(m_set, {1, 2});
  const CSMSRecordImpl other = MakeRecord(8, "other");
  *m_set.GetRecord(1) = other;
  EXPECT_EQ("other", Utf8(m_set.GetRecord(8)->GetContent()));
  const ISMSRecord* const pOther = &other;
  *m_set.GetRecord(2) = pOther;
  m_set.RemoveSMSRecord(8);
  EXPECT_NE(nullptr, m_set.GetRecord(8));
  CSMSRecordImpl moved = std::move(*m_set.GetRecord(8));
  EXPECT_EQ("other", Utf8(moved.GetContent()));
  EXPECT_NE(nullptr, m_set.GetRecord(8));
}

// --- The count of unread messages of all sets ------------------------------------------------------------------------

TEST_F(RecordSet, MissCountFollowsWhatEntersAndWhatBecomesRead) {
  Push(m_set, MakeRecord(1, "a", NS_SMS::IS_READ));
  EXPECT_EQ(0, Missed());
  Push(m_set, MakeRecord(1, "a", NS_SMS::IS_NOT_READ));
  EXPECT_EQ(1, Missed());
  Push(m_set, MakeRecord(1, "a", NS_SMS::IS_NOT_READ));
  EXPECT_EQ(1, Missed());
  Push(m_set, MakeRecord(1, "a", NS_SMS::IS_READ));
  EXPECT_EQ(0, Missed());
  Push(m_set, MakeRecord(2, "b", NS_SMS::IS_NOT_READ));
  EXPECT_EQ(1, Missed());
}

TEST_F(RecordSet, MissCountStaysWhenUnreadTurnsIntoAnUnknownTag) {
  Push(m_set, MakeRecord(1, "a", NS_SMS::IS_NOT_READ));
  Push(m_set, MakeRecord(1, "a", 2));
  EXPECT_EQ(1, Missed());
}

TEST_F(RecordSet, MissCountFallsWhenUnreadRecordsLeave) {
  for (long lID = 1; lID <= 5; ++lID) {
    Push(m_set, MakeRecord(lID, "a", lID == 3 ? NS_SMS::IS_READ : NS_SMS::IS_NOT_READ));
  }
  EXPECT_EQ(4, Missed());
  m_set.RemoveSMSRecord(3);
  EXPECT_EQ(4, Missed());
  m_set.RemoveSMSRecord(1);
  EXPECT_EQ(3, Missed());
  m_set.ClearSMSRecord();
  EXPECT_EQ(0, Missed());
}

TEST_F(RecordSet, MissCountIsSharedByAllSetsAndFallsWhenASetEnds) {
  Push(m_set, MakeRecord(1, "a", NS_SMS::IS_NOT_READ));
  CSMSRecordSetImpl* const pOther = new CSMSRecordSetImpl;
  Push(*pOther, MakeRecord(1, "b", NS_SMS::IS_NOT_READ));
  Push(*pOther, MakeRecord(2, "c", NS_SMS::IS_NOT_READ));
  EXPECT_EQ(3, Missed());
  pOther->Release();
  EXPECT_EQ(1, Missed());
}

// --- The notification hook -------------------------------------------------------------------------------------------

class RecordSetNotice : public CAppTest {
protected:
  int QueriesDuring(const std::function<void()>& work) {
    const int iBefore = m_device.container.QueryCount();
    work();
    return m_device.container.QueryCount() - iBefore;
  }

  CSMSRecordSetImpl m_set;
};

TEST_F(RecordSetNotice, IsLookedUpWheneverTheOldOrTheNewRecordIsUnread) {
  const int unread = NS_SMS::IS_NOT_READ;
  const int read = NS_SMS::IS_READ;
  EXPECT_EQ(0, QueriesDuring([&] { Push(m_set, MakeRecord(1, "a", read)); }));
  EXPECT_EQ(1, QueriesDuring([&] { Push(m_set, MakeRecord(1, "a", unread)); }));
  EXPECT_EQ(1, QueriesDuring([&] { Push(m_set, MakeRecord(1, "a", unread)); }));
  EXPECT_EQ(1, QueriesDuring([&] { Push(m_set, MakeRecord(1, "a", read)); }));
  EXPECT_EQ(0, QueriesDuring([&] { m_set.RemoveSMSRecord(1); }));
  Push(m_set, MakeRecord(2, "a", unread));
  EXPECT_EQ(1, QueriesDuring([&] { m_set.RemoveSMSRecord(2); }));
  EXPECT_EQ(0, QueriesDuring([&] { m_set.ClearSMSRecord(); }));
  Push(m_set, MakeRecord(2, "a", unread));
  EXPECT_EQ(1, QueriesDuring([&] { m_set.ClearSMSRecord(); }));
}

TEST_F(RecordSetNotice, DoesNothingMoreThanLookTheServiceUp) {
  EXPECT_EQ(1, QueriesDuring([&] { m_set.NotifyMissMsg(); }));
  m_device.container.ThrowOnQuery(true);
  m_set.NotifyMissMsg();
}

TEST_F(RecordSetNotice, IsLookedUpWithoutTheLockOfTheSet) {
  struct CUsingContainer : IPluginContainer {
    CSMSRecordSetImpl* pSet = nullptr;
    long lCount = -1;
    bool QueryPluginInterface(const char*, int, IBaseInterface**) override {
      std::thread([this] { lCount = pSet->GetRecordCount(); }).join();
      return false;
    }
  } container;
  container.pSet = &m_set;
  m_plugin.SetPluginContainer(&container);
  Push(m_set, MakeRecord(1, "a", NS_SMS::IS_NOT_READ));
  EXPECT_EQ(1, container.lCount);
  m_plugin.SetPluginContainer(&m_device.container);
}

// --- Life ------------------------------------------------------------------------------------------------------------

TEST(RecordSetLife, ReleaseDestroysItWithItsRecords) {
  CSMSRecordSetImpl* const pSet = new CSMSRecordSetImpl;
  PushMany(*pSet, {1, 2, 3});
  EXPECT_EQ(0, pSet->GetLastError());
  pSet->Release();  // the leak checker sees what is left
}

TEST(RecordSetLife, WhenMemoryIsShortAPushChangesNothing) {
  CSMSRecordSetImpl set;
  PushMany(set, {1, 2});
  std::size_t uNumber = 0;
  bool bStruck = true;
  for (; bStruck; ++uNumber) {
    CSMSRecordImpl fresh = MakeRecord(1000 + static_cast<long>(uNumber), "new", NS_SMS::IS_NOT_READ);
    fresh.SetMSGInfo(1, 2, 1);
    const long lCount = set.GetRecordCount();
    const int iMissed = CSMSRecordSetImpl::GetMissCount();
    long lResult = 0;
    {
      const CShortMemory shortage(uNumber);
      lResult = set.PushSMSRecord(fresh);
      bStruck = shortage.HasStruck();
    }
    const bool bIn = set.GetRecord(fresh.GetMSGID()) != nullptr;
    EXPECT_EQ(lResult == 0, bIn) << uNumber;
    EXPECT_EQ(lCount + (bIn ? 1 : 0), set.GetRecordCount()) << uNumber;
    EXPECT_EQ(iMissed + (bIn ? 1 : 0), CSMSRecordSetImpl::GetMissCount()) << uNumber;
    EXPECT_EQ(1, set.GetRecord(1)->GetMSGID());
  }
  EXPECT_GT(uNumber, 3U);
}

TEST(RecordSetLife, WhenMemoryIsShortAReplacementLeavesTheOldRecordWhole) {
  CSMSRecordSetImpl set;
  PushMany(set, {1, 2});
  const std::string before = Describe(*set.GetRecord(2));
  CSMSRecordImpl fresh = MakeRecord(2, "a new text that needs memory of its own", NS_SMS::IS_NOT_READ);
  fresh.SetMSGInfo(1, 2, 1);
  bool bStruck = true;
  for (std::size_t uNumber = 0; bStruck; ++uNumber) {
    long lResult = 0;
    {
      const CShortMemory shortage(uNumber);
      lResult = set.PushSMSRecord(fresh);
      bStruck = shortage.HasStruck();
    }
    ASSERT_NE(nullptr, set.GetRecord(2));
    EXPECT_EQ(lResult == 0 ? Describe(fresh) : before, Describe(*set.GetRecord(2))) << uNumber;
    EXPECT_EQ(2, set.GetRecordCount());
    if (lResult == 0) {
      Push(set, MakeRecord(2));
    }
  }
}

TEST(RecordSetLife, WhenMemoryIsShortRecordsAreStillFoundByWalking) {
  CSMSRecordSetImpl set;
  PushMany(set, {1, 2, 3});
  set.GetRecord(2)->SetMSGID(20);
  {
    const CShortMemory shortage(0);
    ASSERT_NE(nullptr, set.GetRecord(20));
    EXPECT_TRUE(shortage.HasStruck());
  }
  EXPECT_EQ(nullptr, set.GetRecord(2));
  EXPECT_NE(nullptr, set.GetRecord(3));
}

TEST(RecordSetLife, WhenMemoryIsShortThereIsNoCopy) {
  CSMSRecordSetImpl set;
  PushMany(set, {1});
  const CShortMemory shortage(0);
  EXPECT_EQ(nullptr, set.GetSMSRecordCopy(1));
}

// --- The parts of a long message -------------------------------------------------------------------------------------

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

TEST_F(RecordSet, FindsThePartsOfALongMessageInTheOrderOfTheListWhateverTheirNumber) {
  Push(m_set, MakePart(30, 7, 3, 3));
  Push(m_set, MakePart(10, 7, 3, 1));
  Push(m_set, MakePart(20, 7, 3, 1));
  Push(m_set, MakePart(25, 7, 3, 99));
  EXPECT_EQ("30 10 20 25", Parts(m_set, 7, 3, kNumber, kSeconds));
}

TEST_F(RecordSet, TakesOnlyPartsWithThisNumberReferenceAndTotal) {
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

TEST_F(RecordSet, PassesOverPartsInTheRecycleBox) {
  for (int iPosition = 0; iPosition < NS_SMS::MSG_POSITION_NUM; ++iPosition) {
    CSMSRecordImpl part = MakePart(100 + iPosition, 7, 2, 1);
    part.SetPosition(iPosition);
    m_set.PushSMSRecord(part);
  }
  EXPECT_EQ("100 101 102 103 105 106 107 108 109 110 111", Parts(m_set, 7, 2, kNumber, kSeconds));
}

TEST_F(RecordSet, TakesAPart86400SecondsAwayButNot86401) {
  Push(m_set, MakePart(1, 7, 2, 1));
  EXPECT_EQ("1", Parts(m_set, 7, 2, kNumber, kSeconds + 86400));
  EXPECT_EQ("1", Parts(m_set, 7, 2, kNumber, kSeconds - 86400));
  EXPECT_EQ("", Parts(m_set, 7, 2, kNumber, kSeconds + 86401));
  EXPECT_EQ("", Parts(m_set, 7, 2, kNumber, kSeconds - 86401));
}

TEST_F(RecordSet, SurvivesTimesAtTheEndsOfTheScale) {
  Push(m_set, MakePart(1, 7, 2, 1));
  EXPECT_EQ("", Parts(m_set, 7, 2, kNumber, std::numeric_limits<std::time_t>::max()));
  EXPECT_EQ("", Parts(m_set, 7, 2, kNumber, std::numeric_limits<std::time_t>::min()));
}

struct TimeRow {
  const char* pszName;
  const char* pszTime;
  bool bTaken;
};

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

TEST_F(RecordSet, AppendsCopiesToWhatTheVectorHolds) {
  Push(m_set, MakePart(1, 7, 2, 1));
  std::vector<CSMSRecordImpl> found(1, MakeRecord(99));
  m_set.GetLongSMSRecord(7, 2, kNumber, kSeconds, found);
  ASSERT_EQ(2U, found.size());
  EXPECT_EQ(99, found[0].GetMSGID());
  m_set.ClearSMSRecord();
  EXPECT_EQ(Describe(MakePart(1, 7, 2, 1)), Describe(found[1]));
}

TEST_F(RecordSet, LookingForPartsPutsTheCursorOnTheFirstRecord) {
  PushMany(m_set, {1, 2});
  for (const int iTotal : {0, 1, 2}) {
    m_set.MoveFirst();
    m_set.MoveNext();
    Parts(m_set, 7, iTotal, kNumber, kSeconds);
    EXPECT_EQ(1, m_set.GetMSGID()) << iTotal;
  }
}

TEST_F(RecordSet, FindsPartsOfTotalsBelow2AsWell) {
  Push(m_set, MakePart(1, 0, 0, 0));
  Push(m_set, MakePart(2, 5, 1, 1));
  Push(m_set, MakePart(3, 5, -1, 1));
  EXPECT_EQ("1", Parts(m_set, 0, 0, kNumber, kSeconds));
  EXPECT_EQ("2", Parts(m_set, 5, 1, kNumber, kSeconds));
  EXPECT_EQ("3", Parts(m_set, 5, -1, kNumber, kSeconds));
}

TEST_F(RecordSet, FollowsPartsThatAreReplacedRemovedAndChangedInPlace) {
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

TEST_F(RecordSet, FollowsAPartWhoseTextsAreMovedAway) {
  Push(m_set, MakePart(1, 7, 2, 1));
  CSMSRecordImpl taken = std::move(*m_set.GetRecord(1));
  m_set.GetRecord(1)->SetTime(taken.GetTime());
  EXPECT_EQ("", Parts(m_set, 7, 2, kNumber, kSeconds));
  EXPECT_EQ("1", Parts(m_set, 7, 2, u"", kSeconds));
}

}  // namespace
