// The character sets of the computer's side.
#include "CharacterSet.h"

#include <gtest/gtest.h>

using namespace modem_sim;

namespace {

/// Decodes and encodes again.
std::string Again(CharacterSet set, const std::string& octets) {
  VELK_wstring text;
  return Decode(set, octets, &text) ? Encode(set, text) : "refused";
}

std::string HexDigits(unsigned number, int count) {
  static const char kDigits[] = "0123456789ABCDEF";
  std::string digits;
  while (count-- > 0) digits += kDigits[number >> (4 * count) & 0xF];
  return digits;
}

}  // namespace

TEST(CharacterSet, EveryAsciiCharacterReadsTheSameInIra) {
  for (int code = 0; code < 0x80; ++code) {
    const std::string octet(1, static_cast<char>(code));
    EXPECT_EQ(Again(CharacterSet::Ira, octet), octet) << code;
  }
}

TEST(CharacterSet, EveryCodeOfTheGsmAlphabetReadsTheSameInGsmAndInHex) {
  for (unsigned code = 0; code < 0x80; ++code) {
    if (code == 0x1B) continue;  // announces another one
    const std::string octet(1, static_cast<char>(code));
    EXPECT_EQ(Again(CharacterSet::Gsm, octet), octet) << code;
    EXPECT_EQ(Again(CharacterSet::Hex, HexDigits(code, 2)), HexDigits(code, 2)) << code;
  }
  for (const unsigned code : {0x0AU, 0x14U, 0x28U, 0x29U, 0x2FU, 0x3CU, 0x3DU, 0x3EU, 0x40U, 0x65U}) {
    const std::string octets = {'\x1B', static_cast<char>(code)};
    EXPECT_EQ(Again(CharacterSet::Gsm, octets), octets) << code;
    EXPECT_EQ(Again(CharacterSet::Hex, "1B" + HexDigits(code, 2)), "1B" + HexDigits(code, 2)) << code;
  }
}

TEST(CharacterSet, EveryUnitReadsTheSameInUcs2) {
  for (unsigned unit = 0; unit < 0x10000; ++unit) {
    ASSERT_EQ(Again(CharacterSet::Ucs2, HexDigits(unit, 4)), HexDigits(unit, 4));
  }
}

TEST(CharacterSet, WhatTheSetLacksBecomesAQuestionMark) {
  const VELK_wstring text = u"\u00A3\u20AC\u65E5";  // pound, euro, a Chinese sign
  EXPECT_EQ(Encode(CharacterSet::Ira, text), "???");
  EXPECT_EQ(Encode(CharacterSet::Gsm, text), "\x01\x1B\x65?");
  EXPECT_EQ(Encode(CharacterSet::Hex, text), "011B653F");
  EXPECT_EQ(Encode(CharacterSet::Ucs2, text), "00A320AC65E5");
}

TEST(CharacterSet, RefusesOctetsOfAnotherSet) {
  VELK_wstring text = u"before";
  for (const std::string octets : {"\x80", "a\xFF"}) {
    EXPECT_FALSE(Decode(CharacterSet::Ira, octets, &text));
    EXPECT_FALSE(Decode(CharacterSet::Gsm, octets, &text));
    EXPECT_TRUE(text.empty());
  }
  for (const std::string digits : {"0", "00", "004", "00G0", "004100"}) {
    EXPECT_FALSE(Decode(CharacterSet::Ucs2, digits, &text)) << digits;
    EXPECT_TRUE(text.empty());
  }
  for (const std::string digits : {"0", "G0", "80", "FF", "411"}) {
    EXPECT_FALSE(Decode(CharacterSet::Hex, digits, &text)) << digits;
    EXPECT_TRUE(text.empty());
  }
}

TEST(CharacterSet, AsciiRefusesOtherCharacters) {
  std::string number;
  EXPECT_TRUE(DecodeAscii(CharacterSet::Ucs2, "002B0034", &number));
  EXPECT_EQ(number, "+4");
  EXPECT_FALSE(DecodeAscii(CharacterSet::Ucs2, "00FC", &number));
  EXPECT_EQ(EncodeAscii(CharacterSet::Hex, "+@"), "2B00");
}
