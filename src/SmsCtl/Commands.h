// The commands; each works with a host in this process.
#pragma once

#include "CommandLine.h"
#include "HostOptions.h"

#include <string>

namespace smsctl {

/// Prints "smsctl: text" to standard error; answers kNotDone.
int Fail(const std::string& text);

// --- Sending ---------------------------------------------------------------------------------------------------------

/// Sends one text to one or more numbers, shows each part and its verdict, and waits for the end. Ctrl-C cancels.
int Send(const host::HostOptions& options, const std::string& recipients, const std::string& text);
/// Prints parts, coding and characters left of a text. Needs no modem.
int Count(const host::HostOptions& options, const std::string& text);
/// Prints how much room a name takes on the SIM. Needs no modem.
int PhonebookSize(const host::HostOptions& options, const std::string& text);

// --- Messages; a store is "local", "sim" or "modem", a box "send", "receive", "draft", ... ---------------------------

/// Lists a store, or one box of it.
int List(const host::HostOptions& options, const std::string& store, const std::string& box);
/// Prints one message whole.
int Show(const host::HostOptions& options, const std::string& store, long id);
/// Prints capacity and use of every store.
int Info(const host::HostOptions& options);
/// Keeps a text in a local box and prints its identifier.
int Save(const host::HostOptions& options, const std::string& box, const std::string& number, const std::string& text);
/// Marks a message read.
int MarkRead(const host::HostOptions& options, const std::string& store, long id);
/// Puts a message into the recycle box; on SIM and modem it is gone.
int Delete(const host::HostOptions& options, const std::string& store, long id);
/// Removes a message for good.
int Remove(const host::HostOptions& options, const std::string& store, long id);
/// Moves a local message to another box.
int Move(const host::HostOptions& options, long id, const std::string& box);
/// Moves every message of the SIM or the modem to the local store.
int Pull(const host::HostOptions& options, const std::string& store);
/// Prints what the service tells its clients until Ctrl-C.
int Watch(const host::HostOptions& options);

// --- Modem and settings ----------------------------------------------------------------------------------------------

/// Lists the modems that are plugged in, with their ports and which one answers. Needs no configured modem.
int Modems();
/// Prints what the modem, the SIM, the network and the stores say.
int Status(const host::HostOptions& options);
/// Prints one setting, or all when the name is empty.
int GetSettings(const host::HostOptions& options, const std::string& name);
int SetSetting(const host::HostOptions& options, const std::string& name, const std::string& value);
/// @param action  "list", "add", "remove", "on" or "off".
int Channels(const host::HostOptions& options, const std::string& action, const std::string& channels);

/// Shows the main journeys on a simulated modem.
int Demo(const host::HostOptions& options);

}  // namespace smsctl
