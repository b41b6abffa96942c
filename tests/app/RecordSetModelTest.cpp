// Random operations on a set and on a naive list written apart.
#include "AppSupport.h"
#include "SMSRecordSetImpl.h"

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

struct Message {
  long id;
  std::string number;
  int read;
  int reference, total;
  int position;
  long day;  // of January 2009, at midnight
  std::string text;
};

/// The rules as a list that is always walked.
struct Model {
  std::vector<Message> messages;
  std::size_t cursor = 0;
  int missed = 0;

  std::size_t Find(long id) const {
    std::size_t place = 0;
    while (place < messages.size() && messages[place].id != id) {
      ++place;
    }
    return place;
  }
  long Push(const Message& message) {
    if (message.id == -1) {
      return -1;
    }
    const std::size_t place = Find(message.id);
    const bool unreadBefore = place < messages.size() && messages[place].read == 1;
    if (place < messages.size()) {
      messages[place] = message;
    } else {
      messages.push_back(message);
    }
    missed += unreadBefore && message.read == 0 ? -1 : 0;
    missed += !unreadBefore && message.read == 1 ? 1 : 0;
    cursor = 0;
    return 0;
  }
  void Remove(long id) {
    const std::size_t place = Find(id);
    if (place < messages.size()) {
      missed -= messages[place].read == 1 ? 1 : 0;
      messages.erase(messages.begin() + static_cast<std::ptrdiff_t>(place));
    }
    cursor = 0;
  }
  long Unread() const {
    long count = 0;
    for (const Message& message : messages) {
      count += message.read == 1 ? 1 : 0;
    }
    return count;
  }
  void Clear() {
    missed -= static_cast<int>(Unread());
    messages.clear();
    cursor = 0;
  }
  long First() {
    cursor = 0;
    return messages.empty() ? -1 : 0;
  }
  long Next() {
    if (cursor < messages.size()) {
      ++cursor;
    }
    return cursor < messages.size() ? 0 : -1;
  }
  std::string Parts(const std::string& number, int reference, int total, long day) {
    std::string texts;
    for (const Message& message : messages) {
      const bool part = message.position != 4 && message.number == number && message.reference == reference &&
                        message.total == total && std::labs(message.day - day) <= 1;
      texts += part ? message.text + ";" : "";
    }
    cursor = 0;
    return texts;
  }
};

class CRandomRun {
public:
  explicit CRandomRun(unsigned int uSeed) : m_random(uSeed), m_iMissedBefore(CSMSRecordSetImpl::m_iMissCount) {}

  void Step() {
    switch (Below(12)) {
      case 0:
      case 1:
      case 2:
        Push();
        break;
      case 3:
        Remove();
        break;
      case 4:
        EXPECT_EQ(m_model.First(), m_set.MoveFirst());
        break;
      case 5:
      case 6:
        EXPECT_EQ(m_model.Next(), m_set.MoveNext());
        break;
      case 7:
        ChangeKeysInPlace();
        break;
      case 8:
        ChangeAtTheCursor();
        break;
      case 9:
        LookForParts();
        break;
      case 10:
        AssignInPlace();
        break;
      default:
        ClearSeldom();
        break;
    }
    Compare();
  }

  void CompareAll() {
    long lState = m_set.MoveFirst();
    for (m_model.First(); m_model.cursor < m_model.messages.size(); m_model.Next()) {
      ASSERT_EQ(0, lState);
      EXPECT_EQ(m_model.messages[m_model.cursor].text, Utf8(m_set.GetContent()));
      lState = m_set.MoveNext();
    }
    EXPECT_EQ(-1, lState);
  }

private:
  int Below(int iLimit) { return static_cast<int>(m_random() % static_cast<unsigned int>(iLimit)); }

  /// Few values, so that they meet often.
  long AnyID() {
    const long ids[] = {-1, 0, 1, 2, 3, 4, 5, 6, 7, 511, 512, 513, -2, 2097151, 2097152, 2147483647};
    return ids[Below(16)];
  }
  std::string AnyNumber() { return Below(2) == 0 ? "1" : "2"; }

  Message AnyMessage() {
    return Message{AnyID(),      AnyNumber(), Below(3),      Below(2),
                   Below(4) - 1, Below(5),    10 + Below(4), "m" + std::to_string(++m_iTexts)};
  }

  static CSMSRecordImpl RecordOf(const Message& message) {
    CSMSRecordImpl record(message.id);
    record.SetNumber(Utf16(message.number).c_str());
    record.SetContent(Utf16(message.text).c_str());
    record.SetTime(Utf16("200901" + std::to_string(message.day) + "000000").c_str());
    record.SetIsRead(message.read);
    record.SetPosition(message.position);
    record.SetMSGInfo(message.reference, message.total, 1);
    return record;
  }

  void Push() {
    const Message message = AnyMessage();
    CSMSRecordImpl record = RecordOf(message);
    EXPECT_EQ(m_model.Push(message), m_set.PushSMSRecord(record));
  }

  void Remove() {
    const long id = AnyID();
    m_model.Remove(id);
    m_set.RemoveSMSRecord(id);
  }

  void ChangeKeys(Message& message, CSMSRecordImpl& record) {
    switch (Below(3)) {
      case 0:
        message.id = AnyID();
        record.SetMSGID(message.id);
        break;
      case 1:
        message.number = AnyNumber();
        record.SetNumber(Utf16(message.number).c_str());
        break;
      default:
        message.reference = Below(2);
        message.total = Below(4) - 1;
        record.SetMSGInfo(message.reference, message.total, 1);
        break;
    }
  }

  void ChangeKeysInPlace() {
    const long id = AnyID();
    const std::size_t place = m_model.Find(id);
    CSMSRecordImpl* const pRecord = m_set.GetRecord(id);
    ASSERT_EQ(place < m_model.messages.size(), pRecord != nullptr);
    if (pRecord != nullptr) {
      ChangeKeys(m_model.messages[place], *pRecord);
    }
  }

  void ChangeAtTheCursor() {
    CSMSRecordImpl* const pRecord = m_set.GetCurRecord();
    ASSERT_EQ(m_model.cursor < m_model.messages.size(), pRecord != nullptr);
    if (pRecord != nullptr) {
      ChangeKeys(m_model.messages[m_model.cursor], *pRecord);
    }
  }

  void AssignInPlace() {
    const long id = AnyID();
    const std::size_t place = m_model.Find(id);
    if (place == m_model.messages.size()) {
      return;
    }
    Message message = AnyMessage();
    message.read = m_model.messages[place].read;  // the count of unread messages does not see a change in place
    m_model.messages[place] = message;
    const CSMSRecordImpl record = RecordOf(message);
    const ISMSRecord* const pRecord = &record;
    if (Below(2) == 0) {
      *m_set.GetRecord(id) = record;
    } else {
      *m_set.GetRecord(id) = pRecord;
    }
  }

  void LookForParts() {
    const std::string number = AnyNumber();
    const int reference = Below(2);
    const int total = Below(4) - 1;
    const long day = 10 + Below(4);
    std::vector<CSMSRecordImpl> found;
    m_set.GetLongSMSRecord(reference, total, Utf16(number),
                           1231545600 + (day - 10) * 86400,  // 2009-01-10 00:00:00 UTC
                           found);
    std::string texts;
    for (const CSMSRecordImpl& record : found) {
      texts += Utf8(record.GetContent()) + ";";
    }
    EXPECT_EQ(m_model.Parts(number, reference, total, day), texts);
  }

  void ClearSeldom() {
    if (Below(40) == 0) {
      m_model.Clear();
      m_set.ClearSMSRecord();
    }
  }

  void Compare() {
    EXPECT_EQ(static_cast<long>(m_model.messages.size()), m_set.GetRecordCount());
    EXPECT_EQ(m_model.Unread(), m_set.GetUnReadSMSCount());
    EXPECT_EQ(m_model.missed, CSMSRecordSetImpl::m_iMissCount - m_iMissedBefore);
    const bool atEnd = m_model.cursor >= m_model.messages.size();
    EXPECT_EQ(atEnd ? "(null)" : m_model.messages[m_model.cursor].text, Utf8(m_set.GetContent()));
    const long id = AnyID();
    const std::size_t place = m_model.Find(id);
    const ISMSRecord* const pFound = m_set.GetSMSRecord(id);
    EXPECT_EQ(place < m_model.messages.size() ? m_model.messages[place].text : "(none)",
              pFound == nullptr ? "(none)" : Utf8(pFound->GetContent()));
  }

  std::mt19937 m_random;
  const int m_iMissedBefore;
  int m_iTexts = 0;
  Model m_model;
  CSMSRecordSetImpl m_set;
};

TEST(RecordSetModel, BehavesAsAListThatIsAlwaysWalked) {
  UseUtc();
  for (unsigned int uSeed = 1; uSeed <= 60 && !::testing::Test::HasFailure(); ++uSeed) {
    SCOPED_TRACE("seed " + std::to_string(uSeed));
    CRandomRun run(uSeed);
    for (int iStep = 0; iStep < 500 && !::testing::Test::HasFailure(); ++iStep) {
      run.Step();
    }
    run.CompareAll();
  }
}

}  // namespace
