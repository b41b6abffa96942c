// Every division against the second opinion: all lengths of several mixes, and generated texts.
#include "DivisionSupport.h"
#include "SlowDivision.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <ostream>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

/// Both opinions on one text, from the same reference on.
void ExpectAgreement(const VELK_wstring& strText, int iCdmaSize) {
  for (const bool bConcatenate : {true, false}) {
    BYTE btSlow = btMR = 200;
    EXPECT_TRUE(SameParts(slow::DivideGsm(strText, bConcatenate, btSlow), DivideGsm(strText, bConcatenate)))
        << "GSM, concatenated " << bConcatenate << ", " << strText.size() << " units";
    EXPECT_EQ(btSlow, btMR);
    btSlow = btMR = 200;
    EXPECT_TRUE(SameParts(slow::DivideZpv(strText, bConcatenate, btSlow), DivideZpv(strText, bConcatenate)))
        << "ZPV, concatenated " << bConcatenate << ", " << strText.size() << " units";
    EXPECT_EQ(btSlow, btMR);
  }
  EXPECT_TRUE(SameParts(slow::DivideCdma(strText, iCdmaSize), DivideCdma(strText, iCdmaSize)))
      << "CDMA, limit " << iCdmaSize << ", " << strText.size() << " units";
}

// --- all lengths

struct MixRow {
  const char* pszName;
  VELK_wstring strUnit;  // repeated
  VELK_wstring strEnd;   // in place of the last units
  NationalRow national;
  bool bNational;
};

void PrintTo(const MixRow& row, std::ostream* pOut) { *pOut << row.pszName; }

class EveryLength : public testing::TestWithParam<MixRow> {};

TEST_P(EveryLength, UpTo1000UnitsIsDividedAsByTheSlowRules) {
  const MixRow& row = GetParam();
  const auto Run = [&] {
    for (std::size_t nLength = 0; nLength <= 1000 && !HasFailure(); ++nLength) {
      VELK_wstring strText;
      while (strText.size() < nLength) {
        strText += row.strUnit;
      }
      strText.resize(nLength);
      if (nLength >= row.strEnd.size()) {
        strText.replace(nLength - row.strEnd.size(), row.strEnd.size(), row.strEnd);
      }
      ExpectAgreement(strText, 160);
    }
  };
  if (row.bNational) {
    const CNationalChoice choice(row.national.enLock, row.national.enSingle);
    Run();
  } else {
    Run();
  }
}

const NationalRow kTurkish = {"Turkish", SMS_NLI_Turk_Lock, SMS_NLI_Turk_Single};
const NationalRow kSpanish = {"Spanish", SMS_NLI_Lock_Reverse, SMS_NLI_Span_Single};
const NationalRow kPortuguese = {"Portuguese", SMS_NLI_Port_Lock, SMS_NLI_Port_Single};

INSTANTIATE_TEST_SUITE_P(
    Mixes, EveryLength,
    testing::Values(MixRow{"Plain", u"The quick brown fox ", u"", kTurkish, false},
                    MixRow{"ExtensionsOnly", u"\u20AC", u"", kTurkish, false},
                    MixRow{"SomeExtensions", u"abcdef\u20ACghijk{", u"", kTurkish, false},
                    MixRow{"EndsWithAnExtension", u"a", u"\u20AC", kTurkish, false},
                    MixRow{"Latin", u"caf\u00E9 \u00E1 ", u"", kTurkish, false},
                    MixRow{"Cyrillic", u"\u0416\u0414 ", u"", kTurkish, false},
                    MixRow{"SurrogatePairs", u"a\U0001F600", u"", kTurkish, false},
                    MixRow{"Ucs2AtTheEnd", u"abc\u20AC", u"\u0416", kTurkish, false},
                    MixRow{"TurkishExtensions", u"a\u011Fb\u015Ec{\u0131", u"", kTurkish, true},
                    MixRow{"TurkishPlain", u"abc\u0131", u"", kTurkish, true},
                    MixRow{"SpanishExtensions", u"se\u00F1or\u00E1\u00ED\u20AC", u"", kSpanish, true},
                    MixRow{"PortugueseExtensions", u"\u00E7\u00E3o\u00EA \u20AC", u"", kPortuguese, true},
                    MixRow{"NationalUcs2", u"abc\u0416", u"", kSpanish, true}),
    [](const auto& row) { return std::string(row.param.pszName); });

class EveryLengthUnderEveryChoice : public testing::TestWithParam<NationalRow> {};

TEST_P(EveryLengthUnderEveryChoice, IsDividedAsByTheSlowRules) {
  const CNationalChoice choice(GetParam().enLock, GetParam().enSingle);
  for (std::size_t nLength = 0; nLength <= 1000 && !HasFailure(); ++nLength) {
    VELK_wstring strText(nLength, u'a');
    for (std::size_t i = 0; i < nLength; i += 7) {
      strText[i] = u"{\u00E9\u20AC"[i / 7 % 3];
    }
    ExpectAgreement(strText, 160);
  }
}

INSTANTIATE_TEST_SUITE_P(Tables, EveryLengthUnderEveryChoice, testing::ValuesIn(AllNationalChoices()), NationalName);

class EveryLengthAtALimit : public testing::TestWithParam<int> {};

TEST_P(EveryLengthAtALimit, IsDividedForCdmaAsByTheSlowRules) {
  for (const VELK_wchar_t ch : {u'a', u'\u00E1', u'\u0416'}) {
    for (std::size_t nLength = 0; nLength <= 1000; ++nLength) {
      const VELK_wstring strText = Of(ch, nLength);
      ASSERT_TRUE(SameParts(slow::DivideCdma(strText, GetParam()), DivideCdma(strText, GetParam()))) << nLength;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Limits, EveryLengthAtALimit,
                         testing::Values(-1, 0, 1, 5, 6, 7, 8, 10, 11, 20, 64, 70, 100, 140, 159, 160, 161, 186, 368));

// --- generated texts

/// Texts of every make: few or many kinds of characters, short, long, and too long.
class CTextSource {
public:
  explicit CTextSource(unsigned int uSeed) : m_random(uSeed) {}

  VELK_wstring Next() {
    static const VELK_wstring kKinds[] = {
        u"abcdefghijklmnopqrstuvwxyz ABC,.",        u"\u20AC{}[]~^|\\\f",
        u"\u00E9\u00E8\u00F9\u0394\u03A6\u00A1",    u"\u00E1\u00ED\u00E7\u011F\u015E\u0131\u00E2\u221E`",
        VELK_wstring(u"\0\x1B\xA0\uFFFF\u8000", 5), u"\u0416\u4E2D\U0001F600"};
    VELK_wstring strPool = kKinds[0];
    for (std::size_t i = 1; i < 6; ++i) {
      if (Below(3) == 0) {
        strPool += kKinds[i];
      }
    }
    const std::size_t nCommon = Below(100);  // of a hundred units so many are plain
    VELK_wstring strText(Length(), u'a');
    for (VELK_wchar_t& ch : strText) {
      ch = Below(100) < nCommon ? kKinds[0][Below(kKinds[0].size())] : strPool[Below(strPool.size())];
    }
    return strText;
  }
  std::size_t Below(std::size_t nLimit) { return static_cast<std::size_t>(m_random()) % nLimit; }

private:
  std::size_t Length() {
    const std::size_t nKind = Below(100);
    return nKind < 50 ? Below(340) : nKind < 98 ? Below(3000) : Below(45000);
  }
  std::mt19937 m_random;
};

class GeneratedTexts : public testing::TestWithParam<NationalRow> {};

TEST_P(GeneratedTexts, AreDividedAsByTheSlowRules) {
  const CNationalChoice choice(GetParam().enLock, GetParam().enSingle);
  CTextSource source(4711);
  for (int i = 0; i < 250 && !HasFailure(); ++i) {
    ExpectAgreement(source.Next(), static_cast<int>(source.Below(200)));
  }
}

TEST_P(GeneratedTexts, AreFilledAsByTheSlowRules) {
  const CNationalChoice choice(GetParam().enLock, GetParam().enSingle);
  CTextSource source(4712);
  const int aBits[] = {7, 14, 15, 16, 100, 720, 1048, 1072, 1088, 1119, 1120};
  for (int i = 0; i < 400; ++i) {
    VELK_wstring strText = source.Next();
    strText.resize(std::min<std::size_t>(strText.size(), 2000));
    const int iSingle = aBits[source.Below(11)];
    const int iPart = aBits[source.Below(11)];
    CSmsPackSequence sequence;
    DivideContent_Algorithm(strText.c_str(), LengthOf(strText), sequence, iSingle, iPart);
    Parts parts(static_cast<std::size_t>(sequence.Count()));
    sequence.CopyTo(parts.data());
    ASSERT_TRUE(SameParts(slow::Fill(strText, iSingle, iPart), parts)) << i << ": " << iSingle << " " << iPart;
  }
}

TEST_P(GeneratedTexts, ComeBackWholeFromTheirParts) {
  const CNationalChoice choice(GetParam().enLock, GetParam().enSingle);
  CTextSource source(4713);
  for (int i = 0; i < 300; ++i) {
    const VELK_wstring strText = source.Next();
    const Parts parts = DivideGsm(strText);
    if (!parts.empty()) {
      ASSERT_EQ(strText, Joined(parts)) << i;
    }
    ASSERT_EQ(strText, Joined(DivideZpv(strText))) << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Tables, GeneratedTexts, testing::ValuesIn(AllNationalChoices()), NationalName);

// --- at once

TEST(DivisionThreads, DivideAtTheSameTime) {
  btMR = 0;
  const VELK_wstring strGsm = Of(u'a', 400) + u"\u20AC";
  const VELK_wstring strUcs2 = Of(u'\u0416', 200);
  std::atomic<int> aTaken[256] = {};
  std::atomic<int> iWrong{0};
  const auto Work = [&](const VELK_wstring& strText) {
    for (int i = 0; i < 64; ++i) {
      SMS_PARAM aParts[3];
      const int iCount = CDivideSmContent::DivideSmContent(strText.c_str(), LengthOf(strText), aParts, 3, true);
      const Parts parts(aParts, aParts + 3);
      iWrong += iCount == 3 && Joined(parts) == strText ? 0 : 1;
      iWrong += aParts[0].stLongSMS_info.btMR == aParts[2].stLongSMS_info.btMR ? 0 : 1;
      ++aTaken[aParts[0].stLongSMS_info.btMR];
    }
  };
  std::vector<std::thread> vctThreads;
  for (int i = 0; i < 4; ++i) {
    vctThreads.emplace_back(Work, i % 2 == 0 ? strGsm : strUcs2);
  }
  for (std::thread& thread : vctThreads) {
    thread.join();
  }
  EXPECT_EQ(0, iWrong);
  for (int i = 0; i < 256; ++i) {
    EXPECT_EQ(1, aTaken[i]) << "reference " << i;
  }
}

TEST(DivisionThreads, CountWhileOthersDivide) {
  const VELK_wstring strText = Of(u'a', 1000);
  std::atomic<bool> bStop{false};
  std::thread counter([&] {
    while (!bStop) {
      EXPECT_EQ(7, CDivideSmContent::DivideSmContent(strText.c_str(), 1000, nullptr, 0, true));
      EXPECT_EQ(10, CDivideSmContent::DivideSmContentForZPV(strText.c_str(), 1000, nullptr, 0, 0, true));
    }
  });
  std::vector<SMS_PARAM> vctParts(10);
  for (int i = 0; i < 2000; ++i) {
    EXPECT_EQ(7, CDivideSmContent::DivideSmContent(strText.c_str(), 1000, vctParts.data(), 10, true));
    EXPECT_EQ(7, CDivideSmContent::DivideCdmaSmContent(strText.c_str(), 1000, vctParts.data(), 10, 160));
  }
  bStop = true;
  counter.join();
}

}  // namespace
