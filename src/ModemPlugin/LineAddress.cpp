#include "LineAddress.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace modem {

namespace {

/// A form of address with a prefix.
struct Form {
  const char* prefix;
  LineAddress::Kind kind;
  const char* example;
  bool (*take)(const std::string& value, LineAddress& address);
};

bool HasDigits(const std::string& value, std::size_t least, std::size_t most) {
  return value.size() >= least && value.size() <= most && value.find_first_not_of("0123456789") == std::string::npos;
}

bool IsPort(const std::string& text) {
  unsigned int port = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, port);
  return error == std::errc() && stop == end && port >= 1 && port <= 65535;
}

/// HOST:PORT, [IPv6 ADDRESS]:PORT
bool TakePeer(const std::string& peer, LineAddress& address) {
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

/// 14 digits, a check digit or two of a version (3GPP TS 23.003, 6.2)
bool TakeImei(const std::string& value, LineAddress& address) {
  address.value = value;
  return HasDigits(value, 14, 16);
}

/// ITU-T E.118; one digit more or less is around
bool TakeIccid(const std::string& value, LineAddress& address) {
  address.value = value;
  return HasDigits(value, 18, 20);
}

/// BUS-PORT[.PORT]..., as the kernel names USB devices
bool TakePlace(const std::string& value, LineAddress& address) {
  address.value = value;
  const std::size_t dash = value.find('-');
  return dash != std::string::npos && HasDigits(value.substr(0, dash), 1, 3) && value.back() != '.' &&
         value.find("..") == std::string::npos && value.find_first_of("123456789", dash) == dash + 1 &&
         value.find_first_not_of("0123456789.", dash + 1) == std::string::npos;
}

/// DOMAIN:BUS:DEVICE.FUNCTION, as the kernel names PCI devices
bool TakePciPlace(const std::string& value, LineAddress& address) {
  static const char kShape[] = "xxxx:xx:xx.x";
  address.value = value;
  return value.size() == sizeof kShape - 1 &&
         std::equal(value.begin(), value.end(), kShape, [](char character, char shape) {
           const bool digit = std::isxdigit(static_cast<unsigned char>(character)) != 0 && std::isupper(character) == 0;
           return shape == 'x' ? digit : character == shape;
         });
}

const Form kForms[] = {
    {"tcp:", LineAddress::Kind::kTcp, "tcp:HOST:PORT, e.g. --device tcp:localhost:7000", TakePeer},
    {"imei:", LineAddress::Kind::kImei, "imei: and 14 to 16 digits (\"smsctl modems\" shows them)", TakeImei},
    {"iccid:", LineAddress::Kind::kIccid, "iccid: and 18 to 20 digits (\"smsctl modems\" shows them)", TakeIccid},
    {"usb:", LineAddress::Kind::kPlace, "usb:BUS-PORT, e.g. --device usb:1-2.3 (\"smsctl modems\" shows it)",
     TakePlace},
    {"pci:", LineAddress::Kind::kPlace, "pci: and the place as \"smsctl modems\" shows it, e.g. pci:0000:08:00.0",
     TakePciPlace}};

}  // namespace

bool ParseAddress(const std::string& text, LineAddress& address, std::string& error) {
  address = LineAddress();
  address.text = text;
  if (text.empty()) {
    error =
        "no modem is named. Name it with --device: its port, e.g. --device /dev/ttyUSB2, or --device auto for the only "
        "modem there is.";
    return false;
  }
  if (text == "auto") {
    address.kind = LineAddress::Kind::kAuto;
    return true;
  }
  for (const Form& form : kForms) {
    if (text.rfind(form.prefix, 0) == 0) {
      address.kind = form.kind;
      error = "\"" + text + "\" is no modem's address. Write " + form.example + ".";
      return form.take(text.substr(std::string(form.prefix).size()), address);
    }
  }
  return true;
}

}  // namespace modem
