// Code pages: UTF-8 against a slow second opinion, others by rows.
#include "platform/GlobalFunction.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <ostream>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

const int kUtf8 = 65001;
const VELK_wchar_t kReplacement = 0xFFFD;

VELK_wstring ToWide(const std::string& text, int codePage) {
  const int length = CGlobalFunction::MultiByteToWideChar(text.c_str(), nullptr, 0, codePage);
  VELK_wstring wide(static_cast<std::size_t>(length) + 1, u'#');
  EXPECT_EQ(length, CGlobalFunction::MultiByteToWideChar(text.c_str(), &wide[0], length + 1, codePage));
  EXPECT_EQ(0, wide.back());
  wide.pop_back();
  return wide;
}

std::string ToBytes(const VELK_wstring& text, int codePage) {
  const int length = CGlobalFunction::WideCharToMultiByte(text.c_str(), nullptr, 0, codePage);
  std::string bytes(static_cast<std::size_t>(length) + 1, '#');
  EXPECT_EQ(length, CGlobalFunction::WideCharToMultiByte(text.c_str(), &bytes[0], length + 1, codePage));
  EXPECT_EQ(0, bytes.back());
  bytes.pop_back();
  return bytes;
}

// --- The second opinion: a list of all encodings of all characters ---------------------------------------------------

std::string EncodeSlowly(unsigned long value) {
  const auto rest = [&](int shift) { return static_cast<char>(0x80 | ((value >> shift) & 0x3F)); };
  const auto lead = [&](unsigned long mark, int shift) { return static_cast<char>(mark | (value >> shift)); };
  if (value <= 0x7F) {
    return std::string(1, static_cast<char>(value));
  }
  if (value <= 0x7FF) {
    return {lead(0xC0, 6), rest(0)};
  }
  if (value <= 0xFFFF) {
    return {lead(0xE0, 12), rest(6), rest(0)};
  }
  return {lead(0xF0, 18), rest(12), rest(6), rest(0)};
}

VELK_wstring UnitsSlowly(unsigned long value) {
  if (value < 0x10000) {
    return VELK_wstring(1, static_cast<VELK_wchar_t>(value));
  }
  const unsigned long above = value - 0x10000;
  return {static_cast<VELK_wchar_t>(0xD800 + above / 0x400), static_cast<VELK_wchar_t>(0xDC00 + above % 0x400)};
}

bool IsScalar(unsigned long value) { return value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF); }

/// Beginnings of at most three bytes of all well-formed sequences.
const std::set<std::string>& Beginnings() {
  static const std::set<std::string> beginnings = [] {
    std::set<std::string> all;
    for (unsigned long value = 0; value <= 0x10FFFF; value += value < 0x10000 ? 1 : 64) {
      if (IsScalar(value)) {
        const std::string bytes = EncodeSlowly(value);
        for (std::size_t n = 1; n <= std::min<std::size_t>(3, bytes.size()); ++n) {
          all.insert(bytes.substr(0, n));
        }
      }
    }
    return all;
  }();
  return beginnings;
}

/// The character that these bytes are, or -1.
long CharacterOf(const std::string& bytes) {
  unsigned long value = static_cast<unsigned char>(bytes[0]);
  if (bytes.size() > 1) {
    value &= bytes.size() == 2 ? 0x1F : bytes.size() == 3 ? 0x0F : 0x07;
    for (std::size_t n = 1; n < bytes.size(); ++n) {
      value = value * 64 + (static_cast<unsigned char>(bytes[n]) & 0x3F);
    }
  }
  return IsScalar(value) && EncodeSlowly(value) == bytes ? static_cast<long>(value) : -1;
}

VELK_wstring DecodeSlowly(std::string text) {
  VELK_wstring result;
  while (!text.empty()) {
    std::size_t taken = 0;
    for (std::size_t n = 1; n <= std::min<std::size_t>(4, text.size()) && taken == 0; ++n) {
      const long value = CharacterOf(text.substr(0, n));
      if (value >= 0) {
        result += UnitsSlowly(static_cast<unsigned long>(value));
        taken = n;
      }
    }
    if (taken == 0) {
      taken = 1;
      while (taken < std::min<std::size_t>(3, text.size()) && Beginnings().count(text.substr(0, taken + 1)) != 0) {
        ++taken;
      }
      result += kReplacement;
    }
    text.erase(0, taken);
  }
  return result;
}

TEST(CodePage, EveryCharacterSurvivesUtf8) {
  for (unsigned long value = 1; value <= 0x10FFFF; ++value) {
    if (!IsScalar(value)) {
      continue;
    }
    const std::string bytes = EncodeSlowly(value);
    const VELK_wstring units = UnitsSlowly(value);
    VELK_wchar_t wide[4] = {};
    char narrow[8] = {};
    ASSERT_EQ(static_cast<int>(units.size()), CGlobalFunction::MultiByteToWideChar(bytes.c_str(), wide, 4, kUtf8));
    ASSERT_EQ(units, wide) << value;
    ASSERT_EQ(static_cast<int>(bytes.size()), CGlobalFunction::WideCharToMultiByte(units.c_str(), narrow, 8, kUtf8));
    ASSERT_EQ(bytes, narrow) << value;
  }
}

TEST(CodePage, EveryPairOfBytesIsReadAsTheSecondOpinionReadsIt) {
  for (int first = 1; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      const std::string text = second == 0 ? std::string(1, static_cast<char>(first))
                                           : std::string{static_cast<char>(first), static_cast<char>(second)};
      ASSERT_EQ(DecodeSlowly(text), ToWide(text, kUtf8)) << first << " " << second;
    }
  }
}

TEST(CodePage, SequencesOfEdgeBytesAreReadAsTheSecondOpinionReadsThem) {
  const std::string edges =
      "A\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xEC\xED\xEE\xEF\xF0\xF1\xF3\xF4\xF5\xFF";
  std::vector<std::string> texts = {""};
  for (int length = 0; length < 4; ++length) {
    std::vector<std::string> longer;
    for (const std::string& text : texts) {
      for (const char edge : edges) {
        longer.push_back(text + edge);
      }
    }
    texts.swap(longer);
  }
  for (const std::string& text : texts) {
    ASSERT_EQ(DecodeSlowly(text), ToWide(text, kUtf8)) << testing::PrintToString(text);
  }
}

TEST(CodePage, RandomBytesAreReadAsTheSecondOpinionReadsThem) {
  std::mt19937 random(20240501);
  for (int round = 0; round < 3000; ++round) {
    std::string text;
    for (unsigned long n = random() % 30; n > 0; --n) {
      text += static_cast<char>(random() % 255 + 1);
      text += random() % 2 == 0 ? EncodeSlowly(0x80 + random() % 0x700) : EncodeSlowly(0x10000 + random() % 0x100000);
    }
    ASSERT_EQ(DecodeSlowly(text), ToWide(text, kUtf8)) << testing::PrintToString(text);
  }
}

struct Row {
  const char* name;
  std::string bytes;
  VELK_wstring units;
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

class DamagedUtf8 : public testing::TestWithParam<Row> {};

TEST_P(DamagedUtf8, IsReplacedByMaximalSubparts) { EXPECT_EQ(GetParam().units, ToWide(GetParam().bytes, kUtf8)); }

INSTANTIATE_TEST_SUITE_P(CodePage, DamagedUtf8,
                         testing::Values(Row{"ContinuationAlone", "a\x80z", u"a\uFFFDz"},
                                         Row{"CutShort", "a\xE2\x82", u"a\uFFFD"},
                                         Row{"CutShortBeforeText", "\xF0\x9F\x98z", u"\uFFFDz"},
                                         Row{"TooLongSlash", "\xC0\xAF", u"\uFFFD\uFFFD"},
                                         Row{"TooLongThree", "\xE0\x80\xAF", u"\uFFFD\uFFFD\uFFFD"},
                                         Row{"Surrogate", "\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},
                                         Row{"AboveTheLast", "\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
                                         Row{"NeverUsed", "\xFE\xFF", u"\uFFFD\uFFFD"},
                                         // the example of The Unicode Standard, table 3-8
                                         Row{"StandardsExample", "\x61\xF1\x80\x80\xE1\x80\xC2\x62\x80\x63\x80\xBF\x64",
                                             u"a\uFFFD\uFFFD\uFFFDb\uFFFDc\uFFFD\uFFFDd"}),
                         [](const testing::TestParamInfo<Row>& row) { return row.param.name; });

TEST(CodePage, HalfPairsBecomeReplacementCharacters) {
  const std::string replacement = "\xEF\xBF\xBD";
  EXPECT_EQ("a" + replacement, ToBytes(u"a\xD83D", kUtf8));
  EXPECT_EQ(replacement + "a", ToBytes(u"\xDE00\x0061", kUtf8));
  EXPECT_EQ(replacement + replacement, ToBytes(u"\xDE00\xD83D", kUtf8));
  EXPECT_EQ(replacement + "\xF0\x9F\x98\x80", ToBytes(u"\xD83D\xD83D\xDE00", kUtf8));
}

TEST(CodePage, EveryUnitAloneIsWrittenAsTheSecondOpinionWritesIt) {
  for (unsigned long unit = 1; unit <= 0xFFFF; ++unit) {
    const std::string expected = IsScalar(unit) ? EncodeSlowly(unit) : EncodeSlowly(kReplacement);
    ASSERT_EQ(expected, ToBytes(VELK_wstring(1, static_cast<VELK_wchar_t>(unit)), kUtf8)) << unit;
  }
}

TEST(CodePage, ZeroAndUnknownPagesAreUtf8) {
  for (const int page : {0, kUtf8, -1, 1, 99999, 2147483647}) {
    EXPECT_EQ(u"\u20AC", ToWide("\xE2\x82\xAC", page)) << page;
    EXPECT_EQ("\xE2\x82\xAC", ToBytes(u"\u20AC", page)) << page;
  }
}

class NumberedPage : public testing::TestWithParam<std::pair<int, Row>> {};

TEST_P(NumberedPage, ConvertsBothWays) {
  const auto& [page, row] = GetParam();
  EXPECT_EQ(row.units, ToWide(row.bytes, page));
  EXPECT_EQ(row.bytes, ToBytes(row.units, page));
}

INSTANTIATE_TEST_SUITE_P(
    CodePage, NumberedPage,
    testing::Values(std::pair(1252, Row{"Western", "\x80\xE4", u"\u20AC\u00E4"}),
                    std::pair(1251, Row{"Cyrillic", "\xCF\xF0", u"\u041F\u0440"}),
                    std::pair(936, Row{"SimplifiedChinese", "\xC4\xE3\xBA\xC3", u"\u4F60\u597D"}),
                    std::pair(950, Row{"TraditionalChinese", "\xA7\x41", u"\u4F60"}),
                    std::pair(932, Row{"Japanese", "\x93\xFA\x96\x7B", u"\u65E5\u672C"}),
                    std::pair(949, Row{"Korean", "\xC7\xD1", u"\uD55C"}),
                    std::pair(54936, Row{"BeyondTheFirstPlane", "\x94\x39\xFC\x36", u"\U0001F600"}),
                    std::pair(50220, Row{"Stateful", "\x1B$BF|\x1B(B", u"\u65E5"}),
                    std::pair(28591, Row{"Latin1", "\xFF", u"\u00FF"}), std::pair(20127, Row{"Ascii", "abc", u"abc"})),
    [](const testing::TestParamInfo<std::pair<int, Row>>& row) { return row.param.second.name; });

TEST(CodePage, DamagedBytesOfAPageAreReplaced) {
  EXPECT_EQ(u"a\uFFFDb", ToWide("a\x81\x62", 1252).substr(0, 3));
  EXPECT_EQ(u"a\uFFFD", ToWide("a\xC4", 936));  // cut short
  EXPECT_EQ(u"a\uFFFDb", ToWide("a\xFF\x62", 20127));
}

TEST(CodePage, CharactersThatAPageLacksBecomeQuestionMarks) {
  EXPECT_EQ("a?b", ToBytes(u"a\u4F60b", 1252));
  EXPECT_EQ("a?b", ToBytes(u"a\U0001F600b", 1252));
  EXPECT_EQ("?b?", ToBytes(u"\xDE00\x0062\xD83D", 1252));
}

TEST(CodePage, LongTextsPassWhole) {
  const std::string bytes(100000, '\xE4');
  EXPECT_EQ(VELK_wstring(100000, u'\u00E4'), ToWide(bytes, 1252));
  EXPECT_EQ(bytes, ToBytes(VELK_wstring(100000, u'\u00E4'), 1252));
  EXPECT_EQ(VELK_wstring(100000, kReplacement), ToWide(bytes, kUtf8));
}

TEST(CodePage, WritesNoMoreThanTheBufferHolds) {
  VELK_wchar_t wide[] = u"######";
  EXPECT_EQ(5, CGlobalFunction::MultiByteToWideChar("abcde", wide, 3, 0));
  EXPECT_EQ(VELK_wstring(u"abc###"), wide);
  EXPECT_EQ(3, CGlobalFunction::MultiByteToWideChar("xyz", wide, 3, 0));
  EXPECT_EQ(VELK_wstring(u"xyz###"), wide);
  EXPECT_EQ(2, CGlobalFunction::MultiByteToWideChar("uv", wide, 3, 0));
  EXPECT_EQ(VELK_wstring(u"uv\0###", 6), VELK_wstring(wide, 6));
  char narrow[] = "######";
  EXPECT_EQ(5, CGlobalFunction::WideCharToMultiByte(u"abcde", narrow, 3, 1252));
  EXPECT_STREQ("abc###", narrow);
}

TEST(CodePage, TakesNullAndOddSizes) {
  VELK_wchar_t wide[] = u"##";
  char narrow[] = "##";
  EXPECT_EQ(0, CGlobalFunction::MultiByteToWideChar(nullptr, wide, 2, 0));
  EXPECT_EQ(0, wide[0]);
  EXPECT_EQ(0, CGlobalFunction::WideCharToMultiByte(nullptr, narrow, 2, 1252));
  EXPECT_EQ(0, narrow[0]);
  EXPECT_EQ(2, CGlobalFunction::MultiByteToWideChar("ab", wide, -1, 0));
  EXPECT_EQ(2, CGlobalFunction::MultiByteToWideChar("ab", nullptr, 7, 0));
  EXPECT_EQ(u'#', wide[1]);
}

}  // namespace
