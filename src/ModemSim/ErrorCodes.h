// Error numbers of 3GPP TS 27.007, 9.2 and 3GPP TS 27.005, 3.2.5 that this modem gives.
#pragma once

#include <string>

namespace modem_sim {

const int kCmeNotAllowed = 3;
const int kCmeNoSim = 10;
const int kCmePinRequired = 11;
const int kCmePukRequired = 12;
const int kCmeSimBusy = 14;
const int kCmeIncorrectPassword = 16;
const int kCmeMemoryFull = 20;
const int kCmeInvalidIndex = 21;
const int kCmeNotFound = 22;
const int kCmeTextTooLong = 24;
const int kCmeInvalidText = 25;
const int kCmeInvalidDialString = 27;
const int kCmeNoNetwork = 30;
const int kCmeIncorrectParameters = 50;

const int kCmsUnassignedNumber = 1;  // 3GPP TS 24.011, E.2
const int kCmsNotAllowed = 302;
const int kCmsInvalidPduParameter = 304;
const int kCmsInvalidTextParameter = 305;
const int kCmsNoSim = 310;
const int kCmsPinRequired = 311;
const int kCmsSimBusy = 314;
const int kCmsPukRequired = 316;
const int kCmsInvalidIndex = 321;
const int kCmsMemoryFull = 322;
const int kCmsNoNetwork = 331;
const int kCmsNoAcknowledgementExpected = 340;

/// The words of +CMEE=2.
inline std::string CmeText(int code) {
  switch (code) {
    case kCmeNotAllowed:
      return "operation not allowed";
    case kCmeNoSim:
      return "SIM not inserted";
    case kCmePinRequired:
      return "SIM PIN required";
    case kCmePukRequired:
      return "SIM PUK required";
    case kCmeSimBusy:
      return "SIM busy";
    case kCmeIncorrectPassword:
      return "incorrect password";
    case kCmeMemoryFull:
      return "memory full";
    case kCmeInvalidIndex:
      return "invalid index";
    case kCmeNotFound:
      return "not found";
    case kCmeTextTooLong:
      return "text string too long";
    case kCmeInvalidText:
      return "invalid characters in text string";
    case kCmeInvalidDialString:
      return "invalid characters in dial string";
    case kCmeNoNetwork:
      return "no network service";
    case kCmeIncorrectParameters:
      return "Incorrect parameters";
    default:
      return "unknown";
  }
}

}  // namespace modem_sim
