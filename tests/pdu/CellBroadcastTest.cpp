// Pages of the field decode as their rows say, damaged ones too; what is encoded says the same.
#include "CellBroadcast.h"

#include "PduRows.h"
#include "Text.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <random>

using nlohmann::json;
using namespace sms_pdu;

namespace {

struct PageRow {
  std::string id;
  std::string as;  // page (GSM) or message (UMTS)
  std::string hex;
  json want;
};

std::vector<PageRow> ReadRows() {
  std::ifstream file(PDU_DATA "/pages.jsonl");
  std::vector<PageRow> rows;
  for (std::string line; std::getline(file, line);) {
    const json row = json::parse(line);
    rows.push_back({row["id"], row["as"], row["hex"], row["want"]});
  }
  return rows;
}

std::string ContentOf(const BroadcastPage& page) {
  return page.octetCount != 0 ? Hex(page.octets, page.octetCount) : Utf8(VELK_wstring(page.text, page.textLength));
}

json Describe(const BroadcastPage& page) {
  const PageCoding coding = ParsePageCoding(page.dcs);
  json out = {{"serial", page.serial}, {"id", page.messageId}, {"dcs", page.dcs},
              {"page", page.page},     {"pages", page.pages},  {"language", page.language}};
  if (coding.messageClass >= 0) out["class"] = coding.messageClass;
  if (page.header.length != 0) out["header"] = Hex(page.header.octets, page.header.length);
  out[coding.coding == Coding::Octets || coding.compressed ? "data" : "text"] = ContentOf(page);
  return out;
}

json DescribeRow(const PageRow& row) {
  const std::vector<BYTE> octets = Octets(row.hex);
  if (row.as == "page") {
    BroadcastPage page;
    const PduError error = DecodePage(octets.data(), octets.size(), &page);
    return error == PduError::None ? Describe(page) : json{{"error", ErrorText(error)}};
  }
  std::vector<BroadcastPage> pages(kBroadcastPages);
  std::size_t count = 0;
  const PduError error = DecodeBroadcastMessage(octets.data(), octets.size(), pages.data(), pages.size(), &count);
  if (error != PduError::None) return {{"error", ErrorText(error)}};
  json out = Describe(pages[0]);
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += ContentOf(pages[i]);
  out["text"] = text;
  EXPECT_EQ(out["pages"], count);
  return out;
}

BroadcastPage Page(BYTE dcs, const VELK_wstring& text) {
  BroadcastPage page;
  page.serial = 0x1234;
  page.messageId = 4371;
  page.dcs = dcs;
  page.page = 2;
  page.pages = 3;
  page.textLength = static_cast<BYTE>(text.size());
  std::copy(text.begin(), text.end(), page.text);
  return page;
}

std::vector<BYTE> Encoded(const BroadcastPage& page) {
  std::vector<BYTE> out(kPageOctets);
  std::size_t written = 0;
  EXPECT_EQ(EncodePage(page, out.data(), out.size(), &written), PduError::None);
  out.resize(written);
  return out;
}

PduError TryEncode(const BroadcastPage& page, std::size_t capacity = kPageOctets) {
  std::vector<BYTE> out(capacity);
  std::size_t written = 9;
  const PduError error = EncodePage(page, out.data(), out.size(), &written);
  EXPECT_EQ(error == PduError::None, written != 0);
  return error;
}

json Again(const BroadcastPage& page) {
  const std::vector<BYTE> octets = Encoded(page);
  BroadcastPage again;
  EXPECT_EQ(DecodePage(octets.data(), octets.size(), &again), PduError::None);
  return Describe(again);
}

}  // namespace

TEST(CellBroadcast, EveryRowSaysWhatItShould) {
  const std::vector<PageRow> rows = ReadRows();
  EXPECT_EQ(rows.size(), 34U);
  for (const PageRow& row : rows) {
    const json got = DescribeRow(row);
    for (const auto& [name, value] : row.want.items()) EXPECT_EQ(got.value(name, json()), value) << row.id << got;
    EXPECT_EQ(got.contains("class"), row.want.contains("class")) << row.id;
  }
}

TEST(CellBroadcast, EveryRowSaysTheSameWhenEncodedAgain) {
  for (const PageRow& row : ReadRows()) {
    const std::vector<BYTE> octets = Octets(row.hex);
    BroadcastPage page;
    if (row.as != "page" || DecodePage(octets.data(), octets.size(), &page) != PduError::None) continue;
    EXPECT_EQ(Again(page), Describe(page)) << row.id;
  }
}

TEST(CellBroadcast, EveryTruncationAndChangeGivesAPageOrAReason) {
  std::mt19937 random(2341);
  for (const PageRow& row : ReadRows()) {
    const std::vector<BYTE> octets = Octets(row.hex);
    for (std::size_t size = 0; size <= octets.size(); ++size) {
      std::vector<BYTE> damaged(octets.begin(), octets.begin() + static_cast<std::ptrdiff_t>(size));
      if (size != 0) damaged[random() % size] = static_cast<BYTE>(random());
      BroadcastPage page;
      const PduError error = DecodePage(damaged.data(), size, &page);
      EXPECT_EQ(error, size < 6 ? PduError::Truncated : size > kPageOctets ? PduError::TooLong : PduError::None);
      if (error == PduError::None) {
        EXPECT_EQ(Again(page), Describe(page)) << Hex(damaged);
      }
    }
  }
}

TEST(CellBroadcast, AMessageThatEndsEarlyIsRefused) {
  std::vector<BroadcastPage> pages(kBroadcastPages);
  for (const PageRow& row : ReadRows()) {
    if (row.as != "message") continue;
    const std::vector<BYTE> octets = Octets(row.hex);
    for (std::size_t size = 0; size < octets.size(); ++size) {
      const std::vector<BYTE> cut(octets.begin(), octets.begin() + static_cast<std::ptrdiff_t>(size));
      std::size_t count = 9;
      EXPECT_EQ(DecodeBroadcastMessage(cut.data(), size, pages.data(), pages.size(), &count), PduError::Truncated);
      EXPECT_EQ(count, 0U);
    }
  }
}

TEST(CellBroadcast, AMessageThatMakesNoSenseIsRefusedForItsReason) {
  std::vector<BYTE> octets(7 + 2 * 83);
  octets[0] = 1;
  octets[6] = 2;
  std::vector<BroadcastPage> pages(kBroadcastPages);
  const auto decode = [&](std::size_t capacity) {
    std::size_t count = 0;
    return DecodeBroadcastMessage(octets.data(), octets.size(), pages.data(), capacity, &count);
  };
  EXPECT_EQ(decode(2), PduError::None);
  EXPECT_EQ(decode(1), PduError::BufferTooSmall);
  octets[7 + 82] = 83;
  EXPECT_EQ(decode(2), PduError::TooLong);
  octets[6] = 16;
  EXPECT_EQ(decode(15), PduError::TooLong);
  octets[6] = 0;
  EXPECT_EQ(decode(15), PduError::TooLong);
  octets[0] = 2;
  EXPECT_EQ(decode(15), PduError::WrongType);
}

TEST(CellBroadcast, APageTakes93CharactersOr41UnitsOfUcs2) {
  EXPECT_EQ(Again(Page(0x01, VELK_wstring(93, u'a')))["text"], std::string(93, 'a'));
  EXPECT_EQ(TryEncode(Page(0x48, VELK_wstring(41, u'\u0416'))), PduError::None);
  EXPECT_EQ(TryEncode(Page(0x48, VELK_wstring(42, u'\u0416'))), PduError::TooLong);
  EXPECT_EQ(TryEncode(Page(0x01, VELK_wstring(47, u'\u20AC'))), PduError::TooLong);
  EXPECT_EQ(TryEncode(Page(0x10, VELK_wstring(91, u'a'))), PduError::TooLong);
  EXPECT_EQ(TryEncode(Page(0x01, u"\u0416")), PduError::UnencodableCharacter);
  BroadcastPage page = Page(0x01, u"");
  page.textLength = 94;
  EXPECT_EQ(TryEncode(page), PduError::TooLong);
}

TEST(CellBroadcast, EveryBufferThatIsTooSmallIsLeftWithinItsBounds) {
  for (std::size_t capacity = 0; capacity < kPageOctets; ++capacity) {
    EXPECT_EQ(TryEncode(Page(0x01, u"a"), capacity), PduError::BufferTooSmall);
    EXPECT_EQ(TryEncode(Page(0x11, u"a"), capacity), PduError::BufferTooSmall);
  }
}

TEST(CellBroadcast, TheLanguageInFrontComesBackAndIsNoText) {
  for (const BYTE dcs : {BYTE(0x10), BYTE(0x11)}) {
    BroadcastPage page = Page(dcs, u"text");
    EXPECT_EQ(Again(page)["language"], "");
    page.language[0] = 'r';
    page.language[1] = 'u';
    EXPECT_EQ(Again(page)["language"], "ru");
    EXPECT_EQ(Again(page)["text"], "text");
  }
}

TEST(CellBroadcast, TheHeaderInFrontComesBackAndIsNoContent) {
  const std::vector<BYTE> octets = Octets("00010032901103240101086FE6");
  BroadcastPage page;
  ASSERT_EQ(DecodePage(octets.data(), octets.size(), &page), PduError::None);
  EXPECT_EQ(Describe(page)["header"], "240101");
  EXPECT_EQ(Describe(page)["text"], "a\u015F");  // of the Turkish table
  EXPECT_EQ(Again(page), Describe(page));
  for (const BYTE dcs : {BYTE(0x92), BYTE(0x95), BYTE(0x98)}) {  // GSM 7-bit, octets, UCS-2
    for (std::size_t length = 2; length < kPageContentOctets; ++length) {
      const BYTE data[kPageContentOctets] = {1, 2, 3};
      BroadcastPage made = Page(dcs, u"");
      ASSERT_TRUE(AddElement(&made.header, 0x70, data, length - 2));
      EXPECT_EQ(Again(made)["header"], Hex(made.header.octets, length)) << length;
      EXPECT_EQ(Again(made), Describe(made)) << length;
    }
  }
}

TEST(CellBroadcast, AHeaderTakesItsRoomOfAPage) {
  BroadcastPage page = Page(0x90, VELK_wstring(86, u'a'));  // 6 octets are 7 characters
  ASSERT_TRUE(AddConcatenation(&page.header, {7, 2, 1, false}));
  EXPECT_EQ(Again(page), Describe(page));
  page.text[page.textLength++] = u'a';
  EXPECT_EQ(TryEncode(page), PduError::TooLong);
  page = Page(0x98, VELK_wstring(38, u'\u0416'));
  ASSERT_TRUE(AddConcatenation(&page.header, {7, 2, 1, false}));
  EXPECT_EQ(Again(page), Describe(page));
  page.text[page.textLength++] = u'\u0416';
  EXPECT_EQ(TryEncode(page), PduError::TooLong);
  page = Page(0x94, u"");
  page.header.length = kPageContentOctets;
  EXPECT_EQ(TryEncode(page), PduError::TooLong);
}

TEST(CellBroadcast, AHeaderBeyondThePageIsNone) {
  const std::vector<BYTE> octets = Octets("00010032941104AABBCC");
  BroadcastPage page;
  ASSERT_EQ(DecodePage(octets.data(), octets.size(), &page), PduError::None);
  EXPECT_EQ(page.header.length, 0);
  EXPECT_EQ(Describe(page)["data"], "AABBCC");
}

TEST(CellBroadcast, APageThatEndsInItsLanguageNamesNone) {
  for (const std::string hex : {"000100321011F23A", "00010032111172"}) {  // "ru" without what stands behind it
    const std::vector<BYTE> octets = Octets(hex);
    BroadcastPage page;
    ASSERT_EQ(DecodePage(octets.data(), octets.size(), &page), PduError::None);
    EXPECT_STREQ(page.language, "");
    EXPECT_EQ(page.textLength, 0);
  }
}

TEST(CellBroadcast, APageParameterWithoutSenseReadsAsPage1Of1) {
  for (unsigned parameter = 0; parameter < 256; ++parameter) {
    const BYTE octets[] = {0, 0, 0, 0, 1, static_cast<BYTE>(parameter)};
    BroadcastPage page;
    ASSERT_EQ(DecodePage(octets, sizeof octets, &page), PduError::None);
    const bool sense = parameter >> 4 != 0 && parameter >> 4 <= (parameter & 15);
    EXPECT_EQ(page.page, sense ? parameter >> 4 : 1);
    EXPECT_EQ(page.pages, sense ? parameter & 15 : 1);
  }
}

TEST(CellBroadcast, EveryDataCodingSchemeReadsAsTheStandardHasIt) {
  for (unsigned dcs = 0; dcs < 256; ++dcs) {
    const PageCoding coding = ParsePageCoding(static_cast<BYTE>(dcs));
    const unsigned group = dcs >> 4;
    const bool general = (group >= 4 && group <= 7) || group == 9;
    const bool octets = (general && (dcs & 0x0C) == 4) || (group == 15 && (dcs & 4));
    const bool ucs2 = dcs == 0x11 || (general && (dcs & 0x0C) == 8);
    EXPECT_EQ(coding.coding, octets ? Coding::Octets : ucs2 ? Coding::Ucs2 : Coding::Gsm7) << dcs;
    EXPECT_EQ(coding.compressed, group == 6 || group == 7) << dcs;
    EXPECT_EQ(coding.languageInFront, dcs == 0x10 || dcs == 0x11) << dcs;
    EXPECT_EQ(coding.headerInFront, group == 9) << dcs;
    const bool classed = group == 5 || group == 7 || group == 9 || (group == 15 && (dcs & 3) != 0);
    EXPECT_EQ(coding.messageClass, classed ? static_cast<int>(dcs & 3) : -1) << dcs;
  }
}

TEST(CellBroadcast, EveryLanguageIsThatOfTheStandard) {
  const std::string first[] = {"de", "en", "it", "fr", "es", "nl", "sv", "da",
                               "pt", "fi", "no", "el", "tr", "hu", "pl"};
  const std::string third[] = {"cs", "he", "ar", "ru", "is"};
  for (unsigned dcs = 0; dcs < 256; ++dcs) {
    const unsigned place = dcs & 15;
    const std::string expected = dcs >> 4 == 0 && place < std::size(first)   ? first[place]
                                 : dcs >> 4 == 2 && place < std::size(third) ? third[place]
                                                                             : "";
    EXPECT_EQ(ParsePageCoding(static_cast<BYTE>(dcs)).language, expected) << dcs;
  }
}
