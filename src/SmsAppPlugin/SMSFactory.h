// Makes and destroys the one plug-in object; the two exported functions.
#pragma once

#include "IBasePlugin.h"

/// Threads: the container's.  [owner-thread]
class CSMSFactory {
public:
  /// @return the same object at every call; null when it cannot be made.
  static IBasePlugin* CreatePluginInstance();
  /// When the plug-in's destruction throws, its pointer stays as it was: no second attempt is made to clear it, and
  /// CreatePluginInstance goes on to answer it. Kept so; the real destructor does not throw.
  static void ReleasePluginInstance();

  /// Null while there is none; the two operations alone change it.
  static IBasePlugin* m_pPlugin;
};

extern "C" {
__attribute__((visibility("default"))) IBasePlugin* CreatePlugin();
__attribute__((visibility("default"))) void ReleasePlugin();
}
