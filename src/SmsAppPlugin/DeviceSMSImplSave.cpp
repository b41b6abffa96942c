// The device store: writing a message into the memory, part by part and number by number.
#include "DeviceSMSImpl.h"
#include "MsgTime.h"
#include "MyGlobalFunc.h"
#include "SMSRecordImpl.h"
#include "SMSRecordSetImpl.h"
#include "SMSServiceImpl.h"
#include "StoreTrace.h"
#include "services/IShortMessage.h"
#include "utils.h"

#include <algorithm>
#include <string>

/// A record divided for the device. Its class ends here: SMS_PARAM has no field for it.
struct CDeviceSMSImpl::SavePlan {
  std::vector<SMS_PARAM> parts;  // without number and long-message reference
  std::vector<std::string> numbers;
};

namespace {

SMS_STAT StateOf(const ISMSRecord& record) {
  switch (record.GetPosition()) {
    case NS_SMS::SEND_BOX_SIM:
    case NS_SMS::SEND_BOX_NV:
      return record.GetSendResult() != 0 ? SMS_STAT_UNSENT : SMS_STAT_SENT;
    case NS_SMS::RECEIVE_BOX_SIM:
    case NS_SMS::RECEIVE_BOX_NV:
      return record.GetIsRead() == NS_SMS::IS_NOT_READ ? SMS_STAT_UNREAD : SMS_STAT_READ;
    default:
      return SMS_STAT_ALL;
  }
}

UTTime TimeOf(const ISMSRecord& record) {
  UTTime utTime;
  MsgTime time;
  if (ReadMsgTime(record.GetTime(), time)) {
    utTime.wYear = static_cast<WORD>(time.year);
    utTime.btMonth = static_cast<BYTE>(time.month);
    utTime.btDay = static_cast<BYTE>(time.day);
    utTime.btHour = static_cast<BYTE>(time.hour);
    utTime.btMinute = static_cast<BYTE>(time.minute);
    utTime.btSecond = static_cast<BYTE>(time.second);
  }
  return utTime;
}

SM_PRIORITY PriorityOf(const ISMSRecord& record) {
  const int iPriority = record.GetSMSPriority();
  return iPriority >= SM_PRIORITY_NORMAL && iPriority <= SM_PRIORITY_EMERGENCY ? static_cast<SM_PRIORITY>(iPriority)
                                                                               : SM_PRIORITY_NORMAL;
}

SMS_IDENTIFYER KindOf(const ISMSRecord& record) {
  switch (record.GetMSGType()) {
    case NS_SMS::MSG_REPORT:
      return SMS_IDENTIFYER_REPORT;
    case NS_SMS::MSG_MMS_ALERT:
      return SMS_IDENTIFYER_MMS_NOTIFY;
    case NS_SMS::MSG_VOICE_MAIL:
      return SMS_IDENTIFYER_VOICE_MAIL;
    case NS_SMS::MSG_CELL_BROADCAST:
      return SMS_IDENTIFYER_CELL_BROADCAST;
    default:
      return SMS_IDENTIFYER_ORDINARILY;
  }
}

void SetLongInfo(SMS_PARAM& stPart, int iMR, int iTotal, int iPack) {
  stPart.bLongSms = iTotal != 0;
  stPart.stLongSMS_info.btMR = static_cast<BYTE>(iMR);
  stPart.stLongSMS_info.btTotalPack = static_cast<BYTE>(iTotal);
  stPart.stLongSMS_info.btPack = static_cast<BYTE>(iPack);
}

}  // namespace

long CDeviceSMSImpl::SaveRecord(ISMSRecord* record, long* id, long& count) {
  return RunQuietly("CDeviceSMSImpl::SaveRecord() exception!", [&]() -> long {
    const CServiceHold service(*this);
    if (service.Get() == nullptr) {
      TraceStore("GetUniCommService fail");
      return -1;
    }
    if (record == nullptr || m_pSMSServiceImpl == nullptr) {
      return -1;
    }
    std::vector<long> ids;
    const long lResult = WriteAll(*service.Get(), MakePlan(*record), ids);
    const std::size_t uRoom = id == nullptr || count < 0 ? 0 : static_cast<std::size_t>(count);
    ids.resize(std::min(ids.size(), uRoom));
    std::copy(ids.begin(), ids.end(), id);
    count = static_cast<long>(ids.size());
    if (lResult == 0 && !ids.empty()) {
      record->SetMSGID(ids.front());
    }
    return lResult;
  });
}

CDeviceSMSImpl::SavePlan CDeviceSMSImpl::MakePlan(const ISMSRecord& record) {
  SavePlan plan;
  m_pSMSServiceImpl->SplitContent(record.GetContent(), plan.parts);
  std::vector<VELK_wstring> numbers;
  m_pSMSServiceImpl->SplitNumber(record.GetNumber(), numbers);
  for (const VELK_wstring& strNumber : numbers) {
    plan.numbers.push_back(MyWideCharToMultiByte(strNumber.c_str(), 0));
  }
  int iMR = 0;
  int iTotal = 0;
  int iPack = 0;
  record.GetMSGInfo(iMR, iTotal, iPack);
  for (SMS_PARAM& stPart : plan.parts) {
    stPart.enSMSStat = StateOf(record);
    stPart.utTime = TimeOf(record);
    stPart.enPri = PriorityOf(record);
    stPart.enType = KindOf(record);
    SetLongInfo(stPart, iMR, iTotal, iPack);
  }
  return plan;
}

long CDeviceSMSImpl::WriteAll(IShortMessage& service, const SavePlan& plan, std::vector<long>& ids) {
  long lResult = 0;
  for (std::size_t uNumber = 0; uNumber < plan.numbers.size(); ++uNumber) {
    for (std::size_t uPart = 0; uPart < plan.parts.size(); ++uPart) {
      if (IsQuitting()) {
        TraceStore("Have been ~CDeviceSMSImpl(), break!");
        return -1;
      }
      SMS_PARAM stPart = plan.parts[uPart];
      VELK_strcpy(stPart.szAddress, plan.numbers[uNumber].c_str(), sizeof stPart.szAddress);
      if (plan.parts.size() > 1) {
        SetLongInfo(stPart, static_cast<int>(uNumber), static_cast<int>(plan.parts.size()), static_cast<int>(uPart));
      }
      if (WriteOne(service, stPart, ids)) {
        continue;
      }
      TraceStore("SMSSaveMsg Fail");
      lResult = -1;
      if (CheckIsFull() == 1) {
        return lResult;
      }
    }
  }
  return lResult;
}

bool CDeviceSMSImpl::WriteOne(IShortMessage& service, SMS_PARAM& stPart, std::vector<long>& ids) {
  MSG_HANDLE hMsg = 0;
  DWORD dwStatus = 0;
  if (!service.SMSSaveMsg(m_enMem, &stPart, &hMsg, &dwStatus)) {
    return false;
  }
  ids.push_back(static_cast<long>(hMsg));
  CSMSRecordImpl stored(static_cast<long>(hMsg));
  ParseSMSParamToRecord(stPart, &stored, m_enMem);
  PutIntoMirror(stored);
  return true;
}
