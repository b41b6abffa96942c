// Makes memory short on purpose.
#pragma once

#include <cstddef>

/// While it lives, operator new fails on this thread for blocks of at least so many bytes.
class CFailingMemory {
public:
  explicit CFailingMemory(std::size_t nFromBytes);
  ~CFailingMemory();
  CFailingMemory(const CFailingMemory&) = delete;
  CFailingMemory& operator=(const CFailingMemory&) = delete;
};
