#include "LineAddress.h"

#include <charconv>

namespace modem {

namespace {

bool StartsWith(const std::string& text, const char* prefix) { return text.rfind(prefix, 0) == 0; }

bool IsPort(const std::string& text) {
  unsigned int port = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, port);
  return error == std::errc() && stop == end && port >= 1 && port <= 65535;
}

/// HOST:PORT, [IPv6 ADDRESS]:PORT
bool ParsePeer(const std::string& peer, LineAddress& address) {
  const std::size_t colon = peer.find_last_of(':');
  if (colon == std::string::npos || colon == 0) {
    return false;
  }
  address.host = peer.substr(0, colon);
  address.port = peer.substr(colon + 1);
  const bool bracketed = address.host.front() == '[' && address.host.back() == ']';
  if (bracketed) {
    address.host = address.host.substr(1, address.host.size() - 2);
  }
  return !address.host.empty() && (bracketed || address.host.find(':') == std::string::npos) && IsPort(address.port);
}

}  // namespace

bool ParseAddress(const std::string& text, LineAddress& address, std::string& error) {
  address = LineAddress();
  address.text = text;
  if (text.empty()) {
    error = "no modem is named. Name its port with --device, e.g. --device /dev/ttyUSB2.";
    return false;
  }
  if (StartsWith(text, "tcp:")) {
    address.kind = LineAddress::Kind::kTcp;
    error = "\"" + text + "\" is no modem's address. Write tcp:HOST:PORT, e.g. --device tcp:localhost:7000.";
    return ParsePeer(text.substr(4), address);
  }
  return true;
}

}  // namespace modem
