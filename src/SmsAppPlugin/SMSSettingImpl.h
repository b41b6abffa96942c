// The message settings, read from and written to the device and the host's settings store.
#pragma once

#include "ISMSSetting.h"

/// Holds nothing itself. Every change of the device's configuration reads it whole, changes one field and writes it
/// whole, so that the other fields keep the device's values.
class CSMSSettingImpl : public ISMSSetting {
public:
  /// The one object, made on first use and after a Destroy.
  /// @return null: it could not be made.  [any-thread]
  static CSMSSettingImpl* instance();
  /// Ends the object; a second call does nothing.
  static void Destroy();

  CSMSSettingImpl(const CSMSSettingImpl&) = delete;
  CSMSSettingImpl& operator=(const CSMSSettingImpl&) = delete;

  /// Does nothing: the object lives until Destroy.
  void Release() override;
  /// Always 0.
  int GetLastError() override;

  int GetSMSCentreNumber(VELK_wchar_t* pszValue, int iMaxLen) override;
  long SetSMSCentreNumber(const VELK_wchar_t* pszValue) override;
  long GetSMSValidityPeriod(long& lValue) override;
  long SetSMSValidityPeriod(long lValue) override;
  long GetSMSReceiveMode(int& iValue) override;
  long GetSMSReceiptNotify(int& iValue) override;
  long SetSMSReceiptNotify(int iValue) override;
  long GetSMSGroupSendLimit(int& iValue) override;
  long GetCBSAutoCleanup(int& iValue) override;
  long GetSMSPriority(int& iValue) override;
  long SetSMSPriority(int iValue) override;
  bool AddCBSChannel(const char* pszChannels) override;
  bool CBSGetDetail(CBSStat* penStat, CbsMidList* pMids, CbsDcsList* pDcss, DWORD* pdwStatus) override;
  bool RemoveCBSChannel(const char* pszChannels) override;
  bool CBSReleaseDetail(CbsMidList* pMids, CbsDcsList* pDcss, DWORD* pdwStatus) override;
  bool CBSSetService(CBSStat enStat, DWORD* pdwStatus) override;

private:
  CSMSSettingImpl();
  ~CSMSSettingImpl() override;

  // guarded by a lock of the source
  static CSMSSettingImpl* m_pSmsSettingInstance;  // keeps its value after Destroy
  static bool m_bDestroyed;                       // the pointer is stale
};
