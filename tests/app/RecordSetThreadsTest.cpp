// Many threads on one set, and many sets at once.
#include "AppSupport.h"
#include "SMSRecordSetImpl.h"

#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace {

const long kRounds = 400;

struct Release {
  void operator()(IBaseInterface* pObject) const { pObject->Release(); }
};

void RunTogether(const std::vector<std::function<void()>>& jobs) {
  std::vector<std::thread> threads;
  for (const std::function<void()>& job : jobs) {
    threads.emplace_back(job);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

/// Pushes every identifier of its own range twice and removes every second one.
void PushAndRemove(CSMSRecordSetImpl& set, long lFrom) {
  for (long lID = lFrom; lID < lFrom + kRounds; ++lID) {
    CSMSRecordImpl record = MakeRecord(lID, "text", NS_SMS::IS_NOT_READ);
    record.SetMSGInfo(7, 3, 1);
    set.PushSMSRecord(record);
    record.SetIsRead(lID % 4 == 0 ? NS_SMS::IS_READ : NS_SMS::IS_NOT_READ);
    set.PushSMSRecord(record);
    if (lID % 2 != 0) {
      set.RemoveSMSRecord(lID);
    }
  }
}

void WalkTheCursor(CSMSRecordSetImpl& set) {
  for (long lRound = 0; lRound < kRounds; ++lRound) {
    set.MoveFirst();
    for (int iStep = 0; iStep < 10 && set.MoveNext() == 0; ++iStep) {
      int iMR = 0;
      int iTotal = 0;
      int iPart = 0;
      set.GetMSGInfo(iMR, iTotal, iPart);
      EXPECT_TRUE(iTotal == 0 || iTotal == 3);
      EXPECT_GE(set.GetMSGID(), 0);
      EXPECT_LE(set.GetIsRead(), NS_SMS::IS_NOT_READ);
    }
  }
}

void TakeCopies(CSMSRecordSetImpl& set) {
  for (long lRound = 0; lRound < kRounds; ++lRound) {
    const std::unique_ptr<ISMSRecord, Release> copy(set.GetSMSRecordCopy(lRound * 2));
    if (copy) {
      EXPECT_EQ("text", Utf8(copy->GetContent()));
      EXPECT_EQ(lRound * 2, copy->GetMSGID());
    }
    set.GetRecordCount();
    set.GetUnReadSMSCount();
  }
}

void LookForParts(CSMSRecordSetImpl& set) {
  for (long lRound = 0; lRound < kRounds / 20; ++lRound) {
    std::vector<CSMSRecordImpl> found;
    set.GetLongSMSRecord(7, 3, u"+491701234567", 1230865445, found);
    for (const CSMSRecordImpl& record : found) {
      EXPECT_EQ("text", Utf8(record.GetContent()));
    }
  }
}

class RecordSetThreads : public CAppTest {
protected:
  RecordSetThreads() { UseUtc(); }
};

TEST_F(RecordSetThreads, PushersCursorUsersAndFindersLeaveWhatTheyPushed) {
  const int iMissedBefore = CSMSRecordSetImpl::m_iMissCount;
  CSMSRecordSetImpl set;
  RunTogether({[&] { PushAndRemove(set, 0); }, [&] { PushAndRemove(set, 1000); }, [&] { PushAndRemove(set, 2000); },
               [&] { WalkTheCursor(set); }, [&] { TakeCopies(set); }, [&] { LookForParts(set); }});
  EXPECT_EQ(3 * kRounds / 2, set.GetRecordCount());
  EXPECT_EQ(3 * kRounds / 4, set.GetUnReadSMSCount());
  EXPECT_EQ(3 * kRounds / 4, CSMSRecordSetImpl::m_iMissCount - iMissedBefore);
  for (const long lFrom : {0L, 1000L, 2000L}) {
    for (long lID = lFrom; lID < lFrom + kRounds; ++lID) {
      EXPECT_EQ(lID % 2 == 0, set.GetRecord(lID) != nullptr) << lID;
    }
  }
}

TEST_F(RecordSetThreads, ClearingMeetsPushingWithoutLosingCount) {
  const int iMissedBefore = CSMSRecordSetImpl::m_iMissCount;
  CSMSRecordSetImpl set;
  RunTogether({[&] { PushAndRemove(set, 0); }, [&] { PushAndRemove(set, 1000); },
               [&] {
                 for (int iRound = 0; iRound < 50; ++iRound) {
                   set.ClearSMSRecord();
                 }
               },
               [&] { WalkTheCursor(set); }});
  EXPECT_EQ(set.GetUnReadSMSCount(), CSMSRecordSetImpl::m_iMissCount - iMissedBefore);
  set.ClearSMSRecord();
  EXPECT_EQ(0, CSMSRecordSetImpl::m_iMissCount - iMissedBefore);
}

TEST_F(RecordSetThreads, SetsOfTheirOwnShareTheMissCount) {
  const int iMissedBefore = CSMSRecordSetImpl::m_iMissCount;
  const auto work = [] {
    CSMSRecordSetImpl set;
    PushAndRemove(set, 0);
  };
  RunTogether({work, work, work, work});
  EXPECT_EQ(iMissedBefore, CSMSRecordSetImpl::m_iMissCount);
}

}  // namespace
