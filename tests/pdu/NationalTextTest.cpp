// Which national tables a text is sent with.
#include "SmsPdu.h"

#include <gtest/gtest.h>

using namespace sms_pdu;

namespace {

const SMS_NLI kBoth = {SMS_NLI_Turk_Lock, SMS_NLI_Turk_Single};
const SMS_NLI kLock = {SMS_NLI_Turk_Lock, SMS_NLI_Single_Reverse};
const SMS_NLI kSingle = {SMS_NLI_Lock_Reverse, SMS_NLI_Turk_Single};
const SMS_NLI kPortugueseLock = {SMS_NLI_Port_Lock, SMS_NLI_Single_Reverse};

/// A part of a long message with this text.
UserData Part(const VELK_wstring& text, const SMS_NLI& tables, bool concatenated = true) {
  UserData userData;
  if (concatenated) AddConcatenation(&userData.header, {7, 2, 1, false});
  EXPECT_EQ(SetNationalText(&userData, text.data(), text.size(), tables), PduError::None);
  return userData;
}

testing::AssertionResult GoesWith(const UserData& userData, const SMS_NLI& tables) {
  const SMS_NLI found = FindTables(userData.header);
  Submit message;
  message.userData = userData;
  BYTE octets[kTpduOctets];
  std::size_t size = 0;
  const PduError error = EncodeSubmit(message, octets, sizeof octets, &size);
  if (error != PduError::None) return testing::AssertionFailure() << ErrorText(error);
  if (found.enNLI_Lock == tables.enNLI_Lock && found.enNLI_Single == tables.enNLI_Single) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << "locking " << found.enNLI_Lock << " single " << found.enNLI_Single;
}

PduError ErrorOf(const UserData& userData) {
  Submit message;
  message.userData = userData;
  BYTE octets[kTpduOctets];
  std::size_t size = 0;
  return EncodeSubmit(message, octets, sizeof octets, &size);
}

VELK_wstring Of(VELK_wchar_t unit, std::size_t length) { return VELK_wstring(length, unit); }

}  // namespace

TEST(NationalText, GoesWithTheTablesThatAreNamed) {
  EXPECT_TRUE(GoesWith(Part(u"abc", kBoth), kBoth));
  EXPECT_TRUE(GoesWith(Part(u"abc", SMS_NLI()), SMS_NLI()));
  EXPECT_TRUE(GoesWith(Part(Of(u'a', 146), kBoth), kBoth));
}

TEST(NationalText, GoesWithFewerTablesWhenThereIsNoRoomForBoth) {
  EXPECT_TRUE(GoesWith(Part(Of(u'a', 149), kBoth), kLock));
  EXPECT_TRUE(GoesWith(Part(Of(u'\u0131', 149), kBoth), kLock));
  EXPECT_TRUE(GoesWith(Part(VELK_wstring(u"\u00E8") + Of(u'a', 148), kBoth), kSingle));  // not in the Turkish table
  EXPECT_TRUE(GoesWith(Part(Of(u'a', 153), kBoth), SMS_NLI()));
}

TEST(NationalText, GoesWithTheLockingTableThatItNeeds) {
  EXPECT_TRUE(GoesWith(Part(Of(u'\u0131', 155), SMS_NLI(), false), kLock));
  EXPECT_TRUE(GoesWith(Part(Of(u'\u00E3', 155), SMS_NLI(), false), kPortugueseLock));
}

TEST(NationalText, ThatFitsWithNoTablesSaysSo) {
  EXPECT_EQ(ErrorOf(Part(Of(u'\u0131', 156), SMS_NLI(), false)), PduError::UnencodableCharacter);
  EXPECT_EQ(ErrorOf(Part(u"\u0416", kBoth)), PduError::UnencodableCharacter);
  EXPECT_EQ(ErrorOf(Part(Of(u'a', 154), kBoth)), PduError::TooLong);
  UserData userData;
  EXPECT_EQ(SetNationalText(&userData, Of(u'a', 161).data(), 161, kBoth), PduError::TooLong);
}
