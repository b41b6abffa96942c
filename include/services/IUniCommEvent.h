// Sink of the message service's and the network service's events, and their numbers.
#pragma once

/// Raised from the service's own thread, never from inside a call to the service.  [driver]
/// What pData points to lives during the call only.
class IUniCommEvent {
public:
  /// @param dwEvent  a 32-bit number from one of the lists below or from NETSRV_DATA.
  /// @return true: the number is known.
  virtual bool OnUniCommEvent(unsigned long dwEvent, void* pData) = 0;

protected:
  ~IUniCommEvent() {}
};

/// Events of the message service, with what pData points to.
enum WMS_EVENT {
  WMS_NEW_SMS_DIRECT_NOTIFY = 20401,  ///< SMReadRecord: a message that the device does not store
  WMS_REPORT_STATUS_DIRECT = 20402,   ///< SMReadRecord: a status report that the device does not store
  WMS_RECEIVE_SMS_NOTIFY = 20403,     ///< SNewSmsNotifyType: a message is stored on the device
  WMS_MEMORY_STORE_FULL = 20404,      ///< DWORD: memory number (SMS_MEM)
  WMS_MO_SMS_STATUS = 20407,          ///< DWORD: 0 the part in flight was accepted, else it failed
  WMS_EVENT_READY = 20408,            ///< none: the device memories can be read
  CBS_CONTENT_DIRECT_NOTIFY = 20409   ///< CBSMessage: a broadcast page
};
