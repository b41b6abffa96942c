// Ten thousand random operations on the store of each device memory and on a model, with a fresh store every five
// hundred.
#include "DeviceHome.h"
#include "Text.h"

#include <gtest/gtest.h>
#include <map>
#include <ostream>
#include <random>
#include <set>

namespace {

const int kOperations = 10000;
const int kUntilRestart = 500;
const std::size_t kCapacity = 30;
const char kTime[] = "20261120120000";

struct ModelRow {
  const char* name;
  SMS_MEM memory;
  const char* settings;
};

void PrintTo(const ModelRow& row, std::ostream* out) { *out << row.name; }

/// A message as the device holds it.
struct Message {
  std::string number;
  std::string content;
  SMS_STAT state = SMS_STAT_UNREAD;
  std::string time = kTime;
  SMS_IDENTIFYER kind = SMS_IDENTIFYER_ORDINARILY;
  int reference = 0, total = 0, part = 0;
};

/// The store as its header describes it: the device's messages by index, and the mirror in its order.
class CModel {
public:
  explicit CModel(const ModelRow& row) : m_memory(row.memory), m_bMoves(std::string(row.settings).empty()) {}

  bool Moves() const { return m_bMoves; }
  bool IsFull() const { return m_device.size() == kCapacity; }
  std::size_t Count() const { return m_device.size(); }
  long Next() const { return m_lNext; }

  long Put(const Message& message) {
    m_device[m_lNext] = message;
    return m_lNext++;
  }
  /// @return the index; 0: the memory is full.
  long Save(const Message& message, int priority) {
    if (IsFull()) {
      return 0;
    }
    const long index = Put(message);
    Mirror(AsRecord(index, message, priority));
    return index;
  }
  /// A message that a client or the receive loop reads; null: there is none.
  const Message* Find(long index) const {
    const auto it = m_device.find(index);
    return it == m_device.end() ? nullptr : &it->second;
  }
  CSMSRecordImpl AsRead(long index) const { return AsRecord(index, m_device.at(index), NS_SMS::SMS_WCDMA_PRIORITY); }
  void AddNew(long index) {
    if (!m_bMoves) {
      Mirror(AsRead(index));
    }
  }
  void Update(CSMSRecordImpl record) {
    const auto it = m_device.find(record.GetMSGID());
    if (it == m_device.end()) {
      return;
    }
    MarkRead(it->second);
    record.SetIsRead(NS_SMS::IS_READ);
    if (m_mirror.count(record.GetMSGID()) == 1) {
      Mirror(record);
    }
  }
  bool Remove(long index) {
    Forget(index);
    return m_device.erase(index) == 1;
  }

  void Empty() {
    m_mirror.clear();
    m_order.clear();
  }
  void Load() {
    Empty();
    for (auto it = m_device.begin(); it != m_device.end();) {
      Message& message = it->second;
      const bool unread = message.state == SMS_STAT_UNREAD;
      const bool moves = message.kind != SMS_IDENTIFYER_ORDINARILY || (m_bMoves && unread);
      if (moves) {
        m_moved.insert(message.content);
        it = m_device.erase(it);
        continue;
      }
      CSMSRecordImpl record = AsRead(it->first);
      if (m_bMoves) {
        record.SetIsRead(NS_SMS::IS_READ);
      }
      Mirror(record);
      ++it;
    }
  }
  void Cut() {
    for (const auto& message : m_device) {
      m_moved.insert(message.second.content);
    }
    m_device.clear();
    Empty();
  }

  std::vector<std::string> MirrorLines() const {
    std::vector<std::string> lines;
    for (const long index : m_order) {
      lines.push_back(std::to_string(index) + "|" + Describe(m_mirror.at(index)));
    }
    return lines;
  }
  std::vector<std::string> DeviceLines() const {
    std::vector<std::string> lines;
    for (const auto& message : m_device) {
      lines.push_back(std::to_string(message.first) + "|" + message.second.content + "|" +
                      std::to_string(message.second.state));
    }
    return lines;
  }
  const std::multiset<std::string>& Moved() const { return m_moved; }

private:
  static void MarkRead(Message& message) {
    if (message.state == SMS_STAT_UNREAD) {
      message.state = SMS_STAT_READ;
    }
  }
  int BoxOf(bool received) const {
    const bool sim = m_memory == SMS_MEM_SM;
    return received ? (sim ? NS_SMS::RECEIVE_BOX_SIM : NS_SMS::RECEIVE_BOX_NV)
                    : (sim ? NS_SMS::SEND_BOX_SIM : NS_SMS::SEND_BOX_NV);
  }
  CSMSRecordImpl AsRecord(long index, const Message& message, int priority) const {
    CSMSRecordImpl record(index);
    const bool received = message.state == SMS_STAT_UNREAD || message.state == SMS_STAT_READ;
    const bool known = message.state != SMS_STAT_ALL;
    if (known) {
      record.SetInitialPosition(received ? NS_SMS::RECEIVE_BOX : NS_SMS::SEND_BOX);
      record.SetPosition(BoxOf(received));
    }
    if (received) {
      record.SetIsRead(message.state == SMS_STAT_UNREAD ? NS_SMS::IS_NOT_READ : NS_SMS::IS_READ);
    } else if (known) {
      record.SetSendResult(message.state == SMS_STAT_SENT ? NS_SMS::SUCCESS : NS_SMS::FAILURE);
    }
    record.SetNumber(Utf16(message.number).c_str());
    record.SetContent(Utf16(message.content).c_str());
    record.SetTime(Utf16(known ? message.time : "00000000000000").c_str());
    record.SetMSGInfo(message.reference, message.total, message.part);
    record.SetSMSPriority(priority);
    if (message.kind == SMS_IDENTIFYER_REPORT) {
      record.SetMSGType(NS_SMS::MSG_REPORT);
      record.SetInitialPosition(NS_SMS::RECEIPT_BOX);
      record.SetSendResult(NS_SMS::FAILURE);
    }
    return record;
  }
  void Mirror(const CSMSRecordImpl& record) {
    if (m_mirror.count(record.GetMSGID()) == 0) {
      m_order.push_back(record.GetMSGID());
    }
    m_mirror[record.GetMSGID()] = record;
  }
  void Forget(long index) {
    if (m_device.count(index) == 1 && m_mirror.erase(index) == 1) {
      m_order.erase(std::find(m_order.begin(), m_order.end(), index));
    }
  }

  const SMS_MEM m_memory;
  const bool m_bMoves;
  std::map<long, Message> m_device;
  std::map<long, CSMSRecordImpl> m_mirror;
  std::vector<long> m_order;
  std::multiset<std::string> m_moved;  // contents
  long m_lNext = 1;
};

class DeviceStoreModel : public testing::TestWithParam<ModelRow> {
protected:
  DeviceStoreModel() : m_home(GetParam().settings), m_model(GetParam()), m_random(20261121) {
    m_home.device.sms.SetCapacity(GetParam().memory, static_cast<DWORD>(kCapacity));
    Restart();
  }

  int Between(int least, int most) { return std::uniform_int_distribution<int>(least, most)(m_random); }
  bool OneIn(int n) { return Between(1, n) == 1; }
  long AnyIndex() {
    return std::uniform_int_distribution<long>(std::max(1L, m_model.Next() - 60), m_model.Next())(m_random);
  }
  CFakeShortMessage& Device() { return m_home.device.sms; }
  std::string Tag() { return "<" + std::to_string(++m_iSerial) + ">"; }

  /// What is on the device outlives the store.
  void Restart() {
    m_store.reset();
    m_store = std::make_unique<CDeviceSMSImpl>(GetParam().memory, m_home.Service());
    m_store->Init();
    m_model.Load();
  }

  // --- operations

  void Arrive() {
    if (m_model.IsFull()) {
      return;
    }
    Message message;
    message.number = "+49171" + std::to_string(Between(1, 3));
    message.content = Tag();
    message.state = OneIn(3) ? SMS_STAT_READ : SMS_STAT_UNREAD;
    message.kind = OneIn(6) ? SMS_IDENTIFYER_REPORT : SMS_IDENTIFYER_ORDINARILY;
    SMReadRecord raw = MakeReadRecord(message.number, Utf16(message.content), message.state);
    raw.enType = message.kind;
    const long index = m_model.Put(message);
    ASSERT_EQ(index, static_cast<long>(Device().Put(GetParam().memory, raw)));
    if (message.kind == SMS_IDENTIFYER_ORDINARILY && !m_model.Moves()) {
      m_store->AddNewMessage(m_model.AsRead(index));
      m_model.AddNew(index);
    }
  }

  static SMS_STAT StateOf(const CSMSRecordImpl& record) {
    switch (record.GetPosition()) {
      case NS_SMS::SEND_BOX_SIM:
      case NS_SMS::SEND_BOX_NV:
        return record.GetSendResult() == NS_SMS::SUCCESS ? SMS_STAT_SENT : SMS_STAT_UNSENT;
      case NS_SMS::RECEIVE_BOX_SIM:
      case NS_SMS::RECEIVE_BOX_NV:
        return record.GetIsRead() == NS_SMS::IS_NOT_READ ? SMS_STAT_UNREAD : SMS_STAT_READ;
      default:
        return SMS_STAT_ALL;
    }
  }

  CSMSRecordImpl RandomRecord() {
    const int boxes[] = {NS_SMS::SEND_BOX_SIM, NS_SMS::RECEIVE_BOX_SIM, NS_SMS::SEND_BOX_NV, NS_SMS::RECEIVE_BOX_NV,
                         NS_SMS::DRAFT_BOX};
    CSMSRecordImpl record = MakeRecord(Utf16(Tag()), boxes[Between(0, 4)]);
    record.SetNumber(Utf16("+4930" + std::to_string(m_iSerial)).c_str());
    record.SetIsRead(Between(0, 1));
    record.SetSendResult(Between(0, 1));
    record.SetSMSPriority(Between(0, 4));
    record.SetTime(OneIn(3) ? u"soon" : u"20261120120000");
    return record;
  }

  /// Up to two numbers, up to two parts, room for up to four indexes; a part in five meets a device that refuses it.
  void SaveOne() {
    CSMSRecordImpl record = RandomRecord();
    std::vector<std::string> numbers = {Utf8(record.GetNumber())};
    if (OneIn(4)) {
      numbers.push_back("+4940" + std::to_string(m_iSerial));
      record.SetNumber(Utf16(numbers[0] + ";" + numbers[1]).c_str());
    }
    std::vector<std::string> parts = {Utf8(record.GetContent())};
    if (OneIn(4)) {
      parts[0].resize(153, 'x');
      parts.push_back("[" + std::to_string(m_iSerial) + "]");
      record.SetContent(Utf16(parts[0] + parts[1] + std::string(20, 'y')).c_str());
      parts[1] += std::string(20, 'y');
    }
    const bool refused = OneIn(5);
    Device().Fail("SMSSaveMsg", refused ? 1 : 0);
    const int room = Between(0, 4);
    long ids[4] = {};
    long count = room;
    const long result = m_store->SaveRecord(&record, ids, count);
    Device().Fail("SMSSaveMsg", 0);

    std::vector<long> expected;
    const bool complete = Expect(record, numbers, parts, refused, expected);
    EXPECT_EQ(complete ? 0 : -1, result);
    expected.resize(std::min(expected.size(), static_cast<std::size_t>(room)));
    EXPECT_EQ(expected, std::vector<long>(ids, ids + count));
  }
  bool Expect(const CSMSRecordImpl& record, const std::vector<std::string>& numbers,
              const std::vector<std::string>& parts, bool refused, std::vector<long>& indexes) {
    const int priority = record.GetSMSPriority();
    bool complete = true;
    for (std::size_t number = 0; number < numbers.size(); ++number) {
      for (std::size_t part = 0; part < parts.size(); ++part) {
        Message message;
        message.number = numbers[number];
        message.content = parts[part];
        message.state = StateOf(record);
        message.time = VELK_wstring(record.GetTime()).size() > 13 ? kTime : "00000000000000";
        if (parts.size() > 1) {
          message.reference = static_cast<int>(number);
          message.total = static_cast<int>(parts.size());
          message.part = static_cast<int>(part);
        }
        const bool first = number == 0 && part == 0;
        const long index = refused && first ? 0 : m_model.Save(message, priority <= 3 ? priority : 0);
        complete = complete && index != 0;
        if (index == 0 && m_model.IsFull()) {
          return false;
        }
        if (index != 0) {
          indexes.push_back(index);
        }
      }
    }
    return complete;
  }

  void ReadOne() {
    const long index = AnyIndex();
    const bool refused = OneIn(5);
    Device().Fail("SMSReadMsg", refused ? 1 : 0);
    CSMSRecordImpl record(index);
    const bool there = m_model.Find(index) != nullptr && !refused;
    EXPECT_EQ(there ? 0 : -1, m_store->GetRecord(&record));
    EXPECT_EQ(Describe(there ? m_model.AsRead(index) : CSMSRecordImpl(index)), Describe(record));
    Device().Fail("SMSReadMsg", 0);
  }

  void UpdateOne() {
    CSMSRecordImpl record = RandomRecord();
    record.SetMSGID(AnyIndex());
    m_model.Update(record);
    EXPECT_EQ(0, m_store->UpdateRecord(&record));
  }

  void RemoveOne() {
    const long index = AnyIndex();
    const bool refused = OneIn(5);
    Device().Fail("SMSDeleteMsg", refused ? 1 : 0);
    const bool gone = !refused && m_model.Remove(index);
    EXPECT_EQ(gone ? 0 : -1, OneIn(2) ? m_store->DeleteRecord(index) : m_store->RemoveRecord(index));
    Device().Fail("SMSDeleteMsg", 0);
  }

  void AskForRoom() {
    int capacity = 0;
    int used = 0;
    EXPECT_EQ(0, m_store->GetRecordInfo(capacity, used));
    EXPECT_EQ(kCapacity, static_cast<std::size_t>(capacity));
    EXPECT_EQ(m_model.Count(), static_cast<std::size_t>(used));
    EXPECT_EQ(m_model.IsFull() ? 1 : 0, m_store->CheckIsFull());
  }

  void GoBackAndLoad() {
    m_store->BackBeforeInit();
    m_model.Empty();
    ExpectEqual();
    EXPECT_EQ(-1, m_store->CheckIsFull());
    CSMSRecordImpl record = RandomRecord();
    EXPECT_EQ(-1, Save(*m_store, record).result) << "nothing is written until the next load";
    m_store->Init();
    m_model.Load();
  }

  void MoveAll() {
    m_store->ClearDeviceData();
    EXPECT_TRUE(m_store->CutAllToLocal());
    m_model.Cut();
  }

  void Operate() {
    if (OneIn(300)) {
      return MoveAll();
    }
    if (OneIn(50)) {
      return GoBackAndLoad();
    }
    switch (Between(0, 9)) {
      case 0:
      case 1:
      case 2:
        return Arrive();
      case 3:
      case 4:
        return SaveOne();
      case 5:
        return ReadOne();
      case 6:
        return UpdateOne();
      case 7:
        return AskForRoom();
      default:
        return RemoveOne();
    }
  }

  // --- comparing

  void ExpectEqual() {
    std::vector<std::string> mirror;
    for (const CSMSRecordImpl& record : Records(*m_store->GetReocrdList())) {
      mirror.push_back(std::to_string(record.GetMSGID()) + "|" + Describe(record));
    }
    EXPECT_EQ(m_model.MirrorLines(), mirror);
    std::vector<std::string> device;
    const std::vector<MSG_HANDLE> indexes = Device().HeldIndexes(GetParam().memory);
    const std::vector<SMReadRecord> held = Device().Held(GetParam().memory);
    for (std::size_t at = 0; at < held.size(); ++at) {
      device.push_back(std::to_string(indexes[at]) + "|" + Utf8(held[at].wszContent) + "|" +
                       std::to_string(held[at].enSMStat));
    }
    EXPECT_EQ(m_model.DeviceLines(), device);
  }
  /// Every moved message is in the local store once, alone or inside the whole that its parts became.
  void ExpectMovedOnce() {
    std::multiset<std::string> expected;
    for (const std::string& content : m_model.Moved()) {
      CollectTags(content, expected);
    }
    std::multiset<std::string> found;
    for (const std::string& content : m_home.Local()) {
      CollectTags(content, found);
    }
    EXPECT_LT(100u, expected.size());
    EXPECT_EQ(expected, found);
  }
  static void CollectTags(const std::string& content, std::multiset<std::string>& tags) {
    for (std::size_t at = content.find_first_of("<["); at != std::string::npos;
         at = content.find_first_of("<[", at + 1)) {
      tags.insert(content.substr(at, content.find_first_of(">]", at) + 1 - at));
    }
  }

  CDeviceHome m_home;
  CModel m_model;
  std::mt19937 m_random;
  std::unique_ptr<CDeviceSMSImpl> m_store;
  int m_iSerial = 0;
};

TEST_P(DeviceStoreModel, AgreesAfterTenThousandRandomOperationsWithARestartEveryFiveHundred) {
  for (int done = 1; done <= kOperations && !HasFailure(); ++done) {
    Operate();
    ExpectEqual();
    if (done % kUntilRestart == 0) {
      Restart();
      ExpectEqual();
    }
  }
  ExpectMovedOnce();
}

INSTANTIATE_TEST_SUITE_P(Memories, DeviceStoreModel,
                         testing::Values(ModelRow{"SimKeeps", SMS_MEM_SM, kKeepOnDevice},
                                         ModelRow{"SimMoves", SMS_MEM_SM, ""},
                                         ModelRow{"ModemKeeps", SMS_MEM_ME, kKeepOnDevice},
                                         ModelRow{"ModemMoves", SMS_MEM_ME, ""}),
                         [](const testing::TestParamInfo<ModelRow>& row) { return std::string(row.param.name); });

}  // namespace
