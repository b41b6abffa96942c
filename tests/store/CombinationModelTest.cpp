// Random sets of parts through the store and through a second, slow reading of the rules.
#include "StoreSupport.h"
#include "Text.h"

#include <gtest/gtest.h>
#include <cstdlib>
#include <random>

namespace {

/// A part as the model sees it. Times are counted in seconds of one calendar without zones.
struct Part {
  int row;
  std::string number;
  std::string content;
  int reference, total, part;
  bool timed;
  long long seconds;
  bool recycled;
};

struct Model {
  std::vector<Part> rows;
  int nextRow = 1;

  static bool Counts(const Part& stored, const Part& incoming) {
    return !stored.recycled && stored.timed && stored.number == incoming.number &&
           stored.reference == incoming.reference && stored.total == incoming.total &&
           std::llabs(stored.seconds - incoming.seconds) <= 86400;
  }

  /// The stored part to take for a number: the nearest in time, of these the first stored. Row 0: none.
  Part Take(const Part& incoming, int number) const {
    Part best{};
    for (const Part& stored : rows) {
      const bool candidate = Counts(stored, incoming) && stored.part == number;
      const bool better =
          best.row == 0 || std::llabs(stored.seconds - incoming.seconds) < std::llabs(best.seconds - incoming.seconds);
      if (candidate && better) {
        best = stored;
      }
    }
    return best;
  }

  void Save(Part incoming) {
    incoming.row = nextRow++;
    std::vector<Part> chosen;
    int candidates = 0;
    for (const Part& stored : rows) {
      candidates += Counts(stored, incoming) ? 1 : 0;
    }
    const bool longMessage = incoming.total >= 2 && incoming.part >= 0 && incoming.part <= incoming.total;
    if (longMessage && incoming.timed && candidates >= incoming.total - 1) {
      for (int number = 0; number <= incoming.total; ++number) {
        const Part taken = number == incoming.part ? incoming : Take(incoming, number);
        if (taken.row != 0) {
          chosen.push_back(taken);
        }
      }
    }
    if (chosen.empty() || static_cast<int>(chosen.size()) != incoming.total) {
      rows.push_back(incoming);
      return;
    }
    Part whole = incoming;
    whole.content.clear();
    whole.reference = whole.total = whole.part = 0;
    for (const Part& part : chosen) {
      whole.content += part.content;
      for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].row == part.row) {
          rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(i));
          break;
        }
      }
    }
    rows.push_back(whole);
  }

  /// @return its row; 0: there is none at that place, or it is in the recycle box already.
  int Recycle(std::size_t at) {
    if (at >= rows.size() || rows[at].recycled) {
      return 0;
    }
    rows[at].recycled = true;
    return rows[at].row;
  }

  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    for (const Part& part : rows) {
      lines.push_back(std::to_string(part.row) + " " + part.number + " " + part.content + " " +
                      std::to_string(part.reference) + "/" + std::to_string(part.total) + "/" +
                      std::to_string(part.part));
    }
    return lines;
  }
};

std::vector<std::string> LinesOf(CSMSRecordSetImpl& set) {
  std::vector<std::string> lines;
  for (const CSMSRecordImpl& record : Records(set)) {
    int reference = 0;
    int total = 0;
    int part = 0;
    record.GetMSGInfo(reference, total, part);
    lines.push_back(std::to_string(record.GetMSGID()) + " " + Utf8(record.GetNumber()) + " " +
                    Utf8(record.GetContent()) + " " + std::to_string(reference) + "/" + std::to_string(total) + "/" +
                    std::to_string(part));
  }
  return lines;
}

/// 2026-01-10 00:00:00 and so many seconds; January has no change of the clocks.
VELK_wstring TimeText(long long seconds) {
  const long long day = 10 + seconds / 86400;
  const long long rest = seconds % 86400;
  char text[32];
  std::snprintf(text, sizeof text, "202601%02lld%02lld%02lld%02lld", day, rest / 3600, rest / 60 % 60, rest % 60);
  return Utf16(text);
}

class CRandom {
public:
  explicit CRandom(unsigned seed) : m_engine(seed) {}
  int Between(int least, int most) { return std::uniform_int_distribution<int>(least, most)(m_engine); }
  bool OneIn(int n) { return Between(1, n) == 1; }

private:
  std::mt19937 m_engine;
};

Part RandomPart(CRandom& random, int serial) {
  Part part{};
  part.number = random.OneIn(4) ? "+4922" : "+4911";
  part.content = "<" + std::to_string(serial) + ">";
  part.reference = random.Between(1, 2);
  part.total = random.OneIn(12) ? random.Between(-1, 1) : random.Between(2, 4);
  part.part = random.OneIn(12) ? random.Between(-2, 7) : random.Between(1, part.total < 1 ? 1 : part.total);
  part.timed = !random.OneIn(15);
  const long long bases[] = {0, 86400, 86401, 172800, 172802};
  part.seconds = bases[random.Between(0, 4)] + random.Between(0, 3);
  return part;
}

class CombinationModel : public testing::TestWithParam<unsigned> {};

TEST_P(CombinationModel, AgreesOnRandomPartsInRandomOrder) {
  CRandom random(GetParam());
  CStoreHome home;
  Model model;
  for (int serial = 1; serial <= 250; ++serial) {
    if (random.OneIn(15)) {
      const int row = model.Recycle(static_cast<std::size_t>(random.Between(0, 30)));
      ASSERT_EQ(0, row == 0 ? 0 : home.Store().DeleteRecord(row));
    }
    const Part part = RandomPart(random, serial);
    CSMSRecordImpl record =
        MakePart(Utf16(part.content), part.part, part.total, part.reference,
                 part.timed ? TimeText(part.seconds) : VELK_wstring(u"2026011012000"), Utf16(part.number));
    ASSERT_EQ(0, Save(home.Store(), record).result);
    model.Save(part);
    ASSERT_EQ(model.Lines(), LinesOf(home.Set())) << "after part " << serial;
  }
  home.Restart();
  EXPECT_EQ(model.Lines(), LinesOf(home.Set()));
}

INSTANTIATE_TEST_SUITE_P(Seeds, CombinationModel, testing::Range(1u, 13u));

}  // namespace
