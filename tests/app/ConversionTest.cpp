// Device records into clients' records and back.
#include "AppSupport.h"
#include "utils.h"

#include <algorithm>
#include <cstring>
#include <ostream>
#include <utility>
#include <vector>

namespace {

const int kUnset = 77;

/// A record in which every field that a conversion may set holds a mark.
CSMSRecordImpl MarkedRecord() {
  CSMSRecordImpl record(5);
  record.SetIsRead(kUnset);
  record.SetInitialPosition(kUnset);
  record.SetPosition(kUnset);
  record.SetSendResult(kUnset);
  record.SetMSGType(kUnset);
  record.SetSMSClass(kUnset);
  record.SetSMSPriority(kUnset);
  return record;
}

SMReadRecord DeviceMessage(SMS_STAT enStat, SMS_IDENTIFYER enType = SMS_IDENTIFYER_ORDINARILY) {
  SMReadRecord stMessage = MakeReadRecord("+491701234567", u"Gr\u00FC\u00DFe", enStat);
  stMessage.enType = enType;
  stMessage.stTime.wYear = 2009;
  stMessage.stTime.btMonth = 12;
  stMessage.stTime.btDay = 31;
  stMessage.stTime.btHour = 23;
  stMessage.stTime.btMinute = 59;
  stMessage.stTime.btSecond = 0;
  return stMessage;
}

SMS_PARAM DevicePart(SMS_STAT enStat, SMS_IDENTIFYER enType = SMS_IDENTIFYER_ORDINARILY) {
  const SMReadRecord stMessage = DeviceMessage(enStat, enType);
  SMS_PARAM stPart;
  stPart.enSMSStat = enStat;
  stPart.enType = enType;
  stPart.utTime = stMessage.stTime;
  std::copy(std::begin(stMessage.szAddress), std::end(stMessage.szAddress), stPart.szAddress);
  const VELK_wstring content(u"Gr\u00FC\u00DFe");
  std::copy(content.begin(), content.end(), stPart.wszContent);
  stPart.iContentLen = static_cast<int>(content.size());
  return stPart;
}

CSMSRecordImpl Convert(const SMReadRecord& stMessage, SMS_MEM enMem) {
  CSMSRecordImpl record = MarkedRecord();
  ParseSMSMessageToRecord(stMessage, &record, enMem);
  return record;
}

CSMSRecordImpl Convert(const SMS_PARAM& stPart, SMS_MEM enMem) {
  CSMSRecordImpl record = MarkedRecord();
  ParseSMSParamToRecord(stPart, &record, enMem);
  return record;
}

const SMS_STAT kUnknownStates[] = {SMS_STAT_ALL, static_cast<SMS_STAT>(5), static_cast<SMS_STAT>(-1),
                                   static_cast<SMS_STAT>(2147483647)};

// --- State to folder, flag and result: both device structures --------------------------------------------------------

struct StateRow {
  const char* pszName;
  SMS_STAT enStat;
  SMS_MEM enMem;
  int iInitialPosition;
  int iPosition;
  int iIsRead;
  int iSendResult;
};

void PrintTo(const StateRow& row, std::ostream* pOut) { *pOut << row.pszName; }

const StateRow kStates[] = {
    {"UnreadOnSim", SMS_STAT_UNREAD, SMS_MEM_SM, NS_SMS::RECEIVE_BOX, NS_SMS::RECEIVE_BOX_SIM, NS_SMS::IS_NOT_READ,
     kUnset},
    {"UnreadOnModem", SMS_STAT_UNREAD, SMS_MEM_ME, NS_SMS::RECEIVE_BOX, NS_SMS::RECEIVE_BOX_NV, NS_SMS::IS_NOT_READ,
     kUnset},
    {"UnreadNowhere", SMS_STAT_UNREAD, SMS_MEM_UNKNOW, NS_SMS::RECEIVE_BOX, NS_SMS::RECEIVE_BOX, NS_SMS::IS_NOT_READ,
     kUnset},
    {"ReadOnSim", SMS_STAT_READ, SMS_MEM_SM, NS_SMS::RECEIVE_BOX, NS_SMS::RECEIVE_BOX_SIM, NS_SMS::IS_READ, kUnset},
    {"ReadOnModem", SMS_STAT_READ, SMS_MEM_ME, NS_SMS::RECEIVE_BOX, NS_SMS::RECEIVE_BOX_NV, NS_SMS::IS_READ, kUnset},
    {"ReadNowhere", SMS_STAT_READ, SMS_MEM_UNKNOW, NS_SMS::RECEIVE_BOX, NS_SMS::RECEIVE_BOX, NS_SMS::IS_READ, kUnset},
    {"UnsentOnSim", SMS_STAT_UNSENT, SMS_MEM_SM, NS_SMS::SEND_BOX, NS_SMS::SEND_BOX_SIM, kUnset, NS_SMS::FAILURE},
    {"UnsentOnModem", SMS_STAT_UNSENT, SMS_MEM_ME, NS_SMS::SEND_BOX, NS_SMS::SEND_BOX_NV, kUnset, NS_SMS::FAILURE},
    {"UnsentNowhere", SMS_STAT_UNSENT, SMS_MEM_UNKNOW, NS_SMS::SEND_BOX, NS_SMS::SEND_BOX, kUnset, NS_SMS::FAILURE},
    {"SentOnSim", SMS_STAT_SENT, SMS_MEM_SM, NS_SMS::SEND_BOX, NS_SMS::SEND_BOX_SIM, kUnset, NS_SMS::SUCCESS},
    {"SentOnModem", SMS_STAT_SENT, SMS_MEM_ME, NS_SMS::SEND_BOX, NS_SMS::SEND_BOX_NV, kUnset, NS_SMS::SUCCESS},
    {"SentNowhere", SMS_STAT_SENT, SMS_MEM_UNKNOW, NS_SMS::SEND_BOX, NS_SMS::SEND_BOX, kUnset, NS_SMS::SUCCESS},
    {"SentInAnOddMemory", SMS_STAT_SENT, static_cast<SMS_MEM>(9), NS_SMS::SEND_BOX, NS_SMS::SEND_BOX, kUnset,
     NS_SMS::SUCCESS},
};

class ConversionState : public ::testing::TestWithParam<StateRow> {
protected:
  static void Expect(const ISMSRecord& record) {
    EXPECT_EQ(GetParam().iInitialPosition, record.GetInitialPosition());
    EXPECT_EQ(GetParam().iPosition, record.GetPosition());
    EXPECT_EQ(GetParam().iIsRead, record.GetIsRead());
    EXPECT_EQ(GetParam().iSendResult, record.GetSendResult());
    EXPECT_EQ("20091231235900", Utf8(record.GetTime()));
    EXPECT_EQ("+491701234567", Utf8(record.GetNumber()));
    EXPECT_EQ("Gr\u00FC\u00DFe", Utf8(record.GetContent()));
    EXPECT_EQ(NS_SMS::MSG_ORDINARY, record.GetMSGType());
    EXPECT_EQ(5, record.GetMSGID());
  }
};

TEST_P(ConversionState, OfAMessageBecomesFolderFlagAndResult) {
  Expect(Convert(DeviceMessage(GetParam().enStat), GetParam().enMem));
}

TEST_P(ConversionState, OfAPartBecomesFolderFlagAndResult) {
  Expect(Convert(DevicePart(GetParam().enStat), GetParam().enMem));
}

INSTANTIATE_TEST_SUITE_P(States, ConversionState, ::testing::ValuesIn(kStates),
                         [](const auto& row) { return std::string(row.param.pszName); });

void ExpectNothingOfTheState(const ISMSRecord& record) {
  EXPECT_EQ(kUnset, record.GetInitialPosition());
  EXPECT_EQ(kUnset, record.GetPosition());
  EXPECT_EQ(kUnset, record.GetIsRead());
  EXPECT_EQ(kUnset, record.GetSendResult());
  EXPECT_EQ("00000000000000", Utf8(record.GetTime()));
}

TEST(Conversion, AnyOtherStateLeavesThePositionsUnsetAndTheTimeAllZero) {
  for (const SMS_STAT enStat : kUnknownStates) {
    ExpectNothingOfTheState(Convert(DeviceMessage(enStat), SMS_MEM_SM));
    ExpectNothingOfTheState(Convert(DevicePart(enStat), SMS_MEM_SM));
  }
}

// --- Time, texts, long-message information ---------------------------------------------------------------------------

TEST(Conversion, WritesTheTimeAsFourteenDigits) {
  SMReadRecord stMessage = DeviceMessage(SMS_STAT_READ);
  stMessage.stTime = UTTime();
  EXPECT_EQ("00000000000000", Utf8(Convert(stMessage, SMS_MEM_SM).GetTime()));
  stMessage.stTime.wYear = 987;
  stMessage.stTime.btMonth = 1;
  stMessage.stTime.btSecond = 9;
  EXPECT_EQ("09870100000009", Utf8(Convert(stMessage, SMS_MEM_SM).GetTime()));
}

TEST(Conversion, SurvivesATimeOfTheLargestNumbers) {
  SMReadRecord stMessage = DeviceMessage(SMS_STAT_READ);
  stMessage.stTime = UTTime{65535, 255, 255, 255, 255, 255};
  EXPECT_EQ("65535255255255255255", Utf8(Convert(stMessage, SMS_MEM_SM).GetTime()));
}

TEST(Conversion, TakesTheLongMessageInformation) {
  SMReadRecord stMessage = DeviceMessage(SMS_STAT_READ);
  stMessage.stLongSMS_info = MakeReadPart("1", u"x", 200, 255, 254).stLongSMS_info;
  SMS_PARAM stPart = DevicePart(SMS_STAT_READ);
  stPart.stLongSMS_info = stMessage.stLongSMS_info;
  for (const CSMSRecordImpl& record : {Convert(stMessage, SMS_MEM_SM), Convert(stPart, SMS_MEM_SM)}) {
    int iMR = 0;
    int iTotal = 0;
    int iPart = 0;
    record.GetMSGInfo(iMR, iTotal, iPart);
    EXPECT_EQ(200, iMR);
    EXPECT_EQ(255, iTotal);
    EXPECT_EQ(254, iPart);
  }
}

TEST(Conversion, ReadsAContentWithoutATerminatorToItsLastUnit) {
  SMReadRecord stMessage = DeviceMessage(SMS_STAT_READ);
  std::fill_n(stMessage.wszContent, 161, VELK_wchar_t(u'x'));
  stMessage.stMMS_Notify_Data.iWSPLen = 0x00790079;  // what a reader that runs on would take for text
  for (const DWORD dwLength : {0U, 161U, 162U, 0xFFFFFFFFU}) {
    stMessage.dwLength = dwLength;
    EXPECT_EQ(std::string(161, 'x'), Utf8(Convert(stMessage, SMS_MEM_SM).GetContent())) << dwLength;
  }
}

TEST(Conversion, EndsTheContentAtItsLengthWhenThatComesBeforeTheTerminator) {
  SMReadRecord stMessage = DeviceMessage(SMS_STAT_READ);
  std::fill_n(stMessage.wszContent, 161, VELK_wchar_t(u'x'));
  stMessage.dwLength = 160;
  EXPECT_EQ(std::string(160, 'x'), Utf8(Convert(stMessage, SMS_MEM_SM).GetContent()));
  stMessage.dwLength = 1;
  EXPECT_EQ("x", Utf8(Convert(stMessage, SMS_MEM_SM).GetContent()));
  SMS_PARAM stPart = DevicePart(SMS_STAT_READ);
  std::fill_n(stPart.wszContent, 161, VELK_wchar_t(u'x'));
  stPart.iContentLen = 160;
  EXPECT_EQ(std::string(160, 'x'), Utf8(Convert(stPart, SMS_MEM_SM).GetContent()));
  stPart.iContentLen = -3;
  EXPECT_EQ(std::string(161, 'x'), Utf8(Convert(stPart, SMS_MEM_SM).GetContent()));
}

TEST(Conversion, EndsTheContentAtItsTerminatorWhenThatComesBeforeTheLength) {
  SMReadRecord stMessage = DeviceMessage(SMS_STAT_READ);
  stMessage.dwLength = 100;
  EXPECT_EQ("Gr\u00FC\u00DFe", Utf8(Convert(stMessage, SMS_MEM_SM).GetContent()));
}

TEST(Conversion, ALengthOf0DoesNotMeanEmpty) {
  SMReadRecord stMessage = DeviceMessage(SMS_STAT_READ);
  stMessage.dwLength = 0;
  EXPECT_EQ("Gr\u00FC\u00DFe", Utf8(Convert(stMessage, SMS_MEM_SM).GetContent()));
}

TEST(Conversion, ReadsANumberWithoutATerminatorToItsLastByte) {
  SMReadRecord stMessage = DeviceMessage(SMS_STAT_READ);
  std::memset(stMessage.szAddress, '5', sizeof stMessage.szAddress);
  std::memset(stMessage.szSCNum, '6', sizeof stMessage.szSCNum);
  EXPECT_EQ(std::string(33, '5'), Utf8(Convert(stMessage, SMS_MEM_SM).GetNumber()));
  SMS_PARAM stPart = DevicePart(SMS_STAT_READ);
  std::memset(stPart.szAddress, '5', sizeof stPart.szAddress);
  stPart.stLongSMS_info.btMR = '6';
  EXPECT_EQ(std::string(33, '5'), Utf8(Convert(stPart, SMS_MEM_SM).GetNumber()));
}

// --- Message class ---------------------------------------------------------------------------------------------------

TEST(Conversion, TakesAMessageClassFrom0To4AndNoOther) {
  for (const int iClass : {0, 1, 2, 3, 4, 5, 99, -1, -2147483647 - 1}) {
    SMReadRecord stMessage = DeviceMessage(SMS_STAT_READ);
    stMessage.enSmClass = static_cast<SMS_CLASS>(iClass);
    EXPECT_EQ(iClass >= 0 && iClass < 5 ? iClass : kUnset, Convert(stMessage, SMS_MEM_SM).GetSMSClass()) << iClass;
  }
}

TEST(Conversion, APartLeavesTheClassAlone) {
  EXPECT_EQ(kUnset, Convert(DevicePart(SMS_STAT_SENT), SMS_MEM_SM).GetSMSClass());
}

// --- Kinds -----------------------------------------------------------------------------------------------------------

TEST(Conversion, TheKindBecomesTheMessageType) {
  const std::pair<int, int> kinds[] = {{0, NS_SMS::MSG_ORDINARY},       {1, NS_SMS::MSG_REPORT},
                                       {2, NS_SMS::MSG_MMS_ALERT},      {3, NS_SMS::MSG_VOICE_MAIL},
                                       {4, NS_SMS::MSG_CELL_BROADCAST}, {5, NS_SMS::MSG_ORDINARY},
                                       {6, NS_SMS::MSG_ORDINARY},       {7, NS_SMS::MSG_ORDINARY},
                                       {-1, NS_SMS::MSG_ORDINARY},      {2147483647, NS_SMS::MSG_ORDINARY}};
  for (const auto& kind : kinds) {
    const auto enType = static_cast<SMS_IDENTIFYER>(kind.first);
    EXPECT_EQ(kind.second, Convert(DeviceMessage(SMS_STAT_READ, enType), SMS_MEM_SM).GetMSGType()) << kind.first;
    EXPECT_EQ(kind.second, Convert(DevicePart(SMS_STAT_READ, enType), SMS_MEM_SM).GetMSGType()) << kind.first;
  }
}

TEST(Conversion, AReportSucceededWhenItsFirstUnitIs0) {
  for (const int iFirst : {0, 1, 0x30, 0xFFFF}) {
    SMReadRecord stMessage = DeviceMessage(SMS_STAT_READ, SMS_IDENTIFYER_REPORT);
    stMessage.wszContent[0] = static_cast<VELK_wchar_t>(iFirst);
    SMS_PARAM stPart = DevicePart(SMS_STAT_READ, SMS_IDENTIFYER_REPORT);
    stPart.wszContent[0] = static_cast<VELK_wchar_t>(iFirst);
    const int iExpected = iFirst == 0 ? NS_SMS::SUCCESS : NS_SMS::FAILURE;
    EXPECT_EQ(iExpected, Convert(stMessage, SMS_MEM_ME).GetSendResult()) << iFirst;
    EXPECT_EQ(iExpected, Convert(stPart, SMS_MEM_ME).GetSendResult()) << iFirst;
  }
}

TEST(Conversion, AReportOverridesTheResultOfItsState) {
  SMReadRecord stMessage = DeviceMessage(SMS_STAT_SENT, SMS_IDENTIFYER_REPORT);
  EXPECT_EQ(NS_SMS::FAILURE, Convert(stMessage, SMS_MEM_SM).GetSendResult());
}

TEST(Conversion, AReportIsInTheReceiptBoxOnlyWhenItIsKeptLocally) {
  const std::pair<SMS_MEM, int> places[] = {{SMS_MEM_SM, NS_SMS::RECEIVE_BOX_SIM},
                                            {SMS_MEM_ME, NS_SMS::RECEIVE_BOX_NV},
                                            {SMS_MEM_UNKNOW, NS_SMS::RECEIPT_BOX},
                                            {static_cast<SMS_MEM>(3), NS_SMS::RECEIVE_BOX}};
  for (const auto& place : places) {
    const CSMSRecordImpl fromMessage = Convert(DeviceMessage(SMS_STAT_READ, SMS_IDENTIFYER_REPORT), place.first);
    const CSMSRecordImpl fromPart = Convert(DevicePart(SMS_STAT_READ, SMS_IDENTIFYER_REPORT), place.first);
    EXPECT_EQ(place.second, fromMessage.GetPosition()) << place.first;
    EXPECT_EQ(place.second, fromPart.GetPosition()) << place.first;
    EXPECT_EQ(NS_SMS::RECEIPT_BOX, fromMessage.GetInitialPosition());
    EXPECT_EQ(NS_SMS::RECEIPT_BOX, fromPart.GetInitialPosition());
  }
}

TEST(Conversion, AVoiceMailNoticeHasAnEmptyTime) {
  EXPECT_EQ("", Utf8(Convert(DeviceMessage(SMS_STAT_UNREAD, SMS_IDENTIFYER_VOICE_MAIL), SMS_MEM_SM).GetTime()));
  EXPECT_EQ("", Utf8(Convert(DevicePart(SMS_STAT_UNREAD, SMS_IDENTIFYER_VOICE_MAIL), SMS_MEM_SM).GetTime()));
}

TEST(Conversion, ABroadcastIsInTheBroadcastBoxFromTheStart) {
  for (const SMS_STAT enStat : {SMS_STAT_UNREAD, SMS_STAT_ALL}) {
    const auto enType = SMS_IDENTIFYER_CELL_BROADCAST;
    for (const CSMSRecordImpl& record :
         {Convert(DeviceMessage(enStat, enType), SMS_MEM_SM), Convert(DevicePart(enStat, enType), SMS_MEM_SM)}) {
      EXPECT_EQ(NS_SMS::CBS_BOX, record.GetPosition());
      EXPECT_EQ(NS_SMS::CBS_BOX, record.GetInitialPosition());
    }
  }
}

// --- Priority --------------------------------------------------------------------------------------------------------

class ConversionPriority : public CAppTest {
protected:
  static int Of(int iPriority) {
    SMReadRecord stMessage = DeviceMessage(SMS_STAT_READ);
    stMessage.enPri = static_cast<SM_PRIORITY>(iPriority);
    return Convert(stMessage, SMS_MEM_SM).GetSMSPriority();
  }
};

const int kPriorities[] = {0, 1, 2, 3, 4, 99, -1};

TEST_F(ConversionPriority, IsTheDevicesOwnOnCdmaOnly) {
  m_device.device.m_enProduct = DevDataDef::PRODUCT_TYPE_CDMA;
  for (const int iPriority : kPriorities) {
    EXPECT_EQ(iPriority >= 1 && iPriority <= 3 ? iPriority : 0, Of(iPriority)) << iPriority;
  }
}

TEST_F(ConversionPriority, Is4OnEveryOtherProduct) {
  for (const int iProduct : {0, 2, 3, 4, 5}) {
    m_device.device.m_enProduct = static_cast<DevDataDef::PRODUCT_TYPE>(iProduct);
    for (const int iPriority : kPriorities) {
      EXPECT_EQ(4, Of(iPriority)) << iProduct << " " << iPriority;
    }
  }
}

TEST_F(ConversionPriority, Is4WithoutADeviceService) {
  m_device.OfferDevice(false);
  EXPECT_EQ(4, Of(2));
}

TEST_F(ConversionPriority, Is4WhenTheContainerThrows) {
  m_device.container.ThrowOnQuery(true);
  EXPECT_EQ(4, Of(2));
}

TEST_F(ConversionPriority, OfAPartIsItsOwnWithoutAskingTheDevice) {
  const int iQueries = m_device.container.QueryCount();
  for (const int iPriority : kPriorities) {
    SMS_PARAM stPart = DevicePart(SMS_STAT_READ);
    stPart.enPri = static_cast<SM_PRIORITY>(iPriority);
    EXPECT_EQ(iPriority >= 0 && iPriority <= 3 ? iPriority : 4, Convert(stPart, SMS_MEM_SM).GetSMSPriority())
        << iPriority;
  }
  EXPECT_EQ(iQueries, m_device.container.QueryCount());
}

// --- Into a part -----------------------------------------------------------------------------------------------------

/// A part in which everything that may stay has a mark.
SMS_PARAM MarkedPart() {
  SMS_PARAM stPart;
  stPart.enSMSStat = SMS_STAT_ALL;
  stPart.bLongSms = true;
  stPart.stLongSMS_info.btMR = 9;
  stPart.stLongSMS_info.btTotalPack = 9;
  stPart.stLongSMS_info.btPack = 9;
  std::fill_n(stPart.wszContent, 161, VELK_wchar_t(u'#'));
  stPart.enPri = SM_PRIORITY_URGENT;
  stPart.enType = SMS_IDENTIFYER_FLASH;
  std::strcpy(stPart.szAddress, "mark");
  stPart.utTime.wYear = 1999;
  return stPart;
}

SMS_PARAM IntoPart(const ISMSRecord& record, SMS_MEM enMem) {
  SMS_PARAM stPart = MarkedPart();
  MSG_HANDLE hMsg = 0;
  ParseSMSRecordIntoSmsParam(&record, stPart, &hMsg, enMem);
  return stPart;
}

TEST(ConversionIntoAPart, GivesTheIdentifier) {
  SMS_PARAM stPart;
  MSG_HANDLE hMsg = 0;
  CSMSRecordImpl record = MakeRecord(4711);
  ParseSMSRecordIntoSmsParam(&record, stPart, &hMsg, SMS_MEM_SM);
  EXPECT_EQ(4711U, hMsg);
  record.SetMSGID(-1);
  ParseSMSRecordIntoSmsParam(&record, stPart, &hMsg, SMS_MEM_SM);
  EXPECT_EQ(0xFFFFFFFFU, hMsg);
}

TEST(ConversionIntoAPart, TakesLongMessageInformationWhenThereIsATotal) {
  CSMSRecordImpl record = MakeRecord(1);
  record.SetMSGInfo(17, 3, 2);
  SMS_PARAM stPart = IntoPart(record, SMS_MEM_ME);
  EXPECT_TRUE(stPart.bLongSms);
  EXPECT_EQ(17, stPart.stLongSMS_info.btMR);
  EXPECT_EQ(3, stPart.stLongSMS_info.btTotalPack);
  EXPECT_EQ(2, stPart.stLongSMS_info.btPack);
  record.SetMSGInfo(17, 0, 2);
  stPart = IntoPart(record, SMS_MEM_ME);
  EXPECT_FALSE(stPart.bLongSms);
  EXPECT_EQ(0, stPart.stLongSMS_info.btMR);
  EXPECT_EQ(0, stPart.stLongSMS_info.btTotalPack);
  EXPECT_EQ(0, stPart.stLongSMS_info.btPack);
}

TEST(ConversionIntoAPart, CutsLongMessageInformationToItsLowBytes) {
  CSMSRecordImpl record = MakeRecord(1);
  record.SetMSGInfo(0x1FF, 256, -1);
  const SMS_PARAM stPart = IntoPart(record, SMS_MEM_ME);
  EXPECT_TRUE(stPart.bLongSms);
  EXPECT_EQ(255, stPart.stLongSMS_info.btMR);
  EXPECT_EQ(0, stPart.stLongSMS_info.btTotalPack);
  EXPECT_EQ(255, stPart.stLongSMS_info.btPack);
}

SMS_STAT StateFor(int iPosition, int iIsRead, int iResult, SMS_MEM enMem) {
  CSMSRecordImpl record = MakeRecord(1);
  record.SetPosition(iPosition);
  record.SetIsRead(iIsRead);
  record.SetSendResult(iResult);
  return IntoPart(record, enMem).enSMSStat;
}

TEST(ConversionIntoAPart, TakesTheStateOfTheSimsReceiveBox) {
  EXPECT_EQ(SMS_STAT_UNREAD, StateFor(NS_SMS::RECEIVE_BOX_SIM, NS_SMS::IS_NOT_READ, 0, SMS_MEM_SM));
  EXPECT_EQ(SMS_STAT_READ, StateFor(NS_SMS::RECEIVE_BOX_SIM, NS_SMS::IS_READ, 1, SMS_MEM_SM));
  EXPECT_EQ(SMS_STAT_READ, StateFor(NS_SMS::RECEIVE_BOX_SIM, 2, 1, SMS_MEM_SM));
}

TEST(ConversionIntoAPart, TakesTheStateOfTheSimsSendBox) {
  EXPECT_EQ(SMS_STAT_SENT, StateFor(NS_SMS::SEND_BOX_SIM, 1, 0, SMS_MEM_SM));
  EXPECT_EQ(SMS_STAT_UNSENT, StateFor(NS_SMS::SEND_BOX_SIM, 0, 1, SMS_MEM_SM));
  EXPECT_EQ(SMS_STAT_UNSENT, StateFor(NS_SMS::SEND_BOX_SIM, 0, -1, SMS_MEM_SM));
}

TEST(ConversionIntoAPart, LeavesTheStateAloneInEveryOtherBoxAndMemory) {
  for (int iPosition = -1; iPosition <= NS_SMS::MSG_POSITION_NUM; ++iPosition) {
    const bool bSimBox = iPosition == NS_SMS::RECEIVE_BOX_SIM || iPosition == NS_SMS::SEND_BOX_SIM;
    if (!bSimBox) {
      EXPECT_EQ(SMS_STAT_ALL, StateFor(iPosition, 1, 0, SMS_MEM_SM)) << iPosition;
    }
    EXPECT_EQ(SMS_STAT_ALL, StateFor(iPosition, 1, 0, SMS_MEM_ME)) << iPosition;
    EXPECT_EQ(SMS_STAT_ALL, StateFor(iPosition, 1, 0, SMS_MEM_UNKNOW)) << iPosition;
  }
}

TEST(ConversionIntoAPart, ARecordOfTheModemsReceiveBoxLeavesTheStateAlone) {
  EXPECT_EQ(SMS_STAT_ALL, StateFor(NS_SMS::RECEIVE_BOX_NV, NS_SMS::IS_NOT_READ, 0, SMS_MEM_SM));
}

TEST(ConversionIntoAPart, CopiesTheContentWithItsTerminatorAndNothingBehindIt) {
  const SMS_PARAM stPart = IntoPart(MakeRecord(1, "Hallo"), SMS_MEM_SM);
  EXPECT_EQ(5, stPart.iContentLen);
  EXPECT_EQ("Hallo", Utf8(stPart.wszContent));
  EXPECT_EQ(0, stPart.wszContent[5]);
  EXPECT_EQ(155, std::count(stPart.wszContent, stPart.wszContent + 161, VELK_wchar_t(u'#')));
}

TEST(ConversionIntoAPart, CutsTheContentAfter160UnitsAndTerminatesIt) {
  for (const std::size_t uLength : {0UL, 1UL, 159UL, 160UL, 161UL, 162UL, 100000UL}) {
    const SMS_PARAM stPart = IntoPart(MakeRecord(1, std::string(uLength, 'x')), SMS_MEM_SM);
    const std::size_t uExpected = std::min<std::size_t>(uLength, 160);
    EXPECT_EQ(static_cast<int>(uExpected), stPart.iContentLen) << uLength;
    EXPECT_EQ(std::string(uExpected, 'x'), Utf8(stPart.wszContent)) << uLength;
  }
}

TEST(ConversionIntoAPart, LeavesNumberTimePriorityAndTypeToTheCaller) {
  const SMS_PARAM stPart = IntoPart(MakeRecord(1), SMS_MEM_SM);
  EXPECT_STREQ("mark", stPart.szAddress);
  EXPECT_EQ(1999, stPart.utTime.wYear);
  EXPECT_EQ(SM_PRIORITY_URGENT, stPart.enPri);
  EXPECT_EQ(SMS_IDENTIFYER_FLASH, stPart.enType);
}

TEST(ConversionIntoAPart, DoesNothingForANullRecord) {
  SMS_PARAM stPart = MarkedPart();
  MSG_HANDLE hMsg = 12;
  ParseSMSRecordIntoSmsParam(nullptr, stPart, &hMsg, SMS_MEM_SM);
  EXPECT_EQ(12U, hMsg);
  EXPECT_TRUE(stPart.bLongSms);
  EXPECT_EQ(u'#', stPart.wszContent[0]);
}

TEST(ConversionIntoAPart, FillsThePartAlsoWhenNobodyWantsTheIdentifier) {
  SMS_PARAM stPart = MarkedPart();
  const CSMSRecordImpl record = MakeRecord(1, "Hallo");
  ParseSMSRecordIntoSmsParam(&record, stPart, nullptr, SMS_MEM_SM);
  EXPECT_EQ("Hallo", Utf8(stPart.wszContent));
}

TEST(Conversion, IntoANullRecordDoesNothing) {
  ParseSMSMessageToRecord(DeviceMessage(SMS_STAT_READ), nullptr, SMS_MEM_SM);
  ParseSMSParamToRecord(DevicePart(SMS_STAT_READ), nullptr, SMS_MEM_SM);
}

TEST(Conversion, ThereAndBackKeepsWhatBothSidesKnow) {
  const SMS_PARAM stPart = IntoPart(Convert(DeviceMessage(SMS_STAT_UNREAD), SMS_MEM_SM), SMS_MEM_SM);
  EXPECT_EQ(SMS_STAT_UNREAD, stPart.enSMSStat);
  EXPECT_EQ("Gr\u00FC\u00DFe", Utf8(stPart.wszContent));
}

}  // namespace
