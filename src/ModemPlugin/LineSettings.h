// What the settings say about the line to the modem; section "ModemPlugin".
#pragma once

#include "SerialPort.h"

#include <string>

namespace modem {

/// "Device", which --device stands for; empty when there is none.
std::string ConfiguredDevice();
/// File that the dialogue is recorded in; empty: none.
std::string ConfiguredRecord();
/// Whether numbers and texts stay readable in it.
bool IsRecordUnmasked();

/// "Baud"; what is absent leaves the field as it is.
/// @param error  out: one line for a person, when the result is false.
bool LoadSerialSettings(SerialSettings& settings, std::string& error);

}  // namespace modem
