// Makes one allocation fail on purpose.
#pragma once

#include <cstddef>

/// While it lives, the allocation of this thread with that number (0: the next one) throws std::bad_alloc; those before
/// and after it succeed.
class CShortMemory {
public:
  explicit CShortMemory(std::size_t uNumber);
  ~CShortMemory();
  CShortMemory(const CShortMemory&) = delete;
  CShortMemory& operator=(const CShortMemory&) = delete;

  /// Whether the allocation has been asked for.
  bool HasStruck() const;
};
