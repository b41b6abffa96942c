#include "TcpPort.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <cerrno>
#include <cstring>

namespace modem {

namespace {

const int kConnectLimitMs = 5000;

struct FreeAddresses {
  void operator()(addrinfo* addresses) const { freeaddrinfo(addresses); }
};
typedef std::unique_ptr<addrinfo, FreeAddresses> Addresses;

std::string NoConnection(const std::string& host, const std::string& port, const std::string& causeAndWayOut) {
  return "cannot reach tcp:" + host + ":" + port + ": " + causeAndWayOut;
}

std::string ConnectError(int code) {
  switch (code) {
    case ECONNREFUSED:
      return "connection refused. Start the program that serves the modem there, or correct the port in --device.";
    case ETIMEDOUT:
      return "no answer. Look at the network and at the firewall between here and there.";
    case ENETUNREACH:
    case EHOSTUNREACH:
      return "no way to that host. Look at the network, or correct the name in --device.";
    default:
      return std::string(std::strerror(code)) + ". Look at the network, or correct the name in --device.";
  }
}

Addresses LookUp(const std::string& host, const std::string& port, std::string& error) {
  addrinfo hints = {};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICSERV;
  addrinfo* found = nullptr;
  const int code = getaddrinfo(host.c_str(), port.c_str(), &hints, &found);
  if (code != 0) {
    error = NoConnection(host, port,
                         std::string("unknown host (") + gai_strerror(code) + "). Correct the name in --device.");
    return nullptr;
  }
  return Addresses(found);
}

/// @return 0, or the cause.
int Connect(int line, const addrinfo& address) {
  if (connect(line, address.ai_addr, address.ai_addrlen) == 0) {
    return 0;
  }
  if (errno != EINPROGRESS) {
    return errno;
  }
  pollfd descriptor = {line, POLLOUT, 0};
  if (poll(&descriptor, 1, kConnectLimitMs) != 1) {
    return ETIMEDOUT;
  }
  int code = 0;
  socklen_t size = sizeof code;
  return getsockopt(line, SOL_SOCKET, SO_ERROR, &code, &size) == 0 ? code : errno;
}

/// A command line leaves at once; a peer that was switched off is noticed.
void Configure(int line) {
  const auto set = [line](int level, int option, int value) { setsockopt(line, level, option, &value, sizeof value); };
  set(IPPROTO_TCP, TCP_NODELAY, 1);
  set(SOL_SOCKET, SO_KEEPALIVE, 1);
  set(IPPROTO_TCP, TCP_KEEPIDLE, 15);
  set(IPPROTO_TCP, TCP_KEEPINTVL, 5);
  set(IPPROTO_TCP, TCP_KEEPCNT, 3);
  set(IPPROTO_TCP, TCP_USER_TIMEOUT, 30000);
}

}  // namespace

std::unique_ptr<CTcpPort> CTcpPort::Open(const std::string& host, const std::string& port, std::string& error) {
  const Addresses addresses = LookUp(host, port, error);
  if (!addresses) {
    return nullptr;
  }
  int code = 0;
  for (const addrinfo* address = addresses.get(); address != nullptr; address = address->ai_next) {
    CDescriptor line(socket(address->ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, address->ai_protocol));
    code = line.IsValid() ? Connect(line.Get(), *address) : errno;
    CDescriptor wake = code == 0 ? MakeWake() : CDescriptor();
    if (wake.IsValid()) {
      Configure(line.Get());
      return std::unique_ptr<CTcpPort>(new CTcpPort(std::move(line), std::move(wake)));
    }
    code = code == 0 ? errno : code;
  }
  error = NoConnection(host, port, ConnectError(code));
  return nullptr;
}

/// A peer that is gone is an error, not a signal.
ssize_t CTcpPort::WriteSome(const char* bytes, std::size_t count) { return send(Line(), bytes, count, MSG_NOSIGNAL); }

}  // namespace modem
