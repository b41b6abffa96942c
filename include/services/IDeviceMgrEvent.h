// Sink of the device manager's events.
#pragma once

/// Raised from the device manager's own thread, never from inside a call to it.  [driver]
class IDeviceMgrEvent {
public:
  /// The payload is null for all of them.
  enum NOTIFY_TYPE {
    EVENT_DEVICE_REJECT = 6601,          ///< the device was refused or is lost
    EVENT_DEVICE_SWITCH = 6604,          ///< another device is used from now on
    EVENT_DEVICE_SYSMODE_CHANGED = 6650  ///< the device changed its system mode; its memories may be others
  };

  /// @param dwEvent  32-bit number.
  /// @return true: the number is known.
  virtual bool OnDeviceMgrEvent(unsigned long dwEvent, void* pData) = 0;

protected:
  ~IDeviceMgrEvent() {}
};
