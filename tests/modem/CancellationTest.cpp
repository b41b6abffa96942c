// Clients' threads that are killed while they wait for the modem.
#include "MessageService.h"
#include "ScriptedModem.h"
#include "platform/JThread.h"

#include <gtest/gtest.h>

namespace {

class CLister : public JThread {
public:
  explicit CLister(modem::CMessageService& service) : m_service(service) {}
  ~CLister() override { Kill(); }

private:
  void* Thread() override {
    ThreadStarted();
    SMS_LIST list;
    m_service.SMSGetMsgList(SMS_MEM_SM, &list, nullptr);
    m_service.SMSReleaseMsgList(&list);
    return nullptr;
  }
  modem::CMessageService& m_service;
};

class DriverCancelled : public testing::Test {
protected:
  void SetUp() override {
    std::string error;
    ASSERT_TRUE(m_modem.Start(error)) << error;
    m_script.Answer("AT+CMGL=4", "");
    m_script.Answer("AT+CPMS?", "\r\n+CPMS: \"SM\",1,20,\"SM\",1,20,\"SM\",1,20\r\n\r\nOK\r\n");
    m_script.Answer("AT+CMGF?", "\r\n+CMGF: 0\r\n\r\nOK\r\n");
  }
  ~DriverCancelled() override { m_modem.Stop(); }

  void ExpectMemInfo() {
    DWORD used = 0;
    DWORD total = 0;
    EXPECT_TRUE(m_service.SMSGetMemInfo(SMS_MEM_SM, &total, &used, nullptr));
    EXPECT_EQ(1u, used);
    EXPECT_EQ(20u, total);
  }

  CScriptedModem m_script;
  modem::CModem m_modem{[this](std::string&) { return m_script.Open(); }};
  modem::CMessageService m_service{m_modem};
};

TEST_F(DriverCancelled, GivesTheReplyOfAKilledClientToNobody) {
  CLister lister(m_service);
  lister.Start();
  ASSERT_TRUE(m_script.AwaitCommand("AT+CMGL=4"));
  EXPECT_EQ(0, lister.Kill());
  m_script.Say("\r\n+CMGL: 1,0,,20\r\n0791\r\n\r\nOK\r\n");
  ExpectMemInfo();
  EXPECT_EQ(1, m_script.Count("AT+CMGF?"));
}

TEST_F(DriverCancelled, LetsAClientBeKilledThatWaitsForItsTurn) {
  CLister first(m_service);
  CLister second(m_service);
  first.Start();
  ASSERT_TRUE(m_script.AwaitCommand("AT+CMGL=4"));
  second.Start();
  EXPECT_EQ(0, second.Kill());
  m_script.Say("\r\nOK\r\n");
  EXPECT_TRUE(first.WaitForEnd(5000));
  ExpectMemInfo();
  EXPECT_EQ(0, m_script.Count("AT+CMGF?"));
}

}  // namespace
