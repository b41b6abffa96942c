// What a person writes to name a modem.
#pragma once

#include <string>

namespace modem {

/// The forms of --device and of the setting "Device".
struct LineAddress {
  enum class Kind {
    kPath,   // anything else: the path of a port
    kTcp,    // tcp:HOST:PORT
    kAuto,   // auto: the only modem there is
    kImei,   // imei:DIGITS
    kIccid,  // iccid:DIGITS, of the SIM
    kPlace   // usb:1-2.3, pci:0000:08:00.0: the modem's place on the bus
  };
  Kind kind = Kind::kPath;
  std::string text;  // as it was written
  std::string host;  // kTcp
  std::string port;
  std::string value;  // kImei, kIccid, kPlace: without the prefix
};

/// @param error  out: one line for a person, when the result is false.
bool ParseAddress(const std::string& text, LineAddress& address, std::string& error);

}  // namespace modem
