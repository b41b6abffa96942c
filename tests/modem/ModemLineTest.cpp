// What one line of a modem is.
#include "ModemLine.h"

#include "AtErrors.h"

#include <gtest/gtest.h>

namespace {

using modem::AtFinal;

TEST(ModemLine, KnowsEveryFormOfAnEnd) {
  struct Row {
    const char* line;
    AtFinal final;
    int code;
  };
  for (const Row& row :
       {Row{"OK", AtFinal::kOk, 0}, Row{"0", AtFinal::kOk, 0}, Row{"ERROR", AtFinal::kError, 0},
        Row{"4", AtFinal::kError, 0}, Row{"COMMAND NOT SUPPORT", AtFinal::kError, 0},
        Row{"TOO MANY PARAMETERS", AtFinal::kError, 0}, Row{"+CMS ERROR: 38", AtFinal::kCmsError, 38},
        Row{"+CMS ERROR:322", AtFinal::kCmsError, 322}, Row{"+CMS ERROR: memory full", AtFinal::kCmsError, 322},
        Row{"+CMS ERROR: ???", AtFinal::kCmsError, 0}, Row{"+CME ERROR: 10", AtFinal::kCmeError, 10},
        Row{"+CME ERROR: SIM not inserted", AtFinal::kCmeError, 10},
        Row{"+CMS ERROR: 70000", AtFinal::kCmsError, 65535}}) {
    AtFinal final = AtFinal::kNoAnswer;
    int code = -1;
    EXPECT_TRUE(modem::FindFinal(row.line, final, code)) << row.line;
    EXPECT_EQ(row.final, final) << row.line;
    EXPECT_EQ(row.code, code) << row.line;
  }
  for (const char* line : {"", "OKAY", "ok", "1", "00", "+CMS: 3", "CONNECT", "> OK"}) {
    AtFinal final = AtFinal::kNoAnswer;
    int code = 0;
    EXPECT_FALSE(modem::FindFinal(line, final, code)) << line;
  }
}

TEST(ModemLine, TellsTaggedLinesFromBareTexts) {
  for (const char* line : {"+CREG: 5", "^RSSI:12", "*EMRDY: 1", "#QSS: 1", "%STATE", "$QCSIMSTAT: 1", "_OSIGQ: 1",
                           "RDY", "RING", "Call Ready", "SMS Ready", "NORMAL POWER DOWN"}) {
    EXPECT_TRUE(modem::IsTagged(line)) << line;
  }
  for (const char* line : {"huawei", "E1550", "11.608.12.04.21", "+491710000002", "", "+", "SIMCOM_Ltd"}) {
    EXPECT_FALSE(modem::IsTagged(line)) << line;
  }
}

TEST(ModemLine, DropsWhatTheLineAddedToIt) {
  const char withZeros[] = {'\0', 'O', '\0', 'K', '\x11'};
  EXPECT_EQ("OK", modem::Cleaned(std::string(withZeros, sizeof withZeros)));
  EXPECT_EQ("RDY", modem::Cleaned("\xFF\xFE RDY  "));
  EXPECT_EQ("a b", modem::Cleaned("  a b "));
  EXPECT_EQ("", modem::Cleaned(" \x1A "));
}

TEST(ModemLine, TellsARegistrationReplyFromANotice) {
  for (const char* reply : {"+CREG: 0,1", "+CREG: 2,5,\"00C3\",\"1234\"", "+CEREG: 2,1,00C3,1234", "+CREG: 1, 5"}) {
    EXPECT_TRUE(modem::IsRegistrationReply(reply)) << reply;
  }
  for (const char* notice : {"+CREG: 1", "+CREG: 5,\"00C3\",\"1234\"", "+CREG: 1,\"C3\",\"12\"", "+CGREG: 1,00C3,1234",
                             "+CREG:", "+CREG", "+CREG: 1,"}) {
    EXPECT_FALSE(modem::IsRegistrationReply(notice)) << notice;
  }
}

TEST(ModemLine, ComparesOctetsWithTheLengthBeforeThem) {
  EXPECT_TRUE(modem::IsLengthOf("+CMT: ,2", "0191AABB")) << "with the address of a service centre";
  EXPECT_TRUE(modem::IsLengthOf("+CMT: \"a,b\",2", "00AABB"));
  EXPECT_TRUE(modem::IsLengthOf("+CDS: 2", "AABB")) << "without one";
  EXPECT_FALSE(modem::IsLengthOf("+CMT: ,3", "0191AABB"));
  EXPECT_FALSE(modem::IsLengthOf("+CMT: ,2", "0191AABG"));
  EXPECT_FALSE(modem::IsLengthOf("+CMT: ,", "0191AABB"));
  EXPECT_FALSE(modem::IsLengthOf("+CMT", ""));
}

TEST(ModemLine, FindsOctetsOnTheLineOfTheirMessage) {
  std::string head;
  std::string octets;
  for (const char* line :
       {"+CMGL: 1,0,,28,07919471016700AB", "+CMGL: 1,0,,28, 07919471016700ab", "+CMGR: 0,,28 07919471016700ABCD"}) {
    ASSERT_TRUE(modem::SplitOctets(line, head, octets)) << line;
    EXPECT_EQ("28", head.substr(head.size() - 2)) << line;
    EXPECT_EQ("07", octets.substr(0, 2)) << line;
  }
  for (const char* line : {"+CMGL: 1,0,,28", "+CMGL: 1,0,\"07919471016700AB\",28", "+CMGL: 1,0,\"ABBA\",28,", "",
                           "0791", "+CMGL: 1,0,,28,07919471016700AX"}) {
    EXPECT_FALSE(modem::SplitOctets(line, head, octets)) << line;
  }
}

TEST(AtErrors, GivesEveryCauseItsWords) {
  EXPECT_STREQ("network out of order", modem::CmsErrorText(38));
  EXPECT_STREQ("memory full", modem::CmsErrorText(322));
  EXPECT_STREQ("SIM busy", modem::CmeErrorText(14));
  EXPECT_STREQ("unknown cause", modem::CmsErrorText(299));
}

TEST(AtErrors, FindsTheCodeOfWordsWhateverTheirForm) {
  EXPECT_EQ(311, modem::CmsErrorCode(" (U)SIM PIN required"));
  EXPECT_EQ(340, modem::CmsErrorCode("no +cnma acknowledgement expected"));
  EXPECT_EQ(32, modem::CmeErrorCode("Network not allowed - emergency calls only"));
  EXPECT_EQ(0, modem::CmsErrorCode(""));
}

}  // namespace
