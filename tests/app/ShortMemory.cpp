// operator new of this test program, which can be told to fail once.
#include "ShortMemory.h"

#include <cstdlib>
#include <new>

namespace {
thread_local bool t_bArmed = false;
thread_local std::size_t t_uToGo = 0;
}  // namespace

CShortMemory::CShortMemory(std::size_t uNumber) {
  t_uToGo = uNumber;
  t_bArmed = true;
}
CShortMemory::~CShortMemory() { t_bArmed = false; }
bool CShortMemory::HasStruck() const { return !t_bArmed; }

void* operator new(std::size_t uBytes) {
  if (t_bArmed && t_uToGo-- == 0) {
    t_bArmed = false;
    throw std::bad_alloc();
  }
  void* const pBlock = std::malloc(uBytes == 0 ? 1 : uBytes);
  if (pBlock == nullptr) {
    throw std::bad_alloc();
  }
  return pBlock;
}
void* operator new(std::size_t uBytes, const std::nothrow_t&) noexcept {
  try {
    return ::operator new(uBytes);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void operator delete(void* pBlock) noexcept { std::free(pBlock); }
void operator delete(void* pBlock, std::size_t) noexcept { std::free(pBlock); }
void operator delete(void* pBlock, const std::nothrow_t&) noexcept { std::free(pBlock); }
