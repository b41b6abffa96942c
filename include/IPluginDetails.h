// What IBasePlugin has no room for: further class identifiers and the reason of a failure.
#pragma once

#include "IBaseInterface.h"

/// Optional. The container asks every plug-in for it with QueryInterface(PLUGIN_DETAILS_INTERFACE); a plug-in without
/// it stands for its own class identifier only and fails without a reason.
class IPluginDetails : public IBaseInterface {
public:
  /// Further class identifiers under which the container shall find this plug-in: index 0, 1, ... until null.
  virtual const char* GetFurtherCLSID(int iIndex) = 0;
  /// Why Init() failed, as one line for a person: the thing, the cause, what to do. Empty when it did not fail.
  /// Valid until the next call of Init().
  virtual const char* GetErrorText() = 0;

protected:
  ~IPluginDetails() {}
};

const int PLUGIN_DETAILS_INTERFACE = 0x7F000001;
