// The structures exchanged with the device services: initial values, layout, enumerations.
#include "SMSDef.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <type_traits>
#include <vector>

namespace {

template <class Value, std::size_t Size>
bool IsAllZero(const Value (&array)[Size]) {
  return std::all_of(array, array + Size, [](Value value) { return value == 0; });
}

bool IsZero(const UTTime& t) {
  return t.wYear == 0 && t.btMonth == 0 && t.btDay == 0 && t.btHour == 0 && t.btMinute == 0 && t.btSecond == 0;
}

bool IsZero(const LONG_SMS_INFO& info) { return info.btMR == 0 && info.btTotalPack == 0 && info.btPack == 0; }

/// Storage in which every bit is set, as memory that was used before may be.
template <class Structure>
class CDirtyRoom {
public:
  CDirtyRoom() { std::memset(m_bytes, 0xFF, sizeof m_bytes); }
  Structure* Make() { return new (m_bytes) Structure; }
  unsigned char ByteAt(std::size_t uOffset) const { return m_bytes[uOffset]; }

private:
  alignas(Structure) unsigned char m_bytes[sizeof(Structure)];
};

// --- Initial values --------------------------------------------------------------------------------------------------

TEST(DeviceTime, StartsAtZero) {
  CDirtyRoom<UTTime> room;
  EXPECT_TRUE(IsZero(*room.Make()));
}

TEST(LongMessageInformation, StartsAtZero) {
  CDirtyRoom<LONG_SMS_INFO> room;
  EXPECT_TRUE(IsZero(*room.Make()));
}

TEST(NationalLanguage, StartsWithoutATableAndIsCopiedWhole) {
  CDirtyRoom<SMS_NLI> room;
  SMS_NLI* const pTables = room.Make();
  EXPECT_EQ(SMS_NLI_Lock_Reverse, pTables->enNLI_Lock);
  EXPECT_EQ(SMS_NLI_Single_Reverse, pTables->enNLI_Single);
  SMS_NLI other;
  other.enNLI_Lock = SMS_NLI_Port_Lock;
  other.enNLI_Single = SMS_NLI_Span_Single;
  *pTables = other;
  EXPECT_EQ(SMS_NLI_Port_Lock, pTables->enNLI_Lock);
  EXPECT_EQ(SMS_NLI_Span_Single, pTables->enNLI_Single);
}

TEST(SmsParam, StartsAsSentAndNotLongWithEveryContentUnitZero) {
  CDirtyRoom<SMS_PARAM> room;
  const SMS_PARAM& stParam = *room.Make();
  EXPECT_EQ(SMS_STAT_SENT, stParam.enSMSStat);
  EXPECT_EQ(3, stParam.enSMSStat);
  EXPECT_FALSE(stParam.bLongSms);
  EXPECT_TRUE(IsAllZero(stParam.wszContent));
}

TEST(SmsParam, StartsWithEveryOtherFieldZero) {
  CDirtyRoom<SMS_PARAM> room;
  const SMS_PARAM& stParam = *room.Make();
  EXPECT_EQ(0, stParam.iContentLen);
  EXPECT_TRUE(IsAllZero(stParam.szAddress));
  EXPECT_TRUE(IsAllZero(stParam.szSCNum));
  EXPECT_TRUE(IsZero(stParam.stLongSMS_info));
  EXPECT_TRUE(IsZero(stParam.utTime));
  EXPECT_EQ(SM_PRIORITY_NORMAL, stParam.enPri);
  EXPECT_EQ(SMS_IDENTIFYER_ORDINARILY, stParam.enType);
  EXPECT_EQ(0, stParam.cDCS);
  EXPECT_EQ(SMS_NLI_Lock_Reverse, stParam.stSMS_NLI.enNLI_Lock);
  EXPECT_EQ(SMS_NLI_Single_Reverse, stParam.stSMS_NLI.enNLI_Single);
}

SMS_PARAM FilledParam() {
  SMS_PARAM stParam;
  stParam.iContentLen = 161;
  stParam.enSMSStat = SMS_STAT_UNSENT;
  std::memset(stParam.szAddress, '5', sizeof stParam.szAddress);
  stParam.stLongSMS_info.btMR = 255;
  stParam.stLongSMS_info.btTotalPack = 3;
  stParam.stLongSMS_info.btPack = 2;
  stParam.utTime.wYear = 2009;
  stParam.utTime.btSecond = 59;
  std::fill_n(stParam.wszContent, 161, VELK_wchar_t(0x20AC));
  std::memset(stParam.szSCNum, '7', sizeof stParam.szSCNum);
  stParam.enPri = SM_PRIORITY_EMERGENCY;
  stParam.enType = SMS_IDENTIFYER_FLASH;
  stParam.cDCS = 12;
  stParam.bLongSms = true;
  stParam.stSMS_NLI.enNLI_Lock = SMS_NLI_Turk_Lock;
  stParam.stSMS_NLI.enNLI_Single = SMS_NLI_Port_Single;
  return stParam;
}

void ExpectFilled(const SMS_PARAM& stParam) {
  EXPECT_EQ(161, stParam.iContentLen);
  EXPECT_EQ(SMS_STAT_UNSENT, stParam.enSMSStat);
  EXPECT_EQ(33, std::count(stParam.szAddress, stParam.szAddress + 33, '5'));
  EXPECT_EQ(255, stParam.stLongSMS_info.btMR);
  EXPECT_EQ(3, stParam.stLongSMS_info.btTotalPack);
  EXPECT_EQ(2, stParam.stLongSMS_info.btPack);
  EXPECT_EQ(2009, stParam.utTime.wYear);
  EXPECT_EQ(59, stParam.utTime.btSecond);
  EXPECT_EQ(161, std::count(stParam.wszContent, stParam.wszContent + 161, VELK_wchar_t(0x20AC)));
  EXPECT_EQ(21, std::count(stParam.szSCNum, stParam.szSCNum + 21, '7'));
  EXPECT_EQ(SM_PRIORITY_EMERGENCY, stParam.enPri);
  EXPECT_EQ(SMS_IDENTIFYER_FLASH, stParam.enType);
  EXPECT_EQ(12, stParam.cDCS);
  EXPECT_TRUE(stParam.bLongSms);
  EXPECT_EQ(SMS_NLI_Turk_Lock, stParam.stSMS_NLI.enNLI_Lock);
  EXPECT_EQ(SMS_NLI_Port_Single, stParam.stSMS_NLI.enNLI_Single);
}

TEST(SmsParam, CopiesTheNationalTablesAndTheLongMarkWithAllOtherFields) {
  const SMS_PARAM stFilled = FilledParam();
  const SMS_PARAM stCopy(stFilled);
  ExpectFilled(stCopy);
  SMS_PARAM stAssigned;
  stAssigned = stFilled;
  ExpectFilled(stAssigned);
}

TEST(MmsNotification, StartsEmptyWithBothArraysZero) {
  CDirtyRoom<MMS_NOTIFY_DATA> room;
  const MMS_NOTIFY_DATA& stData = *room.Make();
  EXPECT_EQ(0, stData.iWSPLen);
  EXPECT_EQ(0, stData.iDATALen);
  EXPECT_TRUE(IsAllZero(stData.szWSP));
  EXPECT_TRUE(IsAllZero(stData.szDATA));
}

TEST(SmReadRecord, StartsWithClassInvalidAndEveryOtherFieldZero) {
  CDirtyRoom<SMReadRecord> room;
  const SMReadRecord& stRecord = *room.Make();
  EXPECT_EQ(SMS_CLASS_INVALID, stRecord.enSmClass);
  EXPECT_EQ(4, stRecord.enSmClass);
  EXPECT_EQ(0U, stRecord.dwLength);
  EXPECT_TRUE(IsZero(stRecord.stTime));
  EXPECT_EQ(SMS_IDENTIFYER_ORDINARILY, stRecord.enType);
  EXPECT_EQ(SMS_STAT_UNREAD, stRecord.enSMStat);
  EXPECT_TRUE(IsZero(stRecord.stLongSMS_info));
  EXPECT_TRUE(IsAllZero(stRecord.szAddress));
  EXPECT_TRUE(IsAllZero(stRecord.szSCNum));
  EXPECT_EQ(0, stRecord.stMMS_Notify_Data.iWSPLen);
  EXPECT_EQ(0, stRecord.stMMS_Notify_Data.iDATALen);
  EXPECT_EQ(SM_PRIORITY_NORMAL, stRecord.enPri);
  EXPECT_EQ(SMS_REPLY_PATH_LOCAL_SM_CENTER_ADDR, stRecord.enReplyPath);
}

TEST(SmReadRecord, ClearsOnlyTheFirst161BytesOfItsContent) {
  CDirtyRoom<SMReadRecord> room;
  room.Make();
  const std::size_t uContent = offsetof(SMReadRecord, wszContent);
  for (std::size_t uByte = 0; uByte < 322; ++uByte) {
    ASSERT_EQ(uByte < 161 ? 0x00 : 0xFF, room.ByteAt(uContent + uByte)) << "content byte " << uByte;
  }
}

TEST(WmsConfiguration, StartsUnknown) {
  CDirtyRoom<WMSConfigurationType> room;
  const WMSConfigurationType& stConfig = *room.Make();
  EXPECT_EQ(SMS_CLASS_INVALID, stConfig.enSmClass);
  EXPECT_EQ(SM_PRIORITY_NORMAL, stConfig.enPri);
  EXPECT_EQ(0U, stConfig.dwValidity);
  EXPECT_FALSE(stConfig.bEnableStatusReport);
  EXPECT_FALSE(stConfig.bEnableReplyPath);
  EXPECT_TRUE(IsAllZero(stConfig.szSCNum));
  EXPECT_EQ(RECEIVE_NEWSMS_UNKNOW, stConfig.enRevMode);
}

// --- Layout ----------------------------------------------------------------------------------------------------------

/// Sizes of the fields in the order of the structure, with natural alignment; the last one is the whole.
std::vector<std::size_t> OffsetsOf(const std::vector<std::pair<std::size_t, std::size_t>>& sizeAndAlignment) {
  std::vector<std::size_t> offsets;
  std::size_t uNext = 0;
  std::size_t uWidest = 1;
  for (const auto& field : sizeAndAlignment) {
    uNext = (uNext + field.second - 1) / field.second * field.second;
    offsets.push_back(uNext);
    uNext += field.first;
    uWidest = std::max(uWidest, field.second);
  }
  offsets.push_back((uNext + uWidest - 1) / uWidest * uWidest);
  return offsets;
}

TEST(Layout, BasicTypesHaveTheirWidths) {
  EXPECT_EQ(1U, sizeof(BYTE));
  EXPECT_EQ(2U, sizeof(WORD));
  EXPECT_EQ(4U, sizeof(DWORD));
  EXPECT_EQ(2U, sizeof(VELK_wchar_t));
  EXPECT_EQ(4U, sizeof(MSG_HANDLE));
  EXPECT_EQ(4U, sizeof(CMS_DCS));
  EXPECT_TRUE(std::is_unsigned<BYTE>::value && std::is_unsigned<WORD>::value && std::is_unsigned<DWORD>::value);
  EXPECT_TRUE(std::is_unsigned<VELK_wchar_t>::value);
  EXPECT_EQ(4U, sizeof(SMS_STAT));
  EXPECT_EQ(4U, sizeof(SMS_CLASS));
}

TEST(Layout, OfAPartFollowsTheOrderOfItsFields) {
  EXPECT_EQ(
      OffsetsOf({{4, 4}, {4, 4}, {33, 1}, {3, 1}, {8, 2}, {322, 2}, {21, 1}, {4, 4}, {4, 4}, {1, 1}, {1, 1}, {8, 4}}),
      (std::vector<std::size_t>{offsetof(SMS_PARAM, iContentLen), offsetof(SMS_PARAM, enSMSStat),
                                offsetof(SMS_PARAM, szAddress), offsetof(SMS_PARAM, stLongSMS_info),
                                offsetof(SMS_PARAM, utTime), offsetof(SMS_PARAM, wszContent),
                                offsetof(SMS_PARAM, szSCNum), offsetof(SMS_PARAM, enPri), offsetof(SMS_PARAM, enType),
                                offsetof(SMS_PARAM, cDCS), offsetof(SMS_PARAM, bLongSms),
                                offsetof(SMS_PARAM, stSMS_NLI), sizeof(SMS_PARAM)}));
  EXPECT_EQ(416U, sizeof(SMS_PARAM));
}

TEST(Layout, OfADeviceMessageFollowsTheOrderOfItsFields) {
  EXPECT_EQ(
      OffsetsOf({{4, 4}, {8, 2}, {4, 4}, {4, 4}, {3, 1}, {33, 1}, {21, 1}, {322, 2}, {328, 4}, {4, 4}, {4, 4}, {4, 4}}),
      (std::vector<std::size_t>{
          offsetof(SMReadRecord, dwLength), offsetof(SMReadRecord, stTime), offsetof(SMReadRecord, enType),
          offsetof(SMReadRecord, enSMStat), offsetof(SMReadRecord, stLongSMS_info), offsetof(SMReadRecord, szAddress),
          offsetof(SMReadRecord, szSCNum), offsetof(SMReadRecord, wszContent),
          offsetof(SMReadRecord, stMMS_Notify_Data), offsetof(SMReadRecord, enPri), offsetof(SMReadRecord, enSmClass),
          offsetof(SMReadRecord, enReplyPath), sizeof(SMReadRecord)}));
  EXPECT_EQ(740U, sizeof(SMReadRecord));
}

TEST(Layout, OfTheSmallStructuresFollowsTheOrderOfTheirFields) {
  EXPECT_EQ(0U, offsetof(UTTime, wYear));
  EXPECT_EQ(2U, offsetof(UTTime, btMonth));
  EXPECT_EQ(6U, offsetof(UTTime, btSecond));
  EXPECT_EQ(8U, sizeof(UTTime));
  EXPECT_EQ(0U, offsetof(LONG_SMS_INFO, btMR));
  EXPECT_EQ(1U, offsetof(LONG_SMS_INFO, btTotalPack));
  EXPECT_EQ(2U, offsetof(LONG_SMS_INFO, btPack));
  EXPECT_EQ(4U, offsetof(SMS_NLI, enNLI_Single));
  EXPECT_EQ(8U, offsetof(MMS_NOTIFY_DATA, szWSP));
  EXPECT_EQ(168U, offsetof(MMS_NOTIFY_DATA, szDATA));
  EXPECT_EQ(4U, offsetof(SNewSmsNotifyType, hMsg));
  EXPECT_EQ(0U, offsetof(CBSMessage, SerialNumber));
  EXPECT_EQ(4U, offsetof(CBSMessage, MessageId));
  EXPECT_EQ(8U, offsetof(CBSMessage, TotalNumber));
  EXPECT_EQ(9U, offsetof(CBSMessage, Sequence));
  EXPECT_EQ(10U, offsetof(CBSMessage, wszContent));
  EXPECT_EQ(96U, sizeof(CBSMessage::wszContent) / sizeof(VELK_wchar_t));
  EXPECT_EQ(4U, offsetof(CBS_MID, dwRight));
  EXPECT_EQ(0U, offsetof(CbsMidList, size));
  EXPECT_EQ(0U, offsetof(CbsDcsList, size));
  EXPECT_EQ(14U, offsetof(WMSConfigurationType, szSCNum));
  EXPECT_EQ(36U, offsetof(WMSConfigurationType, enRevMode));
}

TEST(Layout, ListsOwnNothingAndStartEmpty) {
  const SMS_LIST stList;
  EXPECT_EQ(0U, stList.dwCount);
  EXPECT_EQ(nullptr, stList.pList);
  EXPECT_EQ(nullptr, stList.pSmReadRecord);
  EXPECT_TRUE(std::is_trivially_destructible<SMS_LIST>::value);
  EXPECT_TRUE(std::is_trivially_copyable<SMS_PARAM>::value);
  EXPECT_TRUE(std::is_trivially_copyable<SMReadRecord>::value);
}

// --- Enumerations ----------------------------------------------------------------------------------------------------

struct ValueRow {
  const char* pszName;
  long lValue;
  long lExpected;
};

#define ROW(name, expected) \
  { #name, static_cast < long>(name), expected }

const ValueRow kValues[] = {
    ROW(NS_SMS::SEND_BOX, 0),
    ROW(NS_SMS::RECEIVE_BOX, 1),
    ROW(NS_SMS::DRAFT_BOX, 2),
    ROW(NS_SMS::FAVORITE_BOX, 3),
    ROW(NS_SMS::RECYCLE_BOX, 4),
    ROW(NS_SMS::RECEIPT_BOX, 5),
    ROW(NS_SMS::SEND_BOX_SIM, 6),
    ROW(NS_SMS::RECEIVE_BOX_SIM, 7),
    ROW(NS_SMS::SEND_BOX_NV, 8),
    ROW(NS_SMS::RECEIVE_BOX_NV, 9),
    ROW(NS_SMS::CBS_BOX, 10),
    ROW(NS_SMS::TIMING_BOX, 11),
    ROW(NS_SMS::MSG_POSITION_NUM, 12),
    ROW(NS_SMS::IS_READ, 0),
    ROW(NS_SMS::IS_NOT_READ, 1),
    ROW(NS_SMS::SUCCESS, 0),
    ROW(NS_SMS::FAILURE, 1),
    ROW(NS_SMS::MSG_ORDINARY, 0),
    ROW(NS_SMS::MSG_REPORT, 1),
    ROW(NS_SMS::MSG_MMS_ALERT, 2),
    ROW(NS_SMS::MSG_VOICE_MAIL, 3),
    ROW(NS_SMS::MSG_CELL_BROADCAST, 4),
    ROW(NS_SMS::SMS_NORMAL_PRIORITY, 0),
    ROW(NS_SMS::SMS_INTERACTIVE_PRIORITY, 1),
    ROW(NS_SMS::SMS_URGENT_PRIORITY, 2),
    ROW(NS_SMS::SMS_EMERGENCY_PRIORITY, 3),
    ROW(NS_SMS::SMS_WCDMA_PRIORITY, 4),
    ROW(NS_SMS::MS_CLASS_0, 0),
    ROW(NS_SMS::MS_CLASS_1, 1),
    ROW(NS_SMS::MS_CLASS_2, 2),
    ROW(NS_SMS::MS_CLASS_3, 3),
    ROW(NS_SMS::MS_CLASS_INVALID, 4),
    ROW(NS_SMS::SMS_LOCAL, 0),
    ROW(NS_SMS::SMS_SIM, 1),
    ROW(NS_SMS::SMS_NV, 2),
    ROW(SMS_MEM_SM, 0),
    ROW(SMS_MEM_ME, 1),
    ROW(SMS_MEM_UNKNOW, 2),
    ROW(SM_PRIORITY_NORMAL, 0),
    ROW(SM_PRIORITY_INTERACTIVE, 1),
    ROW(SM_PRIORITY_URGENT, 2),
    ROW(SM_PRIORITY_EMERGENCY, 3),
    ROW(SMS_CLASS_0, 0),
    ROW(SMS_CLASS_1, 1),
    ROW(SMS_CLASS_2, 2),
    ROW(SMS_CLASS_3, 3),
    ROW(SMS_CLASS_INVALID, 4),
    ROW(SMS_REPLY_PATH_LOCAL_SM_CENTER_ADDR, 0),
    ROW(SMS_REPLY_PATH_SOURCE_SM_CENTER_ADDR, 1),
    ROW(SMS_IDENTIFYER_ORDINARILY, 0),
    ROW(SMS_IDENTIFYER_REPORT, 1),
    ROW(SMS_IDENTIFYER_MMS_NOTIFY, 2),
    ROW(SMS_IDENTIFYER_VOICE_MAIL, 3),
    ROW(SMS_IDENTIFYER_CELL_BROADCAST, 4),
    ROW(SMS_IDENTIFYER_FLASH, 5),
    ROW(SMS_IDENTIFYER_UNKNOW, 6),
    ROW(SMS_STAT_UNREAD, 0),
    ROW(SMS_STAT_READ, 1),
    ROW(SMS_STAT_UNSENT, 2),
    ROW(SMS_STAT_SENT, 3),
    ROW(SMS_STAT_ALL, 4),
    ROW(SMS_NLI_Lock_Reverse, 0),
    ROW(SMS_NLI_Turk_Lock, 1),
    ROW(SMS_NLI_Port_Lock, 3),
    ROW(SMS_NLI_Single_Reverse, 0),
    ROW(SMS_NLI_Turk_Single, 1),
    ROW(SMS_NLI_Span_Single, 2),
    ROW(SMS_NLI_Port_Single, 3),
    ROW(RECEIVE_NEWSMS_UNKNOW, 0),
    ROW(RECEIVE_NEWSMS_DIRECT, 1),
    ROW(RECEIVE_NEWSMS_AFTER_STORED, 2),
    ROW(CBS_STAT_OPEN, 0),
    ROW(CBS_STAT_CLOSE, 1),
    ROW(SMS_READ_STATUS_READ, 0),
    ROW(SMS_READ_STATUS_UNREAD, 1),
    ROW(UNREAD_SM_ALTER, 0),
    ROW(UNREAD_SM_NOT_ALTER, 1),
    ROW(SMS_BEAR_ONLY_PS, 0),
    ROW(SMS_BEAR_ONLY_CS, 1),
    ROW(SMS_BEAR_PREF_PS, 2),
    ROW(SMS_BEAR_PREF_CS, 3),
    ROW(DevDataDef::PRODUCT_TYPE_WCDMA, 0),
    ROW(DevDataDef::PRODUCT_TYPE_CDMA, 1),
    ROW(DevDataDef::PRODUCT_TYPE_TD_SCDMA, 2),
    ROW(DevDataDef::PRODUCT_TYPE_WIMAX, 3),
    ROW(DevDataDef::PRODUCT_TYPE_WIFI, 4),
    ROW(DevDataDef::PRODUCT_TYPE_UNKNOW, 5),
    ROW(MSG_GROUP_SEND_MAX_NUMBER, 20),
};

#undef ROW

TEST(Enumerations, HaveTheirValues) {
  for (const ValueRow& row : kValues) {
    EXPECT_EQ(row.lExpected, row.lValue) << row.pszName;
  }
}

/// Lists every enumerator: one more, and the compiler asks for it here.
bool IsLockingTable(SMS_NLI_LOCK enLock) {
  switch (enLock) {
    case SMS_NLI_Lock_Reverse:
    case SMS_NLI_Turk_Lock:
    case SMS_NLI_Port_Lock:
      return true;
  }
  return false;
}

TEST(Enumerations, NoLockingTableHasTheNumberOfSpanish) {
  EXPECT_FALSE(IsLockingTable(static_cast<SMS_NLI_LOCK>(2)));
  EXPECT_FALSE(IsLockingTable(static_cast<SMS_NLI_LOCK>(SMS_NLI_Span_Single)));
  EXPECT_TRUE(IsLockingTable(SMS_NLI_Port_Lock));
}

TEST(Enumerations, OfDevicesHoldAnyNumber) {
  for (const int iValue : {99, -1, 2147483647}) {
    SMReadRecord stRecord;
    stRecord.enSMStat = static_cast<SMS_STAT>(iValue);
    stRecord.enType = static_cast<SMS_IDENTIFYER>(iValue);
    stRecord.enPri = static_cast<SM_PRIORITY>(iValue);
    const SMReadRecord stCopy = stRecord;
    EXPECT_EQ(iValue, static_cast<int>(stCopy.enSMStat));
    EXPECT_EQ(iValue, static_cast<int>(stCopy.enType));
    EXPECT_EQ(iValue, static_cast<int>(stCopy.enPri));
  }
}

}  // namespace
