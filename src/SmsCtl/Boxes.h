// Names of stores and boxes, and lists of messages on the terminal.
#pragma once

#include "ISMSService.h"

#include <string>
#include <vector>

namespace smsctl {

/// NS_SMS::STORAGE_KIND of "local", "sim" or "modem".
int StorageOf(const std::string& name);
/// "send box", "receive box (SIM)", ...
const char* BoxName(int iPosition);
/// What a command line says for the boxes of the local store: "send", "receive", "draft", ...
std::vector<std::string> LocalBoxNames();
/// NS_SMS::MSG_POSITION of such a name, or -1.
int PositionOf(const std::string& name);

/// "2026-11-20 12:34:56" of fourteen digits; other times as they are.
std::string ReadableTime(const std::string& time);
/// "sent", "delivered", "FAILED", "new" or "read".
const char* MarkOf(int iPosition, int iSendResult, int iIsRead);

/// Prints every message of a store whose box is `iPosition`, oldest first: identifier, time, number, result or read
/// mark, and the beginning of the text.
/// @return how many.
long PrintBox(ISMSService& service, int iStorage, int iPosition);

}  // namespace smsctl
