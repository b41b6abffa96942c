// Device records into clients' records and back, and the trace of a device record.
#include "CatchAll.h"
#include "ISMSRecord.h"
#include "MyGlobalFunc.h"
#include "platform/TraceSrv.h"
#include "platform/VelkString.h"
#include "services/IDeviceService.h"
#include "utils.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

/// What both kinds of device record have in common.
struct DeviceMessage {
  SMS_STAT enStat;
  UTTime stTime;
  std::string strAddress;
  VELK_wstring strContent;
  SMS_IDENTIFYER enType;
  VELK_wchar_t wFirstUnit;
  LONG_SMS_INFO stInfo;
  DWORD dwClass;  // kNoClass: the record's class stays
};

const DWORD kNoClass = 5;

template <std::size_t Size>
std::string BoundedText(const char (&szField)[Size]) {
  return std::string(szField, strnlen(szField, Size));
}

/// Up to the terminator, or to the declared length when that is shorter. A declared length of 0 says nothing:
/// broadcasts come with content and without a length.
template <std::size_t Size>
VELK_wstring BoundedContent(const VELK_wchar_t (&wszField)[Size], std::size_t uDeclared) {
  const auto uFilled = static_cast<std::size_t>(std::find(wszField, wszField + Size, VELK_wchar_t()) - wszField);
  return VELK_wstring(wszField, uDeclared == 0 ? uFilled : std::min(uFilled, uDeclared));
}

DeviceMessage MakeMessage(const SMReadRecord& stMessage) {
  return DeviceMessage{stMessage.enSMStat,
                       stMessage.stTime,
                       BoundedText(stMessage.szAddress),
                       BoundedContent(stMessage.wszContent, stMessage.dwLength),
                       stMessage.enType,
                       stMessage.wszContent[0],
                       stMessage.stLongSMS_info,
                       static_cast<DWORD>(stMessage.enSmClass)};
}

DeviceMessage MakeMessage(const SMS_PARAM& stParam) {
  const auto uDeclared = static_cast<std::size_t>(std::max(stParam.iContentLen, 0));
  return DeviceMessage{stParam.enSMSStat,
                       stParam.utTime,
                       BoundedText(stParam.szAddress),
                       BoundedContent(stParam.wszContent, uDeclared),
                       stParam.enType,
                       stParam.wszContent[0],
                       stParam.stLongSMS_info,
                       kNoClass};
}

bool IsReceived(SMS_STAT enStat) { return enStat == SMS_STAT_UNREAD || enStat == SMS_STAT_READ; }

bool IsOutgoing(SMS_STAT enStat) { return enStat == SMS_STAT_UNSENT || enStat == SMS_STAT_SENT; }

/// A time of a message in no known state counts as all zero.
UTTime UsableTime(SMS_STAT enStat, const UTTime& stTime) {
  return IsReceived(enStat) || IsOutgoing(enStat) ? stTime : UTTime();
}

VELK_wstring Widen(const std::string& strText) { return MyMultiByteToWideChar(strText.c_str(), 0); }

/// Year, month, day, hour, minute, second.
VELK_wstring FormatTime(const UTTime& stTime) {
  char szTime[64];
  std::snprintf(szTime, sizeof szTime, "%04d%02d%02d%02d%02d%02d", stTime.wYear, stTime.btMonth, stTime.btDay,
                stTime.btHour, stTime.btMinute, stTime.btSecond);
  return Widen(szTime);
}

NS_SMS::MSG_POSITION BoxOf(bool bReceived, SMS_MEM enMem) {
  switch (enMem) {
    case SMS_MEM_SM:
      return bReceived ? NS_SMS::RECEIVE_BOX_SIM : NS_SMS::SEND_BOX_SIM;
    case SMS_MEM_ME:
      return bReceived ? NS_SMS::RECEIVE_BOX_NV : NS_SMS::SEND_BOX_NV;
    default:
      return bReceived ? NS_SMS::RECEIVE_BOX : NS_SMS::SEND_BOX;
  }
}

void SetFolder(const DeviceMessage& message, ISMSRecord& record, SMS_MEM enMem) {
  if (IsReceived(message.enStat) || IsOutgoing(message.enStat)) {
    const bool bReceived = IsReceived(message.enStat);
    record.SetInitialPosition(bReceived ? NS_SMS::RECEIVE_BOX : NS_SMS::SEND_BOX);
    record.SetPosition(BoxOf(bReceived, enMem));
  }
}

void SetState(SMS_STAT enStat, ISMSRecord& record) {
  if (IsReceived(enStat)) {
    record.SetIsRead(enStat == SMS_STAT_READ ? NS_SMS::IS_READ : NS_SMS::IS_NOT_READ);
  } else if (IsOutgoing(enStat)) {
    record.SetSendResult(enStat == SMS_STAT_SENT ? NS_SMS::SUCCESS : NS_SMS::FAILURE);
  }
}

/// The outcome of a report stands in its first code unit.
void SetReport(const DeviceMessage& message, ISMSRecord& record, SMS_MEM enMem) {
  if (enMem == SMS_MEM_UNKNOW) {
    record.SetPosition(NS_SMS::RECEIPT_BOX);
  }
  record.SetInitialPosition(NS_SMS::RECEIPT_BOX);
  record.SetSendResult(message.wFirstUnit != 0 ? NS_SMS::FAILURE : NS_SMS::SUCCESS);
}

/// Sets what the kind of message decides. @return the clients' message type.
NS_SMS::MSG_TYPE SetKind(const DeviceMessage& message, ISMSRecord& record, SMS_MEM enMem) {
  switch (message.enType) {
    case SMS_IDENTIFYER_REPORT:
      SetReport(message, record, enMem);
      return NS_SMS::MSG_REPORT;
    case SMS_IDENTIFYER_MMS_NOTIFY:
      return NS_SMS::MSG_MMS_ALERT;
    case SMS_IDENTIFYER_VOICE_MAIL:
      record.SetTime(u"");
      return NS_SMS::MSG_VOICE_MAIL;
    case SMS_IDENTIFYER_CELL_BROADCAST:
      record.SetInitialPosition(NS_SMS::CBS_BOX);
      record.SetPosition(NS_SMS::CBS_BOX);
      return NS_SMS::MSG_CELL_BROADCAST;
    default:
      return NS_SMS::MSG_ORDINARY;
  }
}

void Fill(const DeviceMessage& message, ISMSRecord& record, SMS_MEM enMem) {
  SetFolder(message, record, enMem);
  record.SetTime(FormatTime(UsableTime(message.enStat, message.stTime)).c_str());
  record.SetContent(message.strContent.c_str());
  record.SetNumber(Widen(message.strAddress).c_str());
  SetState(message.enStat, record);
  if (message.dwClass < kNoClass) {
    record.SetSMSClass(static_cast<int>(message.dwClass));
  }
  record.SetMSGType(SetKind(message, record, enMem));
  record.SetMSGInfo(message.stInfo.btMR, message.stInfo.btTotalPack, message.stInfo.btPack);
}

bool IsCdmaDevice() {
  try {
    IDeviceService* const pDevice = GetDeviceService();
    return pDevice != nullptr && pDevice->GetProductType() == DevDataDef::PRODUCT_TYPE_CDMA;
  }
  SMS_LET_CANCELLATION_PASS catch (...) { return false; }
}

/// The two scales of priority agree in their numbers.
int PriorityOr(SM_PRIORITY enPri, int iOtherwise) {
  return enPri >= SM_PRIORITY_NORMAL && enPri <= SM_PRIORITY_EMERGENCY ? static_cast<int>(enPri) : iOtherwise;
}

/// The state of a message on the SIM; for every other box, enBefore. The SIM's boxes alone count, on purpose.
SMS_STAT StateOnSim(const ISMSRecord& record, SMS_STAT enBefore) {
  switch (record.GetPosition()) {
    case NS_SMS::RECEIVE_BOX_SIM:
      return record.GetIsRead() == NS_SMS::IS_NOT_READ ? SMS_STAT_UNREAD : SMS_STAT_READ;
    case NS_SMS::SEND_BOX_SIM:
      return record.GetSendResult() != NS_SMS::SUCCESS ? SMS_STAT_UNSENT : SMS_STAT_SENT;
    default:
      return enBefore;
  }
}

/// At most 160 code units, always terminated.
void CopyContent(const VELK_wchar_t* pszContent, SMS_PARAM& stParam) {
  const std::size_t uRoom = sizeof stParam.wszContent / sizeof stParam.wszContent[0] - 1;
  const std::size_t uLength = pszContent == nullptr ? 0 : std::min(VELK_wcslen(pszContent), uRoom);
  std::copy_n(pszContent, uLength, stParam.wszContent);
  stParam.wszContent[uLength] = 0;
  stParam.iContentLen = static_cast<int>(uLength);
}

// --- Trace -----------------------------------------------------------------------------------------------------------

/// Blank-padded, unlike the time of a record.
std::string TraceTime(const UTTime& stTime) {
  char szTime[64];
  std::snprintf(szTime, sizeof szTime, "%4d%2d%2d%2d%2d%2d", stTime.wYear, stTime.btMonth, stTime.btDay, stTime.btHour,
                stTime.btMinute, stTime.btSecond);
  return szTime;
}

std::string TraceInfo(const LONG_SMS_INFO& stInfo) {
  char szInfo[64];
  std::snprintf(szInfo, sizeof szInfo, " MR=%2d,TotalPack=%2d,Pack=%2d", stInfo.btMR, stInfo.btTotalPack,
                stInfo.btPack);
  return szInfo;
}

std::string TraceKind(const SMReadRecord& stMessage) {
  switch (stMessage.enType) {
    case SMS_IDENTIFYER_ORDINARILY:
      return "; enType=SMS_IDENTIFYER_ORDINARILY;" + TraceInfo(stMessage.stLongSMS_info);
    case SMS_IDENTIFYER_REPORT:
      return "; enType=SMS_IDENTIFYER_REPORT;";
    case SMS_IDENTIFYER_MMS_NOTIFY:
      return "; enType=SMS_IDENTIFYER_MMS_NOTIFY;";
    case SMS_IDENTIFYER_VOICE_MAIL:
      return "; enType=SMS_IDENTIFYER_VOICE_MAIL;";
    default:
      return "";
  }
}

}  // namespace

void ParseSMSMessageToRecord(const SMReadRecord& stMessage, ISMSRecord* pSMSRecord, SMS_MEM enMem) {
  if (pSMSRecord == nullptr) {
    return;
  }
  Fill(MakeMessage(stMessage), *pSMSRecord, enMem);
  pSMSRecord->SetSMSPriority(IsCdmaDevice() ? PriorityOr(stMessage.enPri, NS_SMS::SMS_NORMAL_PRIORITY)
                                            : NS_SMS::SMS_WCDMA_PRIORITY);
}

void ParseSMSParamToRecord(const SMS_PARAM& stSmsParam, ISMSRecord* pSMSRecord, SMS_MEM enMem) {
  if (pSMSRecord == nullptr) {
    return;
  }
  Fill(MakeMessage(stSmsParam), *pSMSRecord, enMem);
  pSMSRecord->SetSMSPriority(PriorityOr(stSmsParam.enPri, NS_SMS::SMS_WCDMA_PRIORITY));
}

void ParseSMSRecordIntoSmsParam(const ISMSRecord* pSMSRecord, SMS_PARAM& stSmsParam, MSG_HANDLE* hMsg, SMS_MEM enMem) {
  if (pSMSRecord == nullptr) {
    return;
  }
  if (hMsg != nullptr) {
    *hMsg = static_cast<MSG_HANDLE>(pSMSRecord->GetMSGID());
  }
  int iMR = 0;
  int iTotalPack = 0;
  int iPack = 0;
  pSMSRecord->GetMSGInfo(iMR, iTotalPack, iPack);
  stSmsParam.bLongSms = iTotalPack != 0;
  stSmsParam.stLongSMS_info = LONG_SMS_INFO();
  if (stSmsParam.bLongSms) {
    stSmsParam.stLongSMS_info.btMR = static_cast<BYTE>(iMR);
    stSmsParam.stLongSMS_info.btTotalPack = static_cast<BYTE>(iTotalPack);
    stSmsParam.stLongSMS_info.btPack = static_cast<BYTE>(iPack);
  }
  if (enMem == SMS_MEM_SM) {
    stSmsParam.enSMSStat = StateOnSim(*pSMSRecord, stSmsParam.enSMSStat);
  }
  CopyContent(pSMSRecord->GetContent(), stSmsParam);
}

void TraceSMReadRecord(const SMReadRecord* pMsg, const MSG_HANDLE* hMsg) {
  if (pMsg == nullptr || hMsg == nullptr) {
    return;
  }
  try {
    const std::string strContent = MyWideCharToMultiByte(BoundedContent(pMsg->wszContent, pMsg->dwLength).c_str(), 0);
    const std::string strLine = "ID=" + std::to_string(static_cast<long>(*hMsg)) +
                                "; Number=" + BoundedText(pMsg->szAddress) + "; Content=" + strContent +
                                "; Time=" + TraceTime(UsableTime(pMsg->enSMStat, pMsg->stTime)) + TraceKind(*pMsg);
    TraceSrv_Trace(Tracelevel::TL_ERRO, "SMSSERVICE", strLine.c_str());
  }
  SMS_LET_CANCELLATION_PASS catch (...) {
    TraceSrv_Trace(Tracelevel::TL_ERRO, "SMSSERVICE", "TraceSMReadRecord exception");
  }
}
