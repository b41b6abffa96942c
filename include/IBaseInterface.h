// Root of every object interface.
#pragma once

/// Object interfaces derive from it first, singly and non-virtually, so that a pointer to it and a pointer to the
/// derived interface are the same address. Not an owner: objects end through Release() or through their plug-in.
class IBaseInterface {
public:
  /// Gives the object back. What that means is said by the object: a record is destroyed, a singleton does nothing.
  virtual void Release() = 0;
  /// Last error of the object, 0 for none.
  virtual int GetLastError() = 0;

protected:
  ~IBaseInterface() {}
};
