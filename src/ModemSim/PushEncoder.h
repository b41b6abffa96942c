// A WAP push that announces a multimedia message (OMA-WAP-MMS-ENC, OMA-WAP-TS-WSP, OMA Push over SMS).
#pragma once

#include "VelkTypes.h"

#include <string>
#include <vector>

namespace modem_sim {

const WORD kPushPort = 2948;

/// Texts are UTF-8 and hold no zero.
struct MmsNotification {
  std::string transaction = "T1";
  std::string from;     // a number; empty: the sender wants to stay unknown
  std::string subject;  // may be empty
  std::string url;      // where the message lies
  DWORD size = 0;       // octets
};

/// A whole push: WSP header, then the notification.
std::vector<BYTE> EncodePush(const MmsNotification& notification);

}  // namespace modem_sim
