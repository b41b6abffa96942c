// The messages of a store with one cursor.
#include "Await.h"
#include "RecordSetSupport.h"
#include "ShortMemory.h"

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

struct Release {
  void operator()(IBaseInterface* pObject) const { pObject->Release(); }
};

class RecordSet : public ::testing::Test {
protected:
  RecordSet() : m_iMissedBefore(CSMSRecordSetImpl::m_iMissCount) { UseUtc(); }

  int Missed() const { return CSMSRecordSetImpl::m_iMissCount - m_iMissedBefore; }

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
  const std::vector<long> ids = {0,   1,       -2,      2147483647, -2147483647L - 1, 511,
                                 512, 2097151, 2097152, 4294967295, 1L << 40,         -(1L << 40)};
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

TEST_F(RecordSetNotice, IsLookedUpUnderTheLockOfTheSetWithTheCountThatHoldsThen) {
  struct CLookingContainer : IPluginContainer {
    CSMSRecordSetImpl* pSet = nullptr;
    CMonitor monitor;
    std::vector<int> vctCounts;
    std::vector<std::thread> vctOthers;
    std::set<std::size_t> setAnswered;  // guarded by monitor
    bool bOthersWaited = true;
    bool QueryPluginInterface(const char*, int, IBaseInterface**) override {
      const std::size_t uOther = vctCounts.size();
      vctCounts.push_back(CSMSRecordSetImpl::m_iMissCount);
      vctOthers.emplace_back([this, uOther] {
        pSet->GetRecordCount();
        monitor.Locked([&] { setAnswered.insert(uOther); });
      });
      bOthersWaited &= !monitor.Await([&] { return setAnswered.count(uOther) == 1; }, 20);
      return false;
    }
  } container;
  container.pSet = &m_set;
  m_plugin.SetPluginContainer(&container);
  const int iBefore = CSMSRecordSetImpl::m_iMissCount;
  PushMany(m_set, {1});
  Push(m_set, MakeRecord(2, "a", NS_SMS::IS_NOT_READ));
  Push(m_set, MakeRecord(3, "b", NS_SMS::IS_NOT_READ));
  m_set.RemoveSMSRecord(2);
  m_set.ClearSMSRecord();
  for (std::thread& other : container.vctOthers) {
    other.join();
  }
  EXPECT_EQ((std::vector<int>{iBefore + 1, iBefore + 2, iBefore + 1, iBefore}), container.vctCounts);
  EXPECT_TRUE(container.bOthersWaited);
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
    const int iMissed = CSMSRecordSetImpl::m_iMissCount;
    long lResult = 0;
    {
      const CShortMemory shortage(uNumber);
      lResult = set.PushSMSRecord(fresh);
      bStruck = shortage.HasStruck();
    }
    const bool bIn = set.GetRecord(fresh.GetMSGID()) != nullptr;
    EXPECT_EQ(lResult == 0, bIn) << uNumber;
    EXPECT_EQ(lCount + (bIn ? 1 : 0), set.GetRecordCount()) << uNumber;
    EXPECT_EQ(iMissed + (bIn ? 1 : 0), CSMSRecordSetImpl::m_iMissCount) << uNumber;
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

}  // namespace
