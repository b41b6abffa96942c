// A lock file in the UUCP manner, for the programs that know no other lock.
#pragma once

#include "PortHolder.h"

#include <memory>
#include <string>

namespace modem {

/// The file LCK..NAME holds the process number in ten characters (Filesystem Hierarchy Standard, 5.9).
class CPortLock {
public:
  /// Takes the lock of a device; one whose process has ended is taken over. A folder that cannot be written has no
  /// locks, and the result stands for none.
  /// @param holder  out: who has the lock, when the result is null.
  static std::unique_ptr<CPortLock> Take(const std::string& device, const std::string& folder, PortHolder& holder);
  /// Removes the file, if it is still this process's.
  ~CPortLock();
  CPortLock(const CPortLock&) = delete;
  CPortLock& operator=(const CPortLock&) = delete;

private:
  explicit CPortLock(const std::string& file) : m_strFile(file) {}

  const std::string m_strFile;  // empty: there is none
};

}  // namespace modem
