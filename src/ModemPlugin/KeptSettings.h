// The message settings that a modem in PDU mode does not keep itself.
#pragma once

#include "SMSDef.h"

namespace modem {

/// They stand in section "ModemPlugin" of the settings file as "Validity", "StatusReport", "ReplyPath", "Priority" and
/// "ReceiveMode"; what is absent or makes no sense leaves the field as it is. Threads: any.
void LoadKeptSettings(WMSConfigurationType& config);
/// Writes those that differ. @return false: not all of them could be written.
bool StoreKeptSettings(const WMSConfigurationType& before, const WMSConfigurationType& now);
/// "NetworkTime" of the same section: 1 when times of received messages stay those of the network's zone; else they
/// become this computer's local time.
bool WantsNetworkTime();

}  // namespace modem
