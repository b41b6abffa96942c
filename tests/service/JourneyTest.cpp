// Whole journeys of messages, compared line by line with the transcripts in golden/.
// To write them anew: ninja regenerate_transcripts.

#include "Journal.h"
#include "ServiceTest.h"
#include "StoreTable.h"
#include "platform/JClock.h"
#include "platform/LocalDatabaseMgr.h"

#include <algorithm>
#include <cstdlib>
#include <thread>

namespace {

const VELK_wstring kTwoParts = Repeat(u"two parts of text ", 161);

void KeepUtc() {
  setenv("TZ", "UTC", 1);
  tzset();
}

/// 2026-09-21 14:13:20 and no step further: stamps are the same at every run. The device comes after the start and its
/// memories are not loaded, so the start-up check sleeps, and with the receive loop asleep exactly two timed waits are
/// under way.
class Journey : public ::testing::Test {
protected:
  Journey() : m_clock((KeepUtc(), 1790000000)) {
    m_device.device.m_enStatus = DevDataDef::DEVICE_STATUS_UNKNOW;
    m_plugin.SetPluginContainer(&m_device.container);
  }
  ~Journey() override { Stop(); }

  void Start() {
    m_pService = CSMSServiceImpl::instance();
    EXPECT_TRUE(CServiceAccess::AwaitLocalLoad(*m_pService));
    m_journal.Follow(m_client);
  }
  /// Starts, registers and lets everything come to rest; the transcript begins after that.
  bool Settle() {
    Start();
    m_pService->RegCallBack(&m_client);
    m_device.net.Raise(NETSRV_DATA::EVENT_SRV_MS_AVAILABLE, nullptr);
    const bool idle = AwaitIdle();
    m_journal.Clear();
    return idle;
  }
  void Stop() {
    if (m_pService != nullptr) {
      m_pService->OnDestroy();
      CSMSServiceImpl::Destroy();
      CSMSSettingImpl::Destroy();
      m_pService = nullptr;
    }
  }
  bool AwaitIdle() { return m_clock.AwaitTimedWaiters(2, 100, 10000); }
  bool AwaitEndOfSend() { return m_journal.Await("send end") && m_device.sms.DrainVerdicts(); }
  void Send(const VELK_wchar_t* numbers, const VELK_wstring& text) {
    m_journal.Note("== test sends to " + Utf8(numbers));
    m_pService->SendMsg(numbers, text.c_str());
  }
  void Direct(unsigned long event, SMReadRecord record, const std::string& what) {
    m_journal.Note("== test raises " + what);
    m_device.sms.Raise(event, &record);
    ASSERT_TRUE(AwaitIdle());
  }
  void Arrive(SMReadRecord record, const std::string& what) {
    m_journal.Note("== test stores on the device " + what);
    SNewSmsNotifyType notice{SMS_MEM_SM, m_device.sms.Put(SMS_MEM_SM, record)};
    m_device.sms.Raise(WMS_RECEIVE_SMS_NOTIFY, &notice);
    ASSERT_TRUE(AwaitIdle());
  }
  static SMReadRecord OfType(SMS_IDENTIFYER type, const VELK_wchar_t* content) {
    SMReadRecord record = MakeReadRecord("+491701234567", content);
    record.enType = type;
    return record;
  }

  /// The rows of the local store as another connection to its file sees them.
  static std::vector<std::string> RowsOnDisk() {
    LocalDatabaseMgr database;
    EXPECT_EQ(DB_ERROR_OK, database.OpenConnection("SmsDBConnection"));
    std::vector<int> indexes;
    EXPECT_EQ(DB_ERROR_OK, database.GetAllRecordIndex(kStoreTable, indexes));
    std::vector<std::string> rows;
    for (const int index : indexes) {
      LocalDatabaseMgr::FieldType fields;
      EXPECT_EQ(DB_ERROR_OK, database.GetOneRecord(kStoreTable, static_cast<unsigned int>(index), fields));
      std::string row = std::to_string(index);
      for (const __ST_FIELD_TYPE& field : fields) {
        row += " " + field.strFieldName + "=" + Utf8(field.strValue);
      }
      rows.push_back(row);
    }
    return rows;
  }
  std::vector<std::string> MirrorOfTheSim() {
    std::vector<std::string> lines;
    ISMSRecordSet* const set = m_pService->GetSMSRecordSet(NS_SMS::SMS_SIM);
    for (long state = set->MoveFirst(); state == 0; state = set->MoveNext()) {
      lines.push_back("id=" + std::to_string(set->GetMSGID()) + " box=" + std::to_string(set->GetPosition()) +
                      " number=" + Utf8(set->GetNumber()) + " content=" + Utf8(set->GetContent()) +
                      " unread=" + std::to_string(set->GetIsRead()));
    }
    return lines.empty() ? std::vector<std::string>{"nothing"} : lines;
  }
  std::vector<std::string> DeviceCalls() {
    std::vector<std::string> calls = m_device.sms.CallLines();
    return calls;
  }
  void Compare(const std::string& name) {
    m_journal.Add("calls of the message service", DeviceCalls());
    m_journal.Add("messages left on the device", {std::to_string(m_device.sms.Held(SMS_MEM_SM).size())});
    m_journal.Add("rows on disk", RowsOnDisk());
    EXPECT_EQ("", CompareWithGolden(std::string(SMS_GOLDEN_DIR) + "/" + name + ".txt", m_journal.Text()));
  }

  CTempHome m_home;
  JManualClock m_clock;
  CJournal m_journal;
  CFakeDevice m_device;
  CFakeClient m_client;
  CSMSPluginImpl m_plugin;
  CSMSServiceImpl* m_pService = nullptr;
};

// --- sending ---------------------------------------------------------------------------------------------------------

TEST_F(Journey, SendToThreeNumbersWithAFailureInTheMiddle) {
  ASSERT_TRUE(Settle());
  m_device.sms.OnSend([](const SMS_PARAM& part) {
    return std::string(part.szAddress) == "222" ? SendAnswer::kFail : SendAnswer::kAccept;
  });
  Send(u"111;222;333", kTwoParts);
  ASSERT_TRUE(AwaitEndOfSend());
  Compare("send_three_numbers_one_fails");
}

TEST_F(Journey, CancelInTheSecondNumber) {
  ASSERT_TRUE(Settle());
  m_device.sms.OnSend([](const SMS_PARAM& part) {
    return std::string(part.szAddress) == "111" ? SendAnswer::kAccept : SendAnswer::kSilent;
  });
  Send(u"111;222;333", kTwoParts);
  ASSERT_TRUE(m_device.sms.AwaitSent(3));
  ASSERT_TRUE(m_clock.AwaitTimedWaiters(1, 70000, 10000));
  std::thread verdict([this] {
    EXPECT_TRUE(m_journal.Await("CSMSServiceImpl::Send() send cancel"));
    m_device.sms.RaiseNumber(WMS_MO_SMS_STATUS, 0);
  });
  long count = 0;
  m_journal.Note("== test cancels");
  EXPECT_EQ(0, m_pService->CancelSendMsg(count));
  m_journal.Note("== test hears of " + std::to_string(count) + " parts not sent");
  verdict.join();
  ASSERT_TRUE(AwaitEndOfSend());
  Compare("send_cancelled_in_second_number");
}

TEST_F(Journey, DeviceLossDuringASend) {
  ASSERT_TRUE(Settle());
  m_device.sms.OnSend([](const SMS_PARAM&) { return SendAnswer::kSilent; });
  Send(u"111;222", kTwoParts);
  ASSERT_TRUE(m_device.sms.AwaitSent(1));
  ASSERT_TRUE(m_clock.AwaitTimedWaiters(1, 70000, 10000));
  m_journal.Note("== test takes the device away");
  m_device.net.Raise(NETSRV_DATA::EVENT_SRV_MS_UNAVAILABLE, nullptr);
  ASSERT_TRUE(AwaitEndOfSend());
  Compare("send_device_lost");
}

TEST_F(Journey, DeviceLossDuringALoad) {
  m_home.WriteSettings("[SMSSERVICE]\nReceviceMode=0\n");
  m_device.sms.Put(SMS_MEM_SM, OfType(SMS_IDENTIFYER_REPORT, u"report"));
  m_device.sms.Put(SMS_MEM_SM, MakeReadRecord("+491701234567", u"read in time"));
  m_device.sms.Put(SMS_MEM_SM, MakeReadRecord("+491701234567", u"the device goes while it is read"));
  ASSERT_TRUE(Settle());
  CServiceAccess::DropModemStore(*m_pService);
  CMonitor third;
  bool reading = false;
  m_device.sms.OnCall("SMSReadMsg", [&] {
    if (m_device.sms.Calls("SMSReadMsg") == 2) {
      m_device.sms.Fail("SMSReadMsg", 1);
    } else if (m_device.sms.Calls("SMSReadMsg") == 3) {
      third.Locked([&] { reading = true; });
      EXPECT_TRUE(m_journal.Await("CDeviceSMSImpl::BackBeforeInit(), m_InitThread.EndThread() begin"));
    }
  });
  m_journal.Note("== test says that the memories can be read");
  m_device.sms.Raise(WMS_EVENT_READY, nullptr);
  ASSERT_TRUE(third.Await([&] { return reading; }, 10000));
  m_journal.Note("== test takes the device away");
  m_device.net.Raise(NETSRV_DATA::EVENT_SRV_MS_UNAVAILABLE, nullptr);
  m_journal.Add("mirror of the SIM after the loss", MirrorOfTheSim());
  m_journal.Note("== test brings the device back");
  m_device.net.Raise(NETSRV_DATA::EVENT_SRV_MS_AVAILABLE, nullptr);
  m_device.sms.Raise(WMS_EVENT_READY, nullptr);
  ASSERT_TRUE(m_journal.Await("m_MutexReadNewMsg Unlock()", 2));
  ASSERT_TRUE(AwaitIdle());
  m_journal.Add("mirror of the SIM at the end", MirrorOfTheSim());
  Compare("load_device_lost");
}

// --- moving ----------------------------------------------------------------------------------------------------------

TEST_F(Journey, CutToLocalWithADeleteThatFails) {
  m_home.WriteSettings("[SMSSERVICE]\nReceviceMode=0\n");
  for (const VELK_wchar_t* content : {u"moved first", u"cannot be deleted", u"moved last"}) {
    m_device.sms.Put(SMS_MEM_SM, MakeReadRecord("+491701234567", content));
  }
  ASSERT_TRUE(Settle());
  m_device.sms.OnCall("SMSReadMsg", [&] {
    if (m_device.sms.Calls("SMSReadMsg") == 2) {
      m_device.sms.Fail("SMSDeleteMsg", 1);
    }
  });
  m_journal.Note("== test moves the SIM to the local store");
  EXPECT_EQ(0, m_pService->CutAllToLocal(NS_SMS::SMS_SIM));
  m_journal.Add("mirror of the SIM", MirrorOfTheSim());
  Compare("cut_to_local_delete_fails");
}

// --- starting --------------------------------------------------------------------------------------------------------

TEST_F(Journey, StartWithoutADeviceManager) {
  m_device.OfferManager(false);
  Start();
  m_journal.Note("== test registers");
  m_pService->RegCallBack(&m_client);
  m_journal.Note("== test ends the service");
  Stop();
  m_journal.Add("calls of the message service", DeviceCalls());
  m_journal.Add("rows on disk", RowsOnDisk());
  EXPECT_EQ("", CompareWithGolden(SMS_GOLDEN_DIR "/start_without_device_manager.txt", m_journal.Text()));
}

TEST_F(Journey, StartWithoutANetworkService) {
  m_device.OfferNet(false);
  Start();
  m_journal.Note("== test registers");
  m_pService->RegCallBack(&m_client);
  ASSERT_TRUE(m_journal.Await("Start Thread CheckFileAndDeviceInit()"));
  ASSERT_TRUE(m_clock.AwaitTimedWaiters(1, 1000, 10000));
  m_journal.Note("== test ends the service");
  Stop();
  m_journal.Add("calls of the message service", DeviceCalls());
  EXPECT_EQ("", CompareWithGolden(SMS_GOLDEN_DIR "/start_without_network_service.txt", m_journal.Text()));
}

// --- receiving -------------------------------------------------------------------------------------------------------

TEST_F(Journey, ReceiveAndMoveToTheLocalStore) {
  ASSERT_TRUE(Settle());
  Arrive(MakeReadRecord("+491701234567", u"stored first"), "a message");
  Direct(WMS_NEW_SMS_DIRECT_NOTIFY, MakeReadRecord("+491709876543", u"100 % direct"), "a direct message");
  Arrive(MakeReadPart("+491701234567", u"second half", 7, 2, 2), "the second part of two");
  Direct(WMS_NEW_SMS_DIRECT_NOTIFY, MakeReadPart("+491701234567", u"First half, ", 7, 2, 1), "the first part of two");
  m_device.sms.Fail("SMSDeleteMsg", 1);
  Arrive(MakeReadRecord("+491701234567", u"cannot be deleted"), "a message that cannot be deleted");
  m_device.sms.Fail("SMSReadMsg", 1);
  Arrive(MakeReadRecord("+491701234567", u"cannot be read"), "a message that cannot be read");
  Compare("receive_move");
}

TEST_F(Journey, ReceiveThreePartsInAllSixOrdersWithADuplicate) {
  ASSERT_TRUE(Settle());
  std::vector<BYTE> order = {1, 2, 3};
  BYTE reference = 0;
  do {
    ++reference;
    const auto deliver = [&](BYTE part) {
      const std::string text = std::to_string(part) + " of message " + std::to_string(reference);
      const SMReadRecord record = MakeReadPart("+491701234567", Utf16("<" + text + ">"), reference, 3, part);
      if (reference % 2 == 0) {
        Direct(WMS_NEW_SMS_DIRECT_NOTIFY, record, "part " + text);
      } else {
        Arrive(record, "part " + text);
      }
    };
    deliver(order[0]);
    deliver(order[1]);
    deliver(order[1]);
    deliver(order[2]);
  } while (std::next_permutation(order.begin(), order.end()));
  Compare("receive_three_parts");
}

TEST_F(Journey, ReceiveAndKeepOnTheDevice) {
  m_home.WriteSettings("[SMSSERVICE]\nReceviceMode=0\n");
  ASSERT_TRUE(Settle());
  Arrive(MakeReadRecord("+491701234567", u"stays"), "a message");
  Arrive(OfType(SMS_IDENTIFYER_REPORT, u"report"), "a report");
  Arrive(OfType(SMS_IDENTIFYER_MMS_NOTIFY, u"picture"), "an MMS notification");
  Direct(WMS_NEW_SMS_DIRECT_NOTIFY, MakeReadRecord("+491709876543", u"direct"), "a direct message");
  Compare("receive_keep");
}

TEST_F(Journey, ReceiveFlashMessages) {
  ASSERT_TRUE(Settle());
  SMReadRecord flash = MakeReadRecord("+491701234567", u"look!");
  flash.enSmClass = SMS_CLASS_0;
  Direct(WMS_NEW_SMS_DIRECT_NOTIFY, flash, "a flash message");
  Arrive(flash, "a flash message");
  Compare("receive_flash");
}

TEST_F(Journey, ReceiveReports) {
  ASSERT_TRUE(Settle());
  Direct(WMS_REPORT_STATUS_DIRECT, OfType(SMS_IDENTIFYER_REPORT, u""), "a report of success");
  Arrive(OfType(SMS_IDENTIFYER_REPORT, u"F"), "a report of failure");
  m_device.device.m_enProduct = DevDataDef::PRODUCT_TYPE_CDMA;
  Arrive(OfType(SMS_IDENTIFYER_REPORT, u"F"), "a report on a CDMA device");
  Compare("receive_reports");
}

TEST_F(Journey, ReceiveBroadcasts) {
  m_home.WriteSettings("[CBS]\nenable=true\n");
  ASSERT_TRUE(Settle());
  CBSMessage page{};
  page.SerialNumber = 0x1234;
  page.MessageId = 4370;
  page.TotalNumber = 1;
  page.Sequence = 1;
  VELK_wstring(u"storm warning").copy(page.wszContent, 95);
  m_journal.Note("== test raises a broadcast");
  m_device.sms.Raise(CBS_CONTENT_DIRECT_NOTIFY, &page);
  ASSERT_TRUE(AwaitIdle());
  page.TotalNumber = 2;
  for (BYTE sequence = 1; sequence <= 2; ++sequence) {
    page.Sequence = sequence;
    m_journal.Note("== test raises page " + std::to_string(sequence) + " of two");
    m_device.sms.Raise(CBS_CONTENT_DIRECT_NOTIFY, &page);
    ASSERT_TRUE(AwaitIdle());
  }
  Compare("receive_broadcast_on");
}

TEST_F(Journey, ReceiveNoBroadcastsWhenTheyAreOff) {
  ASSERT_TRUE(Settle());
  CBSMessage page{};
  m_journal.Note("== test raises a broadcast");
  m_device.sms.Raise(CBS_CONTENT_DIRECT_NOTIFY, &page);
  ASSERT_TRUE(AwaitIdle());
  Compare("receive_broadcast_off");
}

CJournal* g_pJournal = nullptr;

TEST_F(Journey, ReceiveMmsNotificationsWithAndWithoutAHook) {
  ASSERT_TRUE(Settle());
  Arrive(OfType(SMS_IDENTIFYER_MMS_NOTIFY, u"before the hook"), "an MMS notification");
  Direct(WMS_NEW_SMS_DIRECT_NOTIFY, OfType(SMS_IDENTIFYER_MMS_NOTIFY, u"direct"), "a direct MMS notification");
  m_journal.Note("== test registers the hook");
  g_pJournal = &m_journal;
  m_pService->RegisterCallBackForMms(
      [](void* record) { g_pJournal->Note("  hook: " + Utf8(static_cast<SMReadRecord*>(record)->wszContent)); });
  ASSERT_TRUE(AwaitIdle());
  m_clock.Advance(200);
  ASSERT_TRUE(AwaitIdle());
  Arrive(OfType(SMS_IDENTIFYER_MMS_NOTIFY, u"with the hook"), "an MMS notification");
  Compare("receive_mms");
}

}  // namespace
