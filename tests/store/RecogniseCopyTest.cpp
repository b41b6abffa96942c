// The local store: what an earlier run stored is not stored again when it still lies on the device.
#include "StoreSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace {

CSMSRecordImpl Changed(CSMSRecordImpl record, void (ISMSRecord::*pfnSet)(const VELK_wchar_t*), const char16_t* value) {
  (record.*pfnSet)(value);
  return record;
}

class StoredCopy : public ::testing::Test {
protected:
  /// The store after a run that stored these.
  void StoreEarlier(const std::vector<CSMSRecordImpl>& records) {
    for (CSMSRecordImpl record : records) {
      EXPECT_EQ(0, Save(m_home.Store(), record).result);
    }
    m_home.Restart();
  }
  bool IsRecognised(CSMSRecordImpl found) { return m_home.Store().RecogniseCopy(found); }

  CStoreHome m_home;
};

TEST_F(StoredCopy, IsRecognisedAndTheRecordStandsForItsRow) {
  StoreEarlier({MakeRecord(u"one"), MakeRecord(u"two")});
  CSMSRecordImpl found = MakeRecord(u"two");
  EXPECT_TRUE(m_home.Store().RecogniseCopy(found));
  EXPECT_EQ(Records(m_home.Set()).at(1).GetMSGID(), found.GetMSGID());
}

TEST_F(StoredCopy, AnswersForOneMessageOnly) {
  StoreEarlier({MakeRecord(u"one")});
  EXPECT_TRUE(IsRecognised(MakeRecord(u"one")));
  EXPECT_FALSE(IsRecognised(MakeRecord(u"one"))) << "sent twice, stored twice";
}

TEST_F(StoredCopy, IsNeverAMessageOfTheSameRun) {
  CSMSRecordImpl record = MakeRecord(u"one");
  Save(m_home.Store(), record);
  EXPECT_FALSE(IsRecognised(MakeRecord(u"one")));
}

TEST_F(StoredCopy, HasTheSameNumberTimeTextPartAndBox) {
  const CSMSRecordImpl part = MakePart(u"one", 1, 3);
  StoreEarlier({part});
  EXPECT_FALSE(IsRecognised(Changed(part, &ISMSRecord::SetNumber, u"+491700001")));
  EXPECT_FALSE(IsRecognised(Changed(part, &ISMSRecord::SetTime, u"20261120120001")));
  EXPECT_FALSE(IsRecognised(Changed(part, &ISMSRecord::SetContent, u"onf")));
  EXPECT_FALSE(IsRecognised(MakePart(u"one", 2, 3)));
  EXPECT_FALSE(IsRecognised(MakePart(u"one", 1, 3, 8)));
  EXPECT_FALSE(IsRecognised(MakeRecord(u"one", NS_SMS::SEND_BOX)));
  EXPECT_TRUE(IsRecognised(part));
}

TEST_F(StoredCopy, IsNotLookedForInTheRecycleBox) {
  CSMSRecordImpl record = MakeRecord(u"one");
  const long id = Save(m_home.Store(), record).id;
  EXPECT_EQ(0, m_home.Store().DeleteRecord(id));
  m_home.Restart();
  EXPECT_FALSE(IsRecognised(MakeRecord(u"one")));
}

TEST_F(StoredCopy, OfALastPartIsTheWholeMessageAndThePartsBesideItGo) {
  const CSMSRecordImpl whole = MakePart(u"abc", 0, 0);  // what was written just before the earlier run was killed
  StoreEarlier({MakePart(u"a", 1, 3), MakePart(u"b", 2, 3), whole, MakePart(u"z", 2, 3, 9)});
  CSMSRecordImpl found = MakePart(u"c", 3, 3);
  EXPECT_TRUE(m_home.Store().RecogniseCopy(found));
  EXPECT_THAT(Contents(m_home.Set()), UnorderedElementsAre("abc", "z"));
  EXPECT_EQ(VELK_wstring(u"abc"), found.GetContent());
}

TEST_F(StoredCopy, OfAPartIsNoWholeMessageThatHoldsItsTextElsewhere) {
  StoreEarlier({MakePart(u"abc", 0, 0)});
  EXPECT_FALSE(IsRecognised(MakePart(u"a", 3, 3)));
  EXPECT_FALSE(IsRecognised(MakePart(u"b", 1, 3)));
  EXPECT_FALSE(IsRecognised(MakePart(u"x", 2, 3)));
  EXPECT_FALSE(IsRecognised(MakePart(u"abc", 1, 1)));
  EXPECT_THAT(Contents(m_home.Set()), ElementsAre("abc"));
}

}  // namespace
