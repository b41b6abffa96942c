// A plug-in as the container sees it.
#pragma once

#include "IBaseInterface.h"
#include "IDestroyEvent.h"

class IPluginContainer;

/// A plug-in library exports two functions with C linkage:
///   IBasePlugin* CreatePlugin();   the one plug-in object, the same at every call; null when it cannot be made
///   void ReleasePlugin();          destroys it
/// Life: CreatePlugin, SetPluginContainer, Init, QueryInterface ..., OnDestroy, ReleasePlugin; then perhaps again.
/// Threads: all of it on one thread of the container, except QueryInterface.  [owner-thread]
class IBasePlugin : public IBaseInterface, public IDestroyEvent {
public:
  enum E_PLUGIN_TYPE { UI = 0, OPERATION = 1 };

  virtual ~IBasePlugin() noexcept(false) {}
  /// Gives the container for later look-ups; null is ignored.
  virtual void SetPluginContainer(IPluginContainer* pContainer) = 0;
  /// @return false: the plug-in cannot work; the container releases it.
  virtual bool Init() = 0;
  /// @param ppOut  out: the interface of that number, owned by the plug-in; untouched when the result is false.
  ///               May be null with the result true: test the pointer.
  virtual bool QueryInterface(int iInterface, IBaseInterface** ppOut) = 0;
  virtual E_PLUGIN_TYPE GetPluginType() = 0;
  virtual const char* GetCLSID() = 0;
  virtual unsigned long GetVersion() = 0;
  virtual const char* GetPluginName() = 0;
  virtual bool IsAllowRelease() = 0;
  void OnDestroy() override = 0;
};

/// Types of the two exported functions, for the container.
typedef IBasePlugin* (*PFN_CREATE_PLUGIN)();
typedef void (*PFN_RELEASE_PLUGIN)();
