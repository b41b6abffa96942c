#include "DescriptorStream.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <cerrno>
#include <cstdint>

namespace modem {

namespace {

const int kWriteLimitMs = 10000;

}  // namespace

CDescriptor CDescriptorStream::MakeWake() { return CDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)); }

bool CDescriptorStream::Read(std::string& bytes) {
  pollfd descriptors[] = {{m_line.Get(), POLLIN, 0}, {m_wake.Get(), POLLIN, 0}};
  while (!m_bClosed) {
    if (poll(descriptors, 2, -1) < 0 || descriptors[0].revents == 0) {
      continue;  // a signal, or closed
    }
    char buffer[4096];
    const ssize_t count = read(m_line.Get(), buffer, sizeof buffer);
    if (count > 0) {
      bytes.append(buffer, static_cast<std::size_t>(count));
      return true;
    }
    if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
      return false;
    }
  }
  return false;
}

bool CDescriptorStream::Write(const std::string& bytes) {
  std::size_t written = 0;
  while (written < bytes.size()) {
    if (m_bClosed) {
      return false;
    }
    const ssize_t count = WriteSome(bytes.data() + written, bytes.size() - written);
    if (count > 0) {
      written += static_cast<std::size_t>(count);
      continue;
    }
    if (count < 0 && errno != EAGAIN && errno != EINTR) {
      return false;
    }
    pollfd descriptors[] = {{m_line.Get(), POLLOUT, 0}, {m_wake.Get(), POLLIN, 0}};
    const int ready = poll(descriptors, 2, kWriteLimitMs);
    if (ready == 0 || (ready < 0 && errno != EINTR) || descriptors[1].revents != 0) {
      return false;
    }
  }
  return true;
}

void CDescriptorStream::Close() {
  m_bClosed = true;
  const std::uint64_t one = 1;
  while (write(m_wake.Get(), &one, sizeof one) < 0 && errno == EINTR) {
  }
}

}  // namespace modem
