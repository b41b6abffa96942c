// The driver against a modem that answers as each test says.

#include "AtCommandBuilder.h"
#include "DeviceServices.h"
#include "FakeClient.h"
#include "MessageService.h"
#include "Modem.h"
#include "ScriptedModem.h"
#include "TempHome.h"
#include "Text.h"
#include "TraceCapture.h"
#include "platform/JClock.h"

#include <gtest/gtest.h>
#include <memory>
#include <ostream>
#include <thread>

namespace {

using modem::CMessageService;
using modem::CModem;

/// Writes down events as "number" or "number value".
class CSink : public IUniCommEvent, public IDeviceMgrEvent {
public:
  bool OnDeviceMgrEvent(unsigned long dwEvent, void* pData) override { return OnUniCommEvent(dwEvent, pData); }
  bool OnUniCommEvent(unsigned long dwEvent, void* pData) override {
    const auto hook = m_monitor.Peek([this] { return m_hook; });
    if (hook) {
      hook();
    }
    std::string line = std::to_string(dwEvent);
    if (dwEvent == WMS_MO_SMS_STATUS || dwEvent == NETSRV_DATA::EVENT_NET_SERVER_STATUS) {
      line += " " + std::to_string(*static_cast<DWORD*>(pData));
    } else if (dwEvent == WMS_NEW_SMS_DIRECT_NOTIFY || dwEvent == WMS_REPORT_STATUS_DIRECT) {
      const SMReadRecord* const record = static_cast<SMReadRecord*>(pData);
      line += " " + std::string(record->szAddress) + " " + Utf8(record->wszContent);
    } else if (dwEvent == WMS_RECEIVE_SMS_NOTIFY) {
      const SNewSmsNotifyType* const notice = static_cast<SNewSmsNotifyType*>(pData);
      line += " " + std::to_string(notice->enMem) + " " + std::to_string(notice->hMsg);
    }
    m_monitor.Locked([&] {
      m_lines.push_back(line);
      m_threads.push_back(std::this_thread::get_id());
    });
    return true;
  }
  bool Await(const std::string& line, int times = 1, int milliseconds = 5000) const {
    return m_monitor.Await([&] { return std::count(m_lines.begin(), m_lines.end(), line) >= times; }, milliseconds);
  }
  std::vector<std::string> Lines() const {
    return m_monitor.Peek([this] { return m_lines; });
  }
  std::vector<std::thread::id> Threads() const {
    return m_monitor.Peek([this] { return m_threads; });
  }
  void SetHook(const std::function<void()>& hook) {
    m_monitor.Locked([&] { m_hook = hook; });
  }

private:
  CMonitor m_monitor;
  std::vector<std::string> m_lines;
  std::vector<std::thread::id> m_threads;
  std::function<void()> m_hook;
};

class Driver : public ::testing::Test {
protected:
  Driver()
      : m_modem([this](std::string& error) {
          auto line = m_script.Open();
          error = line ? "" : "not there";
          return line;
        }),
        m_service(m_modem),
        m_manager(m_modem) {
    m_service.RegEventSink(&m_sink);
    m_modem.Events().AddSink(modem::CEventRaiser::Source::kNetwork, &m_sink);
    m_manager.RegEventSink(&m_sink);
  }
  ~Driver() override { m_modem.Stop(); }

  bool Start() {
    std::string error;
    const bool started = m_modem.Start(error);
    EXPECT_EQ("", error);
    return started;
  }
  bool Send(const std::string& number = "+4917012345", const VELK_wstring& text = u"Hello") {
    SMS_PARAM part;
    number.copy(part.szAddress, 32);
    part.iContentLen = static_cast<int>(text.copy(part.wszContent, 160));
    return m_service.SMSSendMsg(part, nullptr);
  }

  CTempHome m_home;
  CScriptedModem m_script;
  CSink m_sink;
  CModem m_modem;
  CMessageService m_service;
  modem::CDeviceManager m_manager;
};

// --- start -----------------------------------------------------------------------------------------------------------

TEST_F(Driver, StartsAModemAndKnowsItsFacts) {
  ASSERT_TRUE(Start());
  const modem::ModemFacts facts = m_modem.Facts();
  EXPECT_EQ("SmsApp Scripted", facts.model);
  EXPECT_EQ(SIM_STATE_AVAILABLE, facts.sim);
  EXPECT_EQ(DevDataDef::PIN_READY, facts.pin);
  EXPECT_EQ(SYS_SRV_STATUS_SRV, facts.network);
  EXPECT_EQ("26201", facts.operatorCode);
  EXPECT_EQ("+491710760000", facts.serviceCentre);
  EXPECT_EQ((std::vector<SMS_MEM>{SMS_MEM_SM, SMS_MEM_ME}), facts.memories);
}

TEST_F(Driver, TriesIndicationsFromTheBestDown) {
  m_script.Answer("AT+CNMI=", "\r\nERROR\r\n");
  m_script.Answer("AT+CNMI=2,1,0,0,0", "\r\nOK\r\n");
  ASSERT_TRUE(Start());
  EXPECT_EQ(6, m_script.Count("AT+CNMI="));
}

TEST_F(Driver, KnowsALockedSim) {
  m_script.Answer("AT+CPIN?", "\r\n+CPIN: SIM PIN\r\n\r\nOK\r\n");
  ASSERT_TRUE(Start());
  EXPECT_EQ(SIM_STATE_INVALID, m_modem.Facts().sim);
  EXPECT_EQ(DevDataDef::PIN_ENABLED_NOT_VERIFIED, m_modem.Facts().pin);
}

TEST_F(Driver, KnowsAMissingSim) {
  m_script.Answer("AT+CPIN?", "\r\n+CME ERROR: 10\r\n");
  ASSERT_TRUE(Start());
  EXPECT_EQ(SIM_STATE_NONE, m_modem.Facts().sim);
}

TEST_F(Driver, ToleratesAnEchoThatStaysOn) {
  m_script.Answer("AT+CSCA?", "AT+CSCA?\r\r\n+CSCA: \"+4912\",145\r\n\r\nOK\r\n");
  ASSERT_TRUE(Start());
  EXPECT_EQ("+4912", m_modem.Facts().serviceCentre);
}

TEST_F(Driver, RefusesAModemWithoutPduMode) {
  m_script.Answer("AT+CMGF=0", "\r\nERROR\r\n");
  std::string error;
  EXPECT_FALSE(m_modem.Start(error));
  EXPECT_NE(std::string::npos, error.find("PDU mode")) << error;
}

// --- sending ---------------------------------------------------------------------------------------------------------

TEST_F(Driver, SendsWithOneCommandAndRaisesTheVerdict) {
  ASSERT_TRUE(Start());
  const std::size_t before = m_script.Commands().size();
  ASSERT_TRUE(Send());
  ASSERT_TRUE(m_sink.Await("20407 0"));
  const std::vector<std::string> commands = m_script.Commands();
  ASSERT_EQ(before + 2, commands.size());
  EXPECT_EQ("AT+CMGS=18", commands[before]);
  EXPECT_EQ("octets 0011000A9194711032540000FF05C8329BFD06", commands[before + 1]);
}

TEST_F(Driver, RaisesNoEventOnTheCallersThread) {
  ASSERT_TRUE(Start());
  ASSERT_TRUE(Send());
  ASSERT_TRUE(m_sink.Await("20407 0"));
  for (const std::thread::id& thread : m_sink.Threads()) {
    EXPECT_NE(std::this_thread::get_id(), thread);
  }
}

TEST_F(Driver, PassesTheCauseOfARefusalOn) {
  ASSERT_TRUE(Start());
  m_script.AnswerOctets("\r\n+CMS ERROR: 38\r\n");
  ASSERT_TRUE(Send());
  EXPECT_TRUE(m_sink.Await("20407 38"));
}

TEST_F(Driver, TracesTheCauseOfARefusalInWords) {
  CTraceCapture trace;
  ASSERT_TRUE(Start());
  m_script.AnswerOctets("\r\n+CMS ERROR: 38\r\n");
  ASSERT_TRUE(Send());
  EXPECT_TRUE(trace.AwaitLine("a message was not sent: network out of order (+CMS ERROR: 38)"));
  m_script.AnswerOctets("\r\n+CME ERROR: 30\r\n");
  ASSERT_TRUE(Send());
  EXPECT_TRUE(trace.AwaitLine("a message was not sent: no network service (+CME ERROR: 30)"));
  m_script.AnswerOctets("\r\nERROR\r\n");
  ASSERT_TRUE(Send());
  EXPECT_TRUE(trace.AwaitLine("a message was not sent: the modem refused it without a cause"));
}

TEST_F(Driver, TakesARefusalInsteadOfThePrompt) {
  ASSERT_TRUE(Start());
  m_script.Answer("AT+CMGS=", "\r\n+CMS ERROR: 302\r\n");
  ASSERT_TRUE(Send());
  EXPECT_TRUE(m_sink.Await("20407 302"));
  EXPECT_EQ(0, m_script.Count("octets"));
}

TEST_F(Driver, CountsAMessageWithAReferenceAsSentThoughTheLineIsLostBehindIt) {
  ASSERT_TRUE(Start());
  m_script.SetPresent(false);
  m_script.AnswerOctets("");
  ASSERT_TRUE(Send());
  ASSERT_TRUE(m_script.AwaitCommand("octets"));
  m_script.Say("\r\n+CMGS: 7\r\n");
  ASSERT_TRUE(m_script.AwaitRead());
  m_script.HangUp();
  EXPECT_TRUE(m_sink.Await("20407 0"));
}

TEST_F(Driver, DoesNotTakeAnEquipmentErrorForACauseOfTheNetwork) {
  ASSERT_TRUE(Start());
  m_script.Answer("AT+CMGS=", "\r\n+CME ERROR: 30\r\n");
  ASSERT_TRUE(Send());
  EXPECT_TRUE(m_sink.Await("20407 500"));
}

TEST_F(Driver, FindsTheVerdictAmongUnsolicitedLines) {
  ASSERT_TRUE(Start());
  m_script.Answer("AT+CMGS=", "\r\n+CREG: 2\r\n\r\n+CMTI: \"SM\",3\r\n\r\n> ");
  m_script.AnswerOctets("\r\n+CREG: 5\r\n\r\n+CMGS: 8\r\n\r\n+CMTI: \"ME\",4\r\n\r\nOK\r\n");
  ASSERT_TRUE(Send());
  for (const char* line : {"4 0", "20403 0 3", "4 2", "20403 1 4", "20407 0"}) {
    EXPECT_TRUE(m_sink.Await(line)) << line;
  }
  EXPECT_EQ(5u, m_sink.Lines().size());
}

struct HangUpAt {
  const char* name;
  const char* command;
};

void PrintTo(const HangUpAt& row, std::ostream* out) { *out << row.name; }

class DriverHangUp : public Driver, public ::testing::WithParamInterface<HangUpAt> {};

TEST_P(DriverHangUp, FailsThePartOnceAndSendsItNoSecondTime) {
  ASSERT_TRUE(Start());
  m_script.SetPresent(false);
  m_script.OnCommand(GetParam().command, [this] { m_script.HangUp(); });
  m_script.Answer(GetParam().command, "");
  ASSERT_TRUE(Send());
  ASSERT_TRUE(m_sink.Await("20407 500"));
  ASSERT_TRUE(m_sink.Await("9"));
  m_script.OnCommand(GetParam().command, nullptr);
  m_script.SetPresent(true);
  ASSERT_TRUE(m_sink.Await("8"));  // the modem is back
  EXPECT_EQ(1, m_script.Count("AT+CMGS="));
}

INSTANTIATE_TEST_SUITE_P(Moments, DriverHangUp,
                         ::testing::Values(HangUpAt{"BeforeThePrompt", "AT+CMGS="},
                                           HangUpAt{"AfterTheOctets", "octets"}),
                         [](const auto& testInfo) { return std::string(testInfo.param.name); });

TEST_F(Driver, RefusesToQueueAPartWhileTheModemIsGone) {
  ASSERT_TRUE(Start());
  m_script.SetPresent(false);
  m_script.HangUp();
  ASSERT_TRUE(m_sink.Await("9"));
  DWORD result = 0;
  SMS_PARAM part;
  EXPECT_FALSE(m_service.SMSSendMsg(part, &result));
  EXPECT_NE(0u, result);
}

TEST_F(Driver, IsGoneAtTheVerdictOfAPartThatCouldNotBeWritten) {
  ASSERT_TRUE(Start());
  m_script.Block(true);
  EXPECT_TRUE(Send());
  EXPECT_TRUE(m_sink.Await("20407 500"));
  EXPECT_FALSE(m_modem.IsAvailable());
  m_script.Block(false);
  ASSERT_TRUE(m_sink.Await("8"));
  ASSERT_TRUE(Send());
  EXPECT_TRUE(m_sink.Await("20407 0"));
}

TEST_F(Driver, AnnouncesTheModemThatIsBack) {
  ASSERT_TRUE(Start());
  m_script.HangUp();
  ASSERT_TRUE(m_sink.Await("9"));
  ASSERT_TRUE(m_sink.Await("20408"));
  const std::vector<std::string> lines = m_sink.Lines();
  EXPECT_EQ((std::vector<std::string>{"9", "8", "6", "4 2", "20408"}), lines);
}

TEST_F(Driver, TellsThatAnotherModemHasTakenItsPlace) {
  ASSERT_TRUE(Start());
  m_script.Answer("AT+CGMM", "\r\nOther\r\n\r\nOK\r\n");
  m_script.HangUp();
  ASSERT_TRUE(m_sink.Await("20408"));
  EXPECT_EQ((std::vector<std::string>{"9", "6604", "8", "6", "4 2", "20408"}), m_sink.Lines());
}

TEST_F(Driver, TellsTwoModemsOfOneModelApartByTheirNumbers) {
  m_script.Answer("AT+CGSN", "\r\n490154203237518\r\n\r\nOK\r\n");
  ASSERT_TRUE(Start());
  m_script.HangUp();
  ASSERT_TRUE(m_sink.Await("20408"));
  m_script.Answer("AT+CGSN", "\r\n356938035643809\r\n\r\nOK\r\n");
  m_script.HangUp();
  ASSERT_TRUE(m_sink.Await("20408", 2));
  EXPECT_EQ((std::vector<std::string>{"9", "8", "6", "4 2", "20408", "9", "6604", "8", "6", "4 2", "20408"}),
            m_sink.Lines());
}

TEST_F(Driver, TellsThatTheModemHasOtherMemoriesNow) {
  ASSERT_TRUE(Start());
  m_script.Answer("AT+CPMS=?", "\r\n+CPMS: (\"SM\"),(\"SM\"),(\"SM\")\r\n\r\nOK\r\n");
  m_script.HangUp();
  ASSERT_TRUE(m_sink.Await("20408"));
  EXPECT_EQ((std::vector<std::string>{"9", "6650", "8", "6", "4 2", "20408"}), m_sink.Lines());
}

TEST_F(Driver, TellsASinkOfTheManagerNothingAfterItsRemoval) {
  ASSERT_TRUE(Start());
  EXPECT_FALSE(m_manager.RegEventSink(nullptr));
  EXPECT_TRUE(m_manager.UnRegEventSink(&m_sink));
  EXPECT_FALSE(m_manager.UnRegEventSink(&m_sink));
  m_script.Answer("AT+CGMM", "\r\nOther\r\n\r\nOK\r\n");
  m_script.HangUp();
  ASSERT_TRUE(m_sink.Await("20408"));
  EXPECT_EQ((std::vector<std::string>{"9", "8", "6", "4 2", "20408"}), m_sink.Lines());
}

TEST_F(Driver, StopsAtOnceWhileACommandWaits) {
  ASSERT_TRUE(Start());
  m_script.AnswerOctets("");
  ASSERT_TRUE(Send());
  ASSERT_TRUE(m_script.AwaitCommand("octets"));
  m_modem.Stop();
  EXPECT_FALSE(m_modem.IsAvailable());
}

TEST(DriverTimeOut, FailsAPartWithoutAVerdictAndFindsBackIntoStep) {
  JManualClock clock;
  class CRun : public Driver {
  public:
    void TestBody() override {}
    void Play(JManualClock& manual) {
      ASSERT_TRUE(Start());
      m_script.AnswerOctets("");
      ASSERT_TRUE(Send());
      ASSERT_TRUE(m_script.AwaitCommand("octets"));
      ASSERT_TRUE(manual.AwaitTimedWaiters(1, 55000, 5000));
      manual.Advance(55000);
      ASSERT_TRUE(m_sink.Await("20407 500"));
      // the late answer must not be taken for the next part's
      m_script.Say("\r\n+CMGS: 9\r\n\r\nOK\r\n");
      m_script.AnswerOctets("\r\n+CMS ERROR: 38\r\n");
      m_script.Answer("AT+CMGF?", "\r\n+CMGF: 0\r\n\r\nOK\r\n");
      ASSERT_TRUE(Send());
      ASSERT_TRUE(m_sink.Await("20407 38"))
          << ::testing::PrintToString(m_sink.Lines()) << ::testing::PrintToString(m_script.Commands());
      EXPECT_LE(1, m_script.Count("escape"));
    }
  } run;
  run.Play(clock);
}

TEST(DriverReturn, TellsOnceThatAModemWhichIsThereIsRefused) {
  JManualClock clock;
  class CRun : public Driver {
  public:
    void TestBody() override {}
    void Play(JManualClock& manual) {
      const int kLookMs = 200;  // long beside what a start takes: else time goes on in the middle of one
      ASSERT_TRUE(Start());
      m_script.Answer("AT+CMGF=0", "\r\nERROR\r\n");
      m_script.HangUp();
      for (int tries = 1; tries <= 5; ++tries) {
        for (int second = 0; second < 100 && !m_script.AwaitCommand("AT+CMGF=0", 1 + tries, kLookMs); ++second) {
          manual.Advance(1000);
        }
        ASSERT_EQ(1 + tries, m_script.Count("AT+CMGF=0"));
        EXPECT_TRUE(tries < 4 || m_sink.Await("6601"));
        EXPECT_TRUE(tries > 2 || Count("6601") == 0) << "after " << tries;
      }
      m_script.Answer("AT+CMGF=0", "\r\nOK\r\n");
      for (int second = 0; second < 100 && !m_sink.Await("20408", 1, kLookMs); ++second) {
        manual.Advance(1000);
      }
      EXPECT_EQ((std::vector<std::string>{"9", "6601", "8", "6", "4 2", "20408"}), m_sink.Lines());
    }
    long Count(const std::string& line) {
      const std::vector<std::string> lines = m_sink.Lines();
      return std::count(lines.begin(), lines.end(), line);
    }
  } run;
  run.Play(clock);
}

// --- receiving and memories ------------------------------------------------------------------------------------------

const char kDeliverPdu[] = "07911326040000F0040B911346610089F60000208062917314080CC8F71D14969741F977FD07";

TEST_F(Driver, AcknowledgesADirectMessageAfterTheServiceHasIt) {
  ASSERT_TRUE(Start());
  m_sink.SetHook([this] { EXPECT_EQ(0, m_script.Count("AT+CNMA")); });
  m_script.Say(std::string("\r\n+CMT: ,31\r\n") + kDeliverPdu + "\r\n");
  ASSERT_TRUE(m_sink.Await("20401 +31641600986 How are you?"));
  EXPECT_TRUE(m_script.AwaitCommand("AT+CNMA"));
}

TEST_F(Driver, KeepsADamagedMessageAsItsOctets) {
  ASSERT_TRUE(Start());
  m_script.Say("\r\n+CMT: ,31\r\n00FF\r\n");
  EXPECT_TRUE(m_sink.Await("20401  00FF"));
}

TEST_F(Driver, ListsReadsAndDeletesTheMessagesOfAMemory) {
  ASSERT_TRUE(Start());
  m_script.Answer("AT+CMGL=4", std::string("\r\n+CMGL: 3,0,,31\r\n") + kDeliverPdu + "\r\n+CMGL: 7,1,,31\r\n" +
                                   kDeliverPdu + "\r\n\r\nOK\r\n");
  SMS_LIST list;
  ASSERT_TRUE(m_service.SMSGetMsgList(SMS_MEM_SM, &list, nullptr));
  ASSERT_EQ(2u, list.dwCount);
  EXPECT_EQ(3u, list.pList[0]);
  EXPECT_EQ(7u, list.pList[1]);
  m_service.SMSReleaseMsgList(&list);
  SMReadRecord record;
  ASSERT_TRUE(m_service.SMSReadMsg(SMS_MEM_SM, MSG_HANDLE(3), &record, nullptr));
  EXPECT_EQ("How are you?", Utf8(record.wszContent));
  EXPECT_EQ(SMS_STAT_UNREAD, record.enSMStat) << "listing must not make it read";
  ASSERT_TRUE(m_service.SMSDeleteMsg(SMS_MEM_SM, 3, nullptr));
  EXPECT_EQ(1, m_script.Count("AT+CMGD=3"));
  EXPECT_EQ(1, m_script.Count("AT+CPMS=\"SM\",\"SM\""));
}

TEST_F(Driver, ReadsWithoutMarkingReadWhereTheModemHasCommandsForIt) {
  m_script.Answer("AT+CGMI", "\r\nCinterion\r\n\r\nOK\r\n");
  ASSERT_TRUE(Start());
  const std::string pdu = std::string(kDeliverPdu) + "\r\n\r\nOK\r\n";
  m_script.Answer("AT^SMGL=4", "\r\n^SMGL: 3,0,,31\r\n" + pdu);
  m_script.Answer("AT^SMGR=3", "\r\n^SMGR: 0,,31\r\n" + pdu);
  m_script.Answer("AT+CMGR=3", "\r\n+CMGR: 0,,31\r\n" + pdu);
  SMS_LIST list;
  ASSERT_TRUE(m_service.SMSGetMsgList(SMS_MEM_SM, &list, nullptr));
  EXPECT_EQ(1u, list.dwCount);
  m_service.SMSReleaseMsgList(&list);
  MSG_HANDLE index = 3;
  SMReadRecord record;
  for (int times = 0; times < 2; ++times) {  // of the listing, then of the modem
    ASSERT_TRUE(m_service.SMSReadMsg(SMS_MEM_SM, &index, &record, UNREAD_SM_NOT_ALTER, nullptr));
    EXPECT_EQ(SMS_STAT_UNREAD, record.enSMStat);
  }
  EXPECT_EQ(1, m_script.Count("AT^SMGR=3"));
  EXPECT_EQ(0, m_script.Count("AT+CMGL") + m_script.Count("AT+CMGR"));
  ASSERT_TRUE(m_service.SMSGetMsgList(SMS_MEM_SM, &list, nullptr));
  m_service.SMSReleaseMsgList(&list);
  ASSERT_TRUE(m_service.SMSReadMsg(SMS_MEM_SM, &index, &record, UNREAD_SM_ALTER, nullptr));
  EXPECT_EQ(1, m_script.Count("AT+CMGR=3")) << "the modem itself is to mark it read";
}

TEST_F(Driver, ReadsAsTheStandardSaysWhereAModemRefusesToReadQuietly) {
  m_script.Answer("AT+CGMI", "\r\nSIMCOM_Ltd\r\n\r\nOK\r\n");
  ASSERT_TRUE(Start());
  m_script.Answer("AT+CMGR=3,1", "\r\n+CMS ERROR: 321\r\n");
  m_script.Answer("AT+CMGR=4,1", "\r\n+CMS ERROR: 304\r\n");
  m_script.Answer("AT+CMGR=4", std::string("\r\n+CMGR: 0,,31\r\n") + kDeliverPdu + "\r\n\r\nOK\r\n");
  SMReadRecord record;
  DWORD status = 0;
  EXPECT_FALSE(m_service.SMSReadMsg(SMS_MEM_SM, MSG_HANDLE(3), &record, &status));
  EXPECT_EQ(321u, status);
  for (int times = 0; times < 2; ++times) {
    ASSERT_TRUE(m_service.SMSReadMsg(SMS_MEM_SM, MSG_HANDLE(4), &record, &status));
    EXPECT_EQ("How are you?", Utf8(record.wszContent));
  }
  EXPECT_EQ(1, m_script.Count("AT+CMGR=3"));
  EXPECT_EQ(3, m_script.Count("AT+CMGR=4")) << "the refused form once, then the ordinary one";
}

TEST_F(Driver, SavesADraftForAMessageThatIsNeitherReceivedNorSent) {
  ASSERT_TRUE(Start());
  m_script.AnswerOctets("\r\n+CMGW: 4\r\n\r\nOK\r\n");
  SMS_PARAM part;
  std::string("+4917012345").copy(part.szAddress, 32);
  part.enSMSStat = SMS_STAT_ALL;
  EXPECT_TRUE(m_service.SMSSaveMsg(SMS_MEM_SM, &part, nullptr, nullptr));
  EXPECT_EQ(1, m_script.Count("AT+CMGW=13,2"));
  for (const int state : {-1, 5, 77}) {
    DWORD status = 0;
    part.enSMSStat = static_cast<SMS_STAT>(state);
    EXPECT_FALSE(m_service.SMSSaveMsg(SMS_MEM_SM, &part, nullptr, &status));
    EXPECT_EQ(304u, status);
  }
  EXPECT_EQ(1, m_script.Count("AT+CMGW"));
}

TEST_F(Driver, TellsTheTriesLeftOfALockedCard) {
  m_script.Answer("AT+CPIN?", "\r\n+CPIN: SIM PIN\r\n\r\nOK\r\n");
  m_script.Answer("AT+CPINR", "\r\n+CPINR: SIM PIN,2,3\r\n\r\n+CPINR: SIM PUK,10,10\r\n\r\nOK\r\n");
  ASSERT_TRUE(Start());
  DevDataDef::PinStatus status = DevDataDef::PIN_UNKNOWN;
  DWORD pin = 77;
  DWORD puk = 77;
  ASSERT_TRUE(m_manager.GetPinStatus(&status, &pin, &puk));
  EXPECT_EQ(DevDataDef::PIN_ENABLED_NOT_VERIFIED, status);
  EXPECT_EQ(2u, pin);
  EXPECT_EQ(10u, puk);
  EXPECT_TRUE(m_manager.GetPinStatus(&status, nullptr, nullptr));
  m_script.Answer("AT+CPINR", "\r\n+CPINR: SIM PIN,many\r\n\r\n+CPINR:\r\n\r\nOK\r\n");
  ASSERT_TRUE(m_manager.GetPinStatus(&status, &pin, &puk));
  EXPECT_EQ(0u, pin);
  EXPECT_EQ(0u, puk);
}

TEST_F(Driver, AnswersFalseForAnEmptyPlace) {
  ASSERT_TRUE(Start());
  SMReadRecord record;
  DWORD status = 0;
  EXPECT_FALSE(m_service.SMSReadMsg(SMS_MEM_ME, MSG_HANDLE(5), &record, &status));
  EXPECT_EQ(321u, status);
}

TEST_F(Driver, DeletesNothingForAMemoryOrIndexThatNamesNothing) {
  ASSERT_TRUE(Start());
  EXPECT_FALSE(m_service.SMSDeleteMsg(SMS_MEM_UNKNOW, 1, nullptr));
  EXPECT_FALSE(m_service.SMSDeleteMsg(SMS_MEM_SM, 0xFFFFFFFF, nullptr));
  EXPECT_EQ(0, m_script.Count("AT+CMGD"));
}

TEST_F(Driver, AsksForNoticesOfAFullMemoryWhereTheyComeOnlyThen) {
  const std::pair<const char*, const char*> kMakers[] = {{"Quectel", "AT+QINDCFG=\"smsfull\",1"},
                                                         {"Telit", "AT#SMOV=1"},
                                                         {"Cinterion", "AT^SMGO=1"},
                                                         {"SIEMENS", "AT^SMGO=1"}};
  for (const auto& [maker, command] : kMakers) {
    m_script.Answer("AT+CGMI", "\r\n" + std::string(maker) + "\r\n\r\nOK\r\n");
    const int before = m_script.Count(command);
    ASSERT_TRUE(Start());
    EXPECT_EQ(before + 1, m_script.Count(command)) << maker;
    m_modem.Stop();
  }
}

TEST_F(Driver, TellsCapacityAndUseOfAMemory) {
  ASSERT_TRUE(Start());
  DWORD total = 0;
  DWORD used = 0;
  ASSERT_TRUE(m_service.SMSGetMemInfo(SMS_MEM_SM, &total, &used, nullptr));
  EXPECT_EQ(20u, total);
  EXPECT_EQ(1u, used);
}

TEST_F(Driver, WaitsForACallUnderWayBeforeASinkIsGone) {
  ASSERT_TRUE(Start());
  JEvent entered;
  JEvent leave;
  m_sink.SetHook([&] {
    entered.SetEvent();
    leave.WaitForSingleObject(5000);
  });
  ASSERT_TRUE(Send());
  ASSERT_EQ(0, entered.WaitForSingleObject(5000));
  std::atomic<bool> removed{false};
  std::thread remover([&] {
    m_service.UnRegEventSink(&m_sink);
    removed = true;
  });
  EXPECT_FALSE(removed);
  leave.SetEvent();
  remover.join();
  EXPECT_EQ((std::vector<std::string>{"20407 0"}), m_sink.Lines()) << "the call had ended when the sink was gone";
}

TEST_F(Driver, KeepsWhatAModemDoesNotKeepInTheSettingsFile) {
  ASSERT_TRUE(Start());
  WMSConfigurationType config;
  ASSERT_TRUE(m_service.GetWMSConfig(&config, nullptr));
  EXPECT_FALSE(config.bEnableStatusReport);
  EXPECT_EQ(255u, config.dwValidity);
  config.bEnableStatusReport = true;
  config.dwValidity = 167;
  config.enPri = SM_PRIORITY_URGENT;
  ASSERT_TRUE(m_service.SetWMSConfig(&config, nullptr));
  CMessageService next(m_modem);
  WMSConfigurationType kept;
  ASSERT_TRUE(next.GetWMSConfig(&kept, nullptr));
  EXPECT_TRUE(kept.bEnableStatusReport);
  EXPECT_EQ(167u, kept.dwValidity);
  EXPECT_EQ(SM_PRIORITY_URGENT, kept.enPri);
}

TEST_F(Driver, KeepsTheNetworksTimeWhenTheSettingsSaySo) {
  setenv("TZ", "TWO-2", 1);
  tzset();
  for (const bool keep : {false, true}) {
    m_home.WriteSettings(keep ? "[ModemPlugin]\nNetworkTime=1\n" : "");
    CModem modem([this](std::string&) { return m_script.Open(); });
    CMessageService service(modem);
    std::string error;
    ASSERT_TRUE(modem.Start(error)) << error;
    m_script.Answer("AT+CMGR=1", std::string("\r\n+CMGR: 1,,31\r\n") + kDeliverPdu + "\r\n\r\nOK\r\n");
    SMReadRecord record;
    ASSERT_TRUE(service.SMSReadMsg(SMS_MEM_SM, MSG_HANDLE(1), &record, nullptr));
    EXPECT_EQ(keep ? 19 : 21, record.stTime.btHour) << "sent at 19:37 UTC";
  }
}

TEST_F(Driver, IgnoresKeptSettingsThatMakeNoSense) {
  m_home.WriteSettings("[ModemPlugin]\nValidity=1000\nPriority=-3\nStatusReport=maybe\n");
  ASSERT_TRUE(Start());
  CMessageService next(m_modem);
  WMSConfigurationType kept;
  ASSERT_TRUE(next.GetWMSConfig(&kept, nullptr));
  EXPECT_FALSE(kept.bEnableStatusReport);
  EXPECT_EQ(255u, kept.dwValidity);
  EXPECT_EQ(SM_PRIORITY_NORMAL, kept.enPri);
}

// --- the command builder ---------------------------------------------------------------------------------------------

TEST(AtCommandBuilder, WritesFieldsBetweenCommas) {
  modem::CAtCommand command("+CSCA=");
  command.Quoted("+4912").Number(145);
  EXPECT_TRUE(command.IsValid());
  EXPECT_EQ("AT+CSCA=\"+4912\",145", command.Text());
}

TEST(AtCommandBuilder, RefusesEveryCharacterThatCouldEndOrBeginACommand) {
  for (int octet = 0; octet < 256; ++octet) {
    modem::CAtCommand command("+CSCA=");
    command.Quoted(std::string(1, static_cast<char>(octet)));
    const bool harmless = octet >= 0x20 && octet < 0x7F && octet != '"';
    EXPECT_EQ(harmless, command.IsValid()) << octet;
  }
}

TEST_F(Driver, NeverSendsACommandWithAForgedField) {
  ASSERT_TRUE(Start());
  WMSConfigurationType config;
  ASSERT_TRUE(m_service.GetWMSConfig(&config, nullptr));
  std::string("+49\r\nAT+CMGD=1").copy(config.szSCNum, 20);
  EXPECT_FALSE(m_service.SetWMSConfig(&config, nullptr));
  EXPECT_EQ(0, m_script.Count("AT+CMGD"));
  EXPECT_EQ(0, m_script.Count("AT+CSCA="));
}

}  // namespace
