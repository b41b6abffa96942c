// SMS-SUBMIT.
#include "Message.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return fuzz::TryMessage(sms_pdu::DecodeSubmit, sms_pdu::EncodeSubmit, sms_pdu::kTpduOctets, data, size);
}
