// Everything at once: sends, cancels, messages of every kind on both roads, a device that comes and goes, registration,
// and record operations from four clients and from inside callbacks. SMS_RACE_SECONDS says how long (default 2).

#include "RaceLedger.h"
#include "SMSRecordImpl.h"
#include "SMSRecordSetImpl.h"
#include "ServiceAccess.h"
#include "ServiceTest.h"

#include <gmock/gmock.h>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <thread>

namespace {

const char kDropped[] = "m_pSendSMSThread->StartThread false!";

/// Of whom the MMS hook, a plain function, tells.
CRaceLedger* g_pLedger = nullptr;

void TakeMms(void* pRecord) { g_pLedger->Saw(static_cast<SMReadRecord*>(pRecord)->szAddress); }

class Race : public CServiceTest {
protected:
  typedef std::mt19937 Dice;

  Race() {
    // The C library locks the time zone in a way that the thread sanitizer does not see; a zone that is named is read
    // once.
    setenv("TZ", "UTC", 1);
    tzset();
    m_home.WriteSettings("[CBS]\nenable=true\n");
    g_pLedger = &m_ledger;
  }
  ~Race() override {
    Stop();
    g_pLedger = nullptr;
  }

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
    switch (std::uniform_int_distribution<int>(0, 15)(dice)) {
      case 0:
        GoAway(dice);
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
      case 7:
        m_device.sms.RaiseNumber(WMS_MO_SMS_STATUS, Chance(dice, 4) ? 38 : 0);  // late, or early
        break;
      case 8:
      case 9:
        DeliverPart(dice);
        break;
      case 10:
        Broadcast();
        break;
      default:
        DeliverAny(dice);
    }
  }
  void GoAway(Dice& dice) {
    if (Chance(dice, 3)) {
      m_device.manager.Raise(Chance(dice, 2) ? IDeviceMgrEvent::EVENT_DEVICE_REJECT
                                             : IDeviceMgrEvent::EVENT_DEVICE_SWITCH);
    } else {
      m_device.net.Raise(NETSRV_DATA::EVENT_SRV_MS_UNAVAILABLE, nullptr);
    }
  }
  void ComeBack() {
    m_device.net.Raise(NETSRV_DATA::EVENT_SRV_MS_AVAILABLE, nullptr);
    m_device.sms.Raise(WMS_EVENT_READY, nullptr);
  }

  // --- messages

  struct Kind {
    const char* name;
    SMS_IDENTIFYER type;
    SMS_CLASS smsClass;
  };
  static const std::vector<Kind>& Kinds() {
    static const std::vector<Kind> kinds = {{"text", SMS_IDENTIFYER_ORDINARILY, SMS_CLASS_INVALID},
                                            {"report", SMS_IDENTIFYER_REPORT, SMS_CLASS_INVALID},
                                            {"voicemail", SMS_IDENTIFYER_VOICE_MAIL, SMS_CLASS_INVALID},
                                            {"mms", SMS_IDENTIFYER_MMS_NOTIFY, SMS_CLASS_INVALID},
                                            {"flash", SMS_IDENTIFYER_ORDINARILY, SMS_CLASS_0}};
    return kinds;
  }
  void DeliverAny(Dice& dice) {
    const std::size_t kind = std::uniform_int_distribution<std::size_t>(0, Kinds().size() - 1)(dice);
    DeliverKind(Kinds()[kind], Chance(dice, 2), Chance(dice, 2) ? SMS_MEM_SM : SMS_MEM_ME);
  }
  /// However slow the machine is, each is there once at least.
  void DeliverEveryKindOnBothRoads() {
    for (const Kind& kind : Kinds()) {
      DeliverKind(kind, true, SMS_MEM_UNKNOW);
      DeliverKind(kind, false, SMS_MEM_SM);
      DeliverKind(kind, false, SMS_MEM_ME);
    }
  }
  void DeliverKind(const Kind& kind, bool direct, SMS_MEM memory) {
    const std::string road = direct ? "direct " : "stored ";
    SMReadRecord record = MakeReadRecord(m_ledger.NewSender(road + kind.name), u"content");
    record.enType = kind.type;
    record.enSmClass = kind.smsClass;
    Deliver(record, direct, memory);
  }
  /// The parts of one long message come in any order, some twice, with all else in between.
  void DeliverPart(Dice& dice) {
    if (m_parts.empty()) {
      const std::string sender = m_ledger.NewSender("long");
      for (BYTE part : {BYTE(1), BYTE(2), BYTE(3), BYTE(2)}) {
        m_parts.push_back(MakeReadPart(sender, Utf16("<" + std::to_string(part) + ">"), 7, 3, part));
      }
      m_parts.resize(Chance(dice, 4) ? 4 : 3);
      std::shuffle(m_parts.begin(), m_parts.end(), dice);
    }
    Deliver(m_parts.back(), Chance(dice, 2), Chance(dice, 2) ? SMS_MEM_SM : SMS_MEM_ME);
    m_parts.pop_back();
  }
  void Deliver(SMReadRecord record, bool direct, SMS_MEM memory) {
    if (direct) {
      m_device.sms.Raise(record.enType == SMS_IDENTIFYER_REPORT ? WMS_REPORT_STATUS_DIRECT : WMS_NEW_SMS_DIRECT_NOTIFY,
                         &record);
      return;
    }
    SNewSmsNotifyType notice{memory, m_device.sms.Put(memory, record)};
    m_device.sms.Raise(WMS_RECEIVE_SMS_NOTIFY, &notice);
  }
  void Broadcast() {
    CBSMessage page{};
    page.MessageId = static_cast<DWORD>(++m_iBroadcasts);
    page.TotalNumber = 1;
    page.wszContent[0] = u'!';
    m_device.sms.Raise(CBS_CONTENT_DIRECT_NOTIFY, &page);
  }

  // --- clients

  /// One draft through its life, with reads of everything in between.
  void UseRecords(Dice& dice, int storage) {
    const int boxes[] = {NS_SMS::DRAFT_BOX, NS_SMS::SEND_BOX_SIM, NS_SMS::SEND_BOX_NV};
    const bool bracket = storage == NS_SMS::SMS_LOCAL && Chance(dice, 8) && m_pService->BeginTransaction() == 0;
    PassOneThrough(boxes[storage], storage);
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
    Pause(10);  // a client that never rests keeps the others from the database
  }

  /// Saves, reads, changes, deletes and removes. A removal that fails leaves the draft: that is written down.
  void PassOneThrough(int box, int storage) {
    const std::string content = "draft " + std::to_string(++m_iDrafts);
    CSMSRecordImpl draft;
    draft.SetMSGID(-1);
    draft.SetNumber(u"555");
    draft.SetContent(Utf16(content).c_str());
    draft.SetPosition(box);
    long id = -1;
    long count = 1;
    if (m_pService->SaveMsg(&draft, &id, count) != 0 || id == -1) {
      return;
    }
    CSMSRecordImpl copy(id);
    m_pService->GetMsg(&copy, storage);
    m_pService->UpdateMsg(&copy);
    m_pService->DeleteMsg(id, storage);
    if (m_pService->RemoveRecord(id, storage) != 0 && storage == NS_SMS::SMS_LOCAL) {
      m_pace.Locked([&] { m_leftDrafts.insert(content); });
    }
  }

  void InsideACallback(const std::string& line) {
    thread_local Dice dice(99);
    thread_local bool nested = false;
    NoteFlash(line);
    if (nested || !Chance(dice, 6)) {
      return;
    }
    nested = true;
    switch (std::uniform_int_distribution<int>(0, 4)(dice)) {
      case 0:
        PassOneThrough(NS_SMS::DRAFT_BOX, NS_SMS::SMS_LOCAL);
        break;
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
      case 3: {
        int capacity = 0;
        int used = 0;
        m_pService->GetRecordInfo(capacity, used, std::uniform_int_distribution<int>(0, 2)(dice));
        m_pService->GetSMSRecordSet(NS_SMS::SMS_LOCAL)->GetUnReadSMSCount();
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
  /// A flash message is shown and kept nowhere.
  void NoteFlash(const std::string& line) {
    const std::string begin = "OnNewMessage id=-1 number=";
    if (line.compare(0, begin.size(), begin) == 0) {
      m_ledger.Saw(line.substr(begin.size(), line.find(" content=") - begin.size()));
    }
  }

  // --- afterwards

  /// Lets the send under way end, brings the device back and lets everything that waits be received.
  void ComeToRest() {
    while (m_trace.Count("send end") + m_trace.Count(kDropped) < m_iAccepted) {
      m_device.sms.RaiseNumber(WMS_MO_SMS_STATUS, 0);
      Pause(1);
    }
    ASSERT_TRUE(m_device.sms.DrainVerdicts(20000));
    Dice dice(7);
    while (!m_parts.empty()) {
      DeliverPart(dice);
    }
    m_pService->RegisterCallBackForMms(&TakeMms);
    for (int attempt = 0; attempt < 300 && !IsAllThere(); ++attempt) {
      if (CServiceAccess::AreLoaded(*m_pService)) {
        m_device.net.Raise(NETSRV_DATA::EVENT_SRV_MS_UNAVAILABLE,
                           nullptr);  // a mirror that holds records is not loaded
      }
      ComeBack();
      Pause(50);
    }
  }
  struct Row {
    std::string sender;
    std::string content;
  };
  std::vector<Row> LocalRows() {
    CSMSRecordSetImpl& set = *CServiceAccess::Local(*m_pService)->GetReocrdList();
    std::vector<Row> rows;
    for (const long id : set.GetIdentifiers()) {
      if (ISMSRecord* const record = set.GetSMSRecordCopy(id)) {
        rows.push_back({Utf8(record->GetNumber()), Utf8(record->GetContent())});
        record->Release();
      }
    }
    return rows;
  }
  /// Ticks off what the local store holds; of a long message only the whole counts.
  bool IsAllThere() {
    int broadcasts = 0;
    for (const Row& row : LocalRows()) {
      if (row.sender.compare(0, 5, "long ") != 0 || row.content == "<1><2><3>") {
        m_ledger.Saw(row.sender);
      }
      broadcasts += row.content == "!" ? 1 : 0;
    }
    return m_ledger.Missing().empty() && broadcasts == m_iBroadcasts;
  }
  /// How often the local store holds what begins so, by what it holds.
  std::map<std::string, int> CountRows(const std::string& prefix, std::string Row::*field) {
    std::map<std::string, int> found;
    for (const Row& row : LocalRows()) {
      if ((row.*field).compare(0, prefix.size(), prefix) == 0) {
        ++found[row.*field];
      }
    }
    return found;
  }
  std::set<std::string> Drafts() {
    std::set<std::string> drafts;
    for (const auto& draft : CountRows("draft ", &Row::content)) {
      drafts.insert(draft.first);
    }
    return drafts;
  }
  std::set<std::string> DraftsLeft() {
    return m_pace.Peek([this] { return m_leftDrafts; });
  }

  const VELK_wstring m_longTail = VELK_wstring(u" ") + ::Repeat(u"and so on ", 170);
  CRaceLedger m_ledger;
  std::vector<SMReadRecord> m_parts;  // of the long message that is coming; on the driver's thread only
  std::atomic<int> m_iSends{0};
  std::atomic<int> m_iAccepted{0};
  std::atomic<int> m_iDrafts{0};
  std::atomic<int> m_iBroadcasts{0};
  std::atomic<bool> m_bFinish{false};
  CMonitor m_pace;
  std::set<std::string> m_leftDrafts;  // guarded by m_pace
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
  const int storages[] = {NS_SMS::SMS_LOCAL, NS_SMS::SMS_LOCAL, NS_SMS::SMS_SIM, NS_SMS::SMS_NV};
  for (unsigned int client = 0; client < 4; ++client) {
    const int storage = storages[client];
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
  Repeat(21, [this](Dice&) {
    m_pService->RegisterCallBackForMms(&TakeMms);
    Pause(20);
    m_pService->UnRegisterCallBackForMms(&TakeMms);
    Pause(1);
  });
  DeliverEveryKindOnBothRoads();
  Pause((seconds == nullptr ? 2 : std::atoi(seconds)) * 1000);
  Finish();
  ComeToRest();
  m_client.SetHook(nullptr);

  EXPECT_THAT(m_ledger.Missing(), ::testing::IsEmpty()) << "every message has arrived";
  for (const char* once : {"direct text", "direct report", "direct voicemail"}) {
    const auto rows = CountRows(once, &Row::sender);
    EXPECT_EQ(static_cast<std::size_t>(m_ledger.Count(once)), rows.size());
    EXPECT_TRUE(std::all_of(rows.begin(), rows.end(), [](const auto& row) { return row.second == 1; })) << once;
  }
  EXPECT_EQ(m_iBroadcasts, CountRows("!", &Row::content)["!"]);
  const int runs = m_trace.Count("send end");
  EXPECT_LT(0, runs);
  EXPECT_EQ(m_iAccepted, runs + m_trace.Count(kDropped)) << "every request was carried out or dropped with a line";
  EXPECT_EQ(static_cast<std::size_t>(runs), CountRows("send ", &Row::content).size()) << "every run is in the send box";
  EXPECT_EQ(DraftsLeft(), Drafts()) << "a draft that was removed is gone, one that was not is there";
  std::printf("%d sends, %d dropped, %d texts stored and %d direct, %d long, %d broadcasts, %d drafts\n", runs,
              m_trace.Count(kDropped), m_ledger.Count("stored text"), m_ledger.Count("direct text"),
              m_ledger.Count("long"), m_iBroadcasts.load(), m_iDrafts.load());
}

}  // namespace
