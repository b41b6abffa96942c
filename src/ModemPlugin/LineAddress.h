// What a person writes to name a modem.
#pragma once

#include <string>

namespace modem {

/// The forms of --device and of the setting "Device".
struct LineAddress {
  enum class Kind {
    kPath,  // anything else: the path of a port
    kTcp    // tcp:HOST:PORT
  };
  Kind kind = Kind::kPath;
  std::string text;  // as it was written
  std::string host;  // kTcp
  std::string port;
};

/// @param error  out: one line for a person, when the result is false.
bool ParseAddress(const std::string& text, LineAddress& address, std::string& error);

}  // namespace modem
