// operator new of this test program, which can be told to fail.
#include "FailingMemory.h"

#include <cstdint>
#include <cstdlib>
#include <new>

namespace {
thread_local std::size_t t_nFailFrom = SIZE_MAX;
}

CFailingMemory::CFailingMemory(std::size_t nFromBytes) { t_nFailFrom = nFromBytes; }
CFailingMemory::~CFailingMemory() { t_nFailFrom = SIZE_MAX; }

void* operator new(std::size_t nBytes) {
  void* pBlock = nBytes >= t_nFailFrom ? nullptr : std::malloc(nBytes == 0 ? 1 : nBytes);
  if (pBlock == nullptr) {
    throw std::bad_alloc();
  }
  return pBlock;
}
void operator delete(void* pBlock) noexcept { std::free(pBlock); }
void operator delete(void* pBlock, std::size_t) noexcept { std::free(pBlock); }
