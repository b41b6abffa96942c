// Reading and changing the configuration, and the broadcast operations passed on.
#include "SMSSettingImpl.h"

#include "CatchAll.h"
#include "MyGlobalFunc.h"
#include "platform/TraceSrv.h"
#include "platform/VelkString.h"
#include "services/IShortMessage.h"
#include "utils.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <string>

namespace {

const long kDone = 0;
const long kFailed = -1;

std::mutex g_creation;  // trivially destroyed: threads may still ask for the settings at the end of the process

void Trace(const char* pszText) { TraceSrv_Trace(Tracelevel::TL_ERRO, "SMSSERVICE", pszText); }

/// Reads the device's configuration and hands it to the work, which answers kDone or kFailed.
template <class Work>
long WithConfig(Work&& work) {
  try {
    IShortMessage* const pService = GetSmsService();
    WMSConfigurationType stConfig;
    DWORD dwStatus = 0;
    if (pService == nullptr || !pService->GetWMSConfig(&stConfig, &dwStatus)) {
      return kFailed;
    }
    return work(*pService, stConfig);
  }
  SMS_LET_CANCELLATION_PASS catch (...) { return kFailed; }
}

template <class Read>
long ReadConfig(Read&& read) {
  return WithConfig([&](IShortMessage&, const WMSConfigurationType& stConfig) {
    read(stConfig);
    return kDone;
  });
}

/// Success is told without looking at the answer to the write, on purpose.
template <class Change>
long ChangeConfig(Change&& change) {
  return WithConfig([&](IShortMessage& service, WMSConfigurationType& stConfig) {
    change(stConfig);
    DWORD dwStatus = 0;
    service.SetWMSConfig(&stConfig, &dwStatus);
    return kDone;
  });
}

/// True also without a service and when the call throws, on purpose: false is the device's own no.
template <class Call>
bool PassOn(Call&& call) {
  try {
    IShortMessage* const pService = GetSmsService();
    return pService == nullptr || call(*pService);
  }
  SMS_LET_CANCELLATION_PASS catch (...) { return true; }
}

/// @return false: the key is absent; the value is left alone.
bool ReadNumber(const VELK_wchar_t* pszSection, const VELK_wchar_t* pszKey, int& iValue) {
  try {
    const VELK_wstring strValue = MyGetSetting(pszSection, pszKey);
    if (strValue.empty()) {
      return false;
    }
    iValue = VELK_wtoi(strValue.c_str());
    return true;
  }
  SMS_LET_CANCELLATION_PASS catch (...) { return false; }
}

int CopyCentreNumber(const WMSConfigurationType& stConfig, VELK_wchar_t* pszValue, int iMaxLen) {
  const std::string strNumber(stConfig.szSCNum, strnlen(stConfig.szSCNum, sizeof stConfig.szSCNum));
  if (iMaxLen <= 0 || pszValue == nullptr) {
    return static_cast<int>(strNumber.size());
  }
  VELK_wcsncpy(pszValue, MyMultiByteToWideChar(strNumber.c_str(), 0).c_str(), static_cast<std::size_t>(iMaxLen));
  return static_cast<int>(std::find(pszValue, pszValue + iMaxLen, VELK_wchar_t()) - pszValue);
}

}  // namespace

// --- The one object --------------------------------------------------------------------------------------------------

CSMSSettingImpl* CSMSSettingImpl::m_pSmsSettingInstance = nullptr;
bool CSMSSettingImpl::m_bDestroyed = false;

CSMSSettingImpl::CSMSSettingImpl() = default;

CSMSSettingImpl::~CSMSSettingImpl() = default;

CSMSSettingImpl* CSMSSettingImpl::instance() {
  const std::lock_guard<std::mutex> guard(g_creation);
  if (m_bDestroyed) {
    m_pSmsSettingInstance = nullptr;
    m_bDestroyed = false;
  }
  try {
    if (m_pSmsSettingInstance == nullptr) {
      m_pSmsSettingInstance = new CSMSSettingImpl;
    }
  }
  SMS_LET_CANCELLATION_PASS catch (...) { Trace("CSMSSettingImpl::instance error"); }
  return m_pSmsSettingInstance;
}

void CSMSSettingImpl::Destroy() {
  const std::lock_guard<std::mutex> guard(g_creation);
  if (m_bDestroyed) {
    return;
  }
  try {
    m_bDestroyed = m_pSmsSettingInstance != nullptr;
    delete m_pSmsSettingInstance;
  }
  SMS_LET_CANCELLATION_PASS catch (...) { Trace("CSMSSettingImpl::Destroy Error"); }
}

void CSMSSettingImpl::Release() {}

int CSMSSettingImpl::GetLastError() { return 0; }

// --- Configuration of the device -------------------------------------------------------------------------------------

int CSMSSettingImpl::GetSMSCentreNumber(VELK_wchar_t* pszValue, int iMaxLen) {
  int iLength = -1;
  const long lResult = ReadConfig(
      [&](const WMSConfigurationType& stConfig) { iLength = CopyCentreNumber(stConfig, pszValue, iMaxLen); });
  return lResult == kDone ? iLength : -1;
}

long CSMSSettingImpl::SetSMSCentreNumber(const VELK_wchar_t* pszValue) {
  if (pszValue == nullptr) {
    return kFailed;
  }
  return WithConfig([&](IShortMessage& service, WMSConfigurationType& stConfig) {
    VELK_strcpy(stConfig.szSCNum, MyWideCharToMultiByte(pszValue, 0).c_str(), sizeof stConfig.szSCNum);
    DWORD dwStatus = 0;
    return service.SetWMSConfig(&stConfig, &dwStatus) ? kDone : kFailed;
  });
}

long CSMSSettingImpl::GetSMSValidityPeriod(long& lValue) {
  return ReadConfig([&](const WMSConfigurationType& stConfig) { lValue = static_cast<long>(stConfig.dwValidity); });
}

long CSMSSettingImpl::SetSMSValidityPeriod(long lValue) {
  return ChangeConfig([&](WMSConfigurationType& stConfig) { stConfig.dwValidity = static_cast<DWORD>(lValue); });
}

long CSMSSettingImpl::GetSMSReceiveMode(int& iValue) {
  iValue = RECEIVE_NEWSMS_DIRECT;
  return ReadNumber(u"SMSSERVICE", u"ReceviceMode", iValue) ? kDone : kFailed;
}

long CSMSSettingImpl::GetSMSReceiptNotify(int& iValue) {
  return ReadConfig([&](const WMSConfigurationType& stConfig) { iValue = stConfig.bEnableStatusReport ? 1 : 0; });
}

long CSMSSettingImpl::SetSMSReceiptNotify(int iValue) {
  return ChangeConfig([&](WMSConfigurationType& stConfig) { stConfig.bEnableStatusReport = iValue != 0; });
}

long CSMSSettingImpl::GetSMSGroupSendLimit(int& iValue) {
  iValue = MSG_GROUP_SEND_MAX_NUMBER;
  return kDone;
}

long CSMSSettingImpl::GetCBSAutoCleanup(int& iValue) {
  return ReadNumber(u"CBSSettingPlugin", u"AutoCleanup", iValue) ? kDone : kFailed;
}

long CSMSSettingImpl::GetSMSPriority(int& iValue) {
  return ReadConfig([&](const WMSConfigurationType& stConfig) { iValue = static_cast<int>(stConfig.enPri); });
}

long CSMSSettingImpl::SetSMSPriority(int iValue) {
  return ChangeConfig([&](WMSConfigurationType& stConfig) { stConfig.enPri = static_cast<SM_PRIORITY>(iValue); });
}

// --- Cell broadcast --------------------------------------------------------------------------------------------------

bool CSMSSettingImpl::AddCBSChannel(const char* pszChannels) {
  return PassOn([&](IShortMessage& service) {
    DWORD dwStatus = 0;
    return service.CBSAddChannel(pszChannels, "", &dwStatus);
  });
}

bool CSMSSettingImpl::CBSGetDetail(CBSStat* penStat, CbsMidList* pMids, CbsDcsList* pDcss, DWORD* pdwStatus) {
  return PassOn([&](IShortMessage& service) { return service.CBSGetDetail(penStat, pMids, pDcss, pdwStatus); });
}

bool CSMSSettingImpl::RemoveCBSChannel(const char* pszChannels) {
  return PassOn([&](IShortMessage& service) {
    DWORD dwStatus = 0;
    return service.CBSRemoveChannel(pszChannels, &dwStatus);
  });
}

bool CSMSSettingImpl::CBSReleaseDetail(CbsMidList* pMids, CbsDcsList* pDcss, DWORD* pdwStatus) {
  return PassOn([&](IShortMessage& service) { return service.CBSReleaseDetail(pMids, pDcss, pdwStatus); });
}

bool CSMSSettingImpl::CBSSetService(CBSStat enStat, DWORD* pdwStatus) {
  return PassOn([&](IShortMessage& service) { return service.CBSSetService(enStat, pdwStatus); });
}
