// Cell-broadcast operations of the message service.
#pragma once

#include "SMSDef.h"

/// Threads and errors as IShortMessage.
class ICellBroadcast {
public:
  /// Switches broadcast reception on or off.
  virtual bool CBSSetService(CBSStat enStat, DWORD* pdwStatus) = 0;
  /// Fills the two lists; give them back with CBSReleaseDetail.
  virtual bool CBSGetDetail(CBSStat* penStat, CbsMidList* pMids, CbsDcsList* pDcss, DWORD* pdwStatus) = 0;
  virtual bool CBSReleaseDetail(CbsMidList* pMids, CbsDcsList* pDcss, DWORD* pdwStatus) = 0;
  /// Channels and codings as 3GPP TS 27.005 writes them: "0,1,5,320-478".
  virtual bool CBSAddChannel(const char* pszChannels, const char* pszCodings, DWORD* pdwStatus) = 0;
  virtual bool CBSRemoveChannel(const char* pszChannels, DWORD* pdwStatus) = 0;

protected:
  ~ICellBroadcast() {}
};
