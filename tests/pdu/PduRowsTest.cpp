// PDUs of the field: every row decodes as it says, whole, cut and damaged.
#include "PduRows.h"
#include "Text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <random>

using nlohmann::json;
using namespace sms_pdu;

namespace {

/// What the whole row says: the service centre, then the message.
json DescribeRow(const PduRow& row) {
  std::vector<BYTE> octets(row.hex.size() / 2 + 1);
  std::size_t size = 0;
  PduError error = HexToOctets(row.hex.data(), row.hex.size(), octets.data(), octets.size(), &size);
  if (error != PduError::None) return {{"error", ErrorText(error)}};
  octets.resize(size);
  Address centre;
  std::size_t consumed = 0;
  unsigned defects = kDefectNone;
  if (row.centre) error = DecodeServiceCentre(octets.data(), octets.size(), &centre, &consumed, &defects);
  if (error != PduError::None) return {{"error", ErrorText(error)}};
  octets.erase(octets.begin(), octets.begin() + static_cast<std::ptrdiff_t>(consumed));
  json out = Describe(row.as, octets);
  if (out.contains("error")) return out;
  EXPECT_EQ(defects, kDefectNone);
  out["centre"] = Utf8(VELK_wstring(centre.text, centre.length));
  out["length"] = octets.size();
  out["first"] = octets.empty() ? 0 : octets[0];
  return out;
}

/// The octets of a row behind the service centre, in a block of their own size, so that a step beyond is seen.
std::vector<BYTE> Tpdu(const PduRow& row) {
  std::vector<BYTE> octets = Octets(row.hex);
  if (!row.centre) return octets;
  Address centre;
  std::size_t consumed = 0;
  unsigned defects = 0;
  if (DecodeServiceCentre(octets.data(), octets.size(), &centre, &consumed, &defects) != PduError::None) consumed = 0;
  return std::vector<BYTE>(octets.begin() + static_cast<std::ptrdiff_t>(consumed), octets.end());
}

bool IsHex(const PduRow& row) {
  return row.hex.size() % 2 == 0 && row.hex.find_first_not_of("0123456789ABCDEFabcdef") == std::string::npos;
}

/// What a reader of the message sees: everything but how the octets were damaged.
json Seen(json description) {
  description.erase("damaged");
  return description;
}

/// Octets that decode give a message that encodes to one that says the same.
void ExpectTotal(const std::string& as, const std::vector<BYTE>& tpdu) {
  const json first = Describe(as, tpdu);
  if (first.contains("error")) {
    EXPECT_STRNE(first["error"].get<std::string>().c_str(), ErrorText(PduError::None));
    return;
  }
  const std::vector<BYTE> again = Reencode(as, tpdu);
  json second = Seen(Describe(as, again));
  EXPECT_EQ(Seen(first), second) << as << " " << Hex(tpdu) << " -> " << Hex(again);
}

}  // namespace

TEST(PduRows, EveryRowSaysWhatItShould) {
  for (const PduRow& row : PduRows()) {
    const json got = DescribeRow(row);
    for (const auto& [name, value] : row.want.items()) {
      EXPECT_EQ(got.value(name, json()), value) << row.id << " " << name << " of " << got;
    }
    if (!row.want.contains("error")) {
      EXPECT_EQ(got.value("damaged", json()), row.want.value("damaged", json())) << row.id;
    }
  }
}

TEST(PduRows, EveryTypeAndManyDamagedRowsAreThere) {
  std::map<std::string, int> count;
  for (const PduRow& row : PduRows()) {
    ++count[row.as];
    if (row.want.contains("error")) ++count["refused"];
    if (row.want.contains("damaged")) ++count["damaged"];
  }
  EXPECT_GE(count["deliver"], 91);
  EXPECT_GE(count["submit"], 88);
  EXPECT_GE(count["report"], 22);
  EXPECT_GE(count["refused"], 25);
  EXPECT_GE(count["damaged"], 10);
}

TEST(PduRows, ARowWithoutOdditiesEncodesToTheSameOctets) {
  int same = 0;
  for (const PduRow& row : PduRows()) {
    if (!row.same) continue;
    const std::vector<BYTE> tpdu = Tpdu(row);
    EXPECT_EQ(Hex(Reencode(row.as, tpdu)), Hex(tpdu)) << row.id;
    ++same;
  }
  EXPECT_GT(same, 150);
}

TEST(PduRows, EveryTruncationGivesAMessageOrAReason) {
  for (const PduRow& row : PduRows()) {
    if (!IsHex(row)) continue;
    const std::vector<BYTE> tpdu = Tpdu(row);
    for (std::size_t size = 0; size <= tpdu.size(); ++size) {
      ExpectTotal(row.as, std::vector<BYTE>(tpdu.data(), tpdu.data() + size));
    }
  }
}

TEST(PduRows, EveryChangedOctetGivesAMessageOrAReason) {
  std::mt19937 random(20231120);
  for (const PduRow& row : PduRows()) {
    if (!IsHex(row)) continue;
    const std::vector<BYTE> tpdu = Tpdu(row);
    for (std::size_t i = 0; i < tpdu.size(); ++i) {
      std::vector<BYTE> changed = tpdu;
      changed[i] = static_cast<BYTE>(random());
      ExpectTotal(row.as, changed);
    }
  }
}

TEST(PduRows, ManyChangedOctetsGiveAMessageOrAReason) {
  static const char* const kTypes[] = {"deliver", "submit", "report"};
  std::mt19937 random(4711);
  for (int i = 0; i < 20000; ++i) {
    const PduRow& row = PduRows()[random() % PduRows().size()];
    if (!IsHex(row)) continue;
    std::vector<BYTE> tpdu = Tpdu(row);
    for (std::size_t k = random() % 6; k-- > 0 && !tpdu.empty();)
      tpdu[random() % tpdu.size()] = static_cast<BYTE>(random());
    if (random() % 4 == 0) tpdu.resize(random() % (tpdu.size() + 20));
    ExpectTotal(kTypes[random() % 3], tpdu);
  }
}

TEST(PduRows, TheServiceCentreInFrontIsReadWithinItsOctets) {
  std::mt19937 random(99);
  for (int i = 0; i < 20000; ++i) {
    std::vector<BYTE> octets(random() % 14);
    for (BYTE& octet : octets) octet = static_cast<BYTE>(random());
    if (!octets.empty() && random() % 2) octets[0] = static_cast<BYTE>(random() % 13);
    Address centre;
    std::size_t consumed = 77;
    unsigned defects = 0;
    const PduError error = DecodeServiceCentre(octets.data(), octets.size(), &centre, &consumed, &defects);
    EXPECT_LE(consumed, octets.size());
    EXPECT_EQ(error == PduError::None, consumed != 0);
    if (error != PduError::None) continue;
    BYTE again[kAddressMaxOctets];
    std::size_t written = 0;
    ASSERT_EQ(EncodeServiceCentre(centre, again, sizeof again, &written), PduError::None);
    Address second;
    ASSERT_EQ(DecodeServiceCentre(again, written, &second, &consumed, &defects), PduError::None);
    EXPECT_EQ(VELK_wstring(second.text), VELK_wstring(centre.text)) << Hex(octets) << " " << Hex(again, written);
  }
}

TEST(PduRows, PartsOfASetJoinToTheWholeText) {
  std::ifstream file(PDU_DATA "/sets.jsonl");
  int sets = 0;
  for (std::string line; std::getline(file, line); ++sets) {
    const json set = json::parse(line);
    std::string joined;
    int sequence = 0;
    for (const std::string id : set["parts"]) {
      const auto row = std::find_if(PduRows().begin(), PduRows().end(), [&](const PduRow& r) { return r.id == id; });
      ASSERT_NE(row, PduRows().end()) << id;
      const json part = DescribeRow(*row);
      const json place = {set["ref"], set["bits"], set["parts"].size(), ++sequence};
      EXPECT_EQ(part["part"], place) << id;
      joined += part.value("text", "") + part.value("data", "");
    }
    EXPECT_EQ(joined, set["joined"]) << set["id"];
  }
  EXPECT_EQ(sets, 12);
}
