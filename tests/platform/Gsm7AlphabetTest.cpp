// The alphabets of 3GPP TS 23.038: their tables, and membership of every UTF-16 unit under every selection.
#include "platform/Gsm7bit.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr VELK_wchar_t kUnused = 0xFFFF;
constexpr SMS_NLI_LOCK kLocks[] = {SMS_NLI_Lock_Reverse, SMS_NLI_Turk_Lock, SMS_NLI_Port_Lock};
constexpr SMS_NLI_SIGNLE kSingles[] = {SMS_NLI_Single_Reverse, SMS_NLI_Turk_Single, SMS_NLI_Span_Single,
                                       SMS_NLI_Port_Single};

// Sixteen characters a row, as the standard prints them in columns; the escape stands as U+FFFF.
const VELK_wstring kDefaultRows =
    u"@£$¥èéùìòÇ\nØø\rÅå"
    u"Δ_ΦΓΛΩΠΨΣΘΞ\uFFFFÆæßÉ"
    u" !\"#¤%&'()*+,-./"
    u"0123456789:;<=>?"
    u"¡ABCDEFGHIJKLMNO"
    u"PQRSTUVWXYZÄÖÑÜ§"
    u"¿abcdefghijklmno"
    u"pqrstuvwxyzäöñüà";
const VELK_wstring kTurkishRows =
    u"@£$¥€éùıòÇ\nĞğ\rÅå"
    u"Δ_ΦΓΛΩΠΨΣΘΞ\uFFFFŞşßÉ"
    u" !\"#¤%&'()*+,-./"
    u"0123456789:;<=>?"
    u"İABCDEFGHIJKLMNO"
    u"PQRSTUVWXYZÄÖÑÜ§"
    u"çabcdefghijklmno"
    u"pqrstuvwxyzäöñüà";
const VELK_wstring kPortugueseRows =
    u"@£$¥êéúíóç\nÔô\rÁá"
    u"Δ_ªÇÀ∞^\\€Ó|\uFFFFÂâÊÉ"
    u" !\"#º%&'()*+,-./"
    u"0123456789:;<=>?"
    u"ÍABCDEFGHIJKLMNO"
    u"PQRSTUVWXYZÃÕÚÜ§"
    u"~abcdefghijklmno"
    u"pqrstuvwxyzãõ`üà";

const std::map<int, VELK_wchar_t> kExtRows = {{0x0A, u'\f'}, {0x14, u'^'}, {0x28, u'{'}, {0x29, u'}'}, {0x2F, u'\\'},
                                              {0x3C, u'['},  {0x3D, u'~'}, {0x3E, u']'}, {0x40, u'|'}, {0x65, u'€'}};
const std::map<int, VELK_wchar_t> kTurkishExtRows = {
    {0x0A, u'\f'}, {0x14, u'^'}, {0x28, u'{'}, {0x29, u'}'}, {0x2F, u'\\'}, {0x3C, u'['},
    {0x3D, u'~'},  {0x3E, u']'}, {0x40, u'|'}, {0x47, u'Ğ'}, {0x49, u'İ'},  {0x53, u'Ş'},
    {0x63, u'ç'},  {0x65, u'€'}, {0x67, u'ğ'}, {0x69, u'ı'}, {0x73, u'ş'}};
const std::map<int, VELK_wchar_t> kSpanishExtRows = {
    {0x09, u'ç'}, {0x0A, u'\f'}, {0x14, u'^'}, {0x28, u'{'}, {0x29, u'}'}, {0x2F, u'\\'}, {0x3C, u'['},
    {0x3D, u'~'}, {0x3E, u']'},  {0x40, u'|'}, {0x41, u'Á'}, {0x49, u'Í'}, {0x4F, u'Ó'},  {0x55, u'Ú'},
    {0x61, u'á'}, {0x65, u'€'},  {0x69, u'í'}, {0x6F, u'ó'}, {0x75, u'ú'}};
const std::map<int, VELK_wchar_t> kPortugueseExtRows = {
    {0x05, u'ê'}, {0x09, u'ç'}, {0x0A, u'\f'}, {0x0B, u'Ô'}, {0x0C, u'ô'}, {0x0E, u'Á'}, {0x0F, u'á'}, {0x12, u'Φ'},
    {0x13, u'Γ'}, {0x14, u'^'}, {0x15, u'Ω'},  {0x16, u'Π'}, {0x17, u'Ψ'}, {0x18, u'Σ'}, {0x19, u'Θ'}, {0x1F, u'Ê'},
    {0x28, u'{'}, {0x29, u'}'}, {0x2F, u'\\'}, {0x3C, u'['}, {0x3D, u'~'}, {0x3E, u']'}, {0x40, u'|'}, {0x41, u'À'},
    {0x49, u'Í'}, {0x4F, u'Ó'}, {0x55, u'Ú'},  {0x5B, u'Ã'}, {0x5C, u'Õ'}, {0x61, u'Â'}, {0x65, u'€'}, {0x69, u'í'},
    {0x6F, u'ó'}, {0x75, u'ú'}, {0x7B, u'ã'},  {0x7C, u'õ'}, {0x7F, u'â'}};

class Selection {
public:
  Selection(bool bCustomize, SMS_NLI_LOCK enLock, SMS_NLI_SIGNLE enSingle) {
    CGsm7bit::m_bHaveCustomize = bCustomize;
    CGsm7bit::m_stNLI_flag.enNLI_Lock = enLock;
    CGsm7bit::m_stNLI_flag.enNLI_Single = enSingle;
  }
  ~Selection() {
    CGsm7bit::m_bHaveCustomize = false;
    CGsm7bit::m_stNLI_flag = SMS_NLI();
  }
  Selection(const Selection&) = delete;
  Selection& operator=(const Selection&) = delete;
};

// The slow second opinion: a search through the rows above.
int SlowCode(VELK_wchar_t ch, SMS_NLI_LOCK enLock) {
  const VELK_wstring& rows =
      enLock == SMS_NLI_Turk_Lock ? kTurkishRows : (enLock == SMS_NLI_Port_Lock ? kPortugueseRows : kDefaultRows);
  for (std::size_t code = 0; code < rows.size(); ++code) {
    if (rows[code] == ch && ch != kUnused) {
      return static_cast<int>(code);
    }
  }
  return -1;
}

const std::map<int, VELK_wchar_t>& SlowExtRows(SMS_NLI_SIGNLE enSingle) {
  switch (enSingle) {
    case SMS_NLI_Turk_Single:
      return kTurkishExtRows;
    case SMS_NLI_Span_Single:
      return kSpanishExtRows;
    case SMS_NLI_Port_Single:
      return kPortugueseExtRows;
    default:
      return kExtRows;
  }
}

int SlowExtCode(VELK_wchar_t ch, SMS_NLI_SIGNLE enSingle) {
  for (const auto& row : SlowExtRows(enSingle)) {
    if (row.second == ch) {
      return row.first;
    }
  }
  return -1;
}

BYTE SlowClass(VELK_wchar_t ch, SMS_NLI_LOCK enLock, SMS_NLI_SIGNLE enSingle) {
  if (SlowCode(ch, enLock) >= 0) {
    return 0;
  }
  return SlowExtCode(ch, enSingle) >= 0 ? 1 : 3;
}

void ExpectEveryUnitClassified(SMS_NLI_LOCK enLock, SMS_NLI_SIGNLE enSingle) {
  const BYTE* pClasses = Gsm7ClassTable();
  for (int unit = 0; unit <= 0xFFFF; ++unit) {
    const VELK_wchar_t ch = static_cast<VELK_wchar_t>(unit);
    ASSERT_EQ(SlowCode(ch, enLock) >= 0, CGsm7bit().GSM_7DefaultAlphabet(ch)) << std::hex << unit;
    ASSERT_EQ(SlowExtCode(ch, enSingle) >= 0, CGsm7bit().GSM_7ExtAlphabet(ch)) << std::hex << unit;
    ASSERT_EQ(SlowClass(ch, enLock, enSingle), pClasses[unit]) << std::hex << unit;
  }
}

VELK_wstring Whole(const VELK_wchar_t* pTable) { return VELK_wstring(pTable, 128); }

VELK_wstring Filled(const std::map<int, VELK_wchar_t>& rows) {
  VELK_wstring table(128, kUnused);
  for (const auto& row : rows) {
    table[static_cast<std::size_t>(row.first)] = row.second;
  }
  return table;
}

}  // namespace

TEST(Gsm7Tables, AreThoseOfTheStandard) {
  EXPECT_EQ(kDefaultRows, Whole(arrayGSM_7DefaultAlphabet));
  EXPECT_EQ(kTurkishRows, Whole(arrayGSM_7TurkishTable));
  EXPECT_EQ(kPortugueseRows, Whole(arrayGSM_7PortugueseTable));
  EXPECT_EQ(Filled(kExtRows), Whole(arrayGSM_7ExtAlphabet));
  EXPECT_EQ(Filled(kTurkishExtRows), Whole(arrayGSM_7TurkishExtTable));
  EXPECT_EQ(Filled(kSpanishExtRows), Whole(arrayGSM_7SpanishExtTable));
  EXPECT_EQ(Filled(kPortugueseExtRows), Whole(arrayGSM_7PortugueseExtTable));
}

TEST(Gsm7Tables, HaveTheCapitalCedillaAtCodeNine) { EXPECT_EQ(0x00C7, arrayGSM_7DefaultAlphabet[0x09]); }

TEST(Gsm7Tables, AreChosenByTheLanguage) {
  EXPECT_EQ(arrayGSM_7DefaultAlphabet, Gsm7Table(SMS_NLI_Lock_Reverse));
  EXPECT_EQ(arrayGSM_7TurkishTable, Gsm7Table(SMS_NLI_Turk_Lock));
  EXPECT_EQ(arrayGSM_7PortugueseTable, Gsm7Table(SMS_NLI_Port_Lock));
  EXPECT_EQ(arrayGSM_7ExtAlphabet, Gsm7ExtTable(SMS_NLI_Single_Reverse));
  EXPECT_EQ(arrayGSM_7TurkishExtTable, Gsm7ExtTable(SMS_NLI_Turk_Single));
  EXPECT_EQ(arrayGSM_7SpanishExtTable, Gsm7ExtTable(SMS_NLI_Span_Single));
  EXPECT_EQ(arrayGSM_7PortugueseExtTable, Gsm7ExtTable(SMS_NLI_Port_Single));
}

TEST(Gsm7Tables, AreTheDefaultOnesForALanguageWithoutTables) {
  EXPECT_EQ(arrayGSM_7DefaultAlphabet, Gsm7Table(static_cast<SMS_NLI_LOCK>(2)));  // Spanish has no locking table
  EXPECT_EQ(0x41, Gsm7CodeOf(u'A', static_cast<SMS_NLI_LOCK>(2)));
}

TEST(Gsm7Codes, FindEveryCharacterOfEveryTable) {
  for (SMS_NLI_LOCK enLock : kLocks) {
    for (int unit = 0; unit <= 0xFFFF; ++unit) {
      const VELK_wchar_t ch = static_cast<VELK_wchar_t>(unit);
      ASSERT_EQ(SlowCode(ch, enLock), Gsm7CodeOf(ch, enLock)) << std::hex << unit << " lock " << enLock;
    }
  }
  for (SMS_NLI_SIGNLE enSingle : kSingles) {
    for (int unit = 0; unit <= 0xFFFF; ++unit) {
      const VELK_wchar_t ch = static_cast<VELK_wchar_t>(unit);
      ASSERT_EQ(SlowExtCode(ch, enSingle), Gsm7ExtCodeOf(ch, enSingle)) << std::hex << unit << " single " << enSingle;
    }
  }
}

TEST(Gsm7Alphabet, ClassifiesEveryUnitUnderEverySelection) {
  for (SMS_NLI_LOCK enLock : kLocks) {
    for (SMS_NLI_SIGNLE enSingle : kSingles) {
      SCOPED_TRACE(::testing::Message() << "lock " << enLock << " single " << enSingle);
      const Selection selection(true, enLock, enSingle);
      ExpectEveryUnitClassified(enLock, enSingle);
    }
  }
}

TEST(Gsm7Alphabet, IgnoresTheSelectionWithoutCustomization) {
  const Selection selection(false, SMS_NLI_Turk_Lock, SMS_NLI_Port_Single);
  ExpectEveryUnitClassified(SMS_NLI_Lock_Reverse, SMS_NLI_Single_Reverse);
}

TEST(Gsm7Alphabet, NeverMatchesTheEscapeNorAnUnusedPosition) {
  for (SMS_NLI_LOCK enLock : kLocks) {
    for (SMS_NLI_SIGNLE enSingle : kSingles) {
      const Selection selection(true, enLock, enSingle);
      for (VELK_wchar_t ch : {VELK_wchar_t(0), VELK_wchar_t(0x1B), kUnused}) {
        EXPECT_FALSE(CGsm7bit().GSM_7DefaultAlphabet(ch));
        EXPECT_FALSE(CGsm7bit().GSM_7ExtAlphabet(ch));
        EXPECT_EQ(3, Gsm7ClassTable()[ch]);
      }
    }
  }
}

TEST(Gsm7Alphabet, TakesALockingTableInPlaceOfTheDefaultOne) {
  const Selection selection(true, SMS_NLI_Turk_Lock, SMS_NLI_Single_Reverse);
  EXPECT_TRUE(CGsm7bit().GSM_7DefaultAlphabet(u'\u011F'));   // g breve
  EXPECT_FALSE(CGsm7bit().GSM_7DefaultAlphabet(u'\u00E8'));  // e grave lost its place to the euro sign
}

TEST(Gsm7Alphabet, TakesASingleShiftTableInPlaceOfTheExtension) {
  const Selection selection(true, SMS_NLI_Lock_Reverse, SMS_NLI_Span_Single);
  EXPECT_TRUE(CGsm7bit().GSM_7ExtAlphabet(u'\u00E1'));  // a acute
  EXPECT_TRUE(CGsm7bit().GSM_7ExtAlphabet(u'\u20AC'));
}

TEST(Gsm7Alphabet, CountsACharacterOfBothTablesAsDefault) {
  const Selection selection(true, SMS_NLI_Turk_Lock, SMS_NLI_Turk_Single);
  EXPECT_TRUE(CGsm7bit().GSM_7DefaultAlphabet(u'\u20AC'));
  EXPECT_TRUE(CGsm7bit().GSM_7ExtAlphabet(u'\u20AC'));
  EXPECT_EQ(0, Gsm7ClassTable()[0x20AC]);
}

TEST(Gsm7Alphabet, KeepsAClassTableThatWasHandedOut) {
  const BYTE* pDefault = Gsm7ClassTable();
  const VELK_wchar_t gBreve = u'\u011F';
  {
    const Selection selection(true, SMS_NLI_Turk_Lock, SMS_NLI_Turk_Single);
    EXPECT_NE(pDefault, Gsm7ClassTable());
    EXPECT_EQ(0, Gsm7ClassTable()[gBreve]);
    EXPECT_EQ(3, pDefault[gBreve]);
  }
  EXPECT_EQ(pDefault, Gsm7ClassTable());
}

TEST(Gsm7Alphabet, BuildsAClassTableOnceForManyThreads) {
  std::vector<const BYTE*> tables(8);
  std::vector<int> escapes(tables.size());
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < tables.size(); ++i) {
    threads.emplace_back([&tables, &escapes, i] {
      tables[i] = Gsm7ClassTable();
      for (int unit = 0; unit <= 0xFFFF; ++unit) {
        escapes[i] += tables[i][unit] == 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (std::size_t i = 0; i < tables.size(); ++i) {
    EXPECT_EQ(tables[0], tables[i]);
    EXPECT_EQ(static_cast<int>(kExtRows.size()), escapes[i]);
  }
}
