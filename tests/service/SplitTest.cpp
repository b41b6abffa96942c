// Numbers, parts and what a text costs.

#include "ServiceAccess.h"
#include "ServiceTest.h"

#include <ostream>

namespace {

typedef std::vector<std::string> Lines;

class Splitting : public CServiceTest {
protected:
  Splitting() { Start(); }
  Lines Numbers(const VELK_wchar_t* list) {
    std::vector<VELK_wstring> numbers;
    m_pService->SplitNumber(list, numbers);
    Lines lines;
    for (const VELK_wstring& number : numbers) {
      lines.push_back(Utf8(number));
    }
    return lines;
  }
  std::vector<SMS_PARAM> Parts(const VELK_wstring& text) {
    std::vector<SMS_PARAM> parts(3);  // what was there goes
    m_pService->SplitContent(text.c_str(), parts);
    return parts;
  }
  long Count(const VELK_wstring& text) {
    long count = -77;
    EXPECT_EQ(0, m_pService->GetMsgSplitCount(text.c_str(), count));
    return count;
  }
};

TEST_F(Splitting, TestsAllCharactersOfANumberButTheLast) {
  for (const VELK_wchar_t* valid : {u"12345x", u"123a", u"+49*#;0", u"x", u"1", u"123456789012345678901234567890"}) {
    EXPECT_TRUE(m_pService->IsNumberValid(valid)) << Utf8(valid);
  }
  for (const VELK_wchar_t* invalid : {u"x12345", u"a123", u"", u"12 34", u"1,2"}) {
    EXPECT_FALSE(m_pService->IsNumberValid(invalid)) << Utf8(invalid);
  }
  EXPECT_FALSE(m_pService->IsNumberValid(nullptr));
}

TEST_F(Splitting, CutsAListAtCommasAndSemicolonsAndDropsEmptyPieces) {
  EXPECT_EQ((Lines{"123", "456"}), Numbers(u"123,,456;"));
  EXPECT_EQ(Lines{}, Numbers(u","));
  EXPECT_EQ(Lines{}, Numbers(u""));
  EXPECT_EQ(Lines{}, Numbers(nullptr));
  EXPECT_EQ((Lines{" 1 ", "abc"}), Numbers(u";; 1 ;abc")) << "neither trimmed nor validated";
  EXPECT_EQ(25u, Numbers(Repeat(u"1,", 50).c_str()).size()) << "not limited in number";
}

TEST_F(Splitting, LeavesWhatIsInTheListOfNumbers) {
  std::vector<VELK_wstring> numbers{u"first"};
  m_pService->SplitNumber(u"second", numbers);
  m_pService->SplitNumber(nullptr, numbers);
  EXPECT_EQ((std::vector<VELK_wstring>{u"first", u"second"}), numbers);
}

TEST_F(Splitting, MakesOneDefaultPartOfAnEmptyText) {
  const std::vector<SMS_PARAM> parts = Parts(u"");
  ASSERT_EQ(1u, parts.size());
  EXPECT_EQ(0, parts[0].iContentLen);
  EXPECT_EQ(SMS_STAT_SENT, parts[0].enSMSStat);
}

TEST_F(Splitting, JoinsThePartsOfALongTextOnAGsmDevice) {
  const std::vector<SMS_PARAM> parts = Parts(Repeat(u"x", 161));
  ASSERT_EQ(2u, parts.size());
  EXPECT_EQ(153, parts[0].iContentLen);
  EXPECT_TRUE(parts[1].bLongSms);
  EXPECT_EQ(parts[0].stLongSMS_info.btMR, parts[1].stLongSMS_info.btMR);
}

TEST_F(Splitting, HasNoPartsForATextBeyondTwoHundredAndFiftyFive) {
  EXPECT_TRUE(Parts(Repeat(u"\u4E2D", 256 * 67)).empty());
  EXPECT_EQ(0, Count(Repeat(u"\u4E2D", 256 * 67)));
  std::vector<SMS_PARAM> parts(2);
  m_pService->SplitContent(nullptr, parts);
  EXPECT_TRUE(parts.empty());
}

TEST_F(Splitting, LeavesTheCountOfAnEmptyTextAlone) {
  long count = 5;
  EXPECT_EQ(0, m_pService->GetMsgSplitCount(u"", count));
  EXPECT_EQ(5, count);
  EXPECT_EQ(-1, m_pService->GetMsgSplitCount(nullptr, count));
  EXPECT_EQ(5, count);
}

TEST_F(Splitting, CountsOneMessageWithoutADeviceService) {
  m_device.OfferDevice(false);
  EXPECT_EQ(1, Count(Repeat(u"x", 1000)));
  SMS_PARAM scratch;
  EXPECT_EQ(0, m_pService->SplitSmContent(u"", 0, &scratch, 0));
}

TEST_F(Splitting, DividesForTheCarrierThatWantsItOnEveryDivision) {
  const VELK_wstring text = Repeat(u"x", 103);
  EXPECT_EQ(1, Count(text));
  m_home.WriteSettings("[customize]\noperator=ZPV_C148\n");
  EXPECT_EQ(2, Count(text)) << "102 characters in one message";
  for (const SMS_PARAM& part : Parts(text)) {
    EXPECT_FALSE(part.bLongSms);
  }
  m_home.WriteSettings("[customize]\noperator=ZPV_C149\n");
  EXPECT_EQ(1, Count(text));
}

struct CdmaRow {
  const char* name;
  const char* settings;
  std::size_t oneMessage;  // characters
};

void PrintTo(const CdmaRow& row, std::ostream* out) { *out << row.name; }

class CdmaSplitting : public Splitting, public ::testing::WithParamInterface<CdmaRow> {};

TEST_P(CdmaSplitting, DividesAtTheConfiguredLengthOfAMessage) {
  m_home.WriteSettings(GetParam().settings);
  m_device.device.m_iMode = DEVICE_MODE_CDMA;
  EXPECT_EQ(1, Count(Repeat(u"x", GetParam().oneMessage)));
  EXPECT_EQ(2, Count(Repeat(u"x", GetParam().oneMessage + 1)));
  m_home.WriteSettings("[customize]\nsinglesmmaxchars=50\n");
  EXPECT_EQ(1, Count(Repeat(u"x", GetParam().oneMessage))) << "kept for the life of the process";
}

INSTANTIATE_TEST_SUITE_P(Settings, CdmaSplitting,
                         ::testing::Values(CdmaRow{"Zero", "[customize]\nsinglesmmaxchars=0\n", 160},
                                           CdmaRow{"Absent", "", 160},
                                           CdmaRow{"NoNumber", "[customize]\nsinglesmmaxchars=many\n", 160},
                                           CdmaRow{"Hundred", "[customize]\nsinglesmmaxchars=100\n", 100},
                                           CdmaRow{"TooMany", "[customize]\nsinglesmmaxchars=99999999999\n", 160}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Splitting, TakesEveryOtherDeviceModeForCdma) {
  m_device.device.m_iMode = 17;
  const std::vector<SMS_PARAM> parts = Parts(Repeat(u"x", 200));
  ASSERT_EQ(2u, parts.size());
  EXPECT_EQ("[1/2]", Utf8(VELK_wstring(parts[0].wszContent, 5)));
}

TEST_F(Splitting, CountsTheTextAsTheCharacterMapMakesIt) {
  m_home.WriteSettings("[customize]\nsmscharmap=site.map\n");
  m_home.WriteFile("module/config/site.map", "{4E2D,63}");
  EXPECT_EQ(1, Count(Repeat(u"\u4E2D", 160)));
  m_home.WriteSettings("");
  EXPECT_EQ(1, Count(Repeat(u"\u4E2D", 160))) << "the name is read once";
}

TEST_F(Splitting, CountsTheTextAsItIsWhenTheMapIsMissing) {
  m_home.WriteSettings("[customize]\nsmscharmap=missing.map\n");
  EXPECT_EQ(3, Count(Repeat(u"\u4E2D", 160)));
}

TEST_F(Splitting, DoesNotUseAMapWhosePathDoesNotFit) {
  m_home.WriteSettings("[customize]\nsmscharmap=" + std::string(5000, 'm') + "\n");
  EXPECT_EQ(3, Count(Repeat(u"\u4E2D", 160)));
}

TEST_F(Splitting, NamesTheModuleFolderWithItsSeparator) {
  EXPECT_EQ(m_home.ModuleDir() + "/", Utf8(m_pService->getModulePath()));
}

TEST_F(Splitting, AnswersForPhonebookNames) {
  bool unicode = true;
  EXPECT_EQ(3, m_pService->Phonebook_Content_Encode(u"a\u20AC", 2, true, unicode)) << "an extension character is two";
  EXPECT_FALSE(unicode);
  EXPECT_EQ(2, m_pService->Phonebook_Content_Encode(u"\u4E2D\u6587", 2, true, unicode));
  EXPECT_TRUE(unicode);
  EXPECT_EQ(3, m_pService->Phonebook_Content_Coding_Judge(u"abc", 3, true, true));
  EXPECT_EQ(5, m_pService->Phonebook_Content_Coding_Judge(u"\u4E2D\u6587", 2, true, false));
  EXPECT_EQ(0, m_pService->Phonebook_Content_Coding_Judge(nullptr, 4, true, true));
}

}  // namespace
