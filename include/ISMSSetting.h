// The message settings: those of the device and those of the host's settings store.
#pragma once

#include "IBaseInterface.h"
#include "SMSDef.h"

/// Life: owned by the plug-in until OnDestroy; Release() does nothing.
/// Threads: any, no lock. Two clients that set different fields at once may overwrite each other's change.
/// Errors: 0 success, -1 no message service, or its answer was an error. The set operations other than the centre
///   number report success once the configuration could be read, whatever the device says to the write.
class ISMSSetting : public IBaseInterface {
public:
  /// @param pszValue  out: at most iMaxLen code units, terminated only when there is room; null asks for the length.
  /// @return length of the number, or of what pszValue then holds; -1 on error.
  virtual int GetSMSCentreNumber(VELK_wchar_t* pszValue, int iMaxLen) = 0;
  /// Stores the first 20 characters.
  virtual long SetSMSCentreNumber(const VELK_wchar_t* pszValue) = 0;
  /// Validity period in the device's own unit, passed through.
  virtual long GetSMSValidityPeriod(long& lValue) = 0;
  virtual long SetSMSValidityPeriod(long lValue) = 0;
  /// 0: new messages stay on the device; else they move to the local store. -1 with the value 1 when not set.
  virtual long GetSMSReceiveMode(int& iValue) = 0;
  /// 1: delivery reports are asked for.
  virtual long GetSMSReceiptNotify(int& iValue) = 0;
  virtual long SetSMSReceiptNotify(int iValue) = 0;
  virtual long GetSMSGroupSendLimit(int& iValue) = 0;
  /// Age in days after which stored broadcasts are removed at load; 0 keeps them. -1, value untouched, when not set.
  virtual long GetCBSAutoCleanup(int& iValue) = 0;
  virtual long GetSMSPriority(int& iValue) = 0;
  virtual long SetSMSPriority(int iValue) = 0;

  // Cell broadcast. False only when the device says no; true without a message service.
  virtual bool AddCBSChannel(const char* pszChannels) = 0;
  virtual bool CBSGetDetail(CBSStat* penStat, CbsMidList* pMids, CbsDcsList* pDcss, DWORD* pdwStatus) = 0;
  virtual bool RemoveCBSChannel(const char* pszChannels) = 0;
  virtual bool CBSReleaseDetail(CbsMidList* pMids, CbsDcsList* pDcss, DWORD* pdwStatus) = 0;
  virtual bool CBSSetService(CBSStat enStat, DWORD* pdwStatus) = 0;
  virtual ~ISMSSetting() {}
};
