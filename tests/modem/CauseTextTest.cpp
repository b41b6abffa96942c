// Causes of refusals in words.
#include "CauseText.h"

#include "MessageService.h"
#include "ScriptedModem.h"
#include "TraceCapture.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

TEST(CauseText, NamesTheCausesOfTheStandards) {
  EXPECT_STREQ("the destination is out of service", modem::CauseText(27));
  EXPECT_STREQ("the network is out of order", modem::CauseText(38));
  EXPECT_STREQ("the destination is barred", modem::CauseText(196));
  EXPECT_STREQ("the memory is full", modem::CauseText(322));
  EXPECT_STREQ("the service centre's number is not known", modem::CauseText(330));
}

TEST(CauseText, HasAWordForEveryCodeAndTheSameForNoTwoNamedOnes) {
  std::set<std::string> texts;
  for (int code = -1; code <= 65535; ++code) {
    const std::string text = modem::CauseText(code);
    ASSERT_FALSE(text.empty()) << code;
    texts.insert(text);
  }
  EXPECT_EQ(73u + 4u, texts.size()) << "the named ones, and the ranges without a name";
}

TEST(CauseText, StandsInTheTraceOfARefusedMessage) {
  CTraceCapture trace;
  CScriptedModem script;
  modem::CModem modem([&](std::string&) { return script.Open(); });
  modem::CMessageService service(modem);
  std::string error;
  ASSERT_TRUE(modem.Start(error)) << error;
  script.AnswerOctets("\r\n+CMS ERROR: 38\r\n");
  SMS_PARAM part;
  part.szAddress[0] = '1';
  ASSERT_TRUE(service.SMSSendMsg(part, nullptr));
  EXPECT_TRUE(trace.AwaitLine("a message was not sent: the network is out of order (+CMS ERROR: 38)", 5000));
  script.AnswerOctets("\r\nERROR\r\n");
  ASSERT_TRUE(service.SMSSendMsg(part, nullptr));
  EXPECT_TRUE(trace.AwaitLine("a message was not sent: the modem refused it without a cause", 5000));
}

}  // namespace
