// What every target shares: the input taken apart, and a property that ends the program when it does not hold.
#pragma once

#include "VelkTypes.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>

/// The fuzzer's entry; each target defines it once.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// Ends the program, so that the fuzzer keeps the input.
inline void Require(bool holds, const char* property) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", property);
  std::abort();
}

/// The input, from its first octet on; what is not there reads as 0.
class CInput {
public:
  CInput(const std::uint8_t* data, std::size_t size) : m_pNext(data), m_uLeft(size) {}

  BYTE Octet() {
    if (m_uLeft == 0) return 0;
    --m_uLeft;
    return *m_pNext++;
  }
  WORD Word() {
    const unsigned high = Octet();
    return static_cast<WORD>(high << 8 | Octet());
  }
  std::size_t Left() const { return m_uLeft; }
  const BYTE* Rest() const { return m_pNext; }

private:
  const BYTE* m_pNext;
  std::size_t m_uLeft;
};

/// A block of exactly so many elements, so that a step beyond is seen.
template <class T>
class CBlock {
public:
  explicit CBlock(std::size_t size) : m_pFirst(new T[size]()), m_uSize(size) {}
  CBlock(const T* from, std::size_t size) : CBlock(size) {
    for (std::size_t i = 0; i < size; ++i) m_pFirst[i] = from[i];
  }

  T* Data() { return m_pFirst.get(); }
  std::size_t Size() const { return m_uSize; }

private:
  const std::unique_ptr<T[]> m_pFirst;
  const std::size_t m_uSize;
};

/// A writer called with a buffer of any size writes everything or says that it does not fit.
/// @param write  write(out, capacity, written) -> PduError
/// @param whole  what it writes when there is room.
template <class Error, class Write>
void RequireBounded(const Write& write, const BYTE* whole, std::size_t needed, std::size_t capacity) {
  CBlock<BYTE> out(capacity);
  std::size_t written = capacity + 1;
  const Error error = write(out.Data(), capacity, &written);
  if (capacity < needed) {
    Require(error == Error::BufferTooSmall && written == 0, "a buffer that is too small is refused");
    return;
  }
  Require(error == Error::None && written == needed, "a buffer that is large enough is taken");
  for (std::size_t i = 0; i < needed; ++i) Require(out.Data()[i] == whole[i], "octets do not depend on the buffer");
}

}  // namespace fuzz
