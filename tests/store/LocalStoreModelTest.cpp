// Ten thousand random operations on the local store and on a model, with a restart from disk every five hundred.
#include "StoreSupport.h"
#include "Text.h"
#include "platform/JClock.h"

#include <gtest/gtest.h>
#include <map>
#include <random>

namespace {

const int kOperations = 10000;
const int kUntilRestart = 500;

/// The store as its header describes it: rows by identifier, and the set in its order. Long messages have their own
/// model; here no message has more than one part.
class CModel {
public:
  explicit CModel(const VELK_wstring& now) : m_now(now) {}

  static bool KeepsItsTime(const ISMSRecord& record) {
    const int box = record.GetPosition();
    const std::size_t length = VELK_wstring(record.GetTime()).size();
    return box == NS_SMS::RECEIVE_BOX || box == NS_SMS::RECEIPT_BOX || box == NS_SMS::RECEIVE_BOX_SIM ||
           box == NS_SMS::RECEIVE_BOX_NV || (box == NS_SMS::TIMING_BOX && length >= 1 && length <= 20);
  }

  /// @return the identifier; 0: not stored, which is no failure.
  long Save(CSMSRecordImpl record) {
    const int origin = record.GetInitialPosition();
    if (record.GetSMSClass() == NS_SMS::MS_CLASS_0 &&
        (origin == NS_SMS::RECEIVE_BOX || origin == NS_SMS::RECEIVE_BOX_SIM || origin == NS_SMS::RECEIVE_BOX_NV)) {
      return 0;
    }
    if (!KeepsItsTime(record)) {
      record.SetTime(m_now.c_str());
    }
    record.SetMSGID(m_lNext++);
    record.SetSMSClass(NS_SMS::MS_CLASS_3);
    Put(record);
    return record.GetMSGID();
  }

  bool Update(CSMSRecordImpl record) {
    if (m_rows.count(record.GetMSGID()) == 0) {
      return false;
    }
    if (record.GetPosition() == NS_SMS::DRAFT_BOX) {
      record.SetTime(m_now.c_str());
    }
    Put(record);
    return true;
  }

  bool Delete(long id) {
    const auto it = m_rows.find(id);
    if (it == m_rows.end() || it->second.GetPosition() == NS_SMS::RECYCLE_BOX ||
        it->second.GetPosition() == NS_SMS::RECEIPT_BOX || it->second.GetInitialPosition() == NS_SMS::RECEIPT_BOX) {
      return false;
    }
    CSMSRecordImpl record = it->second;
    record.SetSMSClass(NS_SMS::MS_CLASS_3);
    record.SetPosition(NS_SMS::RECYCLE_BOX);
    if (record.GetIsRead() == NS_SMS::IS_NOT_READ) {
      record.SetIsRead(NS_SMS::IS_READ);
    }
    Put(record);
    return true;
  }

  bool Remove(long id) {
    m_order.erase(std::remove(m_order.begin(), m_order.end(), id), m_order.end());
    return m_rows.erase(id) == 1;
  }

  void Restart() {
    m_order.clear();
    for (auto& row : m_rows) {
      row.second.SetSMSClass(NS_SMS::MS_CLASS_3);
      if (row.second.GetInitialPosition() != NS_SMS::CBS_BOX) {
        m_order.push_back(row.first);
      }
    }
  }

  std::vector<std::string> SetLines() const {
    std::vector<std::string> lines;
    for (const long id : m_order) {
      lines.push_back(DescribeAll(m_rows.at(id)));
    }
    return lines;
  }
  std::vector<std::string> RowLines() const {
    std::vector<std::string> lines;
    for (const auto& row : m_rows) {
      lines.push_back(std::to_string(row.first) + "|" + Describe(row.second));
    }
    return lines;
  }
  long Unread() const {
    return std::count_if(m_order.begin(), m_order.end(),
                         [this](long id) { return m_rows.at(id).GetIsRead() == NS_SMS::IS_NOT_READ; });
  }
  long Highest() const { return m_lNext; }
  std::size_t Count() const { return m_rows.size(); }
  const CSMSRecordImpl* Find(long id) const {
    const auto it = m_rows.find(id);
    return it == m_rows.end() ? nullptr : &it->second;
  }

private:
  void Put(const CSMSRecordImpl& record) {
    const long id = record.GetMSGID();
    m_rows[id] = record;
    if (std::find(m_order.begin(), m_order.end(), id) == m_order.end()) {
      m_order.push_back(id);
    }
  }

  const VELK_wstring m_now;
  std::map<long, CSMSRecordImpl> m_rows;
  std::vector<long> m_order;
  long m_lNext = 1;
};

CSMSRecordImpl RandomRecord(std::mt19937& random) {
  const auto between = [&random](int least, int most) {
    return std::uniform_int_distribution<int>(least, most)(random);
  };
  CSMSRecordImpl record = MakeRecord(Utf16("text " + std::to_string(between(0, 999999))), between(0, 12));
  record.SetInitialPosition(between(0, 12));
  record.SetIsRead(between(0, 1));
  record.SetSendResult(between(0, 1));
  record.SetMSGType(between(0, 4));
  record.SetSMSPriority(between(0, 4));
  record.SetSMSClass(between(0, 4));
  record.SetMSGInfo(between(0, 255), between(0, 1), 0);
  const VELK_wchar_t* const times[] = {u"", u"20261120120000", u"123456789012345678901", u"soon"};
  record.SetTime(times[between(0, 3)]);
  return record;
}

VELK_wstring Now() {
  const std::time_t now = JClock::CalendarNow();
  std::tm fields{};
  localtime_r(&now, &fields);
  char text[32];
  std::strftime(text, sizeof text, "%Y%m%d%H%M%S", &fields);
  return Utf16(text);
}

std::vector<std::string> LinesOf(CSMSRecordSetImpl& set) {
  std::vector<std::string> lines;
  for (const CSMSRecordImpl& record : Records(set)) {
    lines.push_back(DescribeAll(record));
  }
  return lines;
}

void ExpectEqual(CStoreHome& home, const CModel& model) {
  EXPECT_EQ(model.SetLines(), LinesOf(home.Set()));
  EXPECT_EQ(model.RowLines(), home.Rows());
  EXPECT_EQ(model.Unread(), home.Set().GetUnReadSMSCount());
  int capacity = 0;
  int used = 0;
  EXPECT_EQ(0, home.Store().GetRecordInfo(capacity, used));
  EXPECT_EQ(model.Count(), static_cast<std::size_t>(used));
}

void Operate(CStoreHome& home, CModel& model, std::mt19937& random) {
  const int kind = std::uniform_int_distribution<int>(0, 9)(random);
  const long id = std::uniform_int_distribution<long>(0, model.Highest() + 1)(random);
  CSMSRecordImpl record = RandomRecord(random);
  if (kind < 4) {
    const long expected = model.Save(record);
    const SaveResult saved = Save(home.Store(), record);
    EXPECT_EQ(0, saved.result);
    EXPECT_EQ(expected == 0 ? -1 : expected, saved.id);
  } else if (kind < 6) {
    record.SetMSGID(id);
    EXPECT_EQ(model.Update(record) ? 0 : -1, home.Store().UpdateRecord(&record));
  } else if (kind < 8) {
    EXPECT_EQ(model.Delete(id) ? 0 : -1, home.Store().DeleteRecord(id));
  } else if (kind < 9) {
    EXPECT_EQ(model.Remove(id) ? 0 : -1, home.Store().RemoveRecord(id));
  } else {
    CSMSRecordImpl asked(id);
    const CSMSRecordImpl* const expected = model.Find(id);
    EXPECT_EQ(expected == nullptr ? -1 : 0, home.Store().GetRecord(&asked));
    EXPECT_EQ(expected == nullptr ? Describe(CSMSRecordImpl(id)) : Describe(*expected), Describe(asked));
  }
}

TEST(LocalStoreModel, AgreesAfterTenThousandRandomOperationsWithARestartEveryFiveHundred) {
  const JManualClock clock(1795000000);
  CStoreHome home;
  CModel model(Now());
  std::mt19937 random(20261120);
  for (int done = 1; done <= kOperations && !testing::Test::HasFailure(); ++done) {
    Operate(home, model, random);
    if (done % kUntilRestart == 0) {
      ExpectEqual(home, model);
      home.Restart();
      model.Restart();
      ExpectEqual(home, model);
    }
  }
}

}  // namespace
