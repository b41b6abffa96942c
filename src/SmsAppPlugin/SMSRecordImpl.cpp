// Fields of a record, and its time stamp.
#include "SMSRecordImpl.h"

#include "CatchAll.h"
#include "MyGlobalFunc.h"
#include "SMSLocalRecordSaveInfo.h"
#include "platform/JClock.h"

#include <cstdio>
#include <ctime>

namespace {

/// Fourteen digits of the present local time.
bool FormatCurrentTime(char (&szTime)[64]) {
  const std::time_t tNow = JClock::CalendarNow();
  struct tm local;
  if (localtime_r(&tNow, &local) == nullptr) {
    return false;
  }
  std::snprintf(szTime, sizeof szTime, "%04d%02d%02d%02d%02d%02d", local.tm_year + 1900, local.tm_mon + 1,
                local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
  return true;
}

void FreeText(VELK_wstring& strText) noexcept { VELK_wstring().swap(strText); }

}  // namespace

CSMSRecordImpl::CSMSRecordImpl() : CSMSRecordImpl(0L) { m_enPosition = NS_SMS::DRAFT_BOX; }

CSMSRecordImpl::CSMSRecordImpl(long lID)
    : m_enIsRead(NS_SMS::IS_READ),
      m_enInitialPosition(NS_SMS::DRAFT_BOX),
      m_enPosition(NS_SMS::RECYCLE_BOX),
      m_enSendResult(NS_SMS::FAILURE),
      m_enMSGType(NS_SMS::MSG_ORDINARY),
      m_enMSClass(NS_SMS::MS_CLASS_3),
      m_lID(lID),
      m_iMR(0),
      m_iTotalPack(0),
      m_iCurrentPack(0),
      m_iSMSPriority(NS_SMS::SMS_WCDMA_PRIORITY) {}

CSMSRecordImpl::CSMSRecordImpl(const ISMSRecord* pOther)
    : m_enIsRead(NS_SMS::IS_READ),
      m_enInitialPosition(NS_SMS::SEND_BOX),
      m_enPosition(NS_SMS::SEND_BOX),
      m_enSendResult(NS_SMS::SUCCESS),
      m_enMSGType(NS_SMS::MSG_ORDINARY),
      m_enMSClass(NS_SMS::MS_CLASS_3),
      m_lID(0),
      m_iMR(0),
      m_iTotalPack(0),
      m_iCurrentPack(0),
      m_iSMSPriority(NS_SMS::SMS_NORMAL_PRIORITY) {
  CSMSRecordImpl::operator=(pOther);
}

CSMSRecordImpl::~CSMSRecordImpl() = default;

void CSMSRecordImpl::Release() { delete this; }

int CSMSRecordImpl::GetLastError() { return 0; }

const VELK_wchar_t* CSMSRecordImpl::GetNumber() const { return m_strNumber.c_str(); }

void CSMSRecordImpl::SetNumber(const VELK_wchar_t* pszNumber) {
  if (pszNumber != nullptr && m_strNumber != pszNumber) {
    m_place.NoteKeyChange();
    m_strNumber = pszNumber;
  }
}

const VELK_wchar_t* CSMSRecordImpl::GetContent() const { return m_strContent.c_str(); }

void CSMSRecordImpl::SetContent(const VELK_wchar_t* pszContent) {
  if (pszContent != nullptr) {
    m_strContent = pszContent;
  }
}

const VELK_wchar_t* CSMSRecordImpl::GetTime() const { return m_strTime.c_str(); }

void CSMSRecordImpl::SetTime(const VELK_wchar_t* pszTime) {
  if (pszTime != nullptr) {
    m_strTime = pszTime;
  }
}

int CSMSRecordImpl::GetIsRead() const { return m_enIsRead; }

void CSMSRecordImpl::SetIsRead(int iIsRead) { m_enIsRead = iIsRead; }

int CSMSRecordImpl::GetInitialPosition() const { return m_enInitialPosition; }

void CSMSRecordImpl::SetInitialPosition(int iPosition) { m_enInitialPosition = iPosition; }

int CSMSRecordImpl::GetPosition() const { return m_enPosition; }

void CSMSRecordImpl::SetPosition(int iPosition) { m_enPosition = iPosition; }

int CSMSRecordImpl::GetSendResult() const { return m_enSendResult; }

void CSMSRecordImpl::SetSendResult(int iResult) { m_enSendResult = iResult; }

int CSMSRecordImpl::GetMSGType() const { return m_enMSGType; }

void CSMSRecordImpl::SetMSGType(int iType) { m_enMSGType = iType; }

long CSMSRecordImpl::GetMSGID() const { return m_lID; }

void CSMSRecordImpl::SetMSGID(long lID) {
  if (m_lID != lID) {
    m_place.NoteKeyChange();
    m_lID = lID;
  }
}

void CSMSRecordImpl::GetMSGInfo(int& iMR, int& iTotalPack, int& iCurrentPack) const {
  iMR = m_iMR;
  iTotalPack = m_iTotalPack;
  iCurrentPack = m_iCurrentPack;
}

void CSMSRecordImpl::SetMSGInfo(int iMR, int iTotalPack, int iCurrentPack) {
  if (m_iMR != iMR || m_iTotalPack != iTotalPack) {
    m_place.NoteKeyChange();
  }
  m_iMR = iMR;
  m_iTotalPack = iTotalPack;
  m_iCurrentPack = iCurrentPack;
}

bool CSMSRecordImpl::KeepsItsTime() const {
  switch (GetPosition()) {
    case NS_SMS::RECEIVE_BOX:
    case NS_SMS::RECEIPT_BOX:
    case NS_SMS::RECEIVE_BOX_SIM:
    case NS_SMS::RECEIVE_BOX_NV:
      return true;
    case NS_SMS::TIMING_BOX:
      return !m_strTime.empty() && m_strTime.size() <= std::size_t(MSG_TIME_MAX_LEN);
    default:
      return false;
  }
}

void CSMSRecordImpl::InitToCurrTime() {
  char szTime[64];
  if (KeepsItsTime() || !FormatCurrentTime(szTime)) {
    return;
  }
  try {
    m_strTime = MyMultiByteToWideChar(szTime, 0);
  }
  SMS_LET_CANCELLATION_PASS catch (...) { m_strTime.clear(); }
}

int CSMSRecordImpl::GetSMSPriority() const { return m_iSMSPriority; }

void CSMSRecordImpl::SetSMSPriority(int iPriority) { m_iSMSPriority = iPriority; }

int CSMSRecordImpl::GetSMSClass() const { return m_enMSClass; }

void CSMSRecordImpl::SetSMSClass(int iClass) { m_enMSClass = iClass; }

CSMSRecordImpl& CSMSRecordImpl::operator=(const ISMSRecord* pOther) {
  if (pOther == nullptr) {
    return *this;
  }
  SetNumber(pOther->GetNumber());
  SetContent(pOther->GetContent());
  SetTime(pOther->GetTime());
  SetIsRead(pOther->GetIsRead());
  SetInitialPosition(pOther->GetInitialPosition());
  SetPosition(pOther->GetPosition());
  SetSendResult(pOther->GetSendResult());
  SetMSGType(pOther->GetMSGType());
  SetMSGID(pOther->GetMSGID());
  SetSMSPriority(pOther->GetSMSPriority());
  SetSMSClass(pOther->GetSMSClass());
  int iMR = 0;
  int iTotalPack = 0;
  int iCurrentPack = 0;
  pOther->GetMSGInfo(iMR, iTotalPack, iCurrentPack);
  SetMSGInfo(iMR, iTotalPack, iCurrentPack);
  return *this;
}

void CSMSRecordImpl::FreeTexts() noexcept {
  m_place.NoteKeyChange();
  FreeText(m_strNumber);
  FreeText(m_strContent);
  FreeText(m_strTime);
}
