// Fault rules as a person writes them: fields of a control request, or "KIND,FIELD=VALUE,...".
#pragma once

#include "ControlRequest.h"
#include "Faults.h"

#include <string>

namespace modem_sim {

/// Reads "kind" and the fields that this kind has; throws BadRequest.
Fault TakeFault(CControlRequest& request);

/// "drop,command=+CMGL,times=1".
/// @return false: *error names what is wrong.
bool ParseFault(const std::string& text, Fault* out, std::string* error);

}  // namespace modem_sim
