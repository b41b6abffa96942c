// Which modems the computer has.
#pragma once

#include "IBaseInterface.h"

#include <string>
#include <vector>

/// What the modem at a place on the bus can be named: "usb:1-2.3", "pci:0000:08:00.0".
inline std::string NameOfPlace(const std::string& place) {
  return (place.find(':') == std::string::npos ? "usb:" : "pci:") + place;
}

/// One port of a modem, as it was found.
struct FoundPort {
  enum class State {
    kAnswers,   // AT commands
    kSilent,    // opened, and no answer came
    kClosed,    // in use by another program, or not to be opened: see note
    kNotAsked,  // a general serial adapter: what is behind it may be no modem
  };
  std::string path;  // "/dev/ttyUSB2"
  State state = State::kSilent;
  std::string note;  // kClosed, kNotAsked: one line for a person
};

/// One device with ports that could be a modem's. Texts are the device's own words: not to be trusted.
struct FoundModem {
  std::string place;  // on the bus: "1-2.3", "0000:08:00.0"; see NameOfPlace()
  std::string maker;
  std::string model;
  std::string imei;   // digits, or empty: then it can be named "imei:..."
  std::string iccid;  // of the SIM, or empty: "iccid:..."
  std::vector<FoundPort> ports;
};

/// Part of the modem plug-in; works before Init() too, so that a modem can be chosen.
class IModemFinder : public IBaseInterface {
public:
  /// Looks at the bus and asks every port that nobody has open; takes a second or two. Ports in use are left alone.
  /// [any-thread]
  virtual std::vector<FoundModem> FindModems() = 0;

protected:
  ~IModemFinder() {}
};

const int MODEM_FINDER_INTERFACE = 0x7F000002;
