// Asks a port whether a modem answers there, and which.
#pragma once

#include "ByteStream.h"
#include "services/IModemFinder.h"

#include <functional>
#include <memory>
#include <string>

namespace modem {

struct PortAnswer {
  FoundPort::State state = FoundPort::State::kSilent;
  std::string note;  // why it is closed
  // of a modem that answers; each may be empty
  std::string maker;
  std::string model;
  std::string imei;
  std::string iccid;
};

/// Opens a port to ask it. @param error  out: one line for a person, when the result is null.
typedef std::function<std::unique_ptr<IByteStream>(const std::string& path, std::string& error)> PortOpener;

/// Asks "AT", and who it is if it answers; changes nothing on the modem, unless it is silent because another program
/// left it so. Returns within 2 s when there is no answer. Threads: any; on a port that nobody else uses.
PortAnswer ProbePort(const std::string& path, const PortOpener& open);

/// Whatever check digit or version stands behind the 14 digits (3GPP TS 23.003, 6.2).
bool IsSameImei(const std::string& left, const std::string& right);
/// Some modems leave the last digit out.
bool IsSameIccid(const std::string& left, const std::string& right);

/// An ICCID as EF-ICCID holds it (ETSI TS 102 221, 13.2): hexadecimal, digits of an octet in reverse order.
std::string IccidOfFile(const std::string& hex);

}  // namespace modem
