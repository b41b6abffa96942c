// SMS-STATUS-REPORT.
#include "Message.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return fuzz::TryMessage(sms_pdu::DecodeStatusReport, sms_pdu::EncodeStatusReport, sms_pdu::kTpduOctets, data, size);
}
