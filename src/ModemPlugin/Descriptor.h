// Owner of a file descriptor.
#pragma once

#include <pthread.h>
#include <unistd.h>

namespace modem {

class CDescriptor {
public:
  explicit CDescriptor(int descriptor = -1) : m_iDescriptor(descriptor) {}
  CDescriptor(CDescriptor&& other) noexcept : m_iDescriptor(other.m_iDescriptor) { other.m_iDescriptor = -1; }
  CDescriptor(const CDescriptor&) = delete;
  CDescriptor& operator=(const CDescriptor&) = delete;
  /// The thread may be cancelled in close(), where no unwinding is possible.
  ~CDescriptor() {
    if (m_iDescriptor >= 0) {
      int state = 0;
      pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
      close(m_iDescriptor);
      pthread_setcancelstate(state, nullptr);
    }
  }
  int Get() const { return m_iDescriptor; }
  bool IsValid() const { return m_iDescriptor >= 0; }

private:
  int m_iDescriptor;
};

}  // namespace modem
