// The table of modem families, and the guard of command lines.
#include "AtCommandBuilder.h"
#include "ModemProfiles.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using modem::CAtCommand;

TEST(ModemProfiles, SayWhichModemAndWhy) {
  std::set<std::string> names;
  for (const modem::ModemProfile& profile : modem::ModemProfiles()) {
    const std::string name = std::string(profile.maker) + "|" + profile.model;
    EXPECT_STRNE("", profile.maker);
    EXPECT_STRNE("", profile.why) << name;
    EXPECT_TRUE(names.insert(name).second) << name << " stands twice";
    EXPECT_TRUE(profile.iccid != nullptr || profile.fullNotices != nullptr || !profile.commands.empty() ||
                !profile.indications.empty())
        << name << " does nothing";
    for (const char* command : profile.commands) {
      EXPECT_TRUE(CAtCommand(command).IsValid()) << command;
    }
  }
}

TEST(ModemProfiles, AreFoundByTheBeginningOfTheMakersName) {
  ASSERT_NE(nullptr, modem::ProfileOf("HUAWEI Technologies", "E1550"));
  EXPECT_STREQ("huawei", modem::ProfileOf("HUAWEI Technologies", "E1550")->maker);
  EXPECT_STREQ("SIMCOM", modem::ProfileOf("SIMCOM_Ltd", "SIMCOM_SIM800L")->maker);
  EXPECT_EQ(nullptr, modem::ProfileOf("", ""));
  EXPECT_EQ(nullptr, modem::ProfileOf("Sony Ericsson", "K750"));
  EXPECT_EQ(nullptr, modem::ProfileOf("The huawei", ""));
}

TEST(AtCommandGuard, RefusesControlCharactersInTheNameToo) {
  for (const char* name : {"+CMGF=0\r", "+CMGF=0\nAT+CMGD=1", "\x1A", "+CSCA=\"\x1B\"", "+X\x7F", "+\xC3\xA4"}) {
    EXPECT_FALSE(CAtCommand(name).IsValid()) << ::testing::PrintToString(name);
  }
  EXPECT_TRUE(CAtCommand("+CRSM=176,12258,0,0,10").IsValid());
}

TEST(AtCommandGuard, StaysInvalidWhateverFollows) {
  CAtCommand command("+CPMS=");
  EXPECT_FALSE(command.Quoted("SM\r").Quoted("SM").Number(1).IsValid());
}

TEST(AtCommandGuard, ShowsNoSecretInTheTrace) {
  const CAtCommand command = CAtCommand("+CPIN=").Secret("1234");
  EXPECT_EQ("AT+CPIN=\"1234\"", command.Text());
  EXPECT_EQ("AT+CPIN=\"...\"", command.Shown());
  EXPECT_FALSE(CAtCommand("+CPIN=").Secret("12\"34").IsValid());
  EXPECT_EQ("AT+X=1,\"...\"", CAtCommand("+X=").Number(1).Secret("a").Shown());
}

}  // namespace
