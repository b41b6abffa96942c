// The message settings that a modem in PDU mode does not keep itself.
#pragma once

#include "SMSDef.h"

#include <string>

namespace modem {

/// They stand in section "ModemPlugin" of the settings file as "Validity", "StatusReport", "ReplyPath", "Priority" and
/// "ReceiveMode"; what is absent or makes no sense leaves the field as it is. Threads: any.
void LoadKeptSettings(WMSConfigurationType& config);
/// Writes those that differ. @return false: not all of them could be written.
bool StoreKeptSettings(const WMSConfigurationType& before, const WMSConfigurationType& now);
/// "NetworkTime" of the same section: 1 when times of received messages stay those of the network's zone; else they
/// become this computer's local time.
bool WantsNetworkTime();

/// "Pin" of the same section; empty: none is to be entered.
std::string ConfiguredPin();
/// "PinTried" remembers the PIN that was entered and the cards that it was entered into, until one accepts it: noted
/// before it is entered, so that no crash leads to a second try.
/// @param iccid  empty: not known which card it is; then it counts as any.
bool WasPinTried(const std::string& pin, const std::string& iccid);
/// @return false: it cannot be remembered.
bool NotePinTried(const std::string& pin, const std::string& iccid);
void ForgetPinTried();

}  // namespace modem
