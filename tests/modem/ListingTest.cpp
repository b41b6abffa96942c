// Listings of large memories.
#include "MessageService.h"
#include "ScriptedModem.h"

#include <gtest/gtest.h>

namespace {

const char kPdu[] = "0791947101670000040C919471010000200000425060708090800161";

TEST(Listing, AsksTheModemOnceForAThousandMessages) {
  CScriptedModem script;
  modem::CModem modem([&](std::string&) { return script.Open(); });
  modem::CMessageService service(modem);
  std::string error;
  ASSERT_TRUE(modem.Start(error)) << error;
  std::string reply;
  for (int index = 1; index <= 1000; ++index) {
    reply += "\r\n+CMGL: " + std::to_string(index) + ",0,,20\r\n" + kPdu;
    reply += index % 100 == 0 ? "\r\n+CREG: 1" : "";
  }
  script.Answer("AT+CMGL=4", reply + "\r\n\r\nOK\r\n");
  SMS_LIST list;
  ASSERT_TRUE(service.SMSGetMsgList(SMS_MEM_ME, &list, nullptr));
  ASSERT_EQ(1000u, list.dwCount);
  for (DWORD i = 0; i < list.dwCount; ++i) {
    EXPECT_EQ(i + 1, list.pList[i]);
    SMReadRecord record;
    ASSERT_TRUE(service.SMSReadMsg(SMS_MEM_ME, list.pList[i], &record, nullptr));
    EXPECT_EQ(u'a', record.wszContent[0]);
  }
  service.SMSReleaseMsgList(&list);
  EXPECT_EQ(1, script.Count("AT+CMGL=4"));
  EXPECT_EQ(0, script.Count("AT+CMGR"));
}

TEST(Listing, RefusesNullAndMemoriesThatAreNone) {
  CScriptedModem script;
  modem::CModem modem([&](std::string&) { return script.Open(); });
  modem::CMessageService service(modem);
  std::string error;
  ASSERT_TRUE(modem.Start(error)) << error;
  SMS_LIST list;
  SMReadRecord record;
  SMS_PARAM part;
  MSG_HANDLE index = 1;
  DWORD status = 0;
  for (const SMS_MEM memory : {SMS_MEM_UNKNOW, static_cast<SMS_MEM>(-1), static_cast<SMS_MEM>(77)}) {
    EXPECT_FALSE(service.SMSGetMsgList(memory, &list, &status));
    EXPECT_FALSE(service.SMSReadMsg(memory, &index, &record, UNREAD_SM_ALTER, &status));
    EXPECT_FALSE(service.SMSDeleteMsg(memory, index, &status));
    EXPECT_FALSE(service.SMSSaveMsg(memory, &part, &index, &status));
    EXPECT_FALSE(service.SMSGetMemInfo(memory, nullptr, nullptr, &status));
    EXPECT_EQ(500u, status);
  }
  EXPECT_FALSE(service.SMSGetMsgList(SMS_MEM_SM, nullptr, nullptr));
  EXPECT_FALSE(service.SMSReadMsg(SMS_MEM_SM, nullptr, &record, UNREAD_SM_ALTER, nullptr));
  EXPECT_FALSE(service.SMSReadMsg(SMS_MEM_SM, &index, nullptr, UNREAD_SM_ALTER, nullptr));
  EXPECT_FALSE(service.SMSSaveMsg(SMS_MEM_SM, nullptr, &index, nullptr));
  EXPECT_FALSE(service.GetWMSConfig(nullptr, nullptr));
  EXPECT_FALSE(service.SetWMSConfig(nullptr, nullptr));
  EXPECT_FALSE(service.CBSAddChannel(nullptr, "", nullptr));
  EXPECT_FALSE(service.CBSRemoveChannel(nullptr, nullptr));
  EXPECT_TRUE(service.CBSReleaseDetail(nullptr, nullptr, nullptr));
  service.SMSReleaseMsgList(nullptr);
  EXPECT_EQ(0, service.SMSGetAlterSupport(1, nullptr));
}

}  // namespace
