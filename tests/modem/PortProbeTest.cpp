// Asking a port who is there.
#include "PortProbe.h"
#include "ScriptedModem.h"

#include <gtest/gtest.h>

namespace {

using modem::PortAnswer;
using State = FoundPort::State;

class PortProbe : public testing::Test {
protected:
  PortAnswer Probe() {
    return modem::ProbePort("/dev/ttyUSB2", [this](const std::string&, std::string&) { return m_modem.Open(); });
  }
  void Tell(const std::string& command, const std::string& line) {
    m_modem.Answer(command, "\r\n" + line + "\r\n\r\nOK\r\n");
  }
  CScriptedModem m_modem;
};

TEST_F(PortProbe, TellsMakerModelAndIdentity) {
  Tell("AT+CGMI", "Maker Ltd.");
  Tell("AT+CGMM", "+CGMM: Stick 3");
  Tell("AT+CGSN", "350000000000017");
  Tell("AT+CCID", "+CCID: \"89490200001234567890\"");
  const PortAnswer answer = Probe();
  EXPECT_EQ(State::kAnswers, answer.state);
  EXPECT_EQ("Maker Ltd.", answer.maker);
  EXPECT_EQ("Stick 3", answer.model);
  EXPECT_EQ("350000000000017", answer.imei);
  EXPECT_EQ("89490200001234567890", answer.iccid);
}

TEST_F(PortProbe, ReadsTheNumberOfTheSimFromItsFileWhereThereIsNoCommandForIt) {
  m_modem.Answer("AT+CCID", "\r\nERROR\r\n");
  Tell("AT+CRSM", "+CRSM: 144,0,\"98942000002143658709\"");
  EXPECT_EQ("89490200001234567890", Probe().iccid);
}

TEST_F(PortProbe, LeavesOutWhatTheModemDoesNotTell) {
  for (const char* command : {"AT+CGMI", "AT+CGMM", "AT+CGSN", "AT+CCID", "AT+CRSM"}) {
    m_modem.Answer(command, "\r\nERROR\r\n");
  }
  const PortAnswer answer = Probe();
  EXPECT_EQ(State::kAnswers, answer.state);
  EXPECT_EQ("", answer.maker + answer.model + answer.imei + answer.iccid);
}

TEST_F(PortProbe, TakesNoOtherNumberForAnIdentity) {
  Tell("AT+CGSN", "Serial 12345, version 1.2.3");
  Tell("AT+CCID", "+CCID: none");
  Tell("AT+CRSM", "+CRSM: 106,130");
  const PortAnswer answer = Probe();
  EXPECT_EQ("", answer.imei);
  EXPECT_EQ("", answer.iccid);
}

TEST_F(PortProbe, ChangesNothingOnTheModem) {
  Probe();
  for (const std::string& command : m_modem.Commands()) {
    EXPECT_TRUE(command == "AT" || command == "AT+CGMI" || command == "AT+CGMM" || command == "AT+CGSN" ||
                command == "AT+CCID" || command.rfind("AT+CRSM=176,", 0) == 0)
        << command;
  }
}

TEST_F(PortProbe, TellsThatNobodyAnswers) {
  m_modem.Answer("AT", "");
  EXPECT_EQ(State::kSilent, Probe().state);
}

TEST_F(PortProbe, TellsWhyThePortCannotBeOpened) {
  const PortAnswer answer = modem::ProbePort("/dev/ttyUSB2", [](const std::string& path, std::string& error) {
    error = path + ": in use";
    return std::unique_ptr<modem::IByteStream>();
  });
  EXPECT_EQ(State::kClosed, answer.state);
  EXPECT_EQ("/dev/ttyUSB2: in use", answer.note);
}

TEST(Iccid, StandsWithSwappedDigitsInItsFile) {
  EXPECT_EQ("89490200001234567890", modem::IccidOfFile("98942000002143658709"));
  EXPECT_EQ("8949020000123456789", modem::IccidOfFile("989420000021436587F9"));
  EXPECT_EQ("", modem::IccidOfFile(""));
  EXPECT_EQ("", modem::IccidOfFile("FFFFFFFFFFFFFFFFFFFF"));
  EXPECT_EQ("", modem::IccidOfFile("989"));
}

}  // namespace
