// The SMS device service: the device's short-message commands.
#pragma once

#include "IBaseInterface.h"
#include "services/ICellBroadcast.h"
#include "services/IUniCommEvent.h"

/// Threads:  any; calls are carried out one at a time. No call raises an event from inside itself.
/// Errors:   false: not done. Every last argument is an out status, 0 or the +CMS ERROR code (3GPP TS 27.005, 3.2.5);
///           it may be null.
class IShortMessage : public IBaseInterface, public ICellBroadcast {
public:
  /// Adds or removes a sink for the WMS_EVENT numbers. The sink must outlive its registration.
  virtual bool RegEventSink(IUniCommEvent* pSink) = 0;
  virtual bool UnRegEventSink(IUniCommEvent* pSink) = 0;

  /// Queues one part for sending and returns; the verdict arrives as WMS_MO_SMS_STATUS.
  /// @return false: not queued, no verdict will arrive.
  virtual bool SMSSendMsg(const SMS_PARAM& stParam, DWORD* pdwResult) = 0;
  virtual bool SMSSetBearer(SmsBear enBear, DWORD* pdwResult) = 0;

  virtual bool GetWMSConfig(WMSConfigurationType* pstConfig, DWORD* pdwStatus) = 0;
  virtual bool SetWMSConfig(WMSConfigurationType* pstConfig, DWORD* pdwStatus) = 0;

  /// Lists a memory; give the list back with SMSReleaseMsgList.
  virtual bool SMSGetMsgList(SMS_MEM enMem, SMS_LIST* pstList, DWORD* pdwStatus) = 0;
  virtual void SMSReleaseMsgList(SMS_LIST* /*pstList*/) {}
  /// @param iAlterMode  UnreadSmAlterMode: whether an unread message becomes read by being read.
  virtual bool SMSReadMsg(SMS_MEM enMem, MSG_HANDLE* phMsg, SMReadRecord* pstRecord, int iAlterMode,
                          DWORD* pdwStatus) = 0;
  virtual bool SMSDeleteMsg(SMS_MEM enMem, MSG_HANDLE hMsg, DWORD* pdwStatus) = 0;
  virtual bool SMSSaveMsg(SMS_MEM enMem, SMS_PARAM* pstParam, MSG_HANDLE* phMsg, DWORD* pdwStatus) = 0;
  virtual bool SMSGetMemInfo(SMS_MEM enMem, DWORD* pdwTotal, DWORD* pdwUsed, DWORD* pdwStatus) = 0;
  /// @return 1: the device itself keeps the unread state of what is read with UNREAD_SM_NOT_ALTER.
  virtual int SMSGetAlterSupport(int iQuery, DWORD* pdwStatus) = 0;

  /// The same as GetWMSConfig.
  bool SMSGetConfiguration(WMSConfigurationType* pstConfig, DWORD* pdwStatus) {
    return GetWMSConfig(pstConfig, pdwStatus);
  }
  /// Reads without marking an unread message read.
  bool SMSReadMsg(SMS_MEM enMem, MSG_HANDLE hMsg, SMReadRecord* pstRecord, DWORD* pdwStatus) {
    return SMSReadMsg(enMem, &hMsg, pstRecord, UNREAD_SM_NOT_ALTER, pdwStatus);
  }

protected:
  ~IShortMessage() {}
};

const char* const SHORT_MESSAGE_CLSID = "DB948C02-A87F-4DB5-A5BA-F3E8A9CABF39";
const int SHORT_MESSAGE_INTERFACE = 0x1001;
