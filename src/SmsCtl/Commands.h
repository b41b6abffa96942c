// The commands that work with a host in this process.
#pragma once

#include "CommandLine.h"
#include "HostOptions.h"

#include <string>

namespace smsctl {

/// Prints "smsctl: text" to standard error; answers kNotDone.
int Fail(const std::string& text);

/// Sends one text to one or more numbers, shows each part and its verdict, and waits for the end. Ctrl-C cancels.
int Send(const host::HostOptions& options, const std::string& recipients, const std::string& text);
/// Prints parts, coding and characters left of a text. Needs no modem.
int Count(const host::HostOptions& options, const std::string& text);
/// Prints what the modem, the SIM, the network and the stores say.
int Status(const host::HostOptions& options);
/// Shows the main journeys on a simulated modem.
int Demo(const host::HostOptions& options);

}  // namespace smsctl
