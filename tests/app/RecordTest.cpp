// One message as clients see it.
#include "AppSupport.h"
#include "ShortMemory.h"
#include "platform/JClock.h"

#include <limits>
#include <new>
#include <ostream>
#include <vector>

namespace {

const std::time_t kSecondOfJanuary2009 = 1230865445;  // 2009-01-02 03:04:05 UTC

/// Another implementation of the interface: answers its own values and notes the order of the questions.
class CForeignRecord : public ISMSRecord {
public:
  mutable std::vector<std::string> asked;
  bool bNullTexts = false;

  void Release() override {}
  int GetLastError() override { return 7; }
  const VELK_wchar_t* GetNumber() const override { return Text("GetNumber", u"112"); }
  void SetNumber(const VELK_wchar_t*) override {}
  const VELK_wchar_t* GetContent() const override { return Text("GetContent", u"help"); }
  void SetContent(const VELK_wchar_t*) override {}
  const VELK_wchar_t* GetTime() const override { return Text("GetTime", u"20200101000000"); }
  void SetTime(const VELK_wchar_t*) override {}
  int GetIsRead() const override { return Number("GetIsRead", 21); }
  void SetIsRead(int) override {}
  int GetInitialPosition() const override { return Number("GetInitialPosition", 22); }
  void SetInitialPosition(int) override {}
  int GetPosition() const override { return Number("GetPosition", 23); }
  void SetPosition(int) override {}
  int GetSendResult() const override { return Number("GetSendResult", 24); }
  void SetSendResult(int) override {}
  int GetMSGType() const override { return Number("GetMSGType", 25); }
  void SetMSGType(int) override {}
  long GetMSGID() const override { return Number("GetMSGID", 26); }
  void SetMSGID(long) override {}
  void GetMSGInfo(int& iMR, int& iTotal, int& iPart) const override {
    asked.push_back("GetMSGInfo");
    iMR = 27;
    iTotal = 28;
    iPart = 29;
  }
  void SetMSGInfo(int, int, int) override {}
  void InitToCurrTime() override {}
  int GetSMSPriority() const override { return Number("GetSMSPriority", 30); }
  void SetSMSPriority(int) override {}
  int GetSMSClass() const override { return Number("GetSMSClass", 31); }
  void SetSMSClass(int) override {}
  ISMSRecord& operator=(const ISMSRecord*) override { return *this; }

private:
  const VELK_wchar_t* Text(const char* pszName, const VELK_wchar_t* pszText) const {
    asked.push_back(pszName);
    return bNullTexts ? nullptr : pszText;
  }
  int Number(const char* pszName, int iValue) const {
    asked.push_back(pszName);
    return iValue;
  }
};

const char* const kForeign = "112|help|20200101000000|21|22|23|24|25|31|26|27|28|29|30";
const std::vector<std::string> kOrder = {"GetNumber",          "GetContent",     "GetTime",       "GetIsRead",
                                         "GetInitialPosition", "GetPosition",    "GetSendResult", "GetMSGType",
                                         "GetMSGID",           "GetSMSPriority", "GetSMSClass",   "GetMSGInfo"};

// --- Construction ----------------------------------------------------------------------------------------------------

// number|content|time|read|initial position|position|result|type|class|id|reference|total|part|priority

TEST(Record, StartsAsADraft) { EXPECT_EQ("|||0|2|2|1|0|3|0|0|0|0|4", Describe(CSMSRecordImpl())); }

TEST(Record, MadeFromAnIdentifierStartsInTheRecycleBox) {
  EXPECT_EQ("|||0|2|4|1|0|3|7|0|0|0|4", Describe(CSMSRecordImpl(7)));
  EXPECT_EQ("|||0|2|4|1|0|3|-1|0|0|0|4", Describe(CSMSRecordImpl(-1)));
  EXPECT_EQ("|||0|2|4|1|0|3|0|0|0|0|4", Describe(CSMSRecordImpl(0L)));
}

TEST(Record, MadeFromNullStartsWithZerosAndClass3) {
  EXPECT_EQ("|||0|0|0|0|0|3|0|0|0|0|0", Describe(CSMSRecordImpl(static_cast<ISMSRecord*>(nullptr))));
}

TEST(Record, MadeFromAnyRecordTakesEveryFieldThroughItsInterfaceInOrder) {
  const CForeignRecord foreign;
  const CSMSRecordImpl record(&foreign);
  EXPECT_EQ(kOrder, foreign.asked);
  EXPECT_EQ(kForeign, Describe(record));
}

TEST(Record, MadeFromARecordWithNullTextsHasEmptyTexts) {
  CForeignRecord foreign;
  foreign.bNullTexts = true;
  EXPECT_EQ("|||21|22|23|24|25|31|26|27|28|29|30", Describe(CSMSRecordImpl(&foreign)));
}

// --- Copying ---------------------------------------------------------------------------------------------------------

TEST(Record, CopiesAllFourteenFieldsDeeply) {
  const CForeignRecord foreign;
  CSMSRecordImpl original(&foreign);
  const CSMSRecordImpl copy(original);
  CSMSRecordImpl assigned(3);
  EXPECT_EQ(&assigned, &(assigned = original));
  original.SetNumber(u"1");
  original.SetContent(u"2");
  original.SetTime(u"3");
  original.SetMSGInfo(0, 0, 0);
  EXPECT_EQ(kForeign, Describe(copy));
  EXPECT_EQ(kForeign, Describe(assigned));
  EXPECT_NE(copy.GetContent(), assigned.GetContent());
}

TEST(Record, AssignsFromAnyRecordInOrder) {
  const CForeignRecord foreign;
  CSMSRecordImpl record(3);
  const ISMSRecord* const pForeign = &foreign;
  EXPECT_EQ(&record, &(record = pForeign));
  EXPECT_EQ(kOrder, foreign.asked);
  EXPECT_EQ(kForeign, Describe(record));
}

TEST(Record, AssigningNullChangesNothing) {
  const CForeignRecord foreign;
  CSMSRecordImpl record(&foreign);
  record = static_cast<const ISMSRecord*>(nullptr);
  EXPECT_EQ(kForeign, Describe(record));
}

TEST(Record, AssigningItselfChangesNothing) {
  const CForeignRecord foreign;
  CSMSRecordImpl record(&foreign);
  const ISMSRecord* const pItself = &record;
  record = pItself;
  EXPECT_EQ(kForeign, Describe(record));
}

// --- Fields ----------------------------------------------------------------------------------------------------------

TEST(Record, ANullTextKeepsTheTextBefore) {
  CSMSRecordImpl record = MakeRecord(1, "before");
  record.SetNumber(nullptr);
  record.SetContent(nullptr);
  record.SetTime(nullptr);
  EXPECT_EQ("+491701234567", Utf8(record.GetNumber()));
  EXPECT_EQ("before", Utf8(record.GetContent()));
  EXPECT_EQ("20090102030405", Utf8(record.GetTime()));
}

TEST(Record, AnEmptyTextEmptiesTheField) {
  CSMSRecordImpl record = MakeRecord(1, "before");
  record.SetNumber(u"");
  record.SetContent(u"");
  record.SetTime(u"");
  EXPECT_EQ("", Utf8(record.GetNumber()));
  EXPECT_EQ("", Utf8(record.GetContent()));
  EXPECT_EQ("", Utf8(record.GetTime()));
}

TEST(Record, KeepsItsOwnCopyOfATextOfAnyLength) {
  VELK_wstring text = Repeat(u"a\u20AC\xD83D\xDE00", 1000000);
  CSMSRecordImpl record;
  record.SetContent(text.c_str());
  record.SetNumber(text.c_str());
  text[0] = u'b';
  EXPECT_EQ(u'a', record.GetContent()[0]);
  EXPECT_EQ(1000000U, VELK_wstring(record.GetNumber()).size());
}

TEST(Record, TakesItsOwnTextBack) {
  CSMSRecordImpl record = MakeRecord(1, "a text that does not fit into the string object itself");
  record.SetContent(record.GetContent() + 2);
  EXPECT_EQ("text that does not fit into the string object itself", Utf8(record.GetContent()));
}

struct NumberRow {
  const char* pszName;
  int (ISMSRecord::*pfnGet)() const;
  void (ISMSRecord::*pfnSet)(int);
};

void PrintTo(const NumberRow& row, std::ostream* pOut) { *pOut << row.pszName; }

const NumberRow kNumbers[] = {
    {"IsRead", &ISMSRecord::GetIsRead, &ISMSRecord::SetIsRead},
    {"InitialPosition", &ISMSRecord::GetInitialPosition, &ISMSRecord::SetInitialPosition},
    {"Position", &ISMSRecord::GetPosition, &ISMSRecord::SetPosition},
    {"SendResult", &ISMSRecord::GetSendResult, &ISMSRecord::SetSendResult},
    {"MSGType", &ISMSRecord::GetMSGType, &ISMSRecord::SetMSGType},
    {"SMSClass", &ISMSRecord::GetSMSClass, &ISMSRecord::SetSMSClass},
    {"SMSPriority", &ISMSRecord::GetSMSPriority, &ISMSRecord::SetSMSPriority},
};

class RecordNumber : public ::testing::TestWithParam<NumberRow> {};

TEST_P(RecordNumber, IsKeptUncheckedAndAlone) {
  const CForeignRecord foreign;
  for (const int iValue : {0, 1, -1, 99, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    CSMSRecordImpl record(&foreign);
    const int iBefore = (record.*GetParam().pfnGet)();
    (record.*GetParam().pfnSet)(iValue);
    EXPECT_EQ(iValue, (record.*GetParam().pfnGet)());
    (record.*GetParam().pfnSet)(iBefore);
    EXPECT_EQ(kForeign, Describe(record));
  }
}

INSTANTIATE_TEST_SUITE_P(Fields, RecordNumber, ::testing::ValuesIn(kNumbers),
                         [](const auto& row) { return std::string(row.param.pszName); });

TEST(Record, KeepsItsIdentifier) {
  CSMSRecordImpl record;
  record.SetMSGID(2147483647L);
  EXPECT_EQ(2147483647L, record.GetMSGID());
  record.SetMSGID(-1);
  EXPECT_EQ(-1L, record.GetMSGID());
}

TEST(Record, GivesTheLongMessageInformationAsItWasSet) {
  CSMSRecordImpl record;
  record.SetMSGInfo(17, 3, 2);
  int iMR = 0;
  int iTotal = 0;
  int iPart = 0;
  record.GetMSGInfo(iMR, iTotal, iPart);
  EXPECT_EQ(17, iMR);
  EXPECT_EQ(3, iTotal);
  EXPECT_EQ(2, iPart);
}

TEST(Record, NeverReportsAnError) {
  CSMSRecordImpl record;
  record.SetContent(nullptr);
  EXPECT_EQ(0, record.GetLastError());
}

// --- Life ------------------------------------------------------------------------------------------------------------

TEST(Record, ReleaseDestroysIt) {
  static bool bDestroyed;
  struct CWatched : CSMSRecordImpl {
    ~CWatched() override { bDestroyed = true; }
  };
  bDestroyed = false;
  ISMSRecord* const pRecord = new CWatched;
  pRecord->Release();
  EXPECT_TRUE(bDestroyed);
}

TEST(Record, CanBeDeallocatedWithoutItsDestructorOnceItsTextsAreFreed) {
  CSMSRecordImpl* const pRecord = new CSMSRecordImpl(MakeRecord(1, "long enough to need memory of its own"));
  pRecord->SetTime(u"20090102030405 and more");
  pRecord->FreeTexts();
  EXPECT_EQ("", Utf8(pRecord->GetNumber()));
  EXPECT_EQ("", Utf8(pRecord->GetContent()));
  EXPECT_EQ("", Utf8(pRecord->GetTime()));
  EXPECT_EQ(1, pRecord->GetMSGID());
  ::operator delete(static_cast<void*>(pRecord));  // the leak checker sees whether a text is left
}

// --- The time stamp --------------------------------------------------------------------------------------------------

class RecordTime : public ::testing::Test {
protected:
  RecordTime() : m_clock(kSecondOfJanuary2009) { UseUtc(); }

  static std::string Stamped(int iPosition, const std::string& time) {
    CSMSRecordImpl record;
    record.SetPosition(iPosition);
    record.SetTime(Utf16(time).c_str());
    record.InitToCurrTime();
    return Utf8(record.GetTime());
  }

  JManualClock m_clock;
};

const char* const kPresent = "20090102030405";

TEST_F(RecordTime, IsKeptByReceivedMessagesAndReportsEvenWhenEmpty) {
  for (const int iPosition :
       {NS_SMS::RECEIVE_BOX, NS_SMS::RECEIPT_BOX, NS_SMS::RECEIVE_BOX_SIM, NS_SMS::RECEIVE_BOX_NV}) {
    EXPECT_EQ("", Stamped(iPosition, "")) << iPosition;
    EXPECT_EQ("20001231235959", Stamped(iPosition, "20001231235959")) << iPosition;
  }
}

TEST_F(RecordTime, IsAlwaysThePresentInEveryOtherBox) {
  for (const int iPosition : {0, 2, 3, 4, 6, 8, 10, 12, -1, 99}) {
    EXPECT_EQ(kPresent, Stamped(iPosition, "")) << iPosition;
    EXPECT_EQ(kPresent, Stamped(iPosition, "20001231235959")) << iPosition;
  }
}

TEST_F(RecordTime, OfAScheduledMessageIsKeptWhileItHas1To20Characters) {
  for (std::size_t uLength = 0; uLength <= 25; ++uLength) {
    const std::string time(uLength, '7');
    EXPECT_EQ(uLength >= 1 && uLength <= 20 ? time : kPresent, Stamped(NS_SMS::TIMING_BOX, time)) << uLength;
  }
}

TEST_F(RecordTime, IsReadThroughTheRecordsOwnPosition) {
  struct CAlwaysReceived : CSMSRecordImpl {
    int GetPosition() const override { return NS_SMS::RECEIVE_BOX; }
  } record;
  record.InitToCurrTime();
  EXPECT_EQ("", Utf8(record.GetTime()));
}

TEST_F(RecordTime, IsEmptyWhenItCannotBeConverted) {
  CSMSRecordImpl record = MakeRecord(1);
  record.SetPosition(NS_SMS::DRAFT_BOX);
  const CShortMemory shortage(0);
  record.InitToCurrTime();
  EXPECT_TRUE(shortage.HasStruck());
  EXPECT_EQ(nullptr, std::char_traits<VELK_wchar_t>::find(record.GetTime(), 1, u'2'));
}

TEST(RecordPresent, IsLocalTime) {
  setenv("TZ", "CET-1", 1);
  tzset();
  const JManualClock clock(kSecondOfJanuary2009);
  CSMSRecordImpl record;
  record.InitToCurrTime();
  EXPECT_EQ("20090102040405", Utf8(record.GetTime()));
}

}  // namespace
