// Everything at once: sends, cancels, messages on both roads, a device that comes and goes, registration, and record
// operations from four clients and from inside callbacks. SMS_RACE_SECONDS says how long (default 2).

#include "ServiceAccess.h"
#include "ServiceTest.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <map>
#include <random>
#include <set>
#include <thread>

namespace {

const char kDropped[] = "m_pSendSMSThread->StartThread false!";

class Race : public CServiceTest {
protected:
  typedef std::mt19937 Dice;

  static bool Chance(Dice& dice, int oneIn) { return std::uniform_int_distribution<int>(1, oneIn)(dice) == 1; }

  /// Runs the work again and again on a thread of its own, until Finish().
  template <class Work>
  void Repeat(unsigned int seed, Work work) {
    m_threads.emplace_back([this, seed, work] {
      Dice dice(seed);
      while (!m_bFinish) {
        work(dice);
      }
    });
  }
  /// Senders that cancel wait for the verdict of the part in flight: verdicts go on until all threads have ended.
  void Finish() {
    m_bFinish = true;
    std::atomic<bool> ended{false};
    std::thread verdicts([&] {
      while (!ended) {
        m_device.sms.RaiseNumber(WMS_MO_SMS_STATUS, 0);
        Pause(1);
      }
    });
    for (std::thread& thread : m_threads) {
      thread.join();
    }
    ended = true;
    verdicts.join();
  }
  /// Lets the other threads work for so long.
  void Pause(int milliseconds) {
    m_pace.Await([] { return false; }, milliseconds);
  }

  // --- what the threads do

  void SendOrCancel(Dice& dice) {
    if (Chance(dice, 4)) {
      long count = 0;
      m_pService->CancelSendMsg(count);
      return;
    }
    const VELK_wstring text = Utf16("send " + std::to_string(++m_iSends)) + (Chance(dice, 3) ? m_longTail : u"");
    EXPECT_EQ(0, m_pService->SendMsg(u"111;222", text.c_str()));
    ++m_iAccepted;
    Pause(1);
  }

  SendAnswer Answer(Dice& dice) {
    const int throwOfDice = std::uniform_int_distribution<int>(1, 10)(dice);
    return throwOfDice <= 6   ? SendAnswer::kAccept
           : throwOfDice == 7 ? SendAnswer::kFail
           : throwOfDice == 8 ? SendAnswer::kRefuse
                              : SendAnswer::kSilent;  // its verdict comes late, from Disturb
  }

  /// The driver's thread: what a device in trouble says.
  void Disturb(Dice& dice) {
    switch (std::uniform_int_distribution<int>(0, 9)(dice)) {
      case 0:
        m_device.net.Raise(NETSRV_DATA::EVENT_SRV_MS_UNAVAILABLE, nullptr);
        break;
      case 1:
      case 2:
        ComeBack();
        break;
      case 3:
        m_device.net.RaiseNumber(NETSRV_DATA::EVENT_NET_SERVER_STATUS, Chance(dice, 2) ? 2 : 0);
        break;
      case 4:
        m_device.net.RaiseNumber(NETSRV_DATA::EVENT_SRV_SIM_STATE, Chance(dice, 4) ? 255 : 1);
        break;
      case 5:
        m_device.manager.Raise(IDeviceMgrEvent::EVENT_DEVICE_SYSMODE_CHANGED);
        break;
      case 6:
        Arrive(Chance(dice, 2) ? SMS_MEM_SM : SMS_MEM_ME);
        break;
      case 7:
        Direct();
        break;
      default:
        m_device.sms.RaiseNumber(WMS_MO_SMS_STATUS, Chance(dice, 4) ? 38 : 0);  // late, or early
    }
  }
  void ComeBack() {
    m_device.net.Raise(NETSRV_DATA::EVENT_SRV_MS_AVAILABLE, nullptr);
    m_device.sms.Raise(WMS_EVENT_READY, nullptr);
  }
  void Arrive(SMS_MEM memory) {
    const std::string content = "stored " + std::to_string(++m_iArrived);
    SNewSmsNotifyType notice{memory, m_device.sms.Put(memory, MakeReadRecord("333", Utf16(content)))};
    m_device.sms.Raise(WMS_RECEIVE_SMS_NOTIFY, &notice);
  }
  void Direct() {
    SMReadRecord record = MakeReadRecord("444", Utf16("direct " + std::to_string(++m_iDirect)));
    m_device.sms.Raise(WMS_NEW_SMS_DIRECT_NOTIFY, &record);
  }

  /// One draft through its life, with reads of everything in between.
  void UseRecords(Dice& dice, int storage) {
    CSMSRecordImpl draft;
    draft.SetMSGID(-1);
    draft.SetNumber(u"555");
    draft.SetContent(u"draft");
    draft.SetPosition(storage == NS_SMS::SMS_LOCAL ? NS_SMS::DRAFT_BOX : NS_SMS::SEND_BOX_SIM);
    const bool bracket = storage == NS_SMS::SMS_LOCAL && Chance(dice, 8) && m_pService->BeginTransaction() == 0;
    long id = -1;
    long count = 1;
    if (m_pService->SaveMsg(&draft, &id, count) == 0 && id != -1) {
      CSMSRecordImpl copy(id);
      m_pService->GetMsg(&copy, storage);
      m_pService->UpdateMsg(&copy);
      m_pService->DeleteMsg(id, storage);
      m_pService->RemoveRecord(id, storage);
    }
    if (bracket) {
      EXPECT_EQ(0, m_pService->EndTransaction());
    }
    int capacity = 0;
    int used = 0;
    m_pService->GetRecordInfo(capacity, used, storage);
    long parts = 0;
    m_pService->GetMsgSplitCount(m_longTail.c_str(), parts);
    ISMSRecordSet* const set = m_pService->GetSMSRecordSet(storage);
    ISMSRecord* const kept = set->GetSMSRecordCopy(1);
    if (kept != nullptr) {
      kept->Release();
    }
    set->GetUnReadSMSCount();
    if (storage != NS_SMS::SMS_LOCAL && Chance(dice, 10)) {
      m_pService->CutAllToLocal(storage);
    }
  }

  void InsideACallback(const std::string& line) {
    thread_local Dice dice(99);
    thread_local bool nested = false;
    if (nested || !Chance(dice, 6)) {
      return;
    }
    nested = true;
    switch (std::uniform_int_distribution<int>(0, 3)(dice)) {
      case 0: {
        CSMSRecordImpl draft;
        draft.SetMSGID(-1);
        long id = -1;
        long count = 1;
        if (m_pService->SaveMsg(&draft, &id, count) == 0) {
          m_pService->RemoveRecord(id, NS_SMS::SMS_LOCAL);
        }
        break;
      }
      case 1: {
        CSMSRecordImpl record(1L);
        m_pService->GetMsg(&record, Chance(dice, 2) ? NS_SMS::SMS_LOCAL : NS_SMS::SMS_SIM);
        break;
      }
      case 2: {
        long count = 0;
        m_pService->CancelSendMsg(count);
        break;
      }
      default:
        if (line.find("OnNewMessage") == 0) {
          const VELK_wstring reply = Utf16("send " + std::to_string(++m_iSends));
          EXPECT_EQ(0, m_pService->SendMsg(u"111;222", reply.c_str()));
          ++m_iAccepted;
        }
    }
    nested = false;
  }

  // --- afterwards

  /// Lets the send under way end, brings the device back and lets everything that waits be received.
  void ComeToRest() {
    while (m_trace.Count("send end") + m_trace.Count(kDropped) < m_iAccepted) {
      m_device.sms.RaiseNumber(WMS_MO_SMS_STATUS, 0);
      Pause(1);
    }
    ASSERT_TRUE(m_device.sms.DrainVerdicts(20000));
    const std::size_t all = static_cast<std::size_t>(m_iArrived + m_iDirect);
    for (int attempt = 0; attempt < 200 && Received().size() < all; ++attempt) {
      ComeBack();
      Pause(50);
    }
  }
  std::set<std::string> Received() { return Contents({"stored ", "direct "}); }
  std::set<std::string> Contents(const std::vector<std::string>& prefixes) {
    std::set<std::string> found;
    for (const auto& entry : CountContents(prefixes)) {
      found.insert(entry.first);
    }
    return found;
  }
  std::map<std::string, int> CountContents(const std::vector<std::string>& prefixes) {
    std::map<std::string, int> found;
    ISMSRecordSet* const set = m_pService->GetSMSRecordSet(NS_SMS::SMS_LOCAL);
    std::vector<long> ids;
    for (long id = 1, left = set->GetRecordCount(); left > 0 && id < 2000000; ++id) {
      ISMSRecord* const record = set->GetSMSRecordCopy(id);
      if (record == nullptr) {
        continue;
      }
      --left;
      const std::string content = Utf8(record->GetContent());
      for (const std::string& prefix : prefixes) {
        if (content.compare(0, prefix.size(), prefix) == 0) {
          ++found[content];
        }
      }
      record->Release();
    }
    return found;
  }

  const VELK_wstring m_longTail = VELK_wstring(u" ") + ::Repeat(u"and so on ", 170);
  std::atomic<int> m_iSends{0};
  std::atomic<int> m_iAccepted{0};
  std::atomic<int> m_iArrived{0};
  std::atomic<int> m_iDirect{0};
  std::atomic<bool> m_bFinish{false};
  CMonitor m_pace;
  std::vector<std::thread> m_threads;
};

TEST_F(Race, LosesNoMessageAndNoSend) {
  const char* const seconds = std::getenv("SMS_RACE_SECONDS");
  StartWithClient();
  m_client.SetHook([this](const std::string& line) { InsideACallback(line); });
  auto sendDice = std::make_shared<Dice>(5);  // on the send thread only
  m_device.sms.OnSend([=](const SMS_PARAM&) { return Answer(*sendDice); });
  CFakeClient passing[2];

  Repeat(1, [this](Dice& dice) { SendOrCancel(dice); });
  Repeat(2, [this](Dice& dice) { SendOrCancel(dice); });
  Repeat(3, [this](Dice& dice) { Disturb(dice); });
  for (unsigned int client = 0; client < 4; ++client) {
    const int storage = client == 3 ? NS_SMS::SMS_SIM : NS_SMS::SMS_LOCAL;
    Repeat(10 + client, [this, storage](Dice& dice) { UseRecords(dice, storage); });
  }
  Repeat(20, [&, this](Dice&) {
    for (CFakeClient& client : passing) {
      m_pService->RegCallBack(&client);
      client.Clear();
    }
    for (CFakeClient& client : passing) {
      m_pService->DeRegCallBack(&client);
    }
  });
  Pause((seconds == nullptr ? 2 : std::atoi(seconds)) * 1000);
  Finish();
  m_client.SetHook(nullptr);
  ComeToRest();

  EXPECT_LT(0, m_iArrived);
  EXPECT_LT(0, m_iDirect);
  const int runs = m_trace.Count("send end");
  EXPECT_LT(0, runs);
  EXPECT_EQ(m_iAccepted, runs + m_trace.Count(kDropped)) << "every request was carried out or dropped with a line";
  EXPECT_EQ(static_cast<std::size_t>(runs), Contents({"send "}).size()) << "every run is in the send box";
  EXPECT_EQ(static_cast<std::size_t>(m_iArrived + m_iDirect), Received().size()) << "every message has arrived";
  for (const auto& direct : CountContents({"direct "})) {
    EXPECT_EQ(1, direct.second) << direct.first;
  }
  RecordProperty("sends", runs);
  RecordProperty("messages", m_iArrived + m_iDirect);
  std::printf("%d sends, %d dropped, %d stored and %d direct messages\n", runs, m_trace.Count(kDropped),
              m_iArrived.load(), m_iDirect.load());
}

}  // namespace
