// SMS-DELIVER.
#include "Message.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return fuzz::TryMessage(sms_pdu::DecodeDeliver, sms_pdu::EncodeDeliver, sms_pdu::kTpduOctets, data, size);
}
