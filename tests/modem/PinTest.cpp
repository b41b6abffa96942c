// The PIN of the settings, entered before without an answer: what lets the driver try it once more.
#include "Modem.h"
#include "ModemProfiles.h"
#include "ScriptedModem.h"
#include "TempHome.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <ostream>

namespace {

struct Maker {
  const char* name;  // the beginning of what AT+CGMI answers
  const char* command;
  const char* allLeft;
  const char* oneCounted;
};

void PrintTo(const Maker& maker, std::ostream* out) { *out << maker.name; }

class PinTries : public testing::TestWithParam<Maker> {
protected:
  /// @param tries  what the modem tells of them; empty: it refuses to.
  /// @return how often the PIN was entered.
  int Start(const std::string& tries, const std::string& noted) {
    m_home.WriteSettings("[ModemPlugin]\nPin=1234\nPinTried=" + noted + "\n");
    CScriptedModem script;
    script.Answer("AT+CGMI", "\r\n" + std::string(GetParam().name) + "\r\n\r\nOK\r\n");
    script.Answer("AT+CPIN?", "\r\n+CPIN: SIM PIN\r\n\r\nOK\r\n");
    script.Answer("AT+CRSM=", "\r\n+CRSM: 144,0,\"984910210000000054F3\"\r\n\r\nOK\r\n");
    script.Answer("AT+CPINR", "\r\n+CME ERROR: 4\r\n");
    script.Answer(GetParam().command, tries.empty() ? "\r\nERROR\r\n" : "\r\n" + tries + "\r\n\r\nOK\r\n");
    script.Answer("AT+CPIN=", "\r\n+CME ERROR: 16\r\n");
    modem::CModem modem([&](std::string&) { return script.Open(); });
    std::string error;
    EXPECT_TRUE(modem.Start(error)) << error;
    modem.Stop();
    return script.Count("AT+CPIN=");
  }

  const CTempHome m_home;
};

TEST_P(PinTries, LetALostVerdictBeAskedForAgainWhenAllAreLeft) {
  EXPECT_EQ(1, Start(GetParam().allLeft, "1234 8994011200000000453?"));
  EXPECT_EQ(0, Start(GetParam().oneCounted, "1234 8994011200000000453?"));
  EXPECT_EQ(0, Start("", "1234 8994011200000000453?"));
}

TEST_P(PinTries, MakeNoRefusedPinWorthASecondTry) {
  EXPECT_EQ(0, Start(GetParam().allLeft, "1234 8994011200000000453"));
  EXPECT_EQ(0, Start(GetParam().allLeft, "1234 any"));
  EXPECT_EQ(1, Start(GetParam().allLeft, "4321 8994011200000000453")) << "another PIN was refused";
}

const Maker kMakers[] = {{"huawei", "AT^CPIN?", "^CPIN: SIM PIN,3,10,3,10,3", "^CPIN: SIM PIN,2,10,2,10,3"},
                         {"Sierra Wireless, Incorporated", "AT+CPINC?", "+CPINC: 3,3,10,10", "+CPINC: 2,3,10,10"},
                         {"Quectel", "AT+QPINC=\"SC\"", "+QPINC: \"SC\",3,10", "+QPINC: \"SC\",2,10"},
                         {"SIMCOM_Ltd", "AT+SPIC", "+SPIC: 3,10,0,10", "+SPIC: 2,10,0,10"},
                         {"u-blox", "AT+UPINCNT", "+UPINCNT: 3,3,10,10", "+UPINCNT: 2,3,10,10"},
                         {"Telit", "AT#PCT", "#PCT: 3", "#PCT: 2"},
                         {"Cinterion", "AT^SPIC", "^SPIC: 3", "^SPIC: 2"},
                         {"SIEMENS", "AT^SPIC", "^SPIC: 3", "^SPIC: 2"},
                         {"WAVECOM MODEM", "AT+CPINC", "+CPINC: 3,3,10,10", "+CPINC: 2,3,10,10"},
                         {"Ericsson", "AT*EPIN?", "*EPIN: 3,10,3,10", "*EPIN: 2,10,3,10"},
                         {"Option N.V.", "AT_OERCN?", "_OERCN: 3,10", "_OERCN: 2,10"}};

INSTANTIATE_TEST_SUITE_P(Makers, PinTries, testing::ValuesIn(kMakers), [](const auto& testInfo) {
  std::string name = testInfo.param.name;
  name.erase(std::remove_if(name.begin(), name.end(), [](char each) { return std::isalnum(each) == 0; }), name.end());
  return name;
});

TEST(PinTries, AreAskedOfEveryMakerThatTellsThem) {
  std::size_t rows = 0;
  for (const modem::ModemProfile& profile : modem::ModemProfiles()) {
    rows += profile.pinTries.command != nullptr ? 1 : 0;
  }
  EXPECT_EQ(std::size(kMakers), rows) << "a row without its test";
}

}  // namespace
