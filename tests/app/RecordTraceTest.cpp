// The trace line about a device record.
#include "FakeServices.h"
#include "TempHome.h"
#include "Text.h"
#include "TraceCapture.h"
#include "utils.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstring>

namespace {

class RecordTrace : public ::testing::Test {
protected:
  RecordTrace() : m_stMessage(MakeReadRecord("+4917", u"Hallo", SMS_STAT_READ)) {
    m_stMessage.stTime.wYear = 2009;
    m_stMessage.stTime.btMonth = 1;
    m_stMessage.stTime.btDay = 2;
    m_stMessage.stTime.btHour = 3;
    m_stMessage.stTime.btMinute = 4;
    m_stMessage.stTime.btSecond = 5;
  }

  std::string Line(MSG_HANDLE hMsg = 7) {
    m_trace.Clear();
    TraceSMReadRecord(&m_stMessage, &hMsg);
    return m_trace.Lines().size() == 1 ? m_trace.Lines()[0] : "(not one line)";
  }

  CTempHome m_home;
  CTraceCapture m_trace;
  SMReadRecord m_stMessage;
};

TEST_F(RecordTrace, OfAnOrdinaryMessageHasABlankPaddedTimeAndTheLongMessageInformation) {
  m_stMessage.stLongSMS_info = MakeReadPart("1", u"x", 9, 3, 12).stLongSMS_info;
  EXPECT_EQ(
      "ID=7; Number=+4917; Content=Hallo; Time=2009 1 2 3 4 5; enType=SMS_IDENTIFYER_ORDINARILY; MR= 9,TotalPack= "
      "3,Pack=12",
      Line());
}

TEST_F(RecordTrace, NamesTheKindOfTheMessage) {
  const std::string begin = "ID=7; Number=+4917; Content=Hallo; Time=2009 1 2 3 4 5";
  const char* const kinds[] = {"; enType=SMS_IDENTIFYER_REPORT;", "; enType=SMS_IDENTIFYER_MMS_NOTIFY;",
                               "; enType=SMS_IDENTIFYER_VOICE_MAIL;"};
  for (int iType = 1; iType <= 3; ++iType) {
    m_stMessage.enType = static_cast<SMS_IDENTIFYER>(iType);
    EXPECT_EQ(begin + kinds[iType - 1], Line());
  }
  for (const int iType : {4, 5, 6, 99, -1}) {
    m_stMessage.enType = static_cast<SMS_IDENTIFYER>(iType);
    EXPECT_EQ(begin, Line());
  }
}

TEST_F(RecordTrace, ShowsAnAllZeroTimeForEveryOtherState) {
  for (int iState = 0; iState <= 3; ++iState) {
    m_stMessage.enSMStat = static_cast<SMS_STAT>(iState);
    EXPECT_NE(std::string::npos, Line().find("; Time=2009 1 2 3 4 5;")) << iState;
  }
  for (const int iState : {4, 99, -1}) {
    m_stMessage.enSMStat = static_cast<SMS_STAT>(iState);
    EXPECT_NE(std::string::npos, Line().find("; Time=   0 0 0 0 0 0;")) << iState;
  }
}

TEST_F(RecordTrace, GoesToTheModuleAtErrorLevel) {
  const MSG_HANDLE hMsg = 7;
  TraceSMReadRecord(&m_stMessage, &hMsg);
  ASSERT_EQ(1U, m_trace.FullLines().size());
  EXPECT_EQ(0U, m_trace.FullLines()[0].find("2 SMSSERVICE ID=7;"));
}

TEST_F(RecordTrace, PrintsTheLargestHandleAsAPositiveNumber) { EXPECT_EQ(0U, Line(0xFFFFFFFF).find("ID=4294967295;")); }

TEST_F(RecordTrace, TakesPercentSignsAsText) {
  std::copy_n(u"100%s %n %d", 12, m_stMessage.wszContent);
  m_stMessage.dwLength = 11;
  std::strcpy(m_stMessage.szAddress, "%s%n");
  EXPECT_EQ(0U, Line().find("ID=7; Number=%s%n; Content=100%s %n %d; Time="));
}

TEST_F(RecordTrace, HoldsTheLongestContentAndNumber) {
  std::fill_n(m_stMessage.wszContent, 161, VELK_wchar_t(0x20AC));  // three bytes each
  m_stMessage.dwLength = 160;
  std::memset(m_stMessage.szAddress, '5', sizeof m_stMessage.szAddress);
  std::string content;
  for (int i = 0; i < 160; ++i) {
    content += "\u20AC";
  }
  EXPECT_EQ(0U, Line().find("ID=7; Number=" + std::string(33, '5') + "; Content=" + content + "; Time="));
}

TEST_F(RecordTrace, WritesNothingForNull) {
  const MSG_HANDLE hMsg = 7;
  TraceSMReadRecord(nullptr, &hMsg);
  TraceSMReadRecord(&m_stMessage, nullptr);
  TraceSMReadRecord(nullptr, nullptr);
  EXPECT_TRUE(m_trace.Lines().empty());
}

}  // namespace
