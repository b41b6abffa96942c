// Notification of the user and of other plug-ins.
#pragma once

#include "IBaseInterface.h"

/// Only looked up so far.
class INotifyService : public IBaseInterface {
protected:
  ~INotifyService() {}
};

const char* const NOTIFY_SERVICE_CLSID = "C986A689-A5F6-4215-84BD-39BA626F1F57";
const int NOTIFY_SERVICE_INTERFACE = 0x6FFF0001;
