// Lists of messages on the terminal.
#pragma once

#include "ISMSService.h"

#include <string>

namespace smsctl {

/// "send box", "receive box (SIM)", ...
const char* BoxName(int iPosition);

/// Prints every message of a store whose box is `iPosition`, oldest first: identifier, time, number, result or read
/// mark, and the beginning of the text.
/// @return how many.
long PrintBox(ISMSService& service, int iStorage, int iPosition);

}  // namespace smsctl
