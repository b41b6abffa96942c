// IShortMessage over AT commands.
#pragma once

#include "Modem.h"
#include "services/IShortMessage.h"

#include <mutex>

namespace modem {

class CMessageService : public IShortMessage {
public:
  explicit CMessageService(CModem& modem);

  void Release() override {}
  int GetLastError() override { return 0; }
  bool RegEventSink(IUniCommEvent* pSink) override;
  bool UnRegEventSink(IUniCommEvent* pSink) override;
  bool SMSSendMsg(const SMS_PARAM& stParam, DWORD* pdwResult) override;
  bool SMSSetBearer(SmsBear enBear, DWORD* pdwResult) override;
  bool GetWMSConfig(WMSConfigurationType* pstConfig, DWORD* pdwStatus) override;
  bool SetWMSConfig(WMSConfigurationType* pstConfig, DWORD* pdwStatus) override;
  bool SMSGetMsgList(SMS_MEM enMem, SMS_LIST* pstList, DWORD* pdwStatus) override;
  void SMSReleaseMsgList(SMS_LIST* pstList) override;
  using IShortMessage::SMSReadMsg;
  bool SMSReadMsg(SMS_MEM enMem, MSG_HANDLE* phMsg, SMReadRecord* pstRecord, int iAlterMode, DWORD* pdwStatus) override;
  bool SMSDeleteMsg(SMS_MEM enMem, MSG_HANDLE hMsg, DWORD* pdwStatus) override;
  bool SMSSaveMsg(SMS_MEM enMem, SMS_PARAM* pstParam, MSG_HANDLE* phMsg, DWORD* pdwStatus) override;
  bool SMSGetMemInfo(SMS_MEM enMem, DWORD* pdwTotal, DWORD* pdwUsed, DWORD* pdwStatus) override;
  int SMSGetAlterSupport(int iQuery, DWORD* pdwStatus) override;

  bool CBSSetService(CBSStat enStat, DWORD* pdwStatus) override;
  bool CBSGetDetail(CBSStat* penStat, CbsMidList* pMids, CbsDcsList* pDcss, DWORD* pdwStatus) override;
  bool CBSReleaseDetail(CbsMidList* pMids, CbsDcsList* pDcss, DWORD* pdwStatus) override;
  bool CBSAddChannel(const char* pszChannels, const char* pszCodings, DWORD* pdwStatus) override;
  bool CBSRemoveChannel(const char* pszChannels, DWORD* pdwStatus) override;

private:
  WMSConfigurationType Config() const;
  bool SetCentre(const std::string& centre, DWORD* pdwStatus);
  bool MakeStored(const SMS_PARAM& part, PduLine& line) const;
  bool SelectChannels(bool bAdd, const char* pszChannels, const char* pszCodings, DWORD* pdwStatus);

  CModem& m_modem;
  mutable std::mutex m_lock;
  WMSConfigurationType m_config;  // guarded by m_lock; the service centre is the modem's
};

}  // namespace modem
