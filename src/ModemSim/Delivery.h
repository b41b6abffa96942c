// What somebody sends to the modem, divided into the messages that the service centre delivers.
#pragma once

#include "SmsPdu.h"

#include <string>
#include <vector>

namespace modem_sim {

/// Text, or data when the coding is Octets.
struct Delivery {
  sms_pdu::Address from;
  VELK_wstring text;
  std::vector<BYTE> data;
  sms_pdu::Coding coding = sms_pdu::Coding::Gsm7;
  int messageClass = -1;  // 0..3, -1: none
  BYTE protocolId = 0;
  sms_pdu::TimeStamp time;
  WORD reference = 0;  // of a message that takes several parts
  bool wideReference = false;
  WORD port = 0;  // 16-bit application port; 0: none
};

/// One message when everything fits into one, else parts with a concatenation header.
/// @return false: *error says what does not fit.
bool Divide(const Delivery& delivery, std::vector<sms_pdu::Deliver>* out, std::string* error);

}  // namespace modem_sim
