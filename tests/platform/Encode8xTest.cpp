// Alpha identifiers of a SIM: which texts fit the codings with one base, judged by packing and unpacking them.
#include <gtest/gtest.h>

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "platform/Encode81.h"
#include "platform/Encode82.h"
#include "platform/Gsm7bit.h"

namespace {

using Octets = std::vector<BYTE>;

int DefaultCode(VELK_wchar_t ch) {
  for (int code = 0; code < 128; ++code) {
    if (code != 0x1B && arrayGSM_7DefaultAlphabet[code] == ch) {
      return code;
    }
  }
  return -1;
}

// Packs with a given base, or says that it cannot be done: 3GPP TS 51.011, Annex B, word for word.
std::optional<Octets> Pack(const VELK_wstring& text, int base, Octets head) {
  if (text.size() > 255) {
    return std::nullopt;
  }
  for (VELK_wchar_t ch : text) {
    const int code = DefaultCode(ch);
    if (code >= 0) {
      head.push_back(static_cast<BYTE>(code));
    } else if (ch >= base && ch <= base + 0x7F && (ch < 0xD800 || ch > 0xDFFF)) {
      head.push_back(static_cast<BYTE>(0x80 | (ch - base)));
    } else {
      return std::nullopt;
    }
  }
  return head;
}

Octets Head81(std::size_t length, int base) { return {0x81, static_cast<BYTE>(length), static_cast<BYTE>(base)}; }

Octets Head82(std::size_t length, int base) {
  return {0x82, static_cast<BYTE>(length), static_cast<BYTE>(base >> 8), static_cast<BYTE>(base & 0xFF)};
}

VELK_wstring Unpack(const Octets& octets) {
  const bool b81 = octets[0] == 0x81;
  const int base = b81 ? octets[2] << 7 : octets[2] << 8 | octets[3];
  VELK_wstring text;
  for (std::size_t i = b81 ? 3 : 4; i < octets.size(); ++i) {
    text +=
        static_cast<VELK_wchar_t>(octets[i] & 0x80 ? base + (octets[i] & 0x7F) : arrayGSM_7DefaultAlphabet[octets[i]]);
  }
  return text;
}

// Tries every base there is.
bool SlowFits81(const VELK_wstring& text) {
  for (int base = 0; base <= 0xFF; ++base) {
    if (Pack(text, base << 7, Head81(text.size(), base))) {
      return true;
    }
  }
  return false;
}

bool SlowFits82(const VELK_wstring& text) {
  if (Pack(text, 0, Head82(text.size(), 0))) {
    return true;
  }
  for (VELK_wchar_t base : text) {  // a base that fits can be raised to the lowest character that needs one
    if (Pack(text, base, Head82(text.size(), base))) {
      return true;
    }
  }
  return false;
}

bool Is81(const VELK_wstring& text, BYTE& base) {
  return CEncode81::is_encode81(text.data(), static_cast<int>(text.size()), base);
}

bool Is82(const VELK_wstring& text, WORD& base) {
  return CEncode82::is_encode82(text.data(), static_cast<int>(text.size()), base);
}

std::string Shown(const VELK_wstring& text) {
  std::string shown;
  for (VELK_wchar_t ch : text) {
    char unit[8];
    std::snprintf(unit, sizeof unit, "%04X ", static_cast<unsigned>(ch));
    shown += unit;
  }
  return shown;
}

// A yes must pack and come back with the base given, a no must hold for every base.
void ExpectJudgedRightly(const VELK_wstring& text) {
  BYTE base81 = 0xEE;
  const bool b81 = Is81(text, base81);
  ASSERT_EQ(SlowFits81(text), b81) << Shown(text);
  if (b81) {
    const auto packed = Pack(text, base81 << 7, Head81(text.size(), base81));
    ASSERT_TRUE(packed) << Shown(text);
    ASSERT_EQ(text, Unpack(*packed)) << Shown(text);
  }
  WORD base82 = 0xEEEE;
  const bool b82 = Is82(text, base82);
  ASSERT_EQ(SlowFits82(text), b82) << Shown(text);
  if (b82) {
    const auto packed = Pack(text, base82, Head82(text.size(), base82));
    ASSERT_TRUE(packed) << Shown(text);
    ASSERT_EQ(text, Unpack(*packed)) << Shown(text);
  }
}

struct KnownIdentifier {
  const char* pszName;
  Octets octets;  // as the standard or a card has them, without the padding
  VELK_wstring text;
};

void PrintTo(const KnownIdentifier& known, std::ostream* pOut) { *pOut << known.pszName; }

class Encode8xKnown : public ::testing::TestWithParam<KnownIdentifier> {};

}  // namespace

TEST_P(Encode8xKnown, FitsWithTheBaseOnTheCard) {
  const KnownIdentifier& known = GetParam();
  ASSERT_EQ(known.text, Unpack(known.octets));
  if (known.octets[0] == 0x81) {
    BYTE base = 0;
    ASSERT_TRUE(Is81(known.text, base));
    EXPECT_EQ(known.octets, *Pack(known.text, base << 7, Head81(known.text.size(), base)));
  } else {
    WORD base = 0;
    ASSERT_TRUE(Is82(known.text, base));  // the base on a card may lie lower than the lowest character
    EXPECT_EQ(known.text, Unpack(*Pack(known.text, base, Head82(known.text.size(), base))));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Cards, Encode8xKnown,
    ::testing::Values(
        KnownIdentifier{"Bengali81", {0x81, 4, 0x13, 0x53, 0x95, 0xA6, 0xA6}, u"S\u0995\u09A6\u09A6"},
        KnownIdentifier{"Armenian82", {0x82, 5, 0x05, 0x30, 0x2D, 0x82, 0xD3, 0x2D, 0x31}, u"-\u0532\u0583-1"},
        KnownIdentifier{"Cyrillic81", {0x81, 5, 0x08, 0xB3, 0xB4, 0xB5, 0x53, 0x54}, u"\u0433\u0434\u0435ST"},
        KnownIdentifier{"Cyrillic82", {0x82, 5, 0x04, 0x00, 0x2D, 0xB3, 0xB4, 0x2D, 0x31}, u"-\u0433\u0434-1"},
        KnownIdentifier{
            "Ideograph81", {0x81, 8, 0xD2, 0x4D, 0x6F, 0x7A, 0x69, 0x6C, 0x6C, 0x61, 0xCA}, u"Mozilla\u694A"},
        KnownIdentifier{
            "Ideograph82", {0x82, 8, 0x69, 0x00, 0x4D, 0x6F, 0x7A, 0x69, 0x6C, 0x6C, 0x61, 0xCA}, u"Mozilla\u694A"}),
    [](const auto& row) { return std::string(row.param.pszName); });

TEST(Encode8x, NeedNoBaseForPlainTextsOfCards) {
  // of cards with the alphabet's own coding, with coding 0x80 (filled up with one octet or more), with 0x81 and base 0
  for (const VELK_wstring text : {u"oFono", u"", u"Voice Mail", u"abc def", u"0123", u"ono", u"TEST"}) {
    BYTE base81 = 0xEE;
    WORD base82 = 0xEEEE;
    EXPECT_TRUE(Is81(text, base81)) << Shown(text);
    EXPECT_EQ(0, base81);
    EXPECT_TRUE(Is82(text, base82)) << Shown(text);
    EXPECT_EQ(0, base82);
  }
  EXPECT_EQ(u"ono", Unpack({0x81, 3, 0, 0x6F, 0x6E, 0x6F}));
}

TEST(Encode8x, RefuseTheCardWithABaseAmongTheSurrogates) {
  const VELK_wstring text = Unpack({0x82, 5, 0xD8, 0x00, 0x2D, 0xB3, 0xB4, 0x2D, 0x31});
  ASSERT_EQ((VELK_wstring{u'-', VELK_wchar_t(0xD833), VELK_wchar_t(0xD834), u'-', u'1'}), text);
  BYTE base81 = 0;
  WORD base82 = 0;
  EXPECT_FALSE(Is81(text, base81));
  EXPECT_FALSE(Is82(text, base82));
}

TEST(Encode8x, JudgesEverySingleUnitAsPackingDoes) {
  for (int unit = 0; unit <= 0xFFFF; ++unit) {
    ExpectJudgedRightly(VELK_wstring(1, static_cast<VELK_wchar_t>(unit)));
  }
}

TEST(Encode8x, JudgesEveryTextOverASmallAlphabetAsPackingDoes) {
  // default alphabet, extension, the edges of half pages, the ends of the plane, surrogates
  const VELK_wstring alphabet =
      u"A@{\u00E1\u0100\u0430\u043F\u047F\u0480\u04AF\u04B0\u20AC\u7FFF\u8000\u8040\uD7FF\xD83D\xDE00\uFFFF";
  const VELK_wstring units = alphabet + VELK_wstring(1, 0) + VELK_wstring(1, 0x1B);
  for (VELK_wchar_t first : units) {
    for (VELK_wchar_t second : units) {
      for (VELK_wchar_t third : units) {
        ExpectJudgedRightly({first, second, third});
      }
    }
  }
}

TEST(Encode8x, GiveTheLowestBaseThatIsNeeded) {
  BYTE base81 = 0;
  WORD base82 = 0;
  EXPECT_TRUE(Is81(u"a\u043Fb\u0430", base81));
  EXPECT_EQ(0x08, base81);
  EXPECT_TRUE(Is82(u"a\u043Fb\u0430", base82));
  EXPECT_EQ(0x0430, base82);
}

TEST(Encode8x, GiveNoBaseForAPlainText) {
  BYTE base81 = 1;
  WORD base82 = 1;
  EXPECT_TRUE(Is81(u"plain", base81));
  EXPECT_EQ(0, base81);
  EXPECT_TRUE(Is82(u"plain", base82));
  EXPECT_EQ(0, base82);
}

TEST(Encode8x, ReachOverAHalfPageOnlyWithTheLongBase) {
  BYTE base81 = 0;
  WORD base82 = 0;
  EXPECT_FALSE(Is81(u"\u047F\u0480", base81));
  EXPECT_TRUE(Is82(u"\u047F\u0480", base82));
  EXPECT_EQ(0x047F, base82);
  EXPECT_TRUE(Is82(u"\u0430\u04AF", base82));   // 127 apart
  EXPECT_FALSE(Is82(u"\u0430\u04B0", base82));  // 128 apart
}

TEST(Encode8x, CountAnExtensionCharacterAsOutsideTheAlphabet) {
  BYTE base81 = 0;
  EXPECT_TRUE(Is81(u"a\u20AC", base81));
  EXPECT_EQ(0x41, base81);
}

TEST(Encode8x, DoNotDependOnANationalSelection) {
  CGsm7bit::m_bHaveCustomize = true;
  CGsm7bit::m_stNLI_flag.enNLI_Lock = SMS_NLI_Turk_Lock;
  BYTE base81 = 0;
  EXPECT_TRUE(Is81(u"\u011F", base81));  // g breve, in the Turkish table, which no SIM uses
  EXPECT_EQ(0x02, base81);
  CGsm7bit::m_bHaveCustomize = false;
  CGsm7bit::m_stNLI_flag = SMS_NLI();
}

TEST(Encode8x, HoldAsManyCharactersAsTheirCountCanSay) {
  BYTE base81 = 0;
  WORD base82 = 0;
  EXPECT_TRUE(Is81(VELK_wstring(255, u'\u0430'), base81));
  EXPECT_TRUE(Is82(VELK_wstring(255, u'\u0430'), base82));
  EXPECT_FALSE(Is81(VELK_wstring(256, u'\u0430'), base81));
  EXPECT_FALSE(Is82(VELK_wstring(256, u'\u0430'), base82));
}

TEST(Encode8x, RefuseATextThatIsNotThereAndTakeAnEmptyOne) {
  BYTE base81 = 1;
  WORD base82 = 1;
  EXPECT_FALSE(CEncode81::is_encode81(nullptr, 3, base81));
  EXPECT_FALSE(CEncode82::is_encode82(nullptr, 3, base82));
  EXPECT_FALSE(CEncode81::is_encode81(u"abc", -1, base81));
  EXPECT_FALSE(CEncode82::is_encode82(u"abc", -1, base82));
  EXPECT_TRUE(CEncode81::is_encode81(nullptr, 0, base81));
  EXPECT_TRUE(CEncode82::is_encode82(nullptr, 0, base82));
  EXPECT_EQ(0, base81);
  EXPECT_EQ(0, base82);
}
