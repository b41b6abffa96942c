// Packing against a bit-by-bit second opinion, characters against the tables.
#include "Septets.h"

#include "Text.h"
#include "platform/Gsm7bit.h"

#include <gtest/gtest.h>

#include <random>

using namespace sms_pdu;

namespace {

const SMS_NLI_LOCK kLocks[] = {SMS_NLI_Lock_Reverse, SMS_NLI_Turk_Lock, SMS_NLI_Port_Lock};
const SMS_NLI_SIGNLE kSingles[] = {SMS_NLI_Single_Reverse, SMS_NLI_Turk_Single, SMS_NLI_Span_Single,
                                   SMS_NLI_Port_Single};

std::vector<SMS_NLI> AllTables() {
  std::vector<SMS_NLI> all;
  for (const SMS_NLI_LOCK lock : kLocks) {
    for (const SMS_NLI_SIGNLE single : kSingles) {
      SMS_NLI tables;
      tables.enNLI_Lock = lock;
      tables.enNLI_Single = single;
      all.push_back(tables);
    }
  }
  return all;
}

/// The definition, one bit at a time (3GPP TS 23.038, 6.1.2.1.1).
std::vector<BYTE> PackSlowly(const std::vector<BYTE>& septets, unsigned fillBits) {
  std::vector<BYTE> out(PackedOctets(septets.size(), fillBits));
  for (std::size_t i = 0; i < septets.size() * 7; ++i) {
    const std::size_t bit = i + fillBits;
    if (septets[i / 7] >> (i % 7) & 1) out[bit / 8] = static_cast<BYTE>(out[bit / 8] | 1 << (bit % 8));
  }
  return out;
}

std::vector<BYTE> RandomSeptets(std::mt19937& random, std::size_t count) {
  std::vector<BYTE> septets(count);
  for (BYTE& septet : septets) septet = static_cast<BYTE>(random() & 0x7F);
  return septets;
}

std::vector<BYTE> ToSeptets(const VELK_wstring& text, const SMS_NLI& tables = SMS_NLI()) {
  std::vector<BYTE> septets(2 * text.size() + 1);
  std::size_t count = 0;
  EXPECT_EQ(TextToSeptets(text.data(), text.size(), tables, septets.data(), septets.size(), &count), PduError::None);
  septets.resize(count);
  return septets;
}

VELK_wstring ToText(const std::vector<BYTE>& septets, const SMS_NLI& tables = SMS_NLI()) {
  VELK_wstring text(septets.size(), u'?');
  text.resize(SeptetsToText(septets.data(), septets.size(), tables, text.data()));
  return text;
}

}  // namespace

TEST(Septets, PackAsBitByBitForEveryLengthAndFill) {
  std::mt19937 random(7);
  for (unsigned fillBits = 0; fillBits <= 6; ++fillBits) {
    for (std::size_t count = 0; count <= kMaxSeptets; ++count) {
      const std::vector<BYTE> septets = RandomSeptets(random, count);
      std::vector<BYTE> packed(PackedOctets(count, fillBits), 0xEE);
      PackSeptets(septets.data(), count, fillBits, packed.data());
      ASSERT_EQ(packed, PackSlowly(septets, fillBits)) << count << " septets, " << fillBits << " fill bits";
    }
  }
}

TEST(Septets, UnpackWhatWasPackedForEveryLengthAndFill) {
  std::mt19937 random(8);
  for (unsigned fillBits = 0; fillBits <= 6; ++fillBits) {
    for (std::size_t count = 0; count <= kMaxSeptets; ++count) {
      const std::vector<BYTE> septets = RandomSeptets(random, count);
      const std::vector<BYTE> packed = PackSlowly(septets, fillBits);
      std::vector<BYTE> again(count);
      UnpackSeptets(packed.data(), packed.size(), fillBits, again.data(), count);
      ASSERT_EQ(again, septets) << count << " septets, " << fillBits << " fill bits";
    }
  }
}

TEST(Septets, PackTheStandardsExample) {
  std::vector<BYTE> packed(PackedOctets(10, 0));
  PackSeptets(ToSeptets(u"hellohello").data(), 10, 0, packed.data());
  EXPECT_EQ(packed, (std::vector<BYTE>{0xE8, 0x32, 0x9B, 0xFD, 0x46, 0x97, 0xD9, 0xEC, 0x37}));
}

TEST(Septets, IgnoreTheEighthBitOfAnInput) {
  BYTE packed[2] = {};
  const BYTE septets[] = {0xFF, 0x80};
  PackSeptets(septets, 2, 0, packed);
  EXPECT_EQ(packed[0], 0x7F);
  EXPECT_EQ(packed[1], 0x00);
}

TEST(Septets, EveryCharacterTakesTheCodeThatTheTablesGive) {
  for (const SMS_NLI& tables : AllTables()) {
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
      const VELK_wchar_t ch = static_cast<VELK_wchar_t>(unit);
      std::vector<BYTE> expected;
      if (const int code = Gsm7CodeOf(ch, tables.enNLI_Lock); code >= 0) {
        expected = {static_cast<BYTE>(code)};
      } else if (const int shifted = Gsm7ExtCodeOf(ch, tables.enNLI_Single); shifted >= 0) {
        expected = {0x1B, static_cast<BYTE>(shifted)};
      }
      BYTE septets[2];
      std::size_t count = 9;
      const PduError error = TextToSeptets(&ch, 1, tables, septets, 2, &count);
      ASSERT_EQ(error, expected.empty() ? PduError::UnencodableCharacter : PduError::None) << unit;
      ASSERT_EQ(std::vector<BYTE>(septets, septets + count), expected) << unit;
    }
  }
}

TEST(Septets, EveryPairOfCodesReadsAsTheTablesGive) {
  for (const SMS_NLI& tables : AllTables()) {
    const VELK_wchar_t* const locking = Gsm7Table(tables.enNLI_Lock);
    const VELK_wchar_t* const single = Gsm7ExtTable(tables.enNLI_Single);
    for (unsigned code = 0; code < 128; ++code) {
      const VELK_wchar_t plain = code == 0x1B ? u' ' : locking[code];
      EXPECT_EQ(ToText({static_cast<BYTE>(code)}, tables), VELK_wstring(1, plain));
      const VELK_wchar_t shifted = code == 0x1B ? u' ' : single[code] != 0xFFFF ? single[code] : locking[code];
      EXPECT_EQ(ToText({0x1B, static_cast<BYTE>(code)}, tables), VELK_wstring(1, shifted)) << code;
    }
  }
}

TEST(Septets, RandomTextComesBackUnderEveryNationalChoice) {
  std::mt19937 random(9);
  for (const SMS_NLI& tables : AllTables()) {
    VELK_wstring alphabet;
    for (unsigned code = 0; code < 128; ++code) {
      if (const VELK_wchar_t unit = Gsm7Table(tables.enNLI_Lock)[code]; unit != 0xFFFF) alphabet += unit;
      if (const VELK_wchar_t unit = Gsm7ExtTable(tables.enNLI_Single)[code]; unit != 0xFFFF) alphabet += unit;
    }
    for (int i = 0; i < 500; ++i) {
      VELK_wstring text(random() % 161, u' ');
      for (VELK_wchar_t& unit : text) unit = alphabet[random() % alphabet.size()];
      EXPECT_EQ(ToText(ToSeptets(text, tables), tables), text);
    }
  }
}

TEST(Septets, AnEscapeAtTheEndAndTwoEscapesReadAsABlank) {
  EXPECT_EQ(ToText({0x41, 0x1B}), u"A ");
  EXPECT_EQ(ToText({0x41, 0x1B, 0x1B, 0x42}), u"A B");
}

TEST(Septets, AnOpenPositionOfTheExtensionTableReadsAsTheDefaultAlphabet) { EXPECT_EQ(ToText({0x1B, 0x41}), u"A"); }

TEST(Septets, AShiftedCharacterIsNeverCutInHalf) {
  BYTE septets[3] = {};
  std::size_t count = 9;
  EXPECT_EQ(TextToSeptets(u"ab\u20AC", 3, SMS_NLI(), septets, 3, &count), PduError::TooLong);
  EXPECT_EQ(count, 0U);
}

TEST(Septets, UnitsBeyondTheAlphabetAreRefused) {
  for (const VELK_wchar_t unit :
       {VELK_wchar_t(0xD83D), VELK_wchar_t(0xFFFF), VELK_wchar_t(0x0416), VELK_wchar_t(0xA0)}) {
    BYTE septets[2];
    std::size_t count = 0;
    EXPECT_EQ(TextToSeptets(&unit, 1, SMS_NLI(), septets, 2, &count), PduError::UnencodableCharacter);
  }
}

TEST(Septets, ATableThatDoesNotExistReadsAsTheDefaultOne) {
  SMS_NLI tables;
  tables.enNLI_Lock = static_cast<SMS_NLI_LOCK>(2);
  EXPECT_EQ(ToText({0x09}, tables), u"\u00C7");
  EXPECT_EQ(ToSeptets(u"\u00C7", tables), std::vector<BYTE>{0x09});
}
