// The container as plug-ins see it.
#pragma once

class IBaseInterface;

class IPluginContainer {
public:
  /// Looks up an interface of another plug-in.
  /// @param pszCLSID    class identifier of the plug-in asked.
  /// @param iInterface  interface number, meaningful within that plug-in.
  /// @param ppOut       out: the interface, owned by its plug-in; left untouched when there is none.
  /// @return            not to be relied on: test the pointer.  [any-thread]
  virtual bool QueryPluginInterface(const char* pszCLSID, int iInterface, IBaseInterface** ppOut) = 0;
  virtual ~IPluginContainer() {}
};
