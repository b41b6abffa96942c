// Notice that the host is being torn down.
#pragma once

class IDestroyEvent {
public:
  /// Called once by the container before ReleasePlugin; a second call does no harm.
  virtual void OnDestroy() = 0;

protected:
  ~IDestroyEvent() {}
};
