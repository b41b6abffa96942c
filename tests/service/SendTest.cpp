// Sending and cancelling.

#include "ServiceAccess.h"
#include "ServiceTest.h"
#include "platform/JClock.h"

#include <memory>
#include <ostream>
#include <thread>

namespace {

const VELK_wstring kTwoParts = Repeat(u"two parts of text ", 161);
const char kEnd[] = "send end";

class Sending : public CServiceTest {
protected:
  long Send(const VELK_wstring& numbers, const VELK_wstring& text) {
    return m_pService->SendMsg(numbers.c_str(), text.c_str());
  }
  bool AwaitEnd(int times = 1) { return m_trace.AwaitLine(kEnd, 10000, times); }
  void Verdict(DWORD result) { m_device.sms.RaiseNumber(WMS_MO_SMS_STATUS, result); }
  void NoVerdicts() {
    m_device.sms.OnSend([](const SMS_PARAM&) { return SendAnswer::kSilent; });
  }
  std::vector<std::string> SentLines() const {
    std::vector<std::string> lines;
    for (const std::string& line : m_device.sms.CallLines()) {
      if (line.find("SMSSendMsg ") == 0) {
        lines.push_back(line.substr(11, line.find(' ', 11 + line.substr(11).find(' ') + 1) - 11));
      }
    }
    return lines;
  }
  /// Cancels on a thread of its own, as a client does; the verdict of the part in flight comes after the cancel.
  long CancelDuringPartInFlight(long& count) {
    long result = 1;
    std::thread canceller([&] { result = m_pService->CancelSendMsg(count); });
    EXPECT_TRUE(m_trace.AwaitLine("CSMSServiceImpl::Send() send cancel"));
    Verdict(0);
    canceller.join();
    return result;
  }
};

typedef std::vector<std::string> Lines;

TEST_F(Sending, RefusesNullArgumentsWithALogLine) {
  StartWithClient();
  EXPECT_EQ(-1, m_pService->SendMsg(nullptr, u"text"));
  EXPECT_EQ(-1, m_pService->SendMsg(u"123", nullptr));
  EXPECT_EQ(2, m_trace.Count("Number UnValid"));
}

TEST_F(Sending, FailsWithoutAMessageService) {
  m_device.OfferSms(false);
  Start();
  EXPECT_EQ(-1, Send(u"123", u"text"));
  long count = 77;
  EXPECT_EQ(-1, m_pService->CancelSendMsg(count));
  EXPECT_EQ(77, count);
}

TEST_F(Sending, ReportsEveryPartAndSavesOneRecordForAllWhoGotIt) {
  StartWithClient();
  EXPECT_EQ(0, Send(u"111;222", kTwoParts));
  ASSERT_TRUE(AwaitEnd());
  EXPECT_EQ((Lines{"111 1/2", "111 2/2", "222 1/2", "222 2/2"}), SentLines());
  EXPECT_EQ(4, m_client.Count("OnSendReport "));
  EXPECT_EQ(1, m_client.Count("OnRecordAdded id=1 number=111;222"));
  EXPECT_EQ((Lines{"0 111;222 " + Utf8(kTwoParts) + " 0"}), Stored());
}

TEST_F(Sending, MarksEveryPartAsSentAndAddressesIt) {
  StartWithClient();
  Send(u"+491701234567", kTwoParts);
  ASSERT_TRUE(AwaitEnd());
  for (const SMS_PARAM& part : m_device.sms.Sent()) {
    EXPECT_EQ(SMS_STAT_SENT, part.enSMSStat);
    EXPECT_STREQ("+491701234567", part.szAddress);
  }
}

TEST_F(Sending, CutsANumberAtThirtyTwoCharacters) {
  StartWithClient();
  Send(Repeat(u"1234567890", 40), u"text");
  ASSERT_TRUE(AwaitEnd());
  EXPECT_STREQ("12345678901234567890123456789012", m_device.sms.Sent().at(0).szAddress);
}

TEST_F(Sending, CountsFivePartsNotSentWhenCancelledInTheFirstPartOfThreeNumbers) {
  StartWithClient();
  NoVerdicts();
  Send(u"111;222;333", kTwoParts);
  ASSERT_TRUE(m_device.sms.AwaitSent(1));
  long count = 0;
  EXPECT_EQ(0, CancelDuringPartInFlight(count));
  EXPECT_EQ(5, count);
  ASSERT_TRUE(AwaitEnd());
  EXPECT_EQ((Lines{"111 1/2"}), SentLines());
}

TEST_F(Sending, CountsOnePartNotSentWhenCancelledInTheSecondNumber) {
  StartWithClient();
  m_device.sms.OnSend([](const SMS_PARAM& part) {
    return std::string(part.szAddress) == "111" ? SendAnswer::kAccept : SendAnswer::kSilent;
  });
  Send(u"111;222;333", kTwoParts);
  ASSERT_TRUE(m_device.sms.AwaitSent(3));
  long count = 0;
  EXPECT_EQ(0, CancelDuringPartInFlight(count));
  EXPECT_EQ(1, count);
  ASSERT_TRUE(AwaitEnd());
  // the part in flight got through, so its number counts as sent; the one not begun has failed
  EXPECT_EQ((Lines{"0 111;222 " + Utf8(kTwoParts) + " 0", "0 333 " + Utf8(kTwoParts) + " 1"}), Stored());
}

TEST_F(Sending, DoesNotForgetACancelThatComesTogetherWithTheVerdict) {
  StartWithClient();
  NoVerdicts();
  Send(u"111;222", kTwoParts);
  ASSERT_TRUE(m_device.sms.AwaitSent(1));
  long count = 0;
  std::thread canceller;
  // The client cancels as soon as it hears of the verdict, before the send thread does.
  m_client.SetHook([&](const std::string& line) {
    if (line.find("OnSendReport") == 0 && !canceller.joinable()) {
      canceller = std::thread([&] { m_pService->CancelSendMsg(count); });
      EXPECT_TRUE(m_trace.AwaitLine("Enter CancelSendMsg(), WaitForSingleObject"));
    }
  });
  Verdict(0);
  ASSERT_TRUE(m_trace.AwaitLine("CSMSServiceImpl::Send() send cancel"));
  canceller.join();
  EXPECT_EQ(3, count);
  ASSERT_TRUE(AwaitEnd());
  EXPECT_EQ(1u, m_device.sms.Sent().size());
}

TEST_F(Sending, GivesTheCancelCountOnce) {
  StartWithClient();
  NoVerdicts();
  Send(u"111", kTwoParts);
  ASSERT_TRUE(m_device.sms.AwaitSent(1));
  long count = 0;
  CancelDuringPartInFlight(count);
  EXPECT_EQ(1, count);
  ASSERT_TRUE(AwaitEnd());
  EXPECT_EQ(0, m_pService->CancelSendMsg(count));
  EXPECT_EQ(0, count);
}

TEST_F(Sending, CancelsNothingWhenNothingIsSent) {
  StartWithClient();
  long count = 9;
  EXPECT_EQ(0, m_pService->CancelSendMsg(count));
  EXPECT_EQ(0, count);
}

TEST_F(Sending, LeavesACancelledNumberFailedWhenItsPartFailed) {
  StartWithClient();
  NoVerdicts();
  Send(u"111", kTwoParts);
  ASSERT_TRUE(m_device.sms.AwaitSent(1));
  long count = 0;
  std::thread canceller([&] { m_pService->CancelSendMsg(count); });
  EXPECT_TRUE(m_trace.AwaitLine("CSMSServiceImpl::Send() send cancel"));
  Verdict(38);
  canceller.join();
  ASSERT_TRUE(AwaitEnd());
  EXPECT_EQ((Lines{"0 111 " + Utf8(kTwoParts) + " 1"}), Stored());
}

TEST_F(Sending, DoesNotHangAClientThatCancelsInsideACallback) {
  StartWithClient();
  long result = 1;
  long count = 55;
  m_client.SetHook([&](const std::string& line) {
    if (line.find("OnSendReport") == 0 && result == 1) {
      result = m_pService->CancelSendMsg(count);
    }
  });
  Send(u"111;222", kTwoParts);
  ASSERT_TRUE(AwaitEnd());
  EXPECT_EQ(-1, result) << "the send has not stopped yet";
  EXPECT_EQ(55, count);
  EXPECT_LT(m_device.sms.Sent().size(), 4u);
}

TEST_F(Sending, KeepsACancelThatComesBeforeTheRunHasBegun) {
  StartWithClient();
  NoVerdicts();
  Send(u"111", kTwoParts);
  long count = -9;
  long result = 1;
  std::thread canceller([&] { result = m_pService->CancelSendMsg(count); });
  EXPECT_TRUE(m_trace.AwaitLine("CSMSServiceImpl::Send() send cancel"));
  Verdict(0);
  canceller.join();
  EXPECT_EQ(0, result);
  ASSERT_TRUE(AwaitEnd());
  EXPECT_EQ(1u, m_device.sms.Sent().size());
}

TEST_F(Sending, SkipsAnEmptyPartOfSeveral) {
  StartWithClient();
  SMS_PARAM full;
  full.wszContent[0] = u'x';
  full.iContentLen = 1;
  CServiceAccess::SendParts(*m_pService, {full, SMS_PARAM()}, {u"111"});
  EXPECT_EQ(1u, m_device.sms.Sent().size());
}

TEST_F(Sending, SendsAnEmptyTextAsOneEmptyPart) {
  StartWithClient();
  Send(u"111", u"");
  ASSERT_TRUE(AwaitEnd());
  ASSERT_EQ(1u, m_device.sms.Sent().size());
  EXPECT_EQ(0, m_device.sms.Sent()[0].iContentLen);
}

TEST_F(Sending, TriesTheNextNumberButNotTheOtherPartsAfterAFailedPart) {
  StartWithClient();
  m_device.sms.OnSend([](const SMS_PARAM& part) {
    return std::string(part.szAddress) == "111" ? SendAnswer::kFail : SendAnswer::kAccept;
  });
  Send(u"111;222", kTwoParts);
  ASSERT_TRUE(AwaitEnd());
  EXPECT_EQ((Lines{"111 1/2", "222 1/2", "222 2/2"}), SentLines());
  EXPECT_EQ((Lines{"0 222 " + Utf8(kTwoParts) + " 0", "0 111 " + Utf8(kTwoParts) + " 1"}), Stored());
}

TEST_F(Sending, SavesOneFailedRecordWithAllNumbersWhenAllFail) {
  StartWithClient();
  m_device.sms.OnSend([](const SMS_PARAM&) { return SendAnswer::kFail; });
  Send(u"111,222;333", u"text");
  ASSERT_TRUE(AwaitEnd());
  EXPECT_EQ((Lines{"0 111;222;333 text 1"}), Stored());
  EXPECT_EQ(1, m_client.Count("OnRecordAdded"));
}

TEST_F(Sending, ReportsAPartThatTheDeviceRefuses) {
  StartWithClient();
  m_device.sms.OnSend([](const SMS_PARAM&) { return SendAnswer::kRefuse; });
  Send(u"111", u"text");
  ASSERT_TRUE(AwaitEnd());
  EXPECT_EQ(1, m_client.Count("OnSendReport number=111 content=text result=1"));
  EXPECT_EQ(1, m_trace.Count("Get At's SMSSendMsg API Fails! "));
  EXPECT_EQ((Lines{"0 111 text 1"}), Stored());
}

TEST_F(Sending, CountsANumberFailedWhenTheDeviceThrows) {
  StartWithClient();
  m_device.sms.OnSend([](const SMS_PARAM& part) {
    return std::string(part.szAddress) == "111" ? SendAnswer::kThrow : SendAnswer::kAccept;
  });
  Send(u"111;222", u"text");
  ASSERT_TRUE(AwaitEnd());
  EXPECT_EQ(1, m_trace.Count("sendMsg exception! "));
  EXPECT_EQ((Lines{"0 222 text 0", "0 111 text 1"}), Stored());
}

TEST_F(Sending, FailsEveryNumberWhileTheDeviceIsNotUsable) {
  m_device.device.m_enStatus = DevDataDef::DEVICE_STATUS_UNKNOW;
  m_device.device.m_enSim = SIM_STATE_NONE;
  m_device.net.m_enStatus = SYS_SRV_STATUS_NONE;
  StartWithClient();
  Send(u"111;222", u"text");
  ASSERT_TRUE(AwaitEnd());
  EXPECT_TRUE(m_device.sms.Sent().empty());
  EXPECT_EQ(1, m_trace.Count("CSMSServiceImpl::Send() m_hEventCanceled.SetEvent()1"));
  EXPECT_EQ((Lines{"0 111;222 text 1"}), Stored());
}

TEST_F(Sending, EndsTheWaitWhenTheDeviceGoesAway) {
  StartWithClient();
  NoVerdicts();
  Send(u"111;222", u"text");
  ASSERT_TRUE(m_device.sms.AwaitSent(1));
  m_device.net.Raise(NETSRV_DATA::EVENT_SRV_MS_UNAVAILABLE, nullptr);
  ASSERT_TRUE(AwaitEnd());
  EXPECT_EQ(1u, m_device.sms.Sent().size());
  EXPECT_EQ((Lines{"0 111;222 text 1"}), Stored());
}

TEST_F(Sending, DropsARequestWhileAnotherIsUnderWay) {
  StartWithClient();
  NoVerdicts();
  Send(u"111", u"first");
  ASSERT_TRUE(m_device.sms.AwaitSent(1));
  EXPECT_EQ(0, Send(u"222", u"second"));
  EXPECT_EQ(1, m_trace.Count("m_pSendSMSThread->StartThread false!"));
  Verdict(0);
  ASSERT_TRUE(AwaitEnd());
  EXPECT_EQ((Lines{"0 111 first 0"}), Stored());
}

TEST_F(Sending, DoesNotTakeALateVerdictForTheNextPart) {
  StartWithClient();
  NoVerdicts();
  Verdict(38);  // nobody waits for it
  Send(u"111", u"text");
  ASSERT_TRUE(m_device.sms.AwaitSent(1));
  Verdict(0);
  ASSERT_TRUE(AwaitEnd());
  EXPECT_EQ((Lines{"0 111 text 0"}), Stored());
}

TEST_F(Sending, SavesTheTextAsGivenAndSendsItAsTheCharacterMapSays) {
  m_home.WriteSettings("[customize]\nsmscharmap=site.map\n");
  m_home.WriteFile("module/config/site.map", "{ 2019,27 }{20AC,65}");
  StartWithClient();
  Send(u"111", u"it\u2019s 5\u20AC");
  ASSERT_TRUE(AwaitEnd());
  EXPECT_EQ("it's 5e", Utf8(m_device.sms.Sent().at(0).wszContent));
  EXPECT_EQ((Lines{"0 111 it\u2019s 5\u20AC 0"}), Stored());
}

TEST_F(Sending, ChoosesTheBearerForOneCarrierOnly) {
  StartWithClient();
  Send(u"111", u"text");
  ASSERT_TRUE(AwaitEnd(1));
  EXPECT_TRUE(m_device.sms.Bearers().empty());
  m_home.WriteSettings("[customize]\noperator=ZPV_C148\n");
  const std::vector<std::pair<std::string, SmsBear>> kNetworks = {{"45008", SMS_BEAR_PREF_PS},
                                                                  {"45005", SMS_BEAR_PREF_PS},
                                                                  {"45006", SMS_BEAR_PREF_CS},
                                                                  {"26201", SMS_BEAR_PREF_CS}};
  int run = 1;
  for (const auto& network : kNetworks) {
    m_device.net.SetPlmn(network.first);
    Send(u"111", u"text");
    ASSERT_TRUE(AwaitEnd(++run));
    EXPECT_EQ(network.second, m_device.sms.Bearers().back()) << network.first;
  }
  const std::size_t before = m_device.sms.Bearers().size();
  m_device.net.m_bPlmnQueryFails = true;
  Send(u"111", u"text");
  ASSERT_TRUE(AwaitEnd(++run));
  EXPECT_EQ(before, m_device.sms.Bearers().size());
}

struct PriorityRow {
  int mode;
  SM_PRIORITY configured;
  bool configReadable;
  int expected;
};

void PrintTo(const PriorityRow& row, std::ostream* out) {
  *out << "mode " << row.mode << ", configured " << row.configured << (row.configReadable ? "" : ", not readable");
}

class SendPriority : public Sending, public ::testing::WithParamInterface<PriorityRow> {};

TEST_P(SendPriority, FollowsTheDeviceModeAndTheConfiguration) {
  m_device.device.m_iMode = GetParam().mode;
  WMSConfigurationType config;
  config.enPri = GetParam().configured;
  m_device.sms.SetConfig(config);
  StartWithClient();
  m_device.sms.Fail("GetWMSConfig", GetParam().configReadable ? 0 : -1);
  Send(u"111", u"text");
  ASSERT_TRUE(AwaitEnd());
  ISMSRecordSet* const set = m_pService->GetSMSRecordSet(NS_SMS::SMS_LOCAL);
  ASSERT_EQ(1, set->GetRecordCount());
  EXPECT_EQ(GetParam().expected, set->GetSMSPriority());
}

INSTANTIATE_TEST_SUITE_P(
    Modes, SendPriority,
    ::testing::Values(PriorityRow{0, SM_PRIORITY_URGENT, true, 4}, PriorityRow{2, SM_PRIORITY_URGENT, true, 4},
                      PriorityRow{1, SM_PRIORITY_NORMAL, true, 0}, PriorityRow{1, SM_PRIORITY_INTERACTIVE, true, 0},
                      PriorityRow{1, SM_PRIORITY_URGENT, true, 2}, PriorityRow{3, SM_PRIORITY_EMERGENCY, true, 3},
                      PriorityRow{1, SM_PRIORITY_URGENT, false, 4}));

TEST_F(Sending, LeavesThePriorityAsItIsWithoutADeviceService) {
  StartWithClient();
  m_device.OfferDevice(false);
  Send(u"111", u"text");
  ASSERT_TRUE(AwaitEnd());
  EXPECT_EQ(4, m_pService->GetSMSRecordSet(NS_SMS::SMS_LOCAL)->GetSMSPriority());
}

TEST_F(Sending, SurvivesAClientThatThrows) {
  StartWithClient();
  m_client.SetHook([](const std::string& line) {
    if (line.find("OnSendReport") == 0 || line.find("OnRecordAdded") == 0) {
      throw std::runtime_error("a client's fault");
    }
  });
  Send(u"111", u"text");
  ASSERT_TRUE(AwaitEnd());
  EXPECT_EQ((Lines{"0 111 text 0"}), Stored());
  m_client.SetHook(nullptr);
  Send(u"111", u"again");
  ASSERT_TRUE(AwaitEnd(2));
  EXPECT_EQ(1, m_client.Count("OnRecordAdded"));
}

/// The clock stands still, so the test says when 70 seconds are over.
class SendTimeOut : public ::testing::Test {};

TEST_F(SendTimeOut, FailsAPartWithoutAVerdictAfterSeventySeconds) {
  JManualClock clock;
  class CRun : public Sending {
  public:
    void TestBody() override {}
    void Play(JManualClock& clock) {
      StartWithClient();
      NoVerdicts();
      Send(u"111;222", u"text");
      for (int number = 1; number <= 2; ++number) {
        ASSERT_TRUE(m_device.sms.AwaitSent(number));
        ASSERT_TRUE(clock.AwaitTimedWaiters(1, 70000, 5000));
        clock.Advance(69999);
        EXPECT_EQ(number - 1, m_trace.Count("CSMSServiceImpl::Send() JEVENT_WAIT_TIME_OUT"));
        clock.Advance(1);
        ASSERT_TRUE(m_trace.AwaitLine("CSMSServiceImpl::Send() JEVENT_WAIT_TIME_OUT", 5000, number));
      }
      ASSERT_TRUE(AwaitEnd());
      EXPECT_EQ(1, m_client.Count("OnSendReport number=111 content=text result=1"));
      EXPECT_EQ((Lines{"0 111;222 text 1"}), Stored());
      Stop();
    }
  } run;
  run.Play(clock);
}

}  // namespace
