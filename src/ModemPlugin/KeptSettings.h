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
/// How a PIN was tried on a card before.
enum class PinTried {
  kNever,
  kVerdictLost,  // the modem or this program ended before the card's answer came
  kDone          // nothing makes it worth another try
};
/// "PinTried" remembers the PIN that was entered and the cards that it was entered into, until one accepts it: noted
/// before it is entered, so that no crash leads to a second try. A question mark behind a card: kVerdictLost.
/// @param iccid  empty: not known which card it is; then it counts as any.
PinTried PinTriedBefore(const std::string& pin, const std::string& iccid);
/// @return false: it cannot be remembered.
bool NotePinTried(const std::string& pin, const std::string& iccid, PinTried how);
void ForgetPinTried();

}  // namespace modem
